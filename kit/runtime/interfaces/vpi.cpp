// The VPI entry point of libcorvanesc.so (corvane_sc_vpi.h), for Icarus
// Verilog.  vvp loads the library itself as its VPI module: the per-module
// glue and the instances are then in the same library as this task, as
// they are for DPI-C, and no second library has to match the first.  What
// is VPI here is reading and writing the simulator's values, its time and
// its callbacks; the per-module glue converts the values and the runtime's
// core steps the kernel.

// First, so that the DPI types take VPI's vector words as they are.
#include <vpi_user.h>

#include "kit/include/corvane_sc_mirrors.h"
#include "kit/include/corvane_sc_vpi.h"

#include <cstdint>
#include <cstring>
#include <deque>
#include <memory>
#include <string>
#include <vector>

// The library is linked into the programs of every simulator, and only vvp
// defines these: weak references stay null elsewhere, where nothing calls
// them, and let those programs link.
#pragma weak vpi_control
#pragma weak vpi_free_object
#pragma weak vpi_get
#pragma weak vpi_get_str
#pragma weak vpi_get_time
#pragma weak vpi_get_userdata
#pragma weak vpi_get_value
#pragma weak vpi_handle
#pragma weak vpi_iterate
#pragma weak vpi_printf
#pragma weak vpi_put_userdata
#pragma weak vpi_put_value
#pragma weak vpi_register_cb
#pragma weak vpi_register_systf
#pragma weak vpi_remove_cb
#pragma weak vpi_scan
#pragma weak vpip_set_return_value

