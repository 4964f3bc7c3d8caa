#include "systemc.h"

// The semicolon after clk is missing.
SC_MODULE(broken) {
  sc_in<bool> clk
  SC_CTOR(broken) : clk("clk") {}
};
