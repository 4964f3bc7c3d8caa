// SystemVerilog wrappers of the SystemC modules exported by this build,
// written by the wrapper generator.
//
// The body of each module is its SystemC model in libcorvanesc.so, which
// the simulator connects to these ports; seen from HDL alone the inputs
// are unused and the outputs undriven, and one file holds every module.
// verilator lint_off UNUSEDSIGNAL
// verilator lint_off UNDRIVEN
// verilator lint_off DECLFILENAME

module all_types (
  input bit b,
  input logic l,
  input bit [11:0] u,
  input bit signed [11:0] s,
  input bit [2:0] bv,
  input logic [4:0] lv,
  input bit signed [31:0] i,
  input bit [15:0] us,
  output bit signed [11:0] s_out,
  output logic [4:0] lv_out,
  output bit signed [63:0] ll_out,
  inout wire [3:0] io,
  inout wire io_bit
);
endmodule

module odd (
  input bit ok,
  input bit port_0
  // level: no SystemVerilog type for sc_core::sc_in<double>
  // wide: no SystemVerilog type for sc_core::sc_out<sc_dt::sc_biguint<100> >
);
endmodule

// verilator lint_on DECLFILENAME
// verilator lint_on UNDRIVEN
// verilator lint_on UNUSEDSIGNAL
