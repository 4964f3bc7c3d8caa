// SystemVerilog wrappers of the SystemC modules exported by this build,
// written by the wrapper generator.
//
// The body of each module is its SystemC model in libcorvanesc.so, reached
// through DPI-C (corvane_sc_dpi.h): every instance builds its own SystemC
// instance, named after its hierarchical path, writes its inputs to the
// model whenever they change and takes its outputs back, with SystemC's
// time brought to the simulation's first.  The kernel starts once every
// instance exists: each builds its model in the first statement of an
// initial block and runs it only after a #0, so every initial block has
// begun by then.  A wake-up waits for SystemC's next event on its own;
// since a simulator may count a # delay in a unit other than this
// module's, the length of one delay unit is measured once at the start
// (one precision step) rather than assumed.  An error of the model ends
// the simulation through $fatal with its message; sc_stop() ends it
// through $finish.
//
// A simulator that holds no X or Z (Verilator) hands the model what it
// holds: X as 0 or its --x-assign value, Z as 0; the model's own X and Z
// come back as such where the simulator keeps them.
//
// Lint waivers: one file holds every module, each a top of its own when
// linted alone (DECLFILENAME, MULTITOP); a linter that holds shortreal as
// real need not say so (SHORTREAL); port names are the C++ model's and
// may be words of C++ (SYMRSVDWORD), which the simulator renames in its
// own code; an output is written from the model in the block that
// evaluates it, as a register would be (COMBDLY); the blocks that
// evaluate the model read every input, one of them on the model's own
// events (SYNCASYNCNET), and keep the wake-up's bookkeeping, which only
// they read, with blocking writes (BLKSEQ).
//
// The timed parts (the wake-ups and the start after every initial block
// has begun) need a simulator that runs delays; Verilator without
// --timing, as in a lint, sees the bodies without them.
`ifndef VERILATOR
`define CORVANE_SC_TIMED
`elsif VERILATOR_TIMING
`define CORVANE_SC_TIMED
`endif
// verilator lint_off DECLFILENAME
// verilator lint_off MULTITOP
// verilator lint_off SHORTREAL
// verilator lint_off SYMRSVDWORD
// verilator lint_off COMBDLY
// verilator lint_off SYNCASYNCNET
// verilator lint_off BLKSEQ

module adder (
  input bit [7:0] a,
  input bit [7:0] b,
  output bit [8:0] sum,
  output bit parity
);
  timeunit 1ps;
  timeprecision 1ps;
  import "DPI-C" function int corvane_sc_dpi_adder_new(input string path);
  import "DPI-C" function int corvane_sc_dpi_adder_eval(input int sc$handle, input longint sc$now, input bit sc$run,
    input longint unsigned a,
    input longint unsigned b,
    output bit [8:0] sc$sum,
    output bit sc$parity,
    output longint sc$next);
  import "DPI-C" function string corvane_sc_dpi_error();

  int sc$handle = -1;
`ifdef CORVANE_SC_TIMED
  longint sc$armed = -1;
  real sc$unit = 0;
  event sc$due;
`endif
  bit [8:0] sc$sum;
  bit sc$parity;

  task automatic sc$eval(bit sc$run);
`ifndef CORVANE_SC_TIMED
    // verilator lint_off UNUSEDSIGNAL
`endif
    longint sc$next;
    // verilator lint_on UNUSEDSIGNAL
    int sc$status = corvane_sc_dpi_adder_eval(sc$handle, $time, sc$run, 64'(a), 64'(b), sc$sum, sc$parity, sc$next);
    if (sc$status < 0)
      $fatal(1, "%s", corvane_sc_dpi_error());
    if (sc$status > 0)
      $finish;
`ifdef CORVANE_SC_TIMED
    if (sc$unit > 0 && sc$next >= 0 && (sc$armed < 0 || sc$next < sc$armed)) begin
      sc$armed = sc$next;
      fork
        begin
          automatic longint sc$at = sc$next;
          #(real'(sc$at - longint'($time)) / sc$unit);
          if (sc$at == sc$armed)
            -> sc$due;
        end
      join_none
    end
