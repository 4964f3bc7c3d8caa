#ifndef CORVANE_SC_VHPIDIRECT_H
#define CORVANE_SC_VHPIDIRECT_H

/* The VHPIDIRECT side of libcorvanesc.so: what the architectures of
 * wrapper.vhd call, as foreign subprograms of its package
 * corvane_sc_vhpidirect, from GHDL (VHDL-2008).  The rules of
 * corvane_sc_cosim.h hold here too (one kernel, one thread, elaboration
 * before simulation, the same error record).
 *
 * GHDL passes a scalar "in" parameter by value (std_ulogic and boolean as a
 * byte holding the value's position, integer as int32_t, time as int64_t,
 * real as double), an "out" scalar by address, an array of fixed bounds as
 * the address of its elements, leftmost first, and a string of open bounds
 * as the address of a pair: its characters and its bounds.
 *
 * For every exported module M the wrapper generator writes, into
 * sc_module/vhpi_glue.cpp (compiled into the library by startup.cpp), two
 * procedures:
 *
 *   void corvane_sc_vhpi_M_new(const corvane_sc_vhpi_string *path,
 *                              int64_t ps, int32_t *handle);
 *     Builds an instance of M for the VHDL instance whose path is path
 *     (M'path_name, ":tb:dut:"), named as the DPI-C side names it with "."
 *     between the labels ("tb.dut" becomes "tb:dut").  ps is the time value
 *     of 1 ps in the simulation's resolution (1000 at GHDL's default of
 *     1 fs).  *handle is the instance's handle (0, 1, ...), or -1 with the
 *     error recorded.
 *
 *   void corvane_sc_vhpi_M_eval(int32_t handle, int64_t now, uint8_t run,
 *                               <the inputs>, <the outputs>,
 *                               uint8_t *wake, int64_t *after,
 *                               int32_t *status);
 *     One evaluation at simulation time now, as corvane_sc_dpi.h tells
 *     (run brings the kernel to now first; without it, before the kernel
 *     first runs, the inputs are only written and the outputs read).
 *     *wake is true when the kernel has a next event, due *after from now;
 *     the first evaluation (run false) asks to be called again after 0,
 *     in the next delta cycle, when every instance exists.  *status is 0,
 *     1 when the model called sc_stop(), -1 on an error.
 *
 *     The arguments, one per port in the wrapper's order (an inout has an
 *     input and an output argument):
 *       bool, sc_logic          std_logic               uint8_t / uint8_t *
 *       sc_lv<N>, sc_bv<N>      std_logic_vector        const uint8_t * / uint8_t *
 *       unsigned integers       unsigned (numeric_std)  const uint8_t * / uint8_t *
 *       signed integers         signed (numeric_std)    const uint8_t * / uint8_t *
 *       double, float           real                    double / double *
 *     so nothing is looked up by name and nothing is allocated per call.
 *
 * The nine values.  Into SystemC a std_ulogic goes as to_X01Z gives it:
 * 'U', 'W' and '-' as X, 'L' as 0, 'H' as 1.  A two-valued port (bool,
 * integers, sc_bv) reads '1' and 'H' as 1 and every other value as 0,
 * without an error: signals start at 'U'.  The model's X and Z come back
 * as 'X' and 'Z'.
 *
 * Errors.  A refused value, an exception or a SystemC error in the model,
 * a model that oscillates or a bad handle sets *status to -1; the wrapper
 * then reports corvane_sc_vhpi_error_text() with severity failure, which
 * ends the simulation with a non-zero status.
 *
 * Time.  SystemC's time follows the simulation's in picoseconds; a
 * simulation time between two picoseconds runs the kernel to the earlier
 * one, and a SystemC event between two is seen at the later one.  A next
 * event beyond the simulation's last time wakes nothing.
 */

#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

/* GHDL's string of open bounds: its characters and their bounds. */
typedef struct corvane_sc_vhpi_bounds {
  int32_t left, right;
  uint8_t direction; /* 0: to, 1: downto */
  int32_t length;
} corvane_sc_vhpi_bounds;

typedef struct corvane_sc_vhpi_string {
  char *characters;
  const corvane_sc_vhpi_bounds *bounds;
} corvane_sc_vhpi_string;

/** The length of the latest failure's message. */
int32_t corvane_sc_vhpi_error_length(void);

/** Copies the latest failure's message into text, as much as it holds. */
void corvane_sc_vhpi_error_text(const corvane_sc_vhpi_string *text);

/** Whether the wrapper's mirrors of the models' insides are set: when
 *  CORVANE_SC_MIRRORS is in the environment (quillc-sim --trace). */
void corvane_sc_vhpi_mirroring(uint8_t *on);

#ifdef __cplusplus
}

#include "corvane_sc_runtime.h"

#include <algorithm>

