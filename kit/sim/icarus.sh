# quillc-sim's steps for Icarus Verilog 11: wrapper.v, whose bodies call
# the VPI task of libcorvanesc.so, compiled by iverilog; vvp loads the
# library as its VPI module.  Sourced by quillc-sim, which sets top, build,
# work, trace, files and extra.  Of the options after --, those that begin
# with + are the simulation's (plusargs, read by $test$plusargs and
# $value$plusargs); the others are iverilog's.  A design with a .sv file
# among the testbench's is compiled as SystemVerilog (-g2012) unless the
# options name a generation.

sim_wrapper() { echo wrapper.v; }
sim_package() { echo iverilog; }
sim_version() { "${IVERILOG:-iverilog}" -V 2>/dev/null | sed -n 1p && "${VVP:-vvp}" -V 2>/dev/null | sed -n 1p; }

# VCD always; FST when this vvp writes it.
sim_traces() {
  local dir status
  dir=$(mktemp -d) || return 1
  printf 'module t; initial begin $dumpfile("%s/t.fst"); $dumpvars; end endmodule\n' "$dir" >"$dir/t.v"
  "${IVERILOG:-iverilog}" -o "$dir/t.vvp" "$dir/t.v" >/dev/null 2>&1 &&
    "${VVP:-vvp}" -n "$dir/t.vvp" -fst >/dev/null 2>&1 && [[ -s $dir/t.fst ]]
  status=$?
  rm -rf "$dir"
  ((status == 0)) && echo vcd fst || echo vcd
}

# The options after -- for iverilog, and for the simulation.
icarus_options() {
  local option generation=""
  for option in "${extra[@]}"; do
    [[ $option == +* ]] || echo "$option"
    [[ $option == -g[12]* ]] && generation=$option
  done
  if [[ -z $generation ]]; then
    for option in "$@"; do
      [[ $option == *.sv ]] && { echo -g2012; break; }
    done
  fi
}
icarus_plusargs() {
  local option
  for option in "${extra[@]}"; do
    [[ $option != +* ]] || echo "$option"
  done
}

# The modules that Icarus elaborates as roots from the files (the wrapper
# among them), in the order the files declare them, the wrapper's own
# left out; or the roots that the options name with -s.
sim_tops_named() {
  local i
  for ((i = 0; i < ${#extra[@]}; i++)); do
    case ${extra[i]} in
      -s) echo "${extra[i + 1]:-}" ;;
      -s?*) echo "${extra[i]#-s}" ;;
    esac
  done
}

sim_tops() {
  local dir wrapper_modules options
  sim_tops_named | grep . && return 0
  dir=$(mktemp -d) || return 1
  mapfile -t options < <(icarus_options "$@")
  if ! "${IVERILOG:-iverilog}" "${options[@]}" -o "$dir/tops.vvp" "$@" >"$dir/log" 2>&1; then
    cat "$dir/log" >&2
    echo "quillc-sim: iverilog cannot compile $*" >&2
    rm -rf "$dir"
    return 1
  fi
  wrapper_modules=" $(sed -n -E 's/^module ([A-Za-z_][A-Za-z0-9_$]*).*/\1/p' "$(sim_wrapper)" | tr '\n' ' ') "
  # A root scope has no parent: .scope module, "name" "name" FILE LINE;
  sed -n -E 's/^S_[0-9a-fx]+ \.scope module, "([^"]*)" "[^"]*" ([0-9]+) ([0-9]+);$/\2 \3 \1/p' "$dir/tops.vvp" |
    sort -n -k1,1 -k2,2 | while read -r _ _ module; do
      [[ $wrapper_modules == *" $module "* ]] || echo "$module"
    done
  rm -rf "$dir"
}


sim_built() { [[ -f $build/$top.vvp ]]; }

sim_build() {
  local options sources=("${files[@]}") roots=(-s "$top")
  mapfile -t options < <(icarus_options "${files[@]}")
  # The roots that the options name are all kept, the top among them.
  [[ $'\n'"$(sim_tops_named)"$'\n' != *$'\n'"$top"$'\n'* ]] || roots=()
  if [[ -n $trace ]]; then
    # Icarus has no bind: a second root asks for the waveform of the top.
    cat >"$build/trace.v" <<EOF_TRACE
\`timescale 1ps/1ps
module quillc_sim_trace;
  initial begin
    \$dumpfile("$build/trace.$trace");
    \$dumpvars(0, $top);
  end
endmodule
EOF_TRACE
    sources+=("$build/trace.v")
    roots+=(-s quillc_sim_trace)
    # The wrapper's mirrors of the models' insides, set by the library.
    options+=(-DCORVANE_SC_MIRRORS)
  fi
  "${IVERILOG:-iverilog}" "${options[@]}" "${roots[@]}" -o "$build/$top.vvp" "${sources[@]}"
}

sim_warnings() { grep -i -E '(^|: )warning' "$1"; }

sim_run() {
  local plusargs format=()
  mapfile -t plusargs < <(icarus_plusargs)
  [[ $trace != fst ]] || format=(-fst)
  exec "${VVP:-vvp}" -n -m "$work/libcorvanesc.so" "$build/$top.vvp" "${format[@]}" "${plusargs[@]}"
}
