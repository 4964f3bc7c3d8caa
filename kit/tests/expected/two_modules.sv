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
endmodule

module shift_reg (
  input bit clk,
  input logic din,
  output logic [3:0] q
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