/// VHDL's value formats to and from SystemC's, and GHDL's time; the core of
/// the runtime (corvane_sc_runtime.h) does the rest.
namespace corvane_sc::vhpidirect {

/// A std_ulogic as GHDL passes it: the position of 'U', 'X', '0', '1',
/// 'Z', 'W', 'L', 'H', '-'.
using std_ulogic = uint8_t;

constexpr std_ulogic k0 = 2, k1 = 3;

/// '1' and 'H' are true; everything else false.
inline bool from_bit(std_ulogic v) { return v == k1 || v == 7; }

inline std_ulogic to_bit(bool value) { return value ? k1 : k0; }

/// to_X01Z, as SystemC's logic values (0, 1, Z, X).
inline sc_dt::sc_logic_value_t from_logic(std_ulogic v) {
  constexpr sc_dt::sc_logic_value_t kValues[] = {sc_dt::Log_X, sc_dt::Log_X, sc_dt::Log_0,
                                                 sc_dt::Log_1, sc_dt::Log_Z, sc_dt::Log_X,
                                                 sc_dt::Log_0, sc_dt::Log_1, sc_dt::Log_X};
  return v < 9 ? kValues[v] : sc_dt::Log_X;
}

/// SystemC's 0, 1, Z, X as '0', '1', 'Z', 'X'.
inline std_ulogic to_logic(int value) {
  constexpr std_ulogic kValues[] = {k0, k1, 4, 1};
  return kValues[value & 3];
}

/// A vector of \p width (1 to 64) elements, leftmost most significant, as
/// a two-valued number; and back.
inline uint64_t from_word(const std_ulogic *v, unsigned width) {
  uint64_t bits = 0;
  for (unsigned i = 0; i < width; ++i)
    bits = bits << 1 | static_cast<uint64_t>(from_bit(v[i]));
  return bits;
}

inline void to_word(uint64_t bits, unsigned width, std_ulogic *v) {
  for (unsigned i = 0; i < width; ++i)
    v[width - 1 - i] = to_bit((bits >> i) & 1);
}

/// An sc_bv from a vector of its width, and back.
template <class V> inline void from_bits(V &value, const std_ulogic *v) {
  const int width = value.length();
  for (int w = 0; w < value.size(); ++w) {
    sc_dt::sc_digit word = 0;
    for (int i = std::min(width, 32 * (w + 1)) - 1; i >= 32 * w; --i)
      word = word << 1 | static_cast<sc_dt::sc_digit>(from_bit(v[width - 1 - i]));
    value.set_word(w, word);
  }
}

template <class V> inline void to_bits(const V &value, std_ulogic *v) {
  const int width = value.length();
  for (int i = 0; i < width; ++i)
    v[width - 1 - i] = to_bit((value.get_word(i / 32) >> (i % 32)) & 1);
}

/// An sc_lv from a vector of its width through to_X01Z, and back: SystemC
/// keeps a value's low bit in its data word and its high bit in its
/// control word.
template <class V> inline void from_logic_bits(V &value, const std_ulogic *v) {
  const int width = value.length();
  for (int w = 0; w < value.size(); ++w) {
    sc_dt::sc_digit data = 0, control = 0;
    for (int i = std::min(width, 32 * (w + 1)) - 1; i >= 32 * w; --i) {
      const unsigned logic = from_logic(v[width - 1 - i]);
      data = data << 1 | (logic & 1);
      control = control << 1 | (logic >> 1);
    }
    value.set_word(w, data);
    value.set_cword(w, control);
  }
}

template <class V> inline void to_logic_bits(const V &value, std_ulogic *v) {
  const int width = value.length();
  for (int i = 0; i < width; ++i) {
    const int shift = i % 32;
    v[width - 1 - i] =
        to_logic(((value.get_word(i / 32) >> shift) & 1) | ((value.get_cword(i / 32) >> shift) & 1) << 1);
  }
}

/// Builds an instance of \p module for the VHDL instance at \p path
/// (":tb:dut:"); null with the error recorded on failure.  Keeps \p ps,
/// the time value of 1 ps, for picoseconds() and schedule().
corvane_sc_instance *instantiate(const char *module, const corvane_sc_vhpi_string *path, int64_t ps);

/// Simulation time \p now in picoseconds, rounded down.
int64_t picoseconds(int64_t now);

/// *wake and *after from the kernel's next event \p next_ps (-1: none),
/// seen at simulation time \p now; the first evaluation (\p run false)
/// comes back in the next delta cycle.
void schedule(int64_t now, bool run, int64_t next_ps, uint8_t *wake, int64_t *after);

/// One evaluation of an instance at simulation time \p now (see
/// corvane_sc_runtime.h's evaluate()): the status for the wrapper and its
/// next wake-up.
template <class Write, class Read>
inline int32_t evaluate(int64_t now, uint8_t run, uint8_t *wake, int64_t *after, Write write, Read read) {
  int64_t next_ps = -1;
  const int status = runtime::evaluate(picoseconds(now), run != 0, &next_ps, write, read);
  schedule(now, run != 0, next_ps, wake, after);
  return status;
}

} // namespace corvane_sc::vhpidirect

#endif

#endif
