// The co-simulation interface of corvane_sc_cosim.h.  Its functions end up
// in every libcorvanesc.so because startup.cpp, which the link compiles
// into the library, refers to each of them.

#include "kit/include/corvane_sc_cosim.h"

#include "kit/include/corvane_sc_runtime.h"
#include "kit/include/corvane_sc_glue.h"
#include "kit/common/module_registry.h"
#include "kit/common/port_names.h"
#include "kit/common/port_types.h"

#include <systemc>

#include <algorithm>
#include <cstring>
#include <exception>
#include <memory>
#include <string>
#include <vector>

struct corvane_sc_instance {
  struct Port {
    std::string name;
    corvane_sc::PortShape shape;
    std::unique_ptr<corvane_sc::PortSignal> signal;
  };

  std::string name;
  std::vector<Port> ports;
};

namespace {

using corvane_sc::PortDirection;
using corvane_sc::PortShape;
using corvane_sc::ValueKind;
using Port = corvane_sc_instance::Port;

// Process-wide and never destroyed: SystemC tears its objects down at exit,
// and the signals of the instances must not go before it.
std::string &last_error() {
  static std::string &text = *new std::string;
  return text;
}

std::vector<std::unique_ptr<corvane_sc_instance>> &instances() {
  static auto &owned = *new std::vector<std::unique_ptr<corvane_sc_instance>>;
  return owned;
}

const corvane_sc::GlueTable &glue() {
  static const corvane_sc::GlueTable &table = *[] {
    auto *t = new corvane_sc::GlueTable;
    corvane_sc::kDesignGlue.addTypes(*t);
    return t;
  }();
  return table;
}

int fail(int code, std::string message) {
  last_error() = std::move(message);
  return code;
}

/// Runs \p body and turns whatever the model or SystemC throws into an
/// error code: no exception may cross the C interface into the simulator.
template <class Body> int guarded(Body body) {
  try {
    return body();
  } catch (const std::exception &e) {
    return fail(CORVANE_SC_ERR_SYSTEMC, e.what());
  } catch (...) {
    return fail(CORVANE_SC_ERR_SYSTEMC, "the model threw something that is not a std::exception");
  }
}

/// Called before the library first touches SystemC.
void prepare_kernel() {
  static bool prepared = false;
  if (prepared)
    return;
  prepared = true;
  // A fatal SystemC report aborts the process by default; here it is one
  // more error to hand back to the simulator.
  sc_core::sc_report_handler::set_actions(sc_core::SC_FATAL, sc_core::SC_DISPLAY |
                                                                  sc_core::SC_CACHE_REPORT |
                                                                  sc_core::SC_THROW);
}

/// Checks that \p instance is a handle that this library gave out.
bool known(const corvane_sc_instance *instance) {
  return instance && std::any_of(instances().begin(), instances().end(),
                                 [instance](const auto &owned) { return owned.get() == instance; });
}

std::string module_list() {
  std::string list;
  for (const corvane_sc::ExportedModule &module : corvane_sc::exported_modules())
    list += (list.empty() ? "" : ", ") + module.name;
  return list.empty() ? "none" : list;
}

std::string port_text(const Port &port, const corvane_sc_instance &instance) {
  return "port '" + port.name + "' of instance '" + instance.name + "'";
}

/// Finds \p name on \p instance, or fails with a message into \p code.
Port *find_port(corvane_sc_instance *instance, const char *name, int &code) {
  if (!known(instance)) {
    code = fail(CORVANE_SC_ERR_ARGUMENT, "not an instance of this library");
    return nullptr;
  }
  if (!name) {
    code = fail(CORVANE_SC_ERR_ARGUMENT, "no port name");
    return nullptr;
  }
  for (Port &port : instance->ports)
    if (port.name == name)
      return &port;
  code = fail(CORVANE_SC_ERR_UNKNOWN_PORT, "instance '" + instance->name + "' has no port '" + name + "'");
  return nullptr;
}

/// Whether every bit of \p words from bit \p from up is \p one.
bool bits_are(const std::vector<uint64_t> &words, size_t from, bool one) {
  for (size_t i = from / 64; i < words.size(); ++i) {
    const uint64_t mask = i == from / 64 ? ~uint64_t(0) << (from % 64) : ~uint64_t(0);
    if ((words[i] & mask) != (one ? mask : 0))
      return false;
  }
  return true;
}

/// Keeps the low \p width bits of \p words.
void mask_to(std::vector<uint64_t> &words, unsigned width) {
  for (size_t i = 0; i < words.size(); ++i) {
    const size_t low = i * 64;
    if (low >= width)
      words[i] = 0;
    else if (width - low < 64)
      words[i] &= (uint64_t(1) << (width - low)) - 1;
  }
}

/// The port's bits as 0, 1, X and Z, most significant first.
std::string logic_text(const corvane_sc::PortWords &value, unsigned width) {
  std::string text;
  for (unsigned bit = width; bit-- > 0;) {
    const int a = value.a[bit / 64] >> (bit % 64) & 1, b = value.b[bit / 64] >> (bit % 64) & 1;
    text += "01ZX"[a | b << 1];
  }
  return text;
}

/// A write of \p count words (\p b null: two-valued) or of \p real (words
/// null) to \p port; see rules 4 and 5 of corvane_sc_cosim.h.
int write_port(corvane_sc_instance *instance, const char *port, const uint64_t *a, const uint64_t *b,
               size_t count, double real) {
  int code = CORVANE_SC_OK;
  Port *found = find_port(instance, port, code);
  if (!found)
    return code;
  const PortShape &shape = found->shape;
  if (shape.direction == PortDirection::Output)
    return fail(CORVANE_SC_ERR_DIRECTION, port_text(*found, *instance) + " is an output");
  if ((shape.kind == ValueKind::Real) != !a)
    return fail(CORVANE_SC_ERR_KIND, port_text(*found, *instance) +
                                         (a ? " is real: write it as a double" : " is not real"));
  corvane_sc::PortWords value;
  value.real = real;
  if (a) {
    if (count == 0)
      return fail(CORVANE_SC_ERR_ARGUMENT, "no words to write");
    // The words as a number of the port's width or wider; a signed port
    // takes fewer words than its width as a two's complement number.
    const size_t n = std::max<size_t>(count, shape.words());
    const bool negative = shape.isSigned && !b && count * 64 < shape.width && a[count - 1] >> 63;
    value.a.assign(n, negative ? ~uint64_t(0) : 0);
    value.b.assign(n, 0);
    std::copy(a, a + count, value.a.begin());
    if (b)
      std::copy(b, b + count, value.b.begin());
    const bool fits = bits_are(value.b, shape.width, false) &&
                      (bits_are(value.a, shape.width, false) ||
                       (!b && shape.isSigned && bits_are(value.a, shape.width - 1, true)));
    if (!fits)
      return fail(CORVANE_SC_ERR_BAD_VALUE,
                  port_text(*found, *instance) + ": value " +
                      (count == 1 && !b ? std::to_string(a[0]) + " " : "") + "does not fit " +
                      std::to_string(shape.width) + (shape.width == 1 ? " bit" : " bits"));
    if (shape.kind == ValueKind::TwoState && !bits_are(value.b, 0, false))
      return fail(CORVANE_SC_ERR_BAD_VALUE, port_text(*found, *instance) + " takes no X or Z");
    value.a.resize(shape.words());
    value.b.resize(shape.words());
    mask_to(value.a, shape.width);
    mask_to(value.b, shape.width);
  }
  return guarded([&] {
    found->signal->write(value);
    return CORVANE_SC_OK;
  });
}

/// A read of \p port into \p count words (\p b null: two-valued) or into
/// \p real (words null).
int read_port(corvane_sc_instance *instance, const char *port, uint64_t *a, uint64_t *b, size_t count,
              double *real) {
  int code = CORVANE_SC_OK;
  Port *found = find_port(instance, port, code);
  if (!found)
    return code;
  if (!a && !real)
    return fail(CORVANE_SC_ERR_ARGUMENT, "no place for the value");
  const PortShape &shape = found->shape;
  if ((shape.kind == ValueKind::Real) != !a)
    return fail(CORVANE_SC_ERR_KIND, port_text(*found, *instance) +
                                         (a ? " is real: read it as a double" : " is not real"));
  if (a && count == 0)
    return fail(CORVANE_SC_ERR_ARGUMENT, "no room for the value");
  corvane_sc::PortWords value;
  value.a.assign(shape.words(), 0);
  value.b.assign(shape.words(), 0);
  code = guarded([&] {
    found->signal->read(value);
    return CORVANE_SC_OK;
  });
  if (code != CORVANE_SC_OK)
    return code;
  if (real) {
    *real = value.real;
    return CORVANE_SC_OK;
  }
  mask_to(value.a, shape.width);
  mask_to(value.b, shape.width);
  if (!b && !bits_are(value.b, 0, false))
    return fail(CORVANE_SC_ERR_BAD_VALUE, port_text(*found, *instance) + " holds " +
                                              logic_text(value, shape.width));
  // Signed values come back sign-extended to all the words asked for.
  const size_t n = std::max<size_t>(count, shape.words());
  const bool negative = !b && shape.isSigned && value.a[(shape.width - 1) / 64] >> ((shape.width - 1) % 64) & 1;
  value.a.resize(n, 0);
  value.b.resize(n, 0);
  if (negative)
    for (size_t bit = shape.width; bit < n * 64; bit = (bit / 64 + 1) * 64)
      value.a[bit / 64] |= ~uint64_t(0) << (bit % 64);
  const bool fits = negative ? bits_are(value.a, count * 64 - 1, true)
                             : bits_are(value.a, count * 64, false) && bits_are(value.b, count * 64, false);
  if (!fits)
    return fail(CORVANE_SC_ERR_BAD_VALUE, port_text(*found, *instance) + ": the value needs " +
                                              std::to_string(shape.words()) + " words");
  std::copy(value.a.begin(), value.a.begin() + count, a);
  if (b)
    std::copy(value.b.begin(), value.b.begin() + count, b);
  return CORVANE_SC_OK;
}

/// What the wrapper generator wrote of \p module, or null when it wrote
/// nothing (it could not build the module, or did not run).
const corvane_sc::ModulePortNames *described_module(const std::string &module) {
  const corvane_sc::DesignGlue &design = corvane_sc::kDesignGlue;
  const auto *end = design.modules + design.moduleCount;
  const auto *found = std::find_if(design.modules, end,
                                   [&](const corvane_sc::ModulePortNames &m) { return module == m.module; });
  return found == end ? nullptr : found;
}

/// The names that the wrapper gave the ports of \p module, by SystemC base
/// name; SystemC's own for a port that the wrapper generator did not see.
std::vector<std::string> port_names(const corvane_sc::ModulePortNames &module,
                                    const std::vector<sc_core::sc_port_base *> &ports) {
  std::vector<std::string> wanted;
  for (const sc_core::sc_port_base *port : ports) {
    wanted.push_back(port->basename());
    for (size_t i = 0; i < module.count; ++i)
      if (std::strcmp(port->basename(), module.ports[i].basename) == 0) {
        wanted.back() = module.ports[i].name;
        break;
      }
  }
  return corvane_sc::legal_port_names(wanted);
}

/// Set once a model that was taken back left something in the kernel;
/// says why nothing may run any more.
std::string &stranded() {
  static std::string &why = *new std::string;
  return why;
}

/// Builds the instance and binds its ports; on failure returns null with
/// the error recorded.
corvane_sc_instance *build_instance(const corvane_sc::ExportedModule &module, const std::string &name) {
  // SystemC cannot take back what a constructor started: a deleted module's
  // processes stay in the kernel and run on freed memory.  So a module is
  // refused on what the wrapper generator saw of it, before any of it
  // exists.
  const corvane_sc::ModulePortNames *described = described_module(module.name);
  const std::string what = "module '" + module.name + "'";
  if (!described) {
    fail(CORVANE_SC_ERR_UNSUPPORTED_PORT,
         what + ": the wrapper generator did not describe it, so its ports are unknown to the library");
    return nullptr;
  }
  if (described->uncarriedPort) {
    fail(CORVANE_SC_ERR_UNSUPPORTED_PORT, what + ", port '" + described->uncarriedPort +
                                              "': the library carries no " + described->uncarriedType);
    return nullptr;
  }

  // A model refused after all (its constructor threw, or built other ports
  // here than in the wrapper generator) is deleted; whatever that leaves
  // (processes, objects made with new) turns up at the top of the
  // hierarchy, and then nothing may run.
  const size_t topLevel = sc_core::sc_get_top_level_objects().size();
  const auto takeBack = [&](sc_core::sc_module *model) {
    delete model;
    if (sc_core::sc_get_top_level_objects().size() != topLevel)
      stranded() = "the kernel cannot go on: instance '" + name + "' of " + what + " left processes or objects behind";
  };
  sc_core::sc_module *model = nullptr;
  try {
    model = module.factory(name.c_str());
  } catch (...) {
    takeBack(nullptr);
    throw;
  }
  std::vector<sc_core::sc_port_base *> ports;
  std::vector<PortShape> shapes;
  for (sc_core::sc_object *child : model->get_child_objects())
    if (auto *port = dynamic_cast<sc_core::sc_port_base *>(child)) {
      shapes.push_back(corvane_sc::classify_port(*port));
      ports.push_back(port);
    }
  const std::vector<std::string> names = port_names(*described, ports);
  // Every port is checked before any is bound.
  for (size_t i = 0; i < ports.size(); ++i)
    if (shapes[i].sv_type().empty() || !glue().find(ports[i]->get_interface_type())) {
      const std::string message = what + ", port '" + names[i] + "': the library carries no " +
                                  corvane_sc::cxx_type_name(*ports[i]) +
                                  " (a port that the wrapper generator did not see)";
      takeBack(model);
      fail(CORVANE_SC_ERR_UNSUPPORTED_PORT, stranded().empty() ? message : message + "; " + stranded());
      return nullptr;
    }

  auto instance = std::make_unique<corvane_sc_instance>();
  instance->name = name;
  for (size_t i = 0; i < ports.size(); ++i) {
    const std::string signalName = name + "_" + names[i];
    instance->ports.push_back(
        {names[i], shapes[i],
         glue().find(ports[i]->get_interface_type())(
             *ports[i], sc_core::sc_gen_unique_name(signalName.c_str(), true))});
  }
  instances().push_back(std::move(instance));
  return instances().back().get();
}

} // namespace

