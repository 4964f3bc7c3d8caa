#include "systemc.h"

// Models for the VHDL co-simulation tests, beside cosim.cpp's.

// Timed on its own: count goes up every 1500 ps.
SC_MODULE(pulse) {
  sc_out<sc_uint<8>> count;
  void run() {
    for (;;) {
      wait(1500, SC_PS);
      count.write(count.read() + 1);
    }
  }
  SC_CTOR(pulse) { SC_THREAD(run); }
};

// Port names that VHDL cannot take as they are.
SC_MODULE(words) {
  sc_in<bool> in;
  sc_out<bool> out;
  sc_in<sc_uint<4>> signal;
  sc_out<sc_uint<4>> range;
  sc_in<bool> clk, CLK;
  sc_out<sc_uint<2>> _both_;
  void eval() {
    out.write(!in.read());
    range.write(signal.read() + 1);
    _both_.write(clk.read() * 2 + CLK.read());
  }
  SC_CTOR(words) { SC_METHOD(eval); sensitive << in << signal << clk << CLK; }
};

// Stops the simulation when stop rises.
SC_MODULE(stopper) {
  sc_in<bool> stop;
  void check() { if (stop.read()) sc_stop(); }
  SC_CTOR(stopper) { SC_METHOD(check); sensitive << stop; dont_initialize(); }
};
