// The VHPIDIRECT entry points that every wrapper.vhd calls beside the
// generated per-module procedures (sc_module/vhpi_glue.cpp), and what those
// share: GHDL's paths and time.

#include "kit/include/corvane_sc_mirrors.h"
#include "kit/include/corvane_sc_vhpidirect.h"

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <limits>
#include <string>

namespace {

/// The time value of 1 ps: 1000 at GHDL's default resolution of 1 fs.
int64_t ps_value = 1000;

/// GHDL has no end-of-simulation hook for foreign code: the models' own
/// end_of_simulation callbacks run when the process ends, however the
/// testbench ended it (std.env.finish, no events left, --stop-time).
void end_at_exit() {
  if (corvane_sc::runtime::end_simulation() < 0)
    std::fprintf(stderr, "%s\n", corvane_sc::runtime::error());
}

} // namespace

extern "C" int32_t corvane_sc_vhpi_error_length(void) {
  return static_cast<int32_t>(std::strlen(corvane_sc::runtime::error()));
}

extern "C" void corvane_sc_vhpi_mirroring(uint8_t *on) { *on = std::getenv("CORVANE_SC_MIRRORS") != nullptr; }

extern "C" void corvane_sc_vhpi_error_text(const corvane_sc_vhpi_string *text) {
  const char *message = corvane_sc::runtime::error();
  const size_t room = text->bounds->length > 0 ? static_cast<size_t>(text->bounds->length) : 0;
  std::memcpy(text->characters, message, std::min(room, std::strlen(message)));
}

namespace corvane_sc::vhpidirect {

namespace {

/// ":tb:dut:" as the DPI-C side's "tb.dut".
std::string dotted(const corvane_sc_vhpi_string *path) {
  const int32_t length = path->bounds->length > 0 ? path->bounds->length : 0;
  std::string labels(path->characters, static_cast<size_t>(length));
  if (!labels.empty() && labels.front() == ':')
    labels.erase(0, 1);
  if (!labels.empty() && labels.back() == ':')
    labels.pop_back();
  for (char &c : labels)
    if (c == ':')
      c = '.';
  return labels;
}

} // namespace

void attach_mirrors(const corvane_sc_vhpi_string *path, std::vector<std::unique_ptr<mirrors::Mirror>> all) {
  mirrors::attach_resolved(dotted(path).c_str(), nullptr, nullptr, std::move(all));
}

corvane_sc_instance *instantiate(const char *module, const corvane_sc_vhpi_string *path, int64_t ps) {
  if (ps > 0)
    ps_value = ps;
  static const bool endsArmed = std::atexit(end_at_exit) == 0;
  (void)endsArmed;
  // GHDL's own handlers, installed when its simulation started, come
  // after the crash report.
  runtime::report_crashes();
  return runtime::instantiate(module, dotted(path).c_str());
}

int64_t picoseconds(int64_t now) { return now / ps_value; }

void schedule(int64_t now, bool run, int64_t next_ps, uint8_t *wake, int64_t *after) {
  *wake = 0;
  *after = 0;
  if (!run) {
    *wake = 1;
  } else if (next_ps >= 0 && next_ps <= std::numeric_limits<int64_t>::max() / ps_value) {
    *wake = 1;
    *after = next_ps * ps_value - now;
  }
}

} // namespace corvane_sc::vhpidirect
