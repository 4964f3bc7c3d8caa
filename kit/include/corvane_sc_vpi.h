#ifndef CORVANE_SC_VPI_H
#define CORVANE_SC_VPI_H

/* The VPI side of libcorvanesc.so: what the module bodies of wrapper.v
 * call in Icarus Verilog.  vvp loads the library itself as a VPI module
 * (vvp -m ./libcorvanesc.so), which registers one system task,
 * $corvane_sc_eval; the rules of corvane_sc_cosim.h hold here too.
 *
 * wrapper.v has a module per exported module, with the names, directions
 * and widths of wrapper.sv, in Verilog: inputs are wires, outputs regs,
 * inouts wires; four-valued ports and two-valued ones alike are four-state
 * nets, and real and float ports are real.  Each module's body holds one
 * call of the task in a process of its own,
 *
 *   $corvane_sc_eval("M", <an argument per input>, <one per output>);
 *
 * in the order of the per-module glue of corvane_sc_dpi.h (an inout has
 * its net as input and its driver as output).  Before the simulation
 * starts, every call builds its instance of M for the Verilog instance
 * around it (its hierarchical name, as corvane_sc_dpi.h makes it a
 * SystemC name), so that all instances exist before the kernel first
 * runs.  The process calls the task after a zero delay at time 0, when
 * every initial and always block has begun, and again whenever an input
 * changes; the outputs reach the ports through nonblocking assignments, as
 * from a register.  The one instance of a simulation is evaluated at once:
 * the kernel is brought to the current time, the inputs written, the delta
 * cycles run and the outputs written.  With more instances, a call writes
 * the inputs without entering the kernel, and the first change in a time
 * step that some process waits on asks for one kernel run at the end of
 * the time step (cbReadWriteSynch): the changes of every instance in that
 * step reach the kernel together, and every instance's outputs are written
 * after it.  The kernel's own timed events have one callback (cbAfterDelay)
 * at the next of them, where the kernel runs the same way; it is replaced
 * only by an earlier one.
 *
 * Time.  wrapper.v declares `timescale 1ps/1ps, so the simulation's
 * precision is 1 ps or finer; SystemC's time is the simulation's, in
 * picoseconds, and a SystemC event that falls between two picoseconds is
 * seen at the later one.
 *
 * X and Z.  sc_logic and sc_lv ports carry 0, 1, Z and X both ways
 * exactly (VPI's a/b words share SystemC's encoding).  A two-valued port
 * reads a bit that is x or z as 0, without an error: testbenches start
 * with registers at x.
 *
 * Ends.  An error in a model (an exception, SC_REPORT_ERROR, a refused
 * value, a model that does not settle, a module that the library cannot
 * build, a call whose arguments are not the glue's: a wrapper.v of another
 * build) prints "FATAL: <instance>: <message>" and ends the simulation
 * with status 1, before it starts when the instance cannot be built; sc_stop() in a model ends it normally, with status 0.
 * After either, no instance enters the kernel again.
 */

#include "corvane_sc_dpi.h"

#include <stddef.h>
#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

/** Registers $corvane_sc_eval with the simulator; listed in the library's
 *  vlog_startup_routines. */
void corvane_sc_vpi_register(void);

#ifdef __cplusplus
}

namespace corvane_sc::vpi {

/// How one argument of a module's glue crosses (corvane_sc_dpi.h).
enum class Form : uint8_t { Bit, Logic, Word, Bits, LogicBits, Real };

/// One argument of the per-module glue, in DPI's value formats: inputs by
/// value, outputs written in place.  Vectors of more than 64 bits (and
/// every sc_lv) point at words that the instance owns.
union Argument {
  svBit bit;
  svLogic logic;
  uint64_t word;
  svBitVecVal small[2]; ///< An output word of up to 64 bits.
  svBitVecVal *bits;
  svLogicVecVal *logic_bits;
  double real;
};

struct Port {
  Form form;
  bool output; ///< An output argument (else an input).
  unsigned width;
};

/// The glue of one exported module: its DPI-C functions (corvane_sc_dpi.h),
/// the second called through a function of one signature.
struct Module {
  const char *name;
  int (*make)(const char *path);
  int (*eval)(int handle, int64_t now_ps, bool run, Argument *arguments, int64_t *next_ps);
  const Port *arguments;
  size_t count;
};

struct DesignModules {
  const Module *modules;
  size_t count;
};

/// Defined by startup.cpp from the generated sc_module/vpi_glue.cpp.
extern const DesignModules kDesignModules;

} // namespace corvane_sc::vpi

#endif

#endif
