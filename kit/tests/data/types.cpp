#include "systemc.h"

// A model for GCC only, which the wrapper generator's front end (clang)
// cannot parse: its unnamed ports keep SystemC's names.
static_assert(__GNUC__ >= 10, "needs GCC 10 or later");

// Every kind of port data type that has a SystemVerilog form.  The model
// copies some inputs to outputs, so that reads show what writes did.
SC_MODULE(all_types) {
  sc_in<bool> b;
  sc_in<sc_logic> l;
  sc_in<sc_uint<12>> u;
  sc_in<sc_int<12>> s;
  sc_in<sc_bv<3>> bv;
  sc_in<sc_lv<5>> lv;
  sc_in<int> i;
  sc_in<unsigned short> us;
  sc_out<sc_int<12>> s_out;
  sc_out<sc_lv<5>> lv_out;
  sc_out<long long> ll_out;
  sc_inout<sc_uint<4>> io;
  sc_inout<bool> io_bit;

  void copy() {
    s_out.write(s.read());
    lv_out.write(lv.read());
    ll_out.write(i.read());
  }

  SC_CTOR(all_types)
      : b("b"), l("l"), u("u"), s("s"), bv("bv"), lv("lv"), i("i"), us("us"), s_out("s_out"),
        lv_out("lv_out"), ll_out("ll_out"), io("io"), io_bit("io_bit") {
    SC_METHOD(copy);
    sensitive << s << lv << i;
  }
};

// Ports that have no SystemVerilog form, and one that was never named.
SC_MODULE(odd) {
  sc_in<bool> ok;
  sc_inout<double> level;
  sc_in_resolved line;
  sc_in<bool> unnamed;

  SC_CTOR(odd) : ok("ok"), level("level"), line("line") {}
};
