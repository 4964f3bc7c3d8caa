#!/usr/bin/env bash
# The counter example over 1,000,000 clock cycles, three ways in one run:
#   (a) the SystemC counter inside Verilator through quillc-sim;
#   (b) the same SystemC counter under a pure SystemC testbench (sc_main
#       with an sc_clock), compiled against the kit's SystemC: the floor of
#       the SystemC side;
#   (c) the same counter written in SystemVerilog, in the same Verilator.
#   (d) as (a), built with quillc-sim --trace=vcd: the waveform written.
# Prints each simulation's processor time (builds excluded; least of the
# runs), the ratio a/(b+c), whose target is 1.3 or less (a free crossing
# costs no more than the two simulators doing their halves alone), and
# the cost of one crossing into the model: (a - b - c) over the number of
# evaluations (two per cycle).
#
# With gdb at hand, it also counts the SystemC kernel's entries (calls of
# sc_start) per clock cycle over 1,000 cycles of (a).
#
#   bench/cosim_counter.sh [build-dir] [cycles] [runs]   (defaults: build, 1000000, 3)
set -euo pipefail
# shellcheck source=bench/cosim_lib.sh
source "$(dirname "${BASH_SOURCE[0]}")/cosim_lib.sh"
cosim_bench cosim_counter 1000000 "$@"
cycles=$count
mkdir -p "$scratch/a" "$scratch/b" "$scratch/c"
cp "$root/examples/counter/counter.cpp" "$scratch/a/"
cp "$root/examples/counter/counter.cpp" "$scratch/b/"

# One testbench for (a) and (c): the clock, enable high, the count at the end.
testbench() {
  cat <<EOF
\`timescale 1ns/1ps
module bench;
  bit clk, enable = 1;
  wire [7:0] count;
  counter dut(.clk(clk), .reset(1'b0), .enable(enable), .count(count));
  always #5 clk = ~clk;
  initial begin
    repeat ($cycles) @(posedge clk);
    @(negedge clk) \$display("count %0d", count);
    \$finish;
  end
endmodule
EOF
}
testbench >"$scratch/a/bench.sv"
testbench >"$scratch/c/bench.sv"
testbench | sed 's/module bench;/module traced;/' >"$scratch/a/traced.sv"
sv_counter >"$scratch/c/counter.sv"
cat >"$scratch/b/main.cpp" <<EOF
#include "counter.cpp"
int sc_main(int, char *[]) {
  sc_clock clk("clk", 10, SC_NS);
  sc_signal<bool> reset, enable;
  sc_signal<sc_uint<8>> count;
  counter dut("dut");
  dut.clk(clk);
  dut.reset(reset);
  dut.enable(enable);
  dut.count(count);
  enable = true;
  sc_start(10.0 * $cycles, SC_NS);
  std::printf("count %d\n", static_cast<int>(count.read()));
  return 0;
}
EOF

echo "== building (not timed)"
(cd "$scratch/a" && "$build/quillc" -module counter counter.cpp >quillc.out 2>&1 &&
  "$QUILLC_PATH/bin/quillc-sim" bench.sv >/dev/null)
(cd "$scratch/a" && "$QUILLC_PATH/bin/quillc-sim" --trace=vcd traced.sv >/dev/null)
(cd "$scratch/b" && g++ -std=c++2a -O2 -I"$SYSTEMC_PATH/include" -I"$QUILLC_PATH/include" main.cpp -o counter_sc \
  "$SYSTEMC_PATH/lib64/libsystemc.a" -pthread)
(cd "$scratch/c" && verilator --binary --timing -Wno-fatal --Mdir obj -o bench bench.sv counter.sv \
  >verilator.log 2>&1)

# (a) is the program that quillc-sim built and runs, without the script's
# own check that nothing changed.
a=$(best "$scratch/a" "count $((cycles % 256))" sim_build/bench/obj/bench)
b=$(best "$scratch/b" "count $((cycles % 256))" ./counter_sc)
c=$(best "$scratch/c" "count $((cycles % 256))" ./obj/bench)
d=$(best "$scratch/a" "count $((cycles % 256))" sim_build/traced/obj/traced)
awk -v a="$a" -v b="$b" -v c="$c" -v d="$d" -v n="$cycles" 'BEGIN {
  printf "counter, %d clock cycles (processor time, least of the runs):\n", n
  printf "  (a) SystemC model in Verilator through quillc-sim  %7.3f s\n", a
  printf "  (b) SystemC model, pure SystemC testbench         %7.3f s\n", b
  printf "  (c) SystemVerilog counter in Verilator             %7.3f s\n", c
  printf "  (d) as (a), with --trace=vcd (waveform written)    %7.3f s\n", d
  printf "  a/(b+c) = %.2f (target: 1.3 or less)\n", a / (b + c)
  printf "  one crossing (a - b - c over %d evaluations): %.0f ns\n", 2 * n, (a - b - c) / (2 * n) * 1e9
}'

command -v gdb >/dev/null || exit 0
(cd "$scratch/a" && sed -e 's/repeat ([0-9]*)/repeat (1000)/' -e 's/module bench;/module entries;/' bench.sv >entries.sv &&
  "$QUILLC_PATH/bin/quillc-sim" entries.sv >/dev/null)
entries=$(kernel_entries "$scratch/a/sim_build/entries/obj/entries")
awk -v e="$entries" 'BEGIN { printf "  kernel entries per clock cycle (1,000 cycles of (a)): %.2f\n", e / 1000 }'
