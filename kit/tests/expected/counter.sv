// SystemVerilog wrappers of the SystemC modules exported by this build,
// written by the wrapper generator.  The body of each module is its
// SystemC model in libcorvanesc.so, reached through DPI-C; how values,
// time, X and Z, names and errors cross is told in corvane_sc_dpi.h.
//
// Each instance builds its model in the first statement of an initial
// block, then crosses to it at every change of its inputs: the inputs go
// in, the outputs come back, and the kernel is not entered.  One keeper,
// the package below, stands for the one SystemC kernel: when a crossing
// finds work for the kernel, the keeper runs it once for every instance
// whose inputs changed in that time step, then has every instance read
// its outputs; its wake-up brings the kernel to the models' own events.
// A # delay may count in another module's unit, so the wake-up measures
// the unit once (one precision step) before using it.  Without --timing,
// as in a lint, the wrapper has no timed parts.
`ifndef VERILATOR
`define CORVANE_SC_TIMED
`elsif VERILATOR_TIMING
`define CORVANE_SC_TIMED
`endif
// Lint waivers: one file holds every module, each a top when linted
// alone (DECLFILENAME, MULTITOP); shortreal is held as real (SHORTREAL);
// port names are the model's and may be C++ words, which the simulator
// renames in its own code (SYMRSVDWORD); outputs follow the model as a
// register would (COMBDLY), from the crossing at an input change and from
// the read after a kernel run (MULTIDRIVEN); a crossing reads every input
// (SYNCASYNCNET), and the keeper keeps its own state with blocking writes
// (BLKSEQ).
// verilator lint_off DECLFILENAME
// verilator lint_off MULTITOP
// verilator lint_off SHORTREAL
// verilator lint_off SYMRSVDWORD
// verilator lint_off COMBDLY
// verilator lint_off SYNCASYNCNET
// verilator lint_off BLKSEQ
// verilator lint_off MULTIDRIVEN

// Built with CORVANE_SC_MIRRORS defined, as quillc-sim --trace builds it,
// each wrapper holds under it the model's own hierarchy for the
// waveform: sub-modules as scopes, signals and the sub-modules' ports as
// variables that the library sets when the model changes them, after
// each kernel run; the wrapper's own workings are kept out of the
// waveform.
`ifdef CORVANE_SC_MIRRORS
`define CORVANE_SC_CONTEXT context
`else
`define CORVANE_SC_CONTEXT
`endif

package corvane_sc_keeper;
  // What every instance shares: the one kernel, its next event and its
  // wake-up.
  timeunit 1ps;
  timeprecision 1ps;
  import "DPI-C" `CORVANE_SC_CONTEXT function int corvane_sc_dpi_run(input longint now, output longint next);
  import "DPI-C" function longint corvane_sc_dpi_next();
  import "DPI-C" function int corvane_sc_dpi_end();
  import "DPI-C" function string corvane_sc_dpi_error();
  // go: the kernel has work in this time step; tick: it ran, and every
  // instance with outputs reads them (none may have any: UNUSEDSIGNAL).
  // verilator lint_off UNUSEDSIGNAL
  event go, tick;
  // verilator lint_on UNUSEDSIGNAL
  // Whether an instance leads: runs the kernel and the wake-up.
  bit led;
`ifdef CORVANE_SC_TIMED
  // The kernel's next event in ps that the wake-up waits for, -1 for none;
  // picoseconds per unit of #; the longest wait that # counts right.
  longint armed = -1;
  real unit = 0, piece = 0;
  event rearm;
`endif

  // The keeper's work, in static methods: a class's methods are compiled
  // once, where a package's tasks would be copied into every instance.
  class Keeper;
    // What a crossing's or the kernel's status asks for: 3, a kernel run
    // in this time step; 4, the wake-up armed anew; 1, the end (the model
    // stopped); -1, an error.
    static function void after(int status);
      if (status < 0)
        $fatal(1, "%s", corvane_sc_dpi_error());
      else if (status == 1)
        $finish;
      else if (status == 3)
        -> go;
      else if (status == 4)
        arm(corvane_sc_dpi_next());
    endfunction

    // The kernel's entry for this time step, then every instance's read.
    static function void run();
      longint next;
      int status = corvane_sc_dpi_run($time, next);
      if (status == 1 || status < 0)
        after(status);
      -> tick;
      arm(next);
    endfunction

    // Arms the wake-up for the kernel's next event, next (ps), when it
    // lies before the one armed.
    static function void arm(longint next);
`ifdef CORVANE_SC_TIMED
      if (next >= 0 && (armed < 0 || next < armed)) begin
        armed = next;
        -> rearm;
      end
`else
      // Without timing nothing waits.
      if (next < 0) return;
`endif
    endfunction

    // The testbench's end: the models' end_of_simulation, once.
    static function void finish();
      if (corvane_sc_dpi_end() < 0)
        $fatal(1, "%s", corvane_sc_dpi_error());
    endfunction
`ifdef CORVANE_SC_TIMED

    // Started by the leading instance at every arming: waits for the
    // time armed, then has the kernel run, unless an earlier time
    // replaced it.  The first wait measures the unit of # (one precision
    // step).  A delay computed at run time counts modulo 2^32 precision
    // units in some simulators: the wait goes in pieces shorter than that.
    static task wait_armed();
      longint at = armed;
      real was, probe = 1e-15, left;
      while (unit == 0) begin
        was = $realtime;
        #(probe);
        if ($realtime > was) begin
          unit = ($realtime - was) / probe;
          // 2^31 precision units in ps.
          piece = ($realtime - was) * 2147483648.0;
        end
        probe = probe * 10;
      end
      while (at >= 0 && at == armed && longint'($time) < at) begin
        left = real'(at - longint'($time));
        #((left < piece ? left : piece) / unit);
      end
      if (at >= 0 && at == armed) begin
        armed = -1;
        -> go;
      end
    endtask
`endif
  endclass
endpackage

module counter (
  input bit clk,
  input bit reset,
  input bit enable,
  output bit [7:0] count
);
endmodule

// verilator lint_on MULTIDRIVEN
// verilator lint_on BLKSEQ
// verilator lint_on SYNCASYNCNET
// verilator lint_on COMBDLY
// verilator lint_on SYMRSVDWORD
// verilator lint_on SHORTREAL
// verilator lint_on MULTITOP
// verilator lint_on DECLFILENAME
`undef CORVANE_SC_TIMED
`undef CORVANE_SC_CONTEXT
