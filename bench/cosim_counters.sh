#!/usr/bin/env bash
# N instances of the counter example on one clock, three ways in one run:
#   (a) the SystemC counter inside Verilator through quillc-sim;
#   (b) the same SystemC counters under a pure SystemC testbench (sc_clock);
#   (c) the same counter written in SystemVerilog, in the same Verilator.
# For each N, prints each simulation's processor time (least of the runs)
# and a/(b+c), whose target is 1.5 or less; with gdb at hand, the kernel's
# entries per clock cycle for 8 counters.  Then the build of 1,024
# instances: quillc-sim's Verilator build against the same testbench over
# the SystemVerilog counter (wall time, the largest process's peak memory,
# the C++ that Verilator writes).
#
#   bench/cosim_counters.sh [build-dir] [cycles] [runs] [counts] [built]
#   (defaults: build, 100000, 3, "1 8 64 512", 1024; built 0 skips the build)
set -euo pipefail
# shellcheck source=bench/cosim_lib.sh
source "$(dirname "${BASH_SOURCE[0]}")/cosim_lib.sh"
cosim_bench cosim_counters 100000 "$@"
cycles=$count
counts=${4:-1 8 64 512}
built=${5:-1024}
mkdir -p "$scratch/a" "$scratch/b" "$scratch/c"
cp "$root/examples/counter/counter.cpp" "$scratch/a/"
cp "$root/examples/counter/counter.cpp" "$scratch/b/"
sv_counter >"$scratch/c/counter.sv"

# One testbench for (a) and (c): N counters, the clock, the last count.
testbench() {
  cat <<EOF
\`timescale 1ns/1ps
module bench_$1;
  bit clk, enable = 1;
  wire [7:0] count[$1];
  for (genvar i = 0; i < $1; i++) begin : g
    counter dut(.clk(clk), .reset(1'b0), .enable(enable), .count(count[i]));
  end
  always #5 clk = ~clk;
  initial begin
    repeat ($2) @(posedge clk);
    @(negedge clk) \$display("count %0d", count[$1 - 1]);
    \$finish;
  end
endmodule
EOF
}

sc_testbench() {
  cat <<EOF
#include "counter.cpp"
#include <memory>
#include <vector>
int sc_main(int, char *[]) {
  sc_clock clk("clk", 10, SC_NS);
  sc_signal<bool> reset, enable;
  std::vector<std::unique_ptr<sc_signal<sc_uint<8>>>> count;
  std::vector<std::unique_ptr<counter>> dut;
  for (int i = 0; i < $1; ++i) {
    count.push_back(std::make_unique<sc_signal<sc_uint<8>>>(sc_gen_unique_name("count")));
    dut.push_back(std::make_unique<counter>(sc_gen_unique_name("dut")));
    dut.back()->clk(clk);
    dut.back()->reset(reset);
    dut.back()->enable(enable);
    dut.back()->count(*count.back());
  }
  enable = true;
  sc_start(10.0 * $2, SC_NS);
  std::printf("count %d\n", static_cast<int>(count.back()->read()));
  return 0;
}
EOF
}


(cd "$scratch/a" && "$build/quillc" -module counter counter.cpp >quillc.out 2>&1)
echo "N counters on one clock, $cycles clock cycles (processor time, least of $runs runs; builds not timed):"
printf "  %5s %9s %9s %9s %8s %12s\n" N "(a) s" "(b) s" "(c) s" "a/(b+c)" "a ns/inst/cy"
for n in $counts; do
  testbench "$n" "$cycles" >"$scratch/a/bench_$n.sv"
  testbench "$n" "$cycles" >"$scratch/c/bench_$n.sv"
  sc_testbench "$n" "$cycles" >"$scratch/b/main_$n.cpp"
  (cd "$scratch/a" && "$QUILLC_PATH/bin/quillc-sim" "bench_$n.sv" >/dev/null)
  (cd "$scratch/b" && g++ -std=c++2a -O2 -I"$SYSTEMC_PATH/include" -I"$QUILLC_PATH/include" "main_$n.cpp" \
    -o "counter_sc_$n" "$SYSTEMC_PATH/lib64/libsystemc.a" -pthread)
  (cd "$scratch/c" && verilator --binary --timing --timescale 1ps/1ps -Wno-fatal --Mdir "obj_$n" -o "bench_$n" \
    "bench_$n.sv" counter.sv >verilator.log 2>&1)
  a=$(best "$scratch/a" "count $((cycles % 256))" "sim_build/bench_$n/obj/bench_$n")
  b=$(best "$scratch/b" "count $((cycles % 256))" "./counter_sc_$n")
  c=$(best "$scratch/c" "count $((cycles % 256))" "./obj_$n/bench_$n")
  awk -v n="$n" -v a="$a" -v b="$b" -v c="$c" -v k="$cycles" \
    'BEGIN { printf "  %5d %9.3f %9.3f %9.3f %8.2f %12.1f\n", n, a, b, c, a / (b + c), a / n / k * 1e9 }'
done

if command -v gdb >/dev/null; then
  # The kernel entries per clock cycle of 8 counters over 1,000 cycles:
  # one time step's changes reach the kernel together, whatever the number
  # of instances.
  testbench 8 1000 | sed 's/module bench_8;/module entries;/' >"$scratch/a/entries.sv"
  (cd "$scratch/a" && "$QUILLC_PATH/bin/quillc-sim" entries.sv >/dev/null)
  entries=$(kernel_entries "$scratch/a/sim_build/entries/obj/entries")
  awk -v e="$entries" 'BEGIN { printf "kernel entries per clock cycle, 8 counters (1,000 cycles of (a)): %.2f\n", e / 1000 }'
fi

[[ $built == 0 ]] && exit 0
# The build of $built instances, as quillc-sim and as plain Verilator make it
# (the same options, without the library).
testbench "$built" 10 >"$scratch/a/bench_$built.sv"
testbench "$built" 10 >"$scratch/c/bench_$built.sv"
measure() {
  local dir=$1
  shift
  (cd "$dir" && /usr/bin/time -f "%e %M" -o "$scratch/time.out" "$@" >/dev/null 2>&1)
  cat "$scratch/time.out"
}
read -r at am < <(measure "$scratch/a" "$QUILLC_PATH/bin/quillc-sim" "bench_$built.sv")
read -r ct cm < <(measure "$scratch/c" verilator --binary --timing --timescale 1ps/1ps --top-module "bench_$built" \
  --converge-limit 100000 --output-split-cfuncs 1000 \
  -Wno-fatal --Mdir "obj_$built" -o "bench_$built" -j "$(nproc)" "bench_$built.sv" counter.sv)
as=$(cat "$scratch/a/sim_build/bench_$built/obj/"*.cpp | wc -c)
cs=$(cat "$scratch/c/obj_$built/"*.cpp | wc -c)
awk -v n="$built" -v at="$at" -v am="$am" -v ct="$ct" -v cm="$cm" -v as="$as" -v cs="$cs" 'BEGIN {
  printf "build of %d instances (wall time, peak memory of the largest process, C++ written):\n", n
  printf "  quillc-sim            %7.1f s %7.0f MB %8.2f MB\n", at, am / 1024, as / 1e6
  printf "  SystemVerilog twin    %7.1f s %7.0f MB %8.2f MB\n", ct, cm / 1024, cs / 1e6
  printf "  ratio                 %7.2f   %7.2f    (target: 2 or less)\n", at / ct, am / cm
}'
