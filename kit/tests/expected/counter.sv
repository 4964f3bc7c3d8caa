// SystemVerilog wrappers of the SystemC modules exported by this build,
// written by the wrapper generator.
//
// The body of each module is its SystemC model in libcorvanesc.so, which
// the simulator connects to these ports; seen from HDL alone the inputs
// are unused and the outputs undriven, one file holds every module, and
// a linter that holds shortreal as real need not say so.
// verilator lint_off UNUSEDSIGNAL
// verilator lint_off UNDRIVEN
// verilator lint_off DECLFILENAME
// verilator lint_off SHORTREAL

module counter (
  input bit clk,
  input bit reset,
  input bit enable,
  output bit [7:0] count
);
endmodule

// verilator lint_on SHORTREAL
// verilator lint_on DECLFILENAME
// verilator lint_on UNDRIVEN
// verilator lint_on UNUSEDSIGNAL
