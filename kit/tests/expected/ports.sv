// SystemVerilog wrappers of the SystemC modules exported by this build,
// written by the wrapper generator.  The body of each module is its
// SystemC model in libcorvanesc.so, reached through DPI-C; how values,
// time, X and Z, names and errors cross is told in corvane_sc_dpi.h.
//
// Each instance builds its model in the first statement of an initial
// block and first runs the kernel after a zero delay, when every initial
// block has begun.  A # delay may count in another module's unit, so the
// wake-ups measure the unit once (one precision step) before using it.
// Without --timing, as in a lint, Verilator sees no timed parts.
`ifndef VERILATOR
`define CORVANE_SC_TIMED
`elsif VERILATOR_TIMING
`define CORVANE_SC_TIMED
`endif
// Lint waivers: one file holds every module, each a top when linted
// alone (DECLFILENAME, MULTITOP); shortreal is held as real (SHORTREAL);
// port names are the model's and may be C++ words, which the simulator
// renames in its own code (SYMRSVDWORD); outputs follow the model as a
// register would (COMBDLY); the evaluation reads every input, also on the
// model's own events (SYNCASYNCNET), and keeps the wake-up's time, read
// only by itself, with blocking writes (BLKSEQ).
// verilator lint_off DECLFILENAME
// verilator lint_off MULTITOP
// verilator lint_off SHORTREAL
// verilator lint_off SYMRSVDWORD
// verilator lint_off COMBDLY
// verilator lint_off SYNCASYNCNET
// verilator lint_off BLKSEQ

module mixer (
  input bit clk,
  input real gain,
  input shortreal bias,
  output real level,
  input bit enable_0,
  input bit enable_1,
  input bit enable_2,
  input bit enable_0_2,
  input bit reg_,
  input bit strobe_rise,
  input bit strobe_fall,
  output bit [1:0] count
);
endmodule

module wide (
  input bit valid,
  input bit [127:0] data,
  input bit signed [199:0] offset,
  output bit signed [199:0] sum,
  input logic [127:0] lanes,
  output logic [127:0] lanes_out
);
endmodule

module inc12 (
  input bit [11:0] in,
  output bit [11:0] out
);
endmodule

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
  // level: no SystemVerilog type for sc_core::sc_inout<double>
  // line: no SystemVerilog type for sc_core::sc_in_resolved
);
endmodule

// verilator lint_on BLKSEQ
// verilator lint_on SYNCASYNCNET
// verilator lint_on COMBDLY
// verilator lint_on SYMRSVDWORD
// verilator lint_on SHORTREAL
// verilator lint_on MULTITOP
// verilator lint_on DECLFILENAME
`undef CORVANE_SC_TIMED
