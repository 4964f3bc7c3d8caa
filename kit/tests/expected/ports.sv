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
  timeunit 1ps;
  timeprecision 1ps;
  import "DPI-C" function int corvane_sc_dpi_mixer_new(input string path);
  import "DPI-C" function int corvane_sc_dpi_mixer_eval(input int sc$handle, input longint sc$now, input bit sc$run,
    input bit clk,
    input real gain,
    input real bias,
    output real sc$level,
    input bit enable_0,
    input bit enable_1,
    input bit enable_2,
    input bit enable_0_2,
    input bit reg_,
    input bit strobe_rise,
    input bit strobe_fall,
    output bit [1:0] sc$count,
    output longint sc$next);
  import "DPI-C" function string corvane_sc_dpi_error();

  int sc$handle = -1;
`ifdef CORVANE_SC_TIMED
  longint sc$armed = -1;
  real sc$unit = 0;
  event sc$due;
`endif
  real sc$level;
  bit [1:0] sc$count;

  task automatic sc$eval(bit sc$run);
`ifndef CORVANE_SC_TIMED
    // verilator lint_off UNUSEDSIGNAL
`endif
    longint sc$next;
    // verilator lint_on UNUSEDSIGNAL
    int sc$status = corvane_sc_dpi_mixer_eval(sc$handle, $time, sc$run, clk, gain, bias, sc$level, enable_0, enable_1, enable_2, enable_0_2, reg_, strobe_rise, strobe_fall, sc$count, sc$next);
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
    sc$handle = corvane_sc_dpi_mixer_new($sformatf("%m"));
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
  always @(sc$level)
    level <= sc$level;
  always @(sc$count)
    count <= sc$count;

  always @(clk, gain, bias, enable_0, enable_1, enable_2, enable_0_2, reg_, strobe_rise, strobe_fall)
    if (sc$handle >= 0)
      sc$eval(1);
endmodule

module wide (
  input bit valid,
  input bit [127:0] data,
  input bit signed [199:0] offset,
  output bit signed [199:0] sum,
  input logic [127:0] lanes,
  output logic [127:0] lanes_out
);
  timeunit 1ps;
  timeprecision 1ps;
  import "DPI-C" function int corvane_sc_dpi_wide_new(input string path);
  import "DPI-C" function int corvane_sc_dpi_wide_eval(input int sc$handle, input longint sc$now, input bit sc$run,
    input bit valid,
    input bit [127:0] data,
    input bit [199:0] offset,
    output bit [199:0] sc$sum,
    input logic [127:0] lanes,
    output logic [127:0] sc$lanes_out,
    output longint sc$next);
  import "DPI-C" function string corvane_sc_dpi_error();

  int sc$handle = -1;
`ifdef CORVANE_SC_TIMED
  longint sc$armed = -1;
  real sc$unit = 0;
  event sc$due;
`endif
  bit [199:0] sc$sum;
  logic [127:0] sc$lanes_out;

  task automatic sc$eval(bit sc$run);
`ifndef CORVANE_SC_TIMED
    // verilator lint_off UNUSEDSIGNAL
`endif
    longint sc$next;
    // verilator lint_on UNUSEDSIGNAL
    int sc$status = corvane_sc_dpi_wide_eval(sc$handle, $time, sc$run, valid, data, offset, sc$sum, lanes, sc$lanes_out, sc$next);
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
    sc$handle = corvane_sc_dpi_wide_new($sformatf("%m"));
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
  always @(sc$lanes_out)
    lanes_out <= sc$lanes_out;

  always @(valid, data, offset, lanes)
    if (sc$handle >= 0)
      sc$eval(1);
endmodule

module inc12 (
  input bit [11:0] in,
  output bit [11:0] out
);
  timeunit 1ps;
  timeprecision 1ps;
  import "DPI-C" function int corvane_sc_dpi_inc12_new(input string path);
  import "DPI-C" function int corvane_sc_dpi_inc12_eval(input int sc$handle, input longint sc$now, input bit sc$run,
    input longint unsigned in,
    output bit [11:0] sc$out,
    output longint sc$next);
  import "DPI-C" function string corvane_sc_dpi_error();

  int sc$handle = -1;
