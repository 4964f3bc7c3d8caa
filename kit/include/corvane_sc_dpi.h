#ifndef CORVANE_SC_DPI_H
#define CORVANE_SC_DPI_H

/* The DPI-C side of libcorvanesc.so: what the module bodies of wrapper.sv
 * call.  The rules of corvane_sc_cosim.h hold here too (one kernel, one
 * thread, elaboration before simulation, the same error codes and the same
 * corvane_sc_last_error()).
 *
 * For every exported module M the wrapper generator writes, into
 * sc_module/dpi_glue.cpp (compiled into the library by startup.cpp), two
 * functions that wrapper.sv imports:
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
 *   int corvane_sc_dpi_M_eval(int handle, int64_t now_ps, svBit run,
 *                             <the inputs>, <the outputs>, int64_t *next_ps);
 *     One evaluation of the instance at SystemVerilog time now_ps.  With
 *     run set it brings the SystemC kernel to now_ps (running its events up
 *     to then), writes the inputs, runs the kernel's delta cycles at now_ps
 *     until nothing is left to do, and reads the outputs back; without it,
 *     it only writes the inputs (before the kernel first runs) and reads the
 *     outputs.  *next_ps is the time of the kernel's next pending event,
 *     -1 when there is none.  Returns 0; 1 when the model called sc_stop()
 *     (the simulation should end); -1 on an error, which
 *     corvane_sc_dpi_error() describes.
 *
 *     The arguments, one per port in the wrapper's order (an inout has an
 *     input and an output argument), have exact DPI types:
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
typedef struct t_vpi_vecval {
  uint32_t aval, bval;
} svLogicVecVal;
#endif

/** The latest failure, as corvane_sc_last_error(), for $fatal in the wrapper. */
const char *corvane_sc_dpi_error(void);

#ifdef __cplusplus
}

#include "corvane_sc_cosim.h"

#include <systemc>

#include <exception>

namespace corvane_sc {
class PortSignal;
} // namespace corvane_sc

/// What the generated DPI glue shares; the library defines it.
namespace corvane_sc::dpi {

/// Builds an instance of \p module for SystemVerilog path \p path; null
/// with the error recorded on failure.
corvane_sc_instance *instantiate(const char *module, const char *path);

/// Port \p index of \p instance (wrapper order); null when out of range.
PortSignal *port_signal(corvane_sc_instance *instance, int index);

/// Records \p message as the latest failure and returns -1.
int fail(const char *message);

/// Records that \p module has no instance \p handle; returns -1.
int bad_handle(const char *module, int handle);

/// Turns what is being thrown into the latest failure; returns -1.
int fail_current_exception();

/// Brings the kernel to \p now_ps (starting it the first time).
void advance_to(int64_t now_ps);

/// Runs the delta cycles at the current time until none is pending (at
/// least one when \p written, which an input write has made pending);
/// false (with the error recorded) when the model does not settle.
bool settle(bool written);

/// The time of the next pending event in picoseconds, or -1; \p settled
/// when settle() has just found nothing left at the current time.
int64_t next_event_ps(bool settled);

/// Whether the model has stopped the simulation.
bool stopped();

/// Typed access to a port's signal, checked once at instantiation.
template <class T> bool bind(corvane_sc_instance *instance, int index, sc_core::sc_signal<T> *&signal);

/// One evaluation (see corvane_sc_dpi_M_eval above): \p write writes the
/// inputs and tells whether any changed, \p read reads the outputs.
template <class Write, class Read>
int evaluate(int64_t now_ps, svBit run, int64_t *next_ps, Write write, Read read) {
  try {
    if (run)
      advance_to(now_ps);
    const bool written = write();
    if (run && !settle(written))
      return -1;
    read();
    *next_ps = next_event_ps(run);
    return stopped() ? 1 : 0;
  } catch (...) {
    return fail_current_exception();
  }
}

template <class T> struct same_type {
  using type = T;
};

/// Writes \p value to an input's signal unless the signal holds it: no
/// update is pending on an input between evaluations, so the write would
/// change nothing, and skipping it spares the kernel a check per input.
/// Whether it wrote.
template <class T> inline bool put(sc_core::sc_signal<T> &signal, const typename same_type<T>::type &value) {
  if (signal.read() == value)
    return false;
  signal.write(value);
  return true;
}

/// A handle's entry of \p table, or null (with the error recorded).
template <class Ports> Ports *find(std::vector<Ports> &table, int handle, const char *module) {
  if (handle >= 0 && static_cast<std::size_t>(handle) < table.size())
    return &table[handle];
  bad_handle(module, handle);
  return nullptr;
}

/// Bits of a two-valued value of up to 64 bits.
template <class T> inline void from_u64(T &value, uint64_t bits) {
  if constexpr (std::is_integral_v<T>)
    value = static_cast<T>(bits);
  else
    value = bits;
}

template <class T> inline uint64_t to_u64(const T &value) {
  if constexpr (std::is_integral_v<T>)
    return static_cast<uint64_t>(value);
  else if constexpr (std::is_base_of_v<sc_dt::sc_signed, T> || std::is_base_of_v<sc_dt::sc_int_base, T>)
    return static_cast<uint64_t>(value.to_int64());
  else
    return value.to_uint64();
}

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

#include "corvane_sc_glue.h"

template <class T>
bool corvane_sc::dpi::bind(corvane_sc_instance *instance, int index, sc_core::sc_signal<T> *&signal) {
  auto *typed = dynamic_cast<SignalOf<T> *>(port_signal(instance, index));
  if (!typed)
    return fail("the generated DPI glue does not match the library's port signals"), false;
  signal = &typed->signal();
  return true;
}

#endif

#endif
