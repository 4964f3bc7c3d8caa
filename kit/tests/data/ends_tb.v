// ends_tb.sv for Icarus Verilog.
`timescale 1ns/1ps
module ends_tb;
  reg clk = 0;
  reg [7:0] a = 3; wire [7:0] b, c;
  always #5 clk = ~clk;
  stopper s(.clk(clk));
  pair p1(.clk(clk), .in(a), .out(b));
  pair p2(.clk(clk), .in(b), .out(c));
  crasher x(.clk(clk));
  initial begin
    #100 $display("testbench ends at %0t: c = %0d", $time, c);
    $finish;
  end
endmodule
