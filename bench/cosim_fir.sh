#!/usr/bin/env bash
# A model whose own work dominates: a FIR filter of 256 taps (or more)
# taking one sample per clock cycle, over 1,000,000 samples, two ways in one run:
#   (a) the SystemC filter inside Verilator through quillc-sim, a
#       SystemVerilog testbench driving the samples;
#   (b) the same filter under a pure SystemC testbench (sc_clock and a
#       driver giving the same samples).
# Prints each simulation's processor time (builds excluded; least of the
# runs) and a/b, whose target is 1.1 or less.
#
#   bench/cosim_fir.sh [build-dir] [samples] [runs] [taps]
#   (defaults: build, 1000000, 3, 256; the more taps, the more the model's
#   own work outweighs the crossings and the testbench)
set -euo pipefail
# shellcheck source=bench/cosim_lib.sh
source "$(dirname "${BASH_SOURCE[0]}")/cosim_lib.sh"
cosim_bench cosim_fir 1000000 "$@"
samples=$count
taps=${4:-256}
[[ $taps =~ ^[1-9][0-9]{0,5}$ ]] || { echo "cosim_fir: taps must be a number from 1 to 999999, not '$taps'" >&2; exit 2; }
mkdir -p "$scratch/a" "$scratch/b"
cat >"$scratch/a/fir.cpp" <<EOF
#include "systemc.h"

// One sample in per rising clock edge, the filtered sample out.
SC_MODULE(fir) {
  sc_in<bool> clk;
  sc_in<sc_int<16>> x;
  sc_out<sc_int<48>> y;
  static constexpr int kTaps = $taps;
  sc_int<16> taps[kTaps], coeff[kTaps];
  void step() {
    for (int i = kTaps - 1; i > 0; --i)
      taps[i] = taps[i - 1];
    taps[0] = x.read();
    sc_int<48> sum = 0;
    for (int i = 0; i < kTaps; ++i)
      sum += taps[i] * coeff[i];
    y.write(sum);
  }
  SC_CTOR(fir) {
    for (int i = 0; i < kTaps; ++i) {
      coeff[i] = (i * 37) % 201 - 100;
      taps[i] = 0;
    }
    SC_METHOD(step);
    sensitive << clk.pos();
    dont_initialize();
  }
};
EOF
cp "$scratch/a/fir.cpp" "$scratch/b/"
# Sample k, given at the k-th falling edge, is the low 16 bits of k * 7919.
cat >"$scratch/a/bench.sv" <<EOF
\`timescale 1ns/1ps
module bench;
  bit clk;
  bit signed [15:0] x;
  wire signed [47:0] y;
  int k;
  fir dut(.clk(clk), .x(x), .y(y));
  always #5 clk = ~clk;
  always @(negedge clk) begin
    k++;
    x = 16'(k * 7919);
  end
  initial begin
    repeat ($samples) @(posedge clk);
    @(negedge clk) \$display("y %0d", y);
    \$finish;
  end
endmodule
EOF
cat >"$scratch/b/main.cpp" <<EOF
#include "fir.cpp"
SC_MODULE(driver) {
  sc_in<bool> clk;
  sc_out<sc_int<16>> x;
  int k = 0;
  void step() { x.write(static_cast<sc_int<16>>(++k * 7919)); }
  SC_CTOR(driver) {
    SC_METHOD(step);
    sensitive << clk.neg();
    dont_initialize();
  }
};
int sc_main(int, char *[]) {
  sc_clock clk("clk", 10, SC_NS);
  sc_signal<sc_int<16>> x;
  sc_signal<sc_int<48>> y;
  fir dut("dut");
  driver d("d");
  dut.clk(clk);
  dut.x(x);
  dut.y(y);
  d.clk(clk);
  d.x(x);
  sc_start(10.0 * $samples, SC_NS);
  std::printf("y %lld\n", static_cast<long long>(y.read().to_int64()));
  return 0;
}
EOF

(cd "$scratch/a" && "$build/quillc" -module fir fir.cpp >quillc.out 2>&1 &&
  "$QUILLC_PATH/bin/quillc-sim" bench.sv >/dev/null)
(cd "$scratch/b" && g++ -std=c++2a -O2 -I"$SYSTEMC_PATH/include" -I"$QUILLC_PATH/include" main.cpp -o fir_sc \
  "$SYSTEMC_PATH/lib64/libsystemc.a" -pthread)

# Least processor time of $runs runs; both must print the same output.
expected=""
best_pattern='^y .*'
a=$(best "$scratch/a" "" sim_build/bench/obj/bench)
b=$(best "$scratch/b" "" ./fir_sc)
if ! cmp -s "$scratch/a.out" "$scratch/b.out"; then
  echo "cosim_fir: the two filters disagree: $(cat "$scratch/a.out") / $(cat "$scratch/b.out")" >&2
  exit 1
fi
awk -v a="$a" -v b="$b" -v t="$taps" -v n="$samples" -v y="$(cat "$scratch/a.out")" 'BEGIN {
  printf "FIR filter of %d taps, %d samples (processor time, least of the runs; %s):\n", t, n, y
  printf "  (a) SystemC model in Verilator through quillc-sim  %7.3f s\n", a
  printf "  (b) SystemC model, pure SystemC testbench         %7.3f s\n", b
  printf "  a/b = %.2f (target: 1.1 or less)\n", a / b
}'