`ifdef CORVANE_SC_TIMED
  longint sc$armed = -1;
  real sc$unit = 0;
  event sc$due;
`endif
  bit [11:0] sc$out;

  task automatic sc$eval(bit sc$run);
`ifndef CORVANE_SC_TIMED
    // verilator lint_off UNUSEDSIGNAL
`endif
    longint sc$next;
    // verilator lint_on UNUSEDSIGNAL
    int sc$status = corvane_sc_dpi_inc12_eval(sc$handle, $time, sc$run, 64'(in), sc$out, sc$next);
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
    sc$handle = corvane_sc_dpi_inc12_new($sformatf("%m"));
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
  always @(sc$out)
    out <= sc$out;

  always @(in)
    if (sc$handle >= 0)
      sc$eval(1);
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
  timeunit 1ps;
  timeprecision 1ps;
  import "DPI-C" function int corvane_sc_dpi_all_types_new(input string path);
  import "DPI-C" function int corvane_sc_dpi_all_types_eval(input int sc$handle, input longint sc$now, input bit sc$run,
    input bit b,
    input logic l,
    input longint unsigned u,
    input longint s,
    input longint unsigned bv,
    input logic [4:0] lv,
    input longint i,
    input longint unsigned us,
    output bit signed [11:0] sc$s_out,
    output logic [4:0] sc$lv_out,
    output bit signed [63:0] sc$ll_out,
    input longint unsigned io,
    output bit [3:0] sc$io,
    input bit io_bit,
    output bit sc$io_bit,
    output longint sc$next);
  import "DPI-C" function string corvane_sc_dpi_error();

  int sc$handle = -1;
`ifdef CORVANE_SC_TIMED
  longint sc$armed = -1;
  real sc$unit = 0;
  event sc$due;
`endif
  bit signed [11:0] sc$s_out;
  logic [4:0] sc$lv_out;
  bit signed [63:0] sc$ll_out;
  bit [3:0] sc$io;
  assign io = sc$io;
  bit sc$io_bit;
  assign io_bit = sc$io_bit;

  task automatic sc$eval(bit sc$run);
`ifndef CORVANE_SC_TIMED
    // verilator lint_off UNUSEDSIGNAL
`endif
    longint sc$next;
    // verilator lint_on UNUSEDSIGNAL
    int sc$status = corvane_sc_dpi_all_types_eval(sc$handle, $time, sc$run, b, l, 64'(u), 64'(s), 64'(bv), lv, 64'(i), 64'(us), sc$s_out, sc$lv_out, sc$ll_out, 64'(io), sc$io, io_bit, sc$io_bit, sc$next);
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
    sc$handle = corvane_sc_dpi_all_types_new($sformatf("%m"));
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
  always @(sc$s_out)
    s_out <= sc$s_out;
  always @(sc$lv_out)
    lv_out <= sc$lv_out;
  always @(sc$ll_out)
    ll_out <= sc$ll_out;

  always @(b, l, u, s, bv, lv, i, us, io, io_bit)
    if (sc$handle >= 0)
      sc$eval(1);
endmodule

module odd (
  input bit ok,
  input bit port_0
  // level: no SystemVerilog type for sc_core::sc_inout<double>
  // line: no SystemVerilog type for sc_core::sc_in_resolved
);
  timeunit 1ps;
  timeprecision 1ps;
  import "DPI-C" function int corvane_sc_dpi_odd_new(input string path);
  import "DPI-C" function int corvane_sc_dpi_odd_eval(input int sc$handle, input longint sc$now, input bit sc$run,
    input bit ok,
    input bit port_0,
    output longint sc$next);
  import "DPI-C" function string corvane_sc_dpi_error();

  int sc$handle = -1;
`ifdef CORVANE_SC_TIMED
  longint sc$armed = -1;
  real sc$unit = 0;
  event sc$due;
`endif

  task automatic sc$eval(bit sc$run);
`ifndef CORVANE_SC_TIMED
    // verilator lint_off UNUSEDSIGNAL
`endif
    longint sc$next;
    // verilator lint_on UNUSEDSIGNAL
    int sc$status = corvane_sc_dpi_odd_eval(sc$handle, $time, sc$run, ok, port_0, sc$next);
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
    sc$handle = corvane_sc_dpi_odd_new($sformatf("%m"));
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

  always @(ok, port_0)
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
