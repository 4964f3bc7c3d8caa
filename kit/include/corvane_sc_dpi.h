#ifndef CORVANE_SC_DPI_H
#define CORVANE_SC_DPI_H

/* The DPI-C side of libcorvanesc.so: what the module bodies of wrapper.sv
 * call.  The rules of corvane_sc_cosim.h hold here too (one kernel, one
 * thread, elaboration before simulation, the same error codes and the same
 * corvane_sc_last_error()).
 *
 * For every exported module M the wrapper generator writes, into
 * sc_module/dpi_glue.cpp (compiled into the library by startup.cpp), four
 * functions (the last for modules with outputs):
 *
 *   int corvane_sc_dpi_M_new(const char *path);
 *     Builds an instance of M for the SystemVerilog instance whose
 *     hierarchical name is path, and returns its handle (0, 1, ...), or -1
 *     with corvane_sc_dpi_error() set.  The SystemC instance's name is path
 *     with every "." made ":", and ":", "%", white space and other bytes
 *     outside printable ASCII written as %3A, %25, %20 ...: distinct paths
 *     give distinct names, and "TOP.tb.pair.a" (Verilator's paths begin
 *     with TOP) becomes "TOP:tb:pair:a".
 *
 *   int corvane_sc_dpi_M_cross(int handle, int64_t now_ps, <the inputs>,
 *                              <the outputs>);
 *     What wrapper.sv calls at time now_ps at every change of an
 *     instance's inputs (and once when the instance is built): writes the
 *     inputs and reads the outputs back, without entering the kernel.
 *     Returns 0; 3 when the kernel has work in this time step (it has not
 *     started, or this call held back the first input change that some
 *     process waits on), which the keeper does with corvane_sc_dpi_run()
 *     once every instance has crossed; -1 on an error, which
 *     corvane_sc_dpi_error() describes.  After the end of the simulation
 *     it only reads.  When the simulation holds one instance, nothing else
 *     can cross in its time step and the call evaluates it at once, as
 *     corvane_sc_dpi_M_eval() does: then 1 when the model called
 *     sc_stop(), and 4 when the kernel's next event moved, for the
 *     keeper's wake-up.
 *
 *   void corvane_sc_dpi_M_read(int handle, <the outputs>);
 *     Reads the outputs back, and nothing else: what every instance with
 *     outputs calls after a kernel run.
 *
 *   int corvane_sc_dpi_M_eval(int handle, int64_t now_ps, svBit run,
 *                             <the inputs>, <the outputs>, int64_t *next_ps);
 *     One evaluation of the instance at time now_ps, for an adapter that
 *     keeps the kernel itself (the VPI side): with run set it runs the
 *     kernel's own events due by now_ps, writes the inputs, and, when some
 *     process waits on a change among them, brings the kernel to now_ps and
 *     runs its delta cycles there until nothing is left to do; then it
 *     reads the outputs back.  Without run it writes the inputs without
 *     entering the kernel (a change that something waits on is held for
 *     the kernel's next run, as corvane_sc_dpi_M_cross() holds it) and
 *     reads the outputs.  *next_ps is the time of the kernel's next pending
 *     event, -1 when there is none.  Returns 0; 1 when the model called
 *     sc_stop(); 2 once another call has returned 1, or after the end,
 *     without entering the kernel; -1 on an error.
 *
 *     An input change that no process waits on (SystemC makes a signal's
 *     value-changed, posedge and negedge events only when a process asks
 *     for them; a reset counts as waiting) takes its value at once,
 *     without a delta cycle or a kernel entry: a process that reads the
 *     input later reads it.  What the model waits on is looked at anew at
 *     every change, so sensitivity that a process adds while it runs
 *     (a dynamic next_trigger, a first wait on an event) holds from then
 *     on.  A change that some process waits on is seen as the kernel's
 *     update would make it seen, in the time step of the change; changed
 *     again before the kernel runs, the latest value is the one seen.
 *
 * There is one SystemC kernel, whatever the number of instances, and
 * wrapper.sv keeps it with one package, corvane_sc_keeper.  The first
 * instance leads: a crossing that returns 3 triggers the keeper's event,
 * and the leader runs the kernel once when every process of that step has
 * crossed (one kernel entry for all the instances whose inputs changed
 * together), then has every instance read its outputs.
 * Its wake-up waits for the kernel's next event and runs the kernel then.
 * Outputs change as a register's would, through nonblocking assignments;
 * a chain of instances through the HDL answers in the same time step,
 * one region per instance.  The keeper calls
 *
 *   int corvane_sc_dpi_run(int64_t now_ps, int64_t *next_ps);
 *     Starts the kernel the first time, runs its own events due by now_ps,
 *     brings the input changes held back since its last run to it and runs
 *     the delta cycles at now_ps until nothing is left (a million delta
 *     cycles at one time is an error: the model oscillates).  *next_ps is
 *     the kernel's next event, -1 for none.  Returns 0; 1 when the model
 *     called sc_stop() (the keeper calls $finish); 2 once the simulation
 *     has ended; -1 on an error.
 *
 *   int64_t corvane_sc_dpi_next(void);
 *     The kernel's next pending event in picoseconds, -1 when there is
 *     none, as of its last entry.
 *
 * A chain of instances wired in the HDL takes a few evaluation rounds per
 * instance in one time step; Verilator stops a simulation whose rounds at
 * one time exceed its --converge-limit (100 by default), so quillc-sim
 * builds with a limit of 100000, and a build of one's own adds
 * "--converge-limit 100000" to Verilator's options.
 *
 * The per-module functions' arguments, one per port in the wrapper's order
 * (an inout has an input and an output argument), have exact DPI types:
 *       bool                          svBit / svBit *
 *       sc_logic                      svLogic / svLogic *
 *       other two-valued, 2-64 bits   uint64_t (int64_t when signed) /
 *                                     uint64_t * (int64_t *)
 *       two-valued, wider             const svBitVecVal * / svBitVecVal *
 *       sc_lv<N>, any N               const svLogicVecVal * / svLogicVecVal *
 *       double, float                 double / double *
 *     so nothing is looked up by name and nothing is allocated per call.
 *
 * X and Z.  Four-valued ports carry DPI's a/b words, which share
 * SystemC's encoding, so a simulator that holds X and Z passes them both
 * ways exactly.  Verilator holds none at run time: an X that the
 * testbench writes is already 0 or 1 there (its --x-assign and
 * --x-initial rules), a Z reads as 0, and of the model's own X and Z it
 * keeps the a bit, so X reads as 1 and Z as 0.  Known bits are exact.
 *
 * Inouts.  An inout's net is driven by the model all the time, with the
 * value its SystemC signal holds (sc_inout<T> binds to one signal, which
 * has no notion of letting go), and what the net holds is written back to
 * the model at every evaluation.  A testbench that drives the net too makes
 * it a net of two drivers, resolved as SystemVerilog resolves any such net.
 *
 * Errors.  A refused value, an exception or a SystemC error in the model,
 * a model that oscillates (a million delta cycles at one time) or a bad
 * handle makes the call return -1; wrapper.sv then calls $fatal with
 * corvane_sc_dpi_error(), so the simulation ends with a non-zero status.
 *
 * Time.  Times are picoseconds.  wrapper.sv declares "timeunit 1ps;
 * timeprecision 1ps;" for its modules, so a simulation that holds it runs
 * at 1 ps precision or finer whatever the testbench declares; a testbench
 * of coarser precision keeps its own delays as it wrote them.  A SystemC
 * event that falls between two picoseconds is seen at the later one.
 *
 * Long delays.  Verilator 5.006 counts a delay of more than 2^32
 * precision units (4.29 ms at 1 ps) modulo 2^32 when the delay is a real,
 * a variable or an expression, or an unsized or 32-bit literal.  The
 * keeper waits for the model's events in pieces shorter than that, so
 * they arrive exactly however far ahead they lie; a testbench that waits
 * longer than 4.29 ms at once writes the delay as a 64-bit literal
 * (#(64'd5000000000) for 5 ms at 1 ps) or waits in pieces.
 */