`endif
  endtask

`ifdef CORVANE_SC_TIMED
  always @(sc$due) begin
    sc$armed = -1;
    sc$eval(1);
  end
`endif

  initial begin
    sc$handle = corvane_sc_dpi_adder_new($sformatf("%m"));
    if (sc$handle < 0)
      $fatal(1, "%s", corvane_sc_dpi_error());
    sc$eval(0);
`ifdef CORVANE_SC_TIMED
    begin
      real sc$before, sc$probe = 1e-15;
      forever begin
        sc$before = $realtime;
        #(sc$probe);
        sc$eval(1);
        if ($realtime > sc$before)
          break;
        sc$probe = sc$probe * 10;
      end
      sc$unit = ($realtime - sc$before) / sc$probe;
    end
    sc$eval(1);
`endif
  end
  always @(sc$sum)
    sum <= sc$sum;
  always @(sc$parity)
    parity <= sc$parity;

  always @(a, b)
    if (sc$handle >= 0)
      sc$eval(1);
endmodule

module shift_reg (
  input bit clk,
  input logic din,
  output logic [3:0] q
);
  timeunit 1ps;
  timeprecision 1ps;
  import "DPI-C" function int corvane_sc_dpi_shift_reg_new(input string path);
  import "DPI-C" function int corvane_sc_dpi_shift_reg_eval(input int sc$handle, input longint sc$now, input bit sc$run,
    input bit clk,
    input logic din,
    output logic [3:0] sc$q,
    output longint sc$next);
  import "DPI-C" function string corvane_sc_dpi_error();

  int sc$handle = -1;
`ifdef CORVANE_SC_TIMED
  longint sc$armed = -1;
  real sc$unit = 0;
  event sc$due;
`endif
  logic [3:0] sc$q;

  task automatic sc$eval(bit sc$run);
`ifndef CORVANE_SC_TIMED
    // verilator lint_off UNUSEDSIGNAL
`endif
    longint sc$next;
    // verilator lint_on UNUSEDSIGNAL
    int sc$status = corvane_sc_dpi_shift_reg_eval(sc$handle, $time, sc$run, clk, din, sc$q, sc$next);
    if (sc$status < 0)
      $fatal(1, "%s", corvane_sc_dpi_error());
    if (sc$status > 0)
      $finish;
`ifdef CORVANE_SC_TIMED
    if (sc$unit > 0 && sc$next >= 0 && (sc$armed < 0 || sc$next < sc$armed)) begin
      sc$armed = sc$next;
      fork
        begin
          automatic longint sc$at = sc$next;
          #(real'(sc$at - longint'($time)) / sc$unit);
          if (sc$at == sc$armed)
            -> sc$due;
        end
      join_none
    end
`endif
  endtask

`ifdef CORVANE_SC_TIMED
  always @(sc$due) begin
    sc$armed = -1;
    sc$eval(1);
  end
`endif

  initial begin
    sc$handle = corvane_sc_dpi_shift_reg_new($sformatf("%m"));
    if (sc$handle < 0)
      $fatal(1, "%s", corvane_sc_dpi_error());
    sc$eval(0);
`ifdef CORVANE_SC_TIMED
    begin
      real sc$before, sc$probe = 1e-15;
      forever begin
        sc$before = $realtime;
        #(sc$probe);
        sc$eval(1);
        if ($realtime > sc$before)
          break;
        sc$probe = sc$probe * 10;
      end
      sc$unit = ($realtime - sc$before) / sc$probe;
    end
    sc$eval(1);
`endif
  end
  always @(sc$q)
    q <= sc$q;

  always @(clk, din)
    if (sc$handle >= 0)
      sc$eval(1);
endmodule

// verilator lint_on BLKSEQ
// verilator lint_on SYNCASYNCNET
// verilator lint_on COMBDLY
// verilator lint_on SYMRSVDWORD
// verilator lint_on SHORTREAL
// verilator lint_on MULTITOP
// verilator lint_on DECLFILENAME
`undef CORVANE_SC_TIMED
