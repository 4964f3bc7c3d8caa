
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

module producer (
  input bit clk
  // out: no SystemVerilog type for sc_core::sc_port<write_if, 1, (sc_core::sc_port_policy)0>
  // pkt_out: no SystemVerilog type for sc_core::sc_out<pkt>
);
endmodule

module grows (
  input bit a
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
