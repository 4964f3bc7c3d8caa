#include "systemc.h"

#include "checksum.h"

// Adds two bytes; parity tells whether the sum has an odd number of ones.
SC_MODULE(adder) {
  sc_in<sc_uint<8>> a;
  sc_in<sc_uint<8>> b;
  sc_out<sc_uint<9>> sum;
  sc_out<bool> parity;

  void add() {
    unsigned total = a.read() + b.read();
    sum.write(total);
    parity.write(odd_parity(total));
  }

  SC_CTOR(adder) : a("a"), b("b"), sum("sum"), parity("parity") {
    SC_METHOD(add);
    sensitive << a << b;
  }
};

// A 4-bit shift register of logic values: on every rising clock edge din
// enters at the low end.
SC_MODULE(shift_reg) {
  sc_in<bool> clk;
  sc_in<sc_logic> din;
  sc_out<sc_lv<4>> q;

  void shift() {
    bits = bits << 1;
    bits[0] = din.read();
    q.write(bits);
  }

  SC_CTOR(shift_reg) : clk("clk"), din("din"), q("q"), bits("0000") {
    SC_METHOD(shift);
    sensitive << clk.pos();
    dont_initialize();
  }

private:
  sc_lv<4> bits;
};
