// Two hierarchical models in a chain, the stopper and the crasher on one
// clock; the testbench ends at 100 ns unless a model ends it first.
`timescale 1ns/1ps
module ends_tb;
  bit clk;
  bit [7:0] a = 3, b, c;
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