namespace {

using corvane_sc::vpi::Form;

struct Instance {
  const corvane_sc::vpi::Module *module = nullptr;
  std::string path;
  int handle = -1;
  std::vector<vpiHandle> nets;                     ///< An input's net or an output's register, per argument.
  std::vector<corvane_sc::vpi::Argument> values;   ///< What the glue reads and writes.
  std::vector<corvane_sc::vpi::Argument> written;  ///< The outputs as last written to the simulator.
  std::vector<svLogicVecVal> words;                ///< Per vector argument its words; an output's also
                                                   ///< as last written, and as VPI's a/b words.
  std::vector<size_t> offsets;                     ///< Each vector argument's first word.
  bool outputsWritten = false;
};

/// The one kernel's keeper: its wake-up for the models' own events, and
/// the kernel run that the instances' input changes of one time step share.
struct Keeper {
  int64_t armed = -1;          ///< The time of the pending wake-up, in picoseconds.
  vpiHandle wakeup = nullptr;  ///< Its callback.
  bool running = false;        ///< Whether a kernel run waits for the end of the time step.
};
Keeper keeper;

/// Set once the simulation is ending: no instance enters the kernel again.
bool ended = false;

/// Simulation time units per picosecond.
uint64_t scale = 0;

unsigned word_count(const corvane_sc::vpi::Port &port) { return (port.width + 31) / 32; }

bool is_vector(const corvane_sc::vpi::Port &port) { return port.form == Form::Bits || port.form == Form::LogicBits; }

uint64_t now_units() {
  s_vpi_time time{};
  time.type = vpiSimTime;
  vpi_get_time(nullptr, &time);
  return uint64_t(time.high) << 32 | time.low;
}

/// Ends the simulation with \p status, 1 after an error, 0 after the
/// model's sc_stop().
void end(int status) {
  ended = true;
  if (status && vpip_set_return_value)
    vpip_set_return_value(status);
  vpi_control(vpiFinish, 1);
}

/// Prints "FATAL: " and \p message, which names the instance, and ends.
void fail(const std::string &message) {
  vpi_printf(const_cast<PLI_BYTE8 *>("FATAL: %s\n"), message.c_str());
  end(1);
}

/// The two-valued bits of \p word: x and z read as 0.
uint32_t known(const s_vpi_vecval &word) { return static_cast<uint32_t>(word.aval & ~word.bval); }

void read_inputs(Instance &in) {
  s_vpi_value value{};
  for (size_t i = 0; i < in.nets.size(); ++i) {
    const corvane_sc::vpi::Port &port = in.module->arguments[i];
    if (port.output)
      continue;
    corvane_sc::vpi::Argument &argument = in.values[i];
    switch (port.form) {
    case Form::Bit:
    case Form::Logic:
      value.format = vpiScalarVal;
      vpi_get_value(in.nets[i], &value);
      // vpi0, vpi1, vpiZ and vpiX count as SystemC's sc_logic does; H is
      // 1, L is 0, anything else X.
      if (port.form == Form::Bit)
        argument.bit = value.value.scalar == vpi1 || value.value.scalar == vpiH;
      else
        argument.logic = value.value.scalar == vpiH   ? 1
                         : value.value.scalar == vpiL ? 0
                         : value.value.scalar <= vpiX ? static_cast<svLogic>(value.value.scalar)
                                                      : 3;
      break;
    case Form::Word:
      value.format = vpiVectorVal;
      vpi_get_value(in.nets[i], &value);
      argument.word = known(value.value.vector[0]);
      if (port.width > 32)
        argument.word |= uint64_t(known(value.value.vector[1])) << 32;
      break;
    case Form::Bits:
    case Form::LogicBits: {
      value.format = vpiVectorVal;
      vpi_get_value(in.nets[i], &value);
      svLogicVecVal *words = &in.words[in.offsets[i]];
      for (unsigned w = 0; w < word_count(port); ++w)
        if (port.form == Form::Bits)
          reinterpret_cast<svBitVecVal *>(words)[w] = known(value.value.vector[w]);
        else
          words[w] = value.value.vector[w];
      break;
    }
    case Form::Real:
      value.format = vpiRealVal;
      vpi_get_value(in.nets[i], &value);
      argument.real = value.value.real;
      break;
    }
  }
}

/// Writes the outputs that changed since they were last written.
void write_outputs(Instance &in) {
  s_vpi_value value{};
  for (size_t i = 0; i < in.nets.size(); ++i) {
    const corvane_sc::vpi::Port &port = in.module->arguments[i];
    if (!port.output)
      continue;
    const corvane_sc::vpi::Argument &now = in.values[i];
    corvane_sc::vpi::Argument &was = in.written[i];
    s_vpi_vecval small[2];
    switch (port.form) {
    case Form::Bit:
      if (in.outputsWritten && now.bit == was.bit)
        continue;
      was.bit = now.bit;
      value.format = vpiScalarVal;
      value.value.scalar = now.bit ? vpi1 : vpi0;
      break;
    case Form::Logic:
      if (in.outputsWritten && now.logic == was.logic)
        continue;
      was.logic = now.logic;
      value.format = vpiScalarVal;
      value.value.scalar = now.logic; // 0, 1, Z, X in both
      break;
    case Form::Word:
      if (in.outputsWritten && now.small[0] == was.small[0] && (port.width <= 32 || now.small[1] == was.small[1]))
        continue;
      was.small[0] = now.small[0];
      was.small[1] = now.small[1];
      small[0] = {static_cast<PLI_INT32>(now.small[0]), 0};
      small[1] = {static_cast<PLI_INT32>(port.width > 32 ? now.small[1] : 0), 0};
      value.format = vpiVectorVal;
      value.value.vector = small;
      break;
    case Form::Bits:
    case Form::LogicBits: {
      // The glue's words, then the copy last written, then (for Bits) room
      // for VPI's a/b words.
      const unsigned count = word_count(port);
      svLogicVecVal *words = &in.words[in.offsets[i]], *copy = words + count;
      if (in.outputsWritten && std::memcmp(words, copy, count * sizeof *words) == 0)
        continue;
      std::memcpy(copy, words, count * sizeof *words);
      if (port.form == Form::Bits) {
        svLogicVecVal *vecval = copy + count;
        for (unsigned w = 0; w < count; ++w) {
          vecval[w].aval = static_cast<PLI_INT32>(reinterpret_cast<const svBitVecVal *>(words)[w]);
          vecval[w].bval = 0;
        }
        words = vecval;
      }
      value.format = vpiVectorVal;
      value.value.vector = words;
      break;
    }
    case Form::Real:
      if (in.outputsWritten && now.real == was.real)
        continue;
      was.real = now.real;
      value.format = vpiRealVal;
      value.value.real = now.real;
      break;
    }
    vpi_put_value(in.nets[i], &value, nullptr, vpiNoDelay);
  }
  in.outputsWritten = true;
}

PLI_INT32 wake(p_cb_data data);
PLI_INT32 run_due(p_cb_data data);

/// A callback of \p reason after \p delay units, to \p routine.
vpiHandle callback_after(PLI_INT32 reason, uint64_t delay, PLI_INT32 (*routine)(p_cb_data)) {
  s_vpi_time time{};
  time.type = vpiSimTime;
  time.high = static_cast<PLI_UINT32>(delay >> 32);
  time.low = static_cast<PLI_UINT32>(delay);
  s_cb_data callback{};
  callback.reason = reason;
  callback.cb_rtn = routine;
  callback.time = &time;
  return vpi_register_cb(&callback);
}

/// Asks for a wake-up at \p next_ps, the kernel's next event, unless one
/// is pending at that time or before.
void arm(int64_t next_ps, uint64_t now) {
  if (next_ps < 0 || (keeper.armed >= 0 && next_ps >= keeper.armed) || uint64_t(next_ps) > UINT64_MAX / scale)
    return;
  if (keeper.wakeup)
    vpi_remove_cb(keeper.wakeup);
  const uint64_t at = uint64_t(next_ps) * scale;
  keeper.wakeup = callback_after(cbAfterDelay, at > now ? at - now : 1, wake);
  keeper.armed = next_ps;
}

/// Every instance, in the order vvp compiled their calls.
std::vector<std::unique_ptr<Instance>> &instances() {
  static auto &all = *new std::vector<std::unique_ptr<Instance>>;
  return all;
}

/// One evaluation of \p in through its glue: with \p run as the one
/// instance of the simulation (the kernel runs at once), else as one of
/// many (input changes that something waits on are held for the keeper's
/// run).  False when the simulation ended.
bool cross(Instance &in, bool run, uint64_t now, int64_t *next_ps) {
  const int64_t now_ps = static_cast<int64_t>(now / scale);
  // The time that the models' end_of_simulation sees.
  corvane_sc::runtime::note_time(now_ps);
  const int status = in.module->eval(in.handle, now_ps, run, in.values.data(), next_ps);
  if (status < 0)
    return fail(in.path + ": " + corvane_sc::runtime::error()), false;
  write_outputs(in);
  if (status > 0)
    return end(0), false;
  return true;
}

/// What a call of $corvane_sc_eval does when an input of \p in changed.
/// With one instance it evaluates it at once, as nothing else can change
/// in its time step.  With more, the changes of every instance in a time
/// step reach the kernel together: the first one that something waits on
/// asks for the keeper's run at the end of the time step.
void evaluate(Instance &in) {
  if (ended)
    return;
  read_inputs(in);
  const uint64_t now = now_units();
  int64_t next_ps = -1;
  const bool alone = instances().size() == 1;
  if (!cross(in, alone, now, &next_ps))
    return;
  if (alone)
    return arm(next_ps, now);
  const corvane_sc::runtime::KernelState &kernel = corvane_sc::runtime::kernel;
  if ((kernel.deferred || !kernel.started) && !keeper.running) {
    keeper.running = true;
    callback_after(cbReadWriteSynch, 0, run_due);
  }
}

/// The keeper's kernel run: the models' own events due by now and the
/// input changes held for it, then every instance's outputs.
void run_kernel() {
  if (ended)
    return;
  const uint64_t now = now_units();
  int64_t next_ps = -1;
  const int status = corvane_sc::runtime::run(static_cast<int64_t>(now / scale), &next_ps);
  if (status < 0)
    return fail(corvane_sc::runtime::error());
  if (status > 0)
    return end(0);
  for (const std::unique_ptr<Instance> &in : instances()) {
    // The inputs as written last: only the outputs move.
    int64_t ignored;
    if (!cross(*in, false, now, &ignored))
      return;
  }
  arm(next_ps, now);
}

PLI_INT32 run_due(p_cb_data) {
  keeper.running = false;
  run_kernel();
  return 0;
}

PLI_INT32 wake(p_cb_data) {
  keeper.wakeup = nullptr;
  keeper.armed = -1;
  run_kernel();
  return 0;
}

/// Whether \p nets are what the glue of \p module reads and writes: as
/// many, each vector as wide as its port, each output a register (the
/// word of a one-word array, in wrapper.v).
bool matches(const corvane_sc::vpi::Module &module, const std::vector<vpiHandle> &nets) {
  if (nets.size() != module.count)
    return false;
  for (size_t i = 0; i < nets.size(); ++i) {
    const corvane_sc::vpi::Port &port = module.arguments[i];
    const int type = vpi_get(vpiType, nets[i]);
    const bool variable = type == vpiMemoryWord || type == (port.form == Form::Real ? vpiRealVar : vpiReg);
    if (port.form == Form::Real ? port.output && !variable
                                : (port.output && !variable) ||
                                      vpi_get(vpiSize, nets[i]) != static_cast<PLI_INT32>(port.width))
      return false;
  }
  return true;
}

/// Builds the instance of a call of $corvane_sc_eval, before the
/// simulation starts: its model, its arguments' nets and its words.
PLI_INT32 compile(PLI_BYTE8 *) {
  if (!scale) {
    scale = 1;
    for (int precision = vpi_get(vpiTimePrecision, nullptr); precision < -12; ++precision)
      scale *= 10;
  }
  vpiHandle call = vpi_handle(vpiSysTfCall, nullptr);
  auto in = std::make_unique<Instance>();
  in->path = vpi_get_str(vpiFullName, vpi_handle(vpiScope, call));
  vpiHandle arguments = vpi_iterate(vpiArgument, call);
  vpiHandle name = arguments ? vpi_scan(arguments) : nullptr;
  s_vpi_value value{};
  value.format = vpiStringVal;
  if (name)
    vpi_get_value(name, &value);
  const corvane_sc::vpi::DesignModules &design = corvane_sc::vpi::kDesignModules;
  for (size_t m = 0; name && m < design.count && !in->module; ++m)
    if (std::strcmp(design.modules[m].name, value.value.str) == 0)
      in->module = &design.modules[m];
  if (!in->module) {
    if (arguments && name)
      vpi_free_object(arguments);
    fail(in->path + ": wrapper.v asks for module '" + (name ? value.value.str : "") +
         "', which libcorvanesc.so does not know: run quillc again");
    return 0;
  }
  while (vpiHandle net = vpi_scan(arguments))
    in->nets.push_back(net);
  const corvane_sc::vpi::Module &module = *in->module;
  if (!matches(module, in->nets)) {
    fail(in->path + ": wrapper.v and libcorvanesc.so disagree on the ports of module '" + module.name +
         "': run quillc again");
    return 0;
  }
  in->values.resize(module.count);
  in->written.resize(module.count);
  in->offsets.resize(module.count);
  size_t total = 0;
  for (size_t i = 0; i < module.count; ++i)
    if (is_vector(module.arguments[i])) {
      in->offsets[i] = total;
      // An input's words; an output's, its copy and its a/b words.
      total += word_count(module.arguments[i]) * (module.arguments[i].output ? 3 : 1);
    }
  in->words.resize(total);
  for (size_t i = 0; i < module.count; ++i)
    if (module.arguments[i].form == Form::Bits)
      in->values[i].bits = reinterpret_cast<svBitVecVal *>(&in->words[in->offsets[i]]);
    else if (module.arguments[i].form == Form::LogicBits)
      in->values[i].logic_bits = &in->words[in->offsets[i]];
  in->handle = module.make(in->path.c_str());
  if (in->handle < 0) {
    // The core's message names the instance.
    fail(corvane_sc::runtime::error());
    return 0;
  }
  vpi_put_userdata(call, in.get());
  instances().push_back(std::move(in));
  return 0;
}

PLI_INT32 call(PLI_BYTE8 *) {
  if (auto *in = static_cast<Instance *>(vpi_get_userdata(vpi_handle(vpiSysTfCall, nullptr))))
    evaluate(*in);
  return 0;
}

/// The testbench's end ($finish, or no events left): the models' own
/// end_of_simulation callbacks, once.
PLI_INT32 end_of_simulation(p_cb_data) {
  if (corvane_sc::runtime::end_simulation() < 0)
    vpi_printf(const_cast<PLI_BYTE8 *>("FATAL: %s\n"), corvane_sc::runtime::error());
  return 0;
}

/// A mirror's variable in wrapper.v and how it takes its value.
struct MirrorTarget {
  vpiHandle variable;
  corvane_sc::vpi::Port port;
};

std::deque<MirrorTarget> &mirror_targets() {
  static auto &all = *new std::deque<MirrorTarget>;
  return all;
}

/// $corvane_sc_mirror("module"), which wrapper.v calls once per instance
/// when built with CORVANE_SC_MIRRORS: attaches the mirrors below the
/// calling scope.
PLI_INT32 mirror(PLI_BYTE8 *) {
  vpiHandle call = vpi_handle(vpiSysTfCall, nullptr);
  const std::string path = vpi_get_str(vpiFullName, vpi_handle(vpiScope, call));
  vpiHandle arguments = vpi_iterate(vpiArgument, call);
  vpiHandle name = arguments ? vpi_scan(arguments) : nullptr;
  s_vpi_value value{};
  value.format = vpiStringVal;
  std::vector<vpiHandle> variables;
  if (name) {
    vpi_get_value(name, &value);
    while (vpiHandle variable = vpi_scan(arguments))
      variables.push_back(variable);
  }
  if (corvane_sc::mirrors::attach_vpi(name ? value.value.str : "", path.c_str(),
                                      reinterpret_cast<void *const *>(variables.data()), variables.size()) < 0)
    fail(path + ": " + corvane_sc::runtime::error());
  return 0;
}

} // namespace

