// The core of the co-simulation runtime (corvane_sc_runtime.h): instances
// by HDL path, the kernel's stepping and the error record, which every
// simulator interface and the generated glue share.

#include "kit/include/corvane_sc_runtime.h"

#include <systemc>

#include <cmath>
#include <cstdio>
#include <string>
#include <vector>

namespace {

/// Delta cycles at one time after which a model is taken to oscillate.
constexpr long kMaxDeltas = 1000000;

/// corvane_sc_last_error() reads the C interface's record, which only its
/// own calls set; the simulator interfaces keep this one beside it.
std::string &runtime_error() {
  static std::string &text = *new std::string;
  return text;
}

/// SystemC's time value of one picosecond; 0 when the resolution is
/// coarser, and then times go through doubles.
uint64_t ps_value() {
  static const uint64_t value = [] {
    const double ps = sc_core::sc_time(1, sc_core::SC_PS).to_seconds();
    const double resolution = sc_core::sc_get_time_resolution().to_seconds();
    return ps >= resolution ? static_cast<uint64_t>(std::llround(ps / resolution)) : 0;
  }();
  return value;
}

/// The SystemC name of HDL path \p path: "." becomes ":", and
/// what SystemC refuses in a name or the mapping needs (white space, ":",
/// "%") is written as %XX, so that distinct paths give distinct names.
std::string systemc_name(const char *path) {
  std::string name;
  for (const char *c = path; *c; ++c) {
    const unsigned char ch = static_cast<unsigned char>(*c);
    if (ch == '.') {
      name += ':';
    } else if (ch <= ' ' || ch == ':' || ch == '%' || ch >= 0x7f) {
      char code[4];
      std::snprintf(code, sizeof code, "%%%02X", ch);
      name += code;
    } else {
      name += static_cast<char>(ch);
    }
  }
  return name;
}

} // namespace

namespace corvane_sc::runtime {

corvane_sc_instance *instantiate(const char *module, const char *path) {
  if (!path || !*path)
    return fail("an instance needs its HDL path"), nullptr;
  corvane_sc_instance *instance = corvane_sc_instantiate(module, systemc_name(path).c_str());
  if (!instance)
    fail((std::string(path) + ": " + corvane_sc_last_error()).c_str());
  else
    ++kernel.instances;
  return instance;
}

std::string instance_name(const char *path) { return systemc_name(path); }

int fail(const char *message) {
  runtime_error() = message;
  return -1;
}

const char *error() { return runtime_error().c_str(); }

int bad_handle(const char *module, int handle) {
  return fail(("no instance of module '" + std::string(module) + "' has handle " + std::to_string(handle)).c_str());
}

int fail_current_exception() {
  try {
    throw;
  } catch (const std::exception &e) {
    return fail(e.what());
  } catch (...) {
    return fail("the model threw something that is not a std::exception");
  }
}

namespace {

/// Input changes that some process waits on, not yet seen.
std::vector<DeferredInput *> &deferred() {
  static std::vector<DeferredInput *> &all = *new std::vector<DeferredInput *>;
  return all;
}

/// Whether the model stopped the simulation in the kernel's last entry.
bool halted = false;

/// Every entry into the kernel, counted; none once the model has stopped
/// the simulation (SystemC refuses them).
void enter(const sc_core::sc_time &duration) {
  if (halted)
    return;
  ++kernel.entries;
  sc_core::sc_start(duration);
  halted = corvane_sc::runtime::stopped();
}

sc_core::sc_time to_time(int64_t ps) {
  const uint64_t unit = ps_value();
  return unit ? sc_core::sc_time::from_value(static_cast<uint64_t>(ps) * unit)
              : sc_core::sc_time(static_cast<double>(ps), sc_core::SC_PS);
}

/// Moves the kernel's time to \p now_ps when it stands before it; no
/// event lies between, so nothing runs.
void move_to(int64_t now_ps) {
  const sc_core::sc_time target = to_time(now_ps), now = sc_core::sc_time_stamp();
  if (target > now)
    enter(target - now);
}

/// Runs the delta cycles at the current time until none is pending, then
/// notes the next event.
bool settle() {
  for (long deltas = 0; !halted && sc_core::sc_pending_activity_at_current_time(); ++deltas) {
    if (deltas == kMaxDeltas) {
      fail(("the model does not settle: " + std::to_string(kMaxDeltas) + " delta cycles at " +
            sc_core::sc_time_stamp().to_string())
               .c_str());
      return false;
    }
    enter(sc_core::SC_ZERO_TIME);
  }
  // Nothing is left at the current time, so the next activity is the
  // earliest timed event.
  sc_core::sc_time at;
  KernelState &k = kernel;
  if (!sc_core::sc_get_curr_simcontext()->next_time(at)) {
    k.next_ps = -1;
  } else {
    const uint64_t unit = ps_value();
    k.next_ps = unit ? static_cast<int64_t>((at.value() + unit - 1) / unit)
                     : static_cast<int64_t>(std::ceil(at.to_seconds() * 1e12));
  }
  return true;
}

} // namespace

KernelState kernel;

bool catch_up_due(int64_t now_ps) {
  KernelState &k = kernel;
  if (!k.started) {
    // Ends elaboration (every instance exists by now) and runs the
    // kernel's start with the inputs written so far.
    k.started = true;
    enter(sc_core::SC_ZERO_TIME);
    if (!settle())
      return false;
  }
  if (k.next_ps < 0 || k.next_ps > now_ps)
    return true;
  // Runs the events before now_ps; those at now_ps wait for settle().
  move_to(now_ps);
  return settle();
}

void defer(DeferredInput &input) {
  deferred().push_back(&input);
  kernel.deferred = true;
}

bool deliver_deferred(int64_t now_ps) {
  move_to(now_ps);
  for (DeferredInput *input : deferred())
    input->announce();
  deferred().clear();
  kernel.deferred = false;
  return settle();
}

bool catch_up_to_latest() {
  KernelState &k = kernel;
  if (!k.started)
    return true;
  move_to(k.latest_ps);
  return settle();
}

int run(int64_t now_ps, int64_t *next_ps) {
  if (ended)
    return *next_ps = -1, 2;
  try {
    const uint64_t entries = kernel.entries;
    if (!catch_up(now_ps) || !deliver(now_ps))
      return -1;
    if (mirrorsAttached)
      show_mirrors();
    *next_ps = next_event_ps();
    return kernel.entries != entries && stopped() ? end_state() : 0;
  } catch (...) {
    return fail_current_exception();
  }
}

bool stopped() { return sc_core::sc_end_of_simulation_invoked() || sc_core::sc_get_status() == sc_core::SC_STOPPED; }

} // namespace corvane_sc::runtime
