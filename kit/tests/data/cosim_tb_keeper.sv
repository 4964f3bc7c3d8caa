// The cases of the kernel's keeper under a 1ps/1ps top: every kind of
// change a model may wait on, sensitivity that appears late, a chain of 32
// combinational instances answering in the time step of its input beside
// clocked instances, and a model's own events at 5 ms and 10 s.
`timescale 1ps/1ps
module cosim_tb_keeper;
  bit clk, en2 = 1, b, c, level;
  bit [7:0] v, a, falls, both, changes, seen, follows, rises, c1, c2, x;
  wire [7:0] link[0:32];

  edges e(.clk(clk), .v(v), .falls(falls), .both(both), .changes(changes));
  late l(.a(a), .b(b), .c(c), .seen(seen), .follows(follows), .rises(rises));
  counter k1(.clk(clk), .reset(1'b0), .enable(1'b1), .count(c1));
  counter k2(.clk(clk), .reset(1'b0), .enable(en2), .count(c2));
  assign link[0] = x;
  for (genvar i = 0; i < 32; i++) begin : chain
    inc n(.in(link[i]), .out(link[i + 1]));
  end
  slow s(.level(level));

  // 100 clock cycles, the first rising edge at 5 ns.
  initial repeat (200) #5000 clk = ~clk;

  task automatic check(string what, int got, int expected);
    if (got == expected) $display("ok: %s = %0d", what, got);
    else $display("FAILED: %s = %0d", what, got);
  endtask

  initial begin
    #1000 v = 1;
    #1000 v = 2;
    #1000 v = 2;
    #1000 v = 5;
    check("chain at rest", link[32], 32);
    #6000 b = 1;
    #10000 b = 0;
    c = 1;
    #10000 b = 1;
    c = 0;
    #30000 c = 1;
    #10000 c = 0;
    #10000 c = 1;
    #40000 a = 42;
    #79999 check("a read at 199.999 ns", seen, 0);
    #2 check("a read at 200.001 ns", seen, 42);
    check("changes of v", changes, 3);
    check("b through next_trigger", follows, 4);
    check("rises of c from 50 ns on", rises, 2);
    repeat (30) @(posedge clk);
    x = 7;
    begin
      realtime at = $realtime;
      @(link[32]) check("chain answers in the same time step", 64'($realtime == at), 1);
      check("chain of 32", link[32], 39);
    end
  end

  initial begin
    repeat (10) @(posedge clk);
    @(negedge clk) en2 = 0;
    #(64'd1000000) check("falling edges", falls, 100);
    check("both edges", both, 200);
    check("k1, 100 clocks", c1, 100);
    check("k2, 10 clocks", c2, 10);
    // The time now is 1,100,000 ps.  Delays past 2^32 precision units are
    // 64-bit literals.
    #(64'd4998899999) check("level at 5 ms - 1 ps", level, 0);
    #2 check("level at 5 ms + 1 ps", level, 1);
    #(64'd9994999999998) check("level at 10 s - 1 ps", level, 1);
    #2 check("level at 10 s + 1 ps", level, 0);
    $finish;
  end
endmodule