int corvane_sc::mirrors::attach_vpi(const char *module, const char *path, void *const *variables, size_t count) {
  const VpiModules &design = kVpiModules;
  for (size_t m = 0; m < design.count; ++m) {
    if (std::strcmp(design.modules[m].name, module) != 0)
      continue;
    std::vector<std::unique_ptr<Mirror>> mirrors = design.modules[m].make();
    if (mirrors.size() != count)
      return runtime::fail(("wrapper.v and libcorvanesc.so disagree on the mirrors of module '" + std::string(module) +
                            "': run quillc again")
                               .c_str());
    for (size_t i = 0; i < count; ++i)
      mirrors[i]->function = &mirror_targets().emplace_back(
          MirrorTarget{static_cast<vpiHandle>(variables[i]), design.modules[m].ports[i]});
    attach_resolved(path, nullptr, nullptr, std::move(mirrors));
    return 0;
  }
  return runtime::fail(("libcorvanesc.so has no mirrors of module '" + std::string(module) + "': run quillc again").c_str());
}

void corvane_sc::vpi::show_mirror(void *mirror, const Argument &value) {
  const MirrorTarget &target = *static_cast<const MirrorTarget *>(mirror);
  s_vpi_value put{};
  s_vpi_vecval small[2];
  std::vector<s_vpi_vecval> words;
  switch (target.port.form) {
  case Form::Bit:
    put.format = vpiScalarVal;
    put.value.scalar = value.bit ? vpi1 : vpi0;
    break;
  case Form::Logic:
    put.format = vpiScalarVal;
    put.value.scalar = value.logic; // 0, 1, Z, X in both
    break;
  case Form::Word:
    small[0] = {static_cast<PLI_INT32>(value.word), 0};
    small[1] = {static_cast<PLI_INT32>(value.word >> 32), 0};
    put.format = vpiVectorVal;
    put.value.vector = small;
    break;
  case Form::Bits:
    words.resize(word_count(target.port));
    for (size_t w = 0; w < words.size(); ++w)
      words[w] = {static_cast<PLI_INT32>(value.bits[w]), 0};
    put.format = vpiVectorVal;
    put.value.vector = words.data();
    break;
  case Form::LogicBits:
    put.format = vpiVectorVal;
    put.value.vector = reinterpret_cast<s_vpi_vecval *>(value.logic_bits);
    break;
  case Form::Real:
    put.format = vpiRealVal;
    put.value.real = value.real;
    break;
  }
  vpi_put_value(target.variable, &put, nullptr, vpiNoDelay);
}

extern "C" void corvane_sc_vpi_register(void) {
  s_vpi_systf_data task{};
  task.type = vpiSysTask;
  task.tfname = const_cast<PLI_BYTE8 *>("$corvane_sc_eval");
  task.calltf = call;
  task.compiletf = compile;
  vpi_register_systf(&task);
  s_vpi_systf_data mirrors{};
  mirrors.type = vpiSysTask;
  mirrors.tfname = const_cast<PLI_BYTE8 *>("$corvane_sc_mirror");
  mirrors.calltf = mirror;
  vpi_register_systf(&mirrors);
  s_cb_data callback{};
  callback.reason = cbEndOfSimulation;
  callback.cb_rtn = end_of_simulation;
  vpi_register_cb(&callback);
}

void (*vlog_startup_routines[])(void) = {corvane_sc_vpi_register, nullptr};