#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

/* The DPI types of IEEE 1800's svdpi.h, under the same names. */
#ifndef INCLUDED_SVDPI
typedef uint8_t svBit;
typedef uint8_t svLogic;
typedef uint32_t svBitVecVal;
#ifdef VPI_USER_H
/* The same words as IEEE 1364's, which vpi_user.h has declared. */
typedef s_vpi_vecval svLogicVecVal;
#else
typedef struct t_vpi_vecval {
  uint32_t aval, bval;
} svLogicVecVal;
#endif
#endif

/** The latest failure, as corvane_sc_last_error(), for $fatal in the wrapper. */
const char *corvane_sc_dpi_error(void);

/** The end of the simulation, from the leading wrapper instance's final block:
 *  runs the models' end_of_simulation callbacks once, unless the kernel
 *  never started or a model's sc_stop() has run them.  0, or -1 with
 *  corvane_sc_dpi_error() set. */
int corvane_sc_dpi_end(void);

/** The time in picoseconds of the kernel's next pending event, -1 when
 * there is none, as of its last entry: what the keeper's wake-up waits for. */
int64_t corvane_sc_dpi_next(void);

/** The keeper's kernel run at now_ps (see above). */
int corvane_sc_dpi_run(int64_t now_ps, int64_t *next_ps);

#ifdef __cplusplus
}

#include "corvane_sc_runtime.h"

/// DPI's value formats to and from SystemC's; the core of the runtime
/// (corvane_sc_runtime.h) does the rest.
namespace corvane_sc::dpi {

/// The low \p width bits of \p bits (1 to 64) as DPI's 32-bit words.
inline void put_word(uint64_t bits, unsigned width, svBitVecVal *out) {
  if (width < 64)
    bits &= (uint64_t(1) << width) - 1;
  out[0] = static_cast<svBitVecVal>(bits);
  if (width > 32)
    out[1] = static_cast<svBitVecVal>(bits >> 32);
}

/// An sc_bv of \p words 32-bit words from \p bits, and back.
template <class V> inline void from_words(V &value, const svBitVecVal *bits) {
  for (int i = 0; i < value.size(); ++i)
    value.set_word(i, bits[i]);
  // Bits above the width must read 0 in SystemC's words.
  value.clean_tail();
}

template <class V> inline void to_words(const V &value, svBitVecVal *bits) {
  for (int i = 0; i < value.size(); ++i)
    bits[i] = value.get_word(i);
}

/// An sc_lv from DPI's a/b words, which share SystemC's encoding of 0, 1,
/// Z and X; and back.
template <class V> inline void from_logic(V &value, const svLogicVecVal *bits) {
  for (int i = 0; i < value.size(); ++i) {
    value.set_word(i, bits[i].aval);
    value.set_cword(i, bits[i].bval);
  }
  value.clean_tail();
}

template <class V> inline void to_logic(const V &value, svLogicVecVal *bits) {
  for (int i = 0; i < value.size(); ++i)
    bits[i] = {value.get_word(i), value.get_cword(i)};
}

} // namespace corvane_sc::dpi

#endif

#endif
