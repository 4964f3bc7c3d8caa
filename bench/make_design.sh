#!/usr/bin/env bash
# Writes a generated SystemC design of N export sources into DIR, for the
# build benchmarks: source unit<i>.cpp defines module unit<i>, a small
# registered adder whose ports are left unnamed, so that the wrapper
# generator has to read every member name from the source.  Prints the
# quillc arguments that build it.
#
#   bench/make_design.sh N DIR
set -euo pipefail
count=${1:?usage: make_design.sh N DIR}
dir=${2:?usage: make_design.sh N DIR}
[[ "$count" =~ ^[1-9][0-9]*$ ]] || { echo "make_design.sh: N must be a positive whole number" >&2; exit 2; }
mkdir -p "$dir"
args=()
for ((i = 0; i < count; ++i)); do
  cat >"$dir/unit$i.cpp" <<CPP
#include "systemc.h"

SC_MODULE(unit$i) {
  sc_in<bool> clk;
  sc_in<sc_uint<16>> a;
  sc_in<sc_uint<16>> b;
  sc_out<sc_uint<17>> sum;

  void step() { sum.write(a.read() + b.read() + $i); }

  SC_CTOR(unit$i) {
    SC_METHOD(step);
    sensitive << clk.pos();
  }
};
CPP
  args+=(-module "unit$i" "unit$i.cpp")
done
echo "${args[@]}"
