#!/usr/bin/env bash
# The counter example over 1,000,000 clock cycles in Icarus Verilog, two
# ways under the same Verilog testbench:
#   (a) the SystemC counter through quillc-sim --simulator=icarus (vvp with
#       libcorvanesc.so as its VPI module);
#   (c) the same counter written in Verilog.
# Prints each simulation's processor time (builds excluded; least of the
# runs) and the cost of one crossing into the model: (a - c) over the
# number of evaluations (two per cycle, one per clock edge).
#
#   bench/cosim_icarus.sh [build-dir] [cycles] [runs]   (defaults: build, 1000000, 3)
set -euo pipefail
# shellcheck source=bench/cosim_lib.sh
source "$(dirname "${BASH_SOURCE[0]}")/cosim_lib.sh"
cosim_bench cosim_icarus 1000000 "$@"
cycles=$count
mkdir -p "$scratch/a" "$scratch/c"
cp "$root/examples/counter/counter.cpp" "$scratch/a/"

# One testbench for both: the clock, enable high, the count at the end.
for dir in a c; do
  cat >"$scratch/$dir/bench.v" <<EOF_BENCH
\`timescale 1ns/1ps
module bench;
  reg clk = 0;
  wire [7:0] count;
  counter dut(.clk(clk), .reset(1'b0), .enable(1'b1), .count(count));
  always #5 clk = ~clk;
  initial begin
    repeat ($cycles) @(posedge clk);
    @(negedge clk) \$display("count %0d", count);
    \$finish;
  end
endmodule
EOF_BENCH
done
cat >"$scratch/c/counter.v" <<'EOF_COUNTER'
`timescale 1ns/1ps
module counter(input wire clk, input wire reset, input wire enable, output reg [7:0] count);
  initial count = 0;
  always @(posedge clk)
    if (reset) count <= 0;
    else if (enable) count <= count + 1;
endmodule
EOF_COUNTER

echo "== building (not timed)"
(cd "$scratch/a" && "$build/quillc" -module counter counter.cpp >quillc.out 2>&1 &&
  "$QUILLC_PATH/bin/quillc-sim" --simulator=icarus bench.v >/dev/null)
(cd "$scratch/c" && iverilog -o bench.vvp bench.v counter.v)


# (a) is the simulation that quillc-sim runs, without the script's own
# check that nothing changed.
a=$(best "$scratch/a" "count $((cycles % 256))" vvp -n -m "$scratch/a/libcorvanesc.so" sim_build/bench/bench.vvp)
c=$(best "$scratch/c" "count $((cycles % 256))" vvp -n bench.vvp)
awk -v a="$a" -v c="$c" -v n="$cycles" 'BEGIN {
  printf "counter in Icarus Verilog, %d clock cycles (processor time, least of the runs):\n", n
  printf "  (a) SystemC model through quillc-sim  %7.3f s\n", a
  printf "  (c) Verilog counter                   %7.3f s\n", c
  printf "  one crossing (a - c over %d evaluations): %.0f ns\n", 2 * n, (a - c) / (2 * n) * 1e9
}'
