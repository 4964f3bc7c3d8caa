# quillc-sim's steps for Verilator 5: wrapper.sv through DPI-C, a program
# built with --binary --timing.  Sourced by quillc-sim, which sets top,
# build, work, trace, files and extra.

sim_wrapper() { echo wrapper.sv; }
sim_traces() { echo fst vcd; }
sim_package() { echo verilator; }
sim_version() { "${VERILATOR:-verilator}" --version 2>/dev/null; }

# The roots of the design as Verilator elaborates it: its XML netlist holds
# one top-level cell per root (several roots are what its MULTITOP warning
# lists), each located in the file that declares it.  The wrapper's modules
# that the testbench leaves unused are roots too, and never the top.
sim_tops() {
  local scratch status
  scratch=$(mktemp -d) || return 1
  "${VERILATOR:-verilator}" --xml-only --xml-output "$scratch/design.xml" --Mdir "$scratch" --timing \
    --timescale 1ps/1ps -Wno-fatal "${extra[@]}" "$@" >"$scratch/verilator.log" 2>&1
  status=$?
  if ((status == 0)); then
    awk -v wrapper="$(sim_wrapper)" '
      /^  <files>/ { infiles = 1; next }
      /^  <\/files>/ { infiles = 0; next }
      infiles && match($0, /id="[^"]*" filename="[^"]*"/) {
        split(substr($0, RSTART, RLENGTH), f, "\"")
        file[f[2]] = f[4]
      }
      /^  <netlist>/ { exit }
      /^    <cell / && match($0, /loc="[^,"]*,/) {
        id = substr($0, RSTART + 5, RLENGTH - 6)
        if (file[id] != wrapper && match($0, / hier="[^"]*"/))
          print substr($0, RSTART + 7, RLENGTH - 8)
      }' "$scratch/design.xml"
  else
    cat "$scratch/verilator.log" >&2
  fi
  rm -rf "$scratch"
  return "$status"
}

sim_built() { [[ -x $build/obj/$top ]]; }

sim_build() {
  # A chain of instances through the HDL takes a few rounds per instance
  # in one time step, more than the default limit of 100 allows.  The
  # instances woken by one clock share one C++ function, and the compiler
  # takes far longer over one function of a thousand crossings than over
  # pieces of it.
  local options=(--binary --timing --timescale 1ps/1ps --top-module "$top" -Wno-fatal --converge-limit 100000
    --output-split-cfuncs 1000
    --Mdir "$build/obj" -o "$top" -LDFLAGS "$work/libcorvanesc.so -Wl,-rpath,$work")
  local sources=("${files[@]}" "$work/$build/quillc_sim_fatal.cpp")
  # $fatal, a model's error among them, ends the program with status 1 as
  # any failed program does, after Verilator's own message and the flush of
  # what was written; Verilator's vl_fatal() would abort() and leave a core.
  cat >"$build/quillc_sim_fatal.cpp" <<'EOF_FATAL'
#include "verilated.h"

#include <cstdlib>

void vl_fatal(const char *filename, int linenum, const char *, const char *msg) {
  Verilated::threadContextp()->gotError(true);
  Verilated::threadContextp()->gotFinish(true);
  if (filename && filename[0])
    VL_PRINTF("%%Error: %s:%d: %s\n", filename, linenum, msg);
  else
    VL_PRINTF("%%Error: %s\n", msg);
  Verilated::runFlushCallbacks();
  Verilated::runExitCallbacks();
  std::exit(1);
}
EOF_FATAL
  options+=(-CFLAGS -DVL_USER_FATAL)
  if [[ -n $trace ]]; then
    # A module bound into the top asks for the waveform of everything.
    cat >"$build/trace.sv" <<EOF_TRACE
module quillc_sim_trace;
  timeunit 1ps;
  timeprecision 1ps;
  initial begin
    \$dumpfile("$build/trace.$trace");
    \$dumpvars;
  end
endmodule
bind $top quillc_sim_trace quillc_sim_trace_i();
EOF_TRACE
    sources+=("$build/trace.sv")
    options+=("$([[ $trace == fst ]] && echo --trace-fst || echo --trace)")
    # The wrapper's mirrors of the models' insides, set by the library
    # through functions that the program exports to it.
    options+=(+define+CORVANE_SC_MIRRORS -LDFLAGS -Wl,--export-dynamic)
  fi
  "${VERILATOR:-verilator}" "${options[@]}" "${extra[@]}" -j "$(nproc)" "${sources[@]}"
}

# Each warning: its %Warning line and the indented lines under it (the
# source shown, the instance, where the description is).
sim_warnings() {
  awk '/^%Warning/ { shown = 1; print; next } shown && /^ / { print; next } { shown = 0 }' "$1"
}

sim_run() { exec "$build/obj/$top"; }
