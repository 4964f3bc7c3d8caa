#include "systemc.h"

// An 8-bit counter: counts up on every rising clock edge while enabled,
// synchronous reset to zero.
//
// As in most SystemC code, no constructor names the ports: the wrapper and
// the co-simulation know them by their member names all the same.
SC_MODULE(counter) {
  sc_in<bool> clk;
  sc_in<bool> reset;
  sc_in<bool> enable;
  sc_out<sc_uint<8>> count;

  void step() {
    if (reset.read())
      value = 0;
    else if (enable.read())
      value = value + 1;
    count.write(value);
  }

  SC_CTOR(counter) : value(0) {
    SC_METHOD(step);
    sensitive << clk.pos();
    // Only a clock edge may count, not the start of the simulation.
    dont_initialize();
  }

private:
  sc_uint<8> value;
};
