# What the co-simulation benchmarks share; each sources it after
# `set -euo pipefail` and calls cosim_bench first.
#
#   cosim_bench NAME DEFAULT "$@"   sets name, root, build (the first
#       argument, default build/), count (the second, default DEFAULT),
#       runs (the third, default 3), the kit's variables for build, and
#       scratch, a directory removed at exit.
#   best DIR EXPECTED COMMAND...    the least processor time (user and
#       system, in seconds) of $runs runs of COMMAND in DIR.  What the run
#       prints that matches $best_pattern (grep -o) is kept in
#       $scratch/<DIR's name>.out and must be EXPECTED unless that is empty.
#   sv_counter                      the counter example written in
#       SystemVerilog, on standard output: the twin of the SystemC model.
#   kernel_entries PROGRAM          how often PROGRAM (a co-simulation)
#       enters the SystemC kernel: the calls of sc_start, counted by gdb.

best_pattern='count [0-9]*'

cosim_bench() {
  name=$1
  root=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)
  build=$(cd "${3:-$root/build}" && pwd)
  count=${4:-$2}
  runs=${5:-3}
  eval "$("$build/quillc-env")"
  scratch=$(mktemp -d)
  trap 'rm -rf "$scratch"' EXIT
}

best() {
  local dir=$1 expected=$2 fastest="" out seconds i
  shift 2
  for ((i = 0; i < runs; i++)); do
    seconds=$(cd "$dir" && TIMEFORMAT='%U %S' &&
      { time "$@" >"$scratch/run.out" 2>"$scratch/run.err"; } 2>&1 | awk '{ print $1 + $2 }')
    out=$(grep -o "$best_pattern" "$scratch/run.out" || true)
    echo "$out" >"$scratch/$(basename "$dir").out"
    [[ -z $expected || $out == "$expected" ]] || { echo "$name: $dir printed '$out', not '$expected'" >&2; exit 1; }
    fastest=$(awk -v t="$seconds" -v f="${fastest:-1e9}" 'BEGIN { print (t < f ? t : f) }')
  done
  echo "$fastest"
}

sv_counter() {
  cat <<'EOF'
`timescale 1ns/1ps
module counter(input bit clk, input bit reset, input bit enable, output bit [7:0] count);
  always_ff @(posedge clk)
    if (reset) count <= 0;
    else if (enable) count <= count + 1;
endmodule
EOF
}

kernel_entries() {
  # A breakpoint on sc_start that counts and goes on.
  cat >"$scratch/count.gdb" <<'EOF'
set pagination off
break main
run
break *&'sc_core::sc_start(sc_core::sc_time const&, sc_core::sc_starvation_policy)'
commands
silent
continue
end
continue
info breakpoints
EOF
  (cd "$(dirname "$1")" && gdb -q -batch -x "$scratch/count.gdb" "$1" 2>&1 |
    sed -n 's/.*already hit \([0-9]*\) time.*/\1/p' | tail -1)
}
