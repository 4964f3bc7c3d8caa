# quillc-sim's steps for Verilator 5: wrapper.sv through DPI-C, a program
# built with --binary --timing.  Sourced by quillc-sim, which sets top,
# build, work, trace, files and extra.

sim_wrapper() { echo wrapper.sv; }
sim_traces() { echo fst vcd; }
sim_package() { echo verilator; }
sim_version() { "${VERILATOR:-verilator}" --version 2>/dev/null; }

# The top that the Verilator options name, or else the first module that
# the files declare and none of them instantiates.
sim_top() {
  local declared module i
  for ((i = 0; i < ${#extra[@]}; i++)); do
    case ${extra[i]} in
      --top-module | --top) echo "${extra[i + 1]:-}"; return 0 ;;
      --top-module=* | --top=*) echo "${extra[i]#*=}"; return 0 ;;
    esac
  done
  declared=$(sed -n -E 's/^[[:space:]]*module[[:space:]]+(automatic[[:space:]]+|static[[:space:]]+)?([A-Za-z_][A-Za-z0-9_$]*).*/\2/p' "$@")
  for module in $declared; do
    if ! grep -v -E "^[[:space:]]*module[[:space:]]" "$@" |
      grep -q -E "(^|[^A-Za-z0-9_$])$module[[:space:]]*(#[[:space:]]*\(.*\))?[[:space:]]+[A-Za-z_][A-Za-z0-9_$]*[[:space:]]*\("; then
      echo "$module"
      return 0
    fi
  done
}

sim_built() { [[ -x $build/obj/$top ]]; }

sim_build() {
  local options=(--binary --timing --timescale 1ps/1ps --top-module "$top" -Wno-fatal
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

# The program's standard error is the user's; the shell's own notice of a
# death by a signal is not shown (quillc-sim says it in one line).
sim_run() { "$build/obj/$top" 2>&3; } 3>&2 2>/dev/null
