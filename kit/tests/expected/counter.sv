// SystemVerilog wrappers of the SystemC modules exported by this build,
// written by the wrapper generator.  The body of each module is its
// SystemC model in libcorvanesc.so, reached through DPI-C; how values,
// time, X and Z, names and errors cross is told in corvane_sc_dpi.h.
//
// Each instance builds its model in the first statement of an initial
// block.  One keeper, the package below, stands for the one SystemC
// kernel: the first instance runs its wake-up, which first runs the
// kernel after a zero delay, when every initial block has begun, and
// then wakes every instance at the kernel's next event.  A # delay may
// count in another module's unit, so the wake-up measures the unit once
// (one precision step) before using it.  Without --timing, as in a lint,
// the wrapper has no timed parts.
`ifndef VERILATOR
`define CORVANE_SC_TIMED
`elsif VERILATOR_TIMING
`define CORVANE_SC_TIMED
`endif
// Lint waivers: one file holds every module, each a top when linted
// alone (DECLFILENAME, MULTITOP); shortreal is held as real (SHORTREAL);
// port names are the model's and may be C++ words, which the simulator
// renames in its own code (SYMRSVDWORD); outputs follow the model as a
// register would (COMBDLY); the evaluation reads every input, also on the
// model's own events (SYNCASYNCNET), and keeps the wake-up's time, read
// only by itself, with blocking writes (BLKSEQ).
// verilator lint_off DECLFILENAME
// verilator lint_off MULTITOP
// verilator lint_off SHORTREAL
// verilator lint_off SYMRSVDWORD
// verilator lint_off COMBDLY
// verilator lint_off SYNCASYNCNET
// verilator lint_off BLKSEQ

package corvane_sc_keeper;
  // What every instance shares: the one kernel's next event and its wake-up.
  timeunit 1ps;
  timeprecision 1ps;
  import "DPI-C" function longint corvane_sc_dpi_next();
`ifdef CORVANE_SC_TIMED
  // Every instance reads its outputs on it: the kernel has run events of
  // its own.
  event tick;
  bit started;
  // The kernel's next event in ps that a wake-up waits for, -1 for none;
  // picoseconds per unit of #; the longest wait that # counts right.
  longint armed = -1;
  real unit = 0, piece = 0;
  event rearm;
`endif

  // Arms a wake-up for the kernel's next event, next (ps), when it lies
  // before the one armed.
  function automatic void arm(longint next);
`ifdef CORVANE_SC_TIMED
    if (unit > 0 && next >= 0 && (armed < 0 || next < armed)) begin
      armed = next;
      -> rearm;
    end
`else
    // Without timing nothing waits.
    if (next < 0) return;
`endif
  endfunction

`ifdef CORVANE_SC_TIMED
  // Run by the first instance: measures the unit of #, then keeps a
  // wake-up for the time armed last.
  task automatic keep();
    real was, probe = 1e-15;
    started = 1;
    forever begin
      was = $realtime;
      #(probe);
      -> tick;
      if ($realtime > was)
        break;
      probe = probe * 10;
    end
    unit = ($realtime - was) / probe;
    // 2^31 precision units in ps.
    piece = ($realtime - was) * 2147483648.0;
    arm(corvane_sc_dpi_next());
    // A wake-up for the time armed last; one that an earlier time replaced
    // finds another time armed, and ends.  A delay computed at run time
    // counts modulo 2^32 precision units in some simulators: the wait
    // goes in pieces shorter than that.
    forever begin
      if (armed >= 0)
        fork
          begin
            automatic longint at = armed;
            while (at == armed && longint'($time) < at) begin
              automatic real left = real'(at - longint'($time));
              #((left < piece ? left : piece) / unit);
            end
            if (at == armed) begin
              armed = -1;
              -> tick;
            end
          end
        join_none
      @(rearm);
    end
  endtask
`endif
endpackage

// Built with CORVANE_SC_MIRRORS defined, as quillc-sim --trace builds it,
// each wrapper holds under it the model's own hierarchy for the
// waveform: sub-modules as scopes, signals and the sub-modules' ports as
// variables that the library sets when the model changes them, from
// any instance's evaluation; the wrapper's own workings are kept out
// of the waveform.
`ifdef CORVANE_SC_MIRRORS
`define CORVANE_SC_CONTEXT context
`else
`define CORVANE_SC_CONTEXT
`endif

module counter (
  input bit clk,
  input bit reset,
  input bit enable,
  output bit [7:0] count
);
endmodule

// verilator lint_on BLKSEQ
// verilator lint_on SYNCASYNCNET
// verilator lint_on COMBDLY
// verilator lint_on SYMRSVDWORD
// verilator lint_on SHORTREAL
// verilator lint_on MULTITOP
// verilator lint_on DECLFILENAME
`undef CORVANE_SC_TIMED
`undef CORVANE_SC_CONTEXT
