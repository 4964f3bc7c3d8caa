// Drives the SystemC counter from SystemVerilog: 100 clocks with enable
// high, a synchronous reset, and the wrap from 255 to 0.
`timescale 1ns/1ps
module tb;
  bit clk, reset, enable;
  wire [7:0] count;
  int failures = 0;

  counter dut(.clk(clk), .reset(reset), .enable(enable), .count(count));

  always #5 clk = ~clk;

  task automatic check(string what, int expected);
    if (count == 8'(expected))
      $display("ok: %s: count = %0d", what, count);
    else begin
      $display("FAILED: %s: count = %0d, expected %0d", what, count, expected);
      failures++;
    end
  endtask

  initial begin
    reset = 1;
    @(negedge clk) reset = 0;
    check("after reset", 0);
    enable = 1;
    repeat (100) @(negedge clk);
    check("100 clocks with enable high", 100);
    enable = 0;
    repeat (10) @(negedge clk);
    check("10 clocks with enable low", 100);
    reset = 1;
    @(negedge clk) reset = 0;
    check("reset", 0);
    enable = 1;
    repeat (256) @(negedge clk);
    check("256 clocks wrap to", 0);
    repeat (3) @(negedge clk);
    check("3 clocks more", 3);
    if (failures != 0)
      $fatal(1, "%0d checks failed", failures);
    $display("counter: all checks passed");
    $finish;
  end
endmodule
