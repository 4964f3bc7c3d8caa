#include "systemc.h"

// Models for the Icarus Verilog tests, beside cosim.cpp and the counter.

// Four values both ways: which bits of l are X and which Z, as two-valued
// masks; l as it came; a value of its own with X and Z; b as sc_logic
// counts it (0, 1, Z = 2, X = 3); a two-valued input as it reads.
SC_MODULE(xz) {
  sc_in<sc_lv<8>> l;
  sc_out<sc_uint<8>> xs, zs;
  sc_out<sc_lv<8>> same, own;
  sc_in<sc_logic> b;
  sc_out<sc_uint<2>> b_code;
  sc_in<sc_uint<8>> two;
  sc_out<sc_uint<8>> two_same;
  void eval() {
    sc_uint<8> x = 0, z = 0;
    for (int i = 0; i < 8; ++i) {
      x[i] = l.read()[i] == SC_LOGIC_X;
      z[i] = l.read()[i] == SC_LOGIC_Z;
    }
    xs.write(x);
    zs.write(z);
    same.write(l.read());
    own.write(sc_lv<8>("01XZ10ZX"));
    b_code.write(b.read().value());
    two_same.write(two.read());
  }
  SC_CTOR(xz) {
    SC_METHOD(eval);
    sensitive << l << b << two;
  }
};

// Counts on its own every 1500 ps, four times.
SC_MODULE(pulse) {
  sc_out<sc_uint<8>> ticks;
  void run() {
    for (int i = 1; i <= 4; ++i) {
      wait(1500, SC_PS);
      ticks.write(i);
    }
  }
  SC_CTOR(pulse) { SC_THREAD(run); }
};

// Stops the simulation at 2 ns.
SC_MODULE(stopper) {
  sc_in<bool> unused;
  void run() {
    wait(2, SC_NS);
    sc_stop();
  }
  SC_CTOR(stopper) { SC_THREAD(run); }
};
