
module adder (
  input bit [7:0] a,
  input bit [7:0] b,
  output bit [8:0] sum,
  output bit parity
);
endmodule

module shift_reg (
  input bit clk,
  input logic din,
  output logic [3:0] q
);
endmodule