extern "C" {

int corvane_sc_module_count(void) { return static_cast<int>(corvane_sc::exported_modules().size()); }

const char *corvane_sc_module_name(int index) {
  const auto &modules = corvane_sc::exported_modules();
  if (index < 0 || static_cast<size_t>(index) >= modules.size()) {
    fail(CORVANE_SC_ERR_ARGUMENT, "no module number " + std::to_string(index) + " (the library exports " +
                                      std::to_string(modules.size()) + ")");
    return nullptr;
  }
  return modules[index].name.c_str();
}

corvane_sc_instance *corvane_sc_instantiate(const char *module, const char *instance_name) {
  if (!module || !instance_name || !*instance_name) {
    fail(CORVANE_SC_ERR_ARGUMENT, "instantiate needs a module name and an instance name");
    return nullptr;
  }
  const corvane_sc::ExportedModule *exported = corvane_sc::find_exported_module(module);
  if (!exported) {
    fail(CORVANE_SC_ERR_UNKNOWN_MODULE,
         std::string("unknown module '") + module + "' (exported: " + module_list() + ")");
    return nullptr;
  }
  const std::string name = instance_name;
  corvane_sc_instance *made = nullptr;
  guarded([&]() -> int {
    prepare_kernel();
    if (!stranded().empty())
      return fail(CORVANE_SC_ERR_SYSTEMC, stranded());
    if (sc_core::sc_get_status() != sc_core::SC_ELABORATION)
      return fail(CORVANE_SC_ERR_ELABORATED, "cannot instantiate '" + name + "': the simulation has started");
    if (name.find_first_of(". \t\n") != std::string::npos)
      return fail(CORVANE_SC_ERR_ARGUMENT, "instance name '" + name + "' is not a SystemC base name");
    if (sc_core::sc_find_object(instance_name))
      return fail(CORVANE_SC_ERR_NAME_TAKEN, "an object named '" + name + "' exists already");
    made = build_instance(*exported, name);
    return CORVANE_SC_OK;
  });
  return made;
}

int corvane_sc_port_count(corvane_sc_instance *instance) {
  if (!known(instance))
    return fail(CORVANE_SC_ERR_ARGUMENT, "not an instance of this library"), -1;
  return static_cast<int>(instance->ports.size());
}

int corvane_sc_port_info(corvane_sc_instance *instance, int index, corvane_sc_port *info) {
  if (!known(instance))
    return fail(CORVANE_SC_ERR_ARGUMENT, "not an instance of this library");
  if (index < 0 || static_cast<size_t>(index) >= instance->ports.size() || !info)
    return fail(CORVANE_SC_ERR_ARGUMENT, "no port number " + std::to_string(index) + " on instance '" +
                                             instance->name + "'");
  const Port &port = instance->ports[index];
  info->name = port.name.c_str();
  info->direction = static_cast<int>(port.shape.direction);
  info->kind = static_cast<int>(port.shape.kind);
  info->width = port.shape.width;
  info->is_signed = port.shape.isSigned;
  return CORVANE_SC_OK;
}

int corvane_sc_write_u64(corvane_sc_instance *instance, const char *port, uint64_t value) {
  return write_port(instance, port, &value, nullptr, 1, 0);
}

int corvane_sc_read_u64(corvane_sc_instance *instance, const char *port, uint64_t *value) {
  if (!value)
    return read_port(instance, port, nullptr, nullptr, 0, nullptr);
  return read_port(instance, port, value, nullptr, 1, nullptr);
}

int corvane_sc_write_words(corvane_sc_instance *instance, const char *port, const uint64_t *words,
                           size_t count) {
  if (!words)
    return fail(CORVANE_SC_ERR_ARGUMENT, "no words to write");
  return write_port(instance, port, words, nullptr, count, 0);
}

int corvane_sc_read_words(corvane_sc_instance *instance, const char *port, uint64_t *words, size_t count) {
  return read_port(instance, port, words, nullptr, count, nullptr);
}

int corvane_sc_write_logic(corvane_sc_instance *instance, const char *port, const uint64_t *aval,
                           const uint64_t *bval, size_t count) {
  if (!aval || !bval)
    return fail(CORVANE_SC_ERR_ARGUMENT, "no words to write");
  return write_port(instance, port, aval, bval, count, 0);
}

int corvane_sc_read_logic(corvane_sc_instance *instance, const char *port, uint64_t *aval, uint64_t *bval,
                          size_t count) {
  if (!aval || !bval)
    return read_port(instance, port, nullptr, nullptr, 0, nullptr);
  return read_port(instance, port, aval, bval, count, nullptr);
}

int corvane_sc_write_f64(corvane_sc_instance *instance, const char *port, double value) {
  return write_port(instance, port, nullptr, nullptr, 0, value);
}

int corvane_sc_read_f64(corvane_sc_instance *instance, const char *port, double *value) {
  if (!value)
    return read_port(instance, port, nullptr, nullptr, 0, nullptr);
  return read_port(instance, port, nullptr, nullptr, 0, value);
}

int corvane_sc_advance(corvane_sc_instance *instance, uint64_t nanoseconds) {
  if (instance && !known(instance))
    return fail(CORVANE_SC_ERR_ARGUMENT, "not an instance of this library");
  if (!stranded().empty())
    return fail(CORVANE_SC_ERR_SYSTEMC, stranded());
  return guarded([&] {
    prepare_kernel();
    sc_core::sc_start(sc_core::sc_time(static_cast<double>(nanoseconds), sc_core::SC_NS));
    return CORVANE_SC_OK;
  });
}

const char *corvane_sc_last_error(void) { return last_error().c_str(); }

} // extern "C"

corvane_sc::PortSignal *corvane_sc::runtime::port_signal(corvane_sc_instance *instance, int index) {
  if (!known(instance) || index < 0 || static_cast<size_t>(index) >= instance->ports.size())
    return nullptr;
  return instance->ports[index].signal.get();
}
