// The counter and the ticker under a 1ps/1ps top: an input changed 1 ps
// before a clock edge is seen at it, 1 ps after is not; the ticker's own
// steps come at whole picoseconds.  Run with a trace of the ticker.
`timescale 1ps/1ps
module cosim_tb_ps;
  bit clk, enable, start;
  bit [7:0] count, tick;

  counter dut(.clk(clk), .reset(1'b0), .enable(enable), .count(count));
  ticker tk(.start(start), .count(tick));

  always #5000 clk = ~clk;

  task automatic check(string what, int got, int expected);
    if (got == expected) $display("ok: %s = %0d", what, got);
    else $display("FAILED: %s = %0d", what, got);
  endtask

  initial begin
    #4999 enable = 1;
    #2 enable = 0;
    check("edge at 5 ns, enable set 1 ps before", count, 1);
    #10000 enable = 1;
    #1 check("edge at 15 ns, enable set 1 ps after", count, 1);
    #10000 check("edge at 25 ns", count, 2);
    start = 1;
    #2999 check("ticker at 28.001 ns, started at 25.002", tick, 2);
    #2 check("ticker at 28.003 ns", tick, 3);
    #10000 check("ticker at 38.003 ns", tick, 4);
    $finish;
  end
endmodule
