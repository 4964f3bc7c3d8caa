// SystemVerilog wrappers of the SystemC modules exported by this build,
// written by the wrapper generator.  The body of each module is its
// SystemC model in libcorvanesc.so, reached through DPI-C; how values,
// time, X and Z, names and errors cross is told in corvane_sc_dpi.h.
//
// Each instance builds its model in the first statement of an initial
// block and first runs the kernel after a zero delay, when every initial
// block has begun.  A # delay may count in another module's unit, so the
// wake-ups measure the unit once (one precision step) before using it.
// Without --timing, as in a lint, Verilator sees no timed parts.
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
