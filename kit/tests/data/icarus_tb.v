// The SystemC models of cosim.cpp, icarus.cpp and the counter inside Icarus
// Verilog, one line per value.  Three roots, each a run of its own:
// icarus_tb, the values and their timing; icarus_error, ended by a model's
// error; icarus_stop, ended by a model's sc_stop().
`timescale 1ns/1ps

module icarus_tb;
  reg clk = 0, reset = 0, enable = 0, en2 = 0;
  wire [7:0] count, c2;
  counter dut(.clk(clk), .reset(reset), .enable(enable), .count(count));
  counter other(.clk(clk), .reset(1'b0), .enable(en2), .count(c2));
  reg [7:0] x = 0;
  wire [8:0] sum;
  comb adder(.a(x), .b(8'd5), .sum(sum));
  reg signed [11:0] s; reg [63:0] u; reg signed [63:0] ll; reg [127:0] w; reg signed [99:0] sw; real r, f;
  wire signed [11:0] s_neg; wire [63:0] u_inv; wire signed [63:0] ll_half; wire [127:0] w_inc;
  wire signed [99:0] sw_neg; wire [3:0] hold; wire interrupt; wire real r_twice, f_half;
  types t(.s(s), .s_neg(s_neg), .u(u), .u_inv(u_inv), .ll(ll), .ll_half(ll_half), .w(w), .w_inc(w_inc),
          .sw(sw), .sw_neg(sw_neg), .hold(hold), .r(r), .r_twice(r_twice), .f(f), .f_half(f_half),
          .interrupt(interrupt));
  reg [7:0] l, two; reg b;
  wire [7:0] xs, zs, same, own, two_same; wire [1:0] b_code;
  xz probe(.l(l), .xs(xs), .zs(zs), .same(same), .own(own), .b(b), .b_code(b_code), .two(two),
           .two_same(two_same));
  wire [7:0] ticks;
  pulse p(.ticks(ticks));
  realtime at;

  always #5 clk = ~clk;

  // Set and set back before the kernel starts: the model sees 0.
  initial begin
    x = 3;
    #0 x = 0;
  end

  initial begin
    #1 $display("sum at 1 ns: %0d", sum);
    x = 10;
    at = $realtime;
    @(sum) $display("sum after x = 10: %0d, %0s", sum, $realtime == at ? "in the same step" : "later");

    reset = 1;
    @(negedge clk) reset = 0;
    $display("count after reset: %0d", count);
    enable = 1;
    en2 = 1;
    repeat (10) @(negedge clk);
    en2 = 0;
    repeat (90) @(negedge clk);
    $display("count, 100 clocks: %0d; the other, 10 clocks: %0d", count, c2);
    reset = 1;
    @(negedge clk) reset = 0;
    $display("count after reset: %0d", count);
    repeat (256) @(negedge clk);
    $display("count, 256 clocks: %0d", count);
    enable = 0;
    #4.999 enable = 1;
    #0.002 enable = 0;
    $display("count, enable set 1 ps before an edge: %0d", count);
    #10 enable = 1;
    #0.001 $display("count, enable set 1 ps after an edge: %0d", count);
    #10 $display("count, the edge after: %0d", count);

    s = -5;
    u = 64'h0123456789abcdef;
    ll = -10;
    w = 128'hffffffffffffffff;
    sw = -3;
    r = 1.25;
    f = 3.0;
    #1 $display("s_neg %0d interrupt %b u_inv %h ll_half %0d", s_neg, interrupt, u_inv, ll_half);
    $display("w_inc %h sw_neg %0d r_twice %g f_half %g hold %b", w_inc, sw_neg, r_twice, f_half, hold);
    s = 5;
    u = 64'h000000000000xz0f;
    ll = 64'sh8000000000000000;
    w = ~128'd0;
    sw = 1;
    #1 $display("s_neg %0d interrupt %b u_inv %h ll_half %0d", s_neg, interrupt, u_inv, ll_half);
    $display("w_inc %h sw_neg %0d", w_inc, sw_neg);

    l = 8'b01xz10zx;
    b = 1'bz;
    two = 8'b1x0z1111;
    #1 $display("xs %b zs %b same %b own %b b_code %0d two_same %b", xs, zs, same, own, b_code, two_same);
    b = 1'bx;
    #1 $display("b_code %0d", b_code);
    $finish;
  end

  // The pulse counts on its own at 1.5 ns and 3 ns.
  initial begin
    #1.499 $display("ticks at 1.499 ns: %0d", ticks);
    #0.002 $display("ticks at 1.501 ns: %0d", ticks);
    #1.498 $display("ticks at 2.999 ns: %0d", ticks);
    #0.002 $display("ticks at 3.001 ns: %0d", ticks);
  end
endmodule

module icarus_error;
  reg [7:0] value = 254;
  guard g(.value(value));
  initial begin
    #1 value = 255;
    #1 $display("FAILED: the guard let 255 through");
  end
endmodule

module icarus_stop;
  stopper st(.unused(1'b0));
  initial begin
    #1 $display("running at 1 ns");
    #2 $display("FAILED: running at 3 ns");
  end
endmodule
