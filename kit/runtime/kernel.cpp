// The core of the co-simulation runtime (corvane_sc_runtime.h): instances
// by HDL path, the kernel's stepping and the error record, which every
// simulator interface and the generated glue share.

#include "kit/include/corvane_sc_runtime.h"

#include <systemc>

#include <cmath>
#include <cstdio>
#include <string>

namespace {

/// Delta cycles at one time after which a model is taken to oscillate.
constexpr long kMaxDeltas = 1000000;

/// corvane_sc_last_error() reads the C interface's record, which only its
/// own calls set; the simulator interfaces keep this one beside it.
std::string &runtime_error() {
  static std::string &text = *new std::string;
  return text;
}

bool started = false;

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
    return fail("an instance needs its SystemVerilog path"), nullptr;
  corvane_sc_instance *instance = corvane_sc_instantiate(module, systemc_name(path).c_str());
  if (!instance)
    fail((std::string(path) + ": " + corvane_sc_last_error()).c_str());
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

void advance_to(int64_t now_ps) {
  if (!started) {
    // Ends elaboration: every instance exists by now.
    started = true;
    sc_core::sc_start(sc_core::SC_ZERO_TIME);
  }
  const uint64_t unit = ps_value();
  const sc_core::sc_time target =
      unit ? sc_core::sc_time::from_value(static_cast<uint64_t>(now_ps) * unit)
           : sc_core::sc_time(static_cast<double>(now_ps), sc_core::SC_PS);
  const sc_core::sc_time now = sc_core::sc_time_stamp();
  if (target > now)
    sc_core::sc_start(target - now);
}

bool settle(bool written) {
  for (long deltas = 0; (written && deltas == 0) || sc_core::sc_pending_activity_at_current_time(); ++deltas) {
    if (deltas == kMaxDeltas) {
      fail(("the model does not settle: " + std::to_string(kMaxDeltas) + " delta cycles at " +
            sc_core::sc_time_stamp().to_string())
               .c_str());
      return false;
    }
    sc_core::sc_start(sc_core::SC_ZERO_TIME);
  }
  return true;
}

int64_t next_event_ps(bool settled) {
  sc_core::sc_time at;
  if (settled) {
    // Nothing is left at the current time, so the next activity is the
    // earliest timed event; asking the kernel whether anything is pending
    // again would cost one more look at its update queues.
    if (!sc_core::sc_get_curr_simcontext()->next_time(at))
      return -1;
  } else {
    // With nothing pending, the time to the next activity is the time left.
    at = sc_core::sc_time_stamp() + sc_core::sc_time_to_pending_activity();
    if (at == sc_core::sc_max_time())
      return -1;
  }
  const uint64_t unit = ps_value();
  if (unit)
    return static_cast<int64_t>((at.value() + unit - 1) / unit);
  return static_cast<int64_t>(std::ceil(at.to_seconds() * 1e12));
}

bool stopped() { return sc_core::sc_end_of_simulation_invoked() || sc_core::sc_get_status() == sc_core::SC_STOPPED; }

} // namespace corvane_sc::runtime
