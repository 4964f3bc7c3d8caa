// The SystemC models of cosim.cpp and the counter under a 1ns/1ps top:
// one line per check, then the guard's error ends the run.
`timescale 1ns/1ps

// Two of these give two counters with the same leaf name.
module pair(input bit clk, input bit enable, output bit [7:0] count);
  counter a(.clk(clk), .reset(1'b0), .enable(enable), .count(count));
endmodule

module cosim_tb;
  bit clk, reset, enable, en2, start, bit_in;
  bit [7:0] count, c1, c2, x, guard_value;
  bit [8:0] sum;
  bit [7:0] tick;
  bit signed [11:0] s, s_neg; bit [63:0] u, u_inv; bit signed [63:0] ll, ll_half;
  bit [127:0] w, w_inc; bit signed [99:0] sw, sw_neg; bit [69:0] bv, bv_inv;
  logic [7:0] l, l_same; logic [3:0] hold; logic bit_out; bit interrupt;
  real r, r_twice; shortreal f, f_half;

  counter dut(.clk(clk), .reset(reset), .enable(enable), .count(count));
  pair pair1(.clk(clk), .enable(enable), .count(c1));
  pair pair2(.clk(clk), .enable(en2), .count(c2));
  comb adder(.a(x + 8'd1), .b(8'd5), .sum(sum), .diff());
  ticker tk(.start(start), .count(tick));
  types t(.*);
  guard g(.value(guard_value));

  always #5 clk = ~clk;

  task automatic check(string what, logic [127:0] got, logic [127:0] expected);
    if (got === expected) $display("ok: %s = %0h", what, got);
    else $display("FAILED: %s = %0h", what, got);
  endtask

  initial begin
    realtime at;
    #1 check("tie-off and x+1 at 1 ns: sum", 64'(sum), 6);
    // The model's sc_logic starts as X; the testbench's 0 reaches it.
    check("bit_out from bit_in's first 0", 128'(bit_out), 0);
    x = 10;
    at = $realtime;
    @(sum) check("same time step", 64'($realtime == at), 1);
    check("sum follows x", 64'(sum), 16);

    reset = 1;
    @(negedge clk) reset = 0;
    check("after reset: count", 64'(count), 0);
    enable = 1;
    en2 = 1;
    repeat (10) @(negedge clk);
    en2 = 0;
    repeat (90) @(negedge clk);
    check("100 clocks with enable: count", 64'(count), 100);
    check("pair1.a, 100 clocks", 64'(c1), 100);
    check("pair2.a, 10 clocks", 64'(c2), 10);
    reset = 1;
    @(negedge clk) reset = 0;
    check("reset: count", 64'(count), 0);
    repeat (256) @(negedge clk);
    check("256 clocks wrap: count", 64'(count), 0);

    s = -5;
    u = 64'h0123456789abcdef;
    ll = -10;
    w = 128'hffffffffffffffff;
    sw = -3;
    bv = 70'h2a_5555_0000_ffff_1234;
    l = 8'b1010_0101;
    bit_in = 1;
    r = 1.25;
    f = 3.0;
    #1;
    check("s_neg", 128'(s_neg), 5);
    check("interrupt", 128'(interrupt), 1);
    check("u_inv", 128'(u_inv), 64'hfedcba9876543210);
    check("ll_half", 128'(ll_half), 128'(-64'sd5));
    check("w_inc", w_inc, 128'h1_0000000000000000);
    check("sw_neg", 128'(sw_neg), 3);
    check("bv_inv", 128'(bv_inv), 128'(70'h15_aaaa_ffff_0000_edcb));
    check("l_same", 128'(l_same), 8'b1010_0101);
    check("hold 01XZ as its a bits", 128'(hold), 4'b0110);
    check("bit_out", 128'(bit_out), 1);
    check("r_twice is 2.5", 128'(r_twice == 2.5), 1);
    check("f_half is 1.5", 128'(f_half == 1.5), 1);
    s = 5;
    sw = 1;
    l = 8'b01xz_10xz;
    #1;
    check("s_neg", 128'(s_neg), 128'(-12'sd5));
    check("sw_neg", 128'(sw_neg), 128'(-100'sd1));
    check("l_same of 01xz10xz as held", 128'(l_same === l), 1);

    guard_value = 254;
    #1 guard_value = 255;
    #1 $display("FAILED: the guard let 255 through");
    $finish;
  end

  // The ticker counts every 10 ns on its own; start at 25 ns moves its
  // next step to 28 ns.
  initial begin
    #9.999 check("ticker at 9.999 ns", 64'(tick), 0);
    #0.002 check("ticker at 10.001 ns", 64'(tick), 1);
    #14.999 start = 1;
    #2.999 check("ticker at 27.999 ns", 64'(tick), 2);
    #0.002 check("ticker at 28.001 ns", 64'(tick), 3);
    #10 check("ticker at 38.001 ns", 64'(tick), 4);
  end
endmodule
