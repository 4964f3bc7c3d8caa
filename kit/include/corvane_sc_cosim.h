#ifndef CORVANE_SC_COSIM_H
#define CORVANE_SC_COSIM_H

/* The co-simulation interface of libcorvanesc.so.
 *
 * quillc builds libcorvanesc.so from a design's SystemC sources.  A
 * simulator loads it with dlopen() and finds these functions with dlsym();
 * the interface is plain C so that any host can call it.
 *
 * Rules of use
 *
 *  1. One SystemC kernel per process.  Nothing here is thread-safe: call
 *     every function from one thread.
 *
 *  2. Elaboration, then simulation.  Instantiate every module that the run
 *     needs first, then advance.  The first corvane_sc_advance() ends
 *     SystemC's elaboration; from then on corvane_sc_instantiate() fails
 *     with CORVANE_SC_ERR_ELABORATED.  Instances live until the process
 *     ends; there is no way to delete one.
 *
 *  3. Ports.  Every port of an instance is bound to a signal that the
 *     library owns, and is addressed by its SystemC base name ("clk").
 *     Supported data types: bool, sc_logic, the C++ integer types, and
 *     sc_uint<N>, sc_int<N>, sc_bv<N>, sc_lv<N> for N up to 64.  A module
 *     with any other port type cannot be instantiated
 *     (CORVANE_SC_ERR_UNSUPPORTED_PORT).
 *
 *  4. Values.  Values travel as 64-bit unsigned numbers.  A value fits an
 *     N-bit port when it is below 2^N, or, for a signed port (sc_int<N> and
 *     the signed C++ types), when it is the 64-bit sign extension of an
 *     N-bit number: both 0xff and 0xffffffffffffffff write -1 into an
 *     sc_int<8>.  Reads of signed ports come back sign-extended.  bool and
 *     sc_logic take 0 and 1.  sc_logic and sc_lv ports holding X or Z bits
 *     cannot be read as a number (CORVANE_SC_ERR_BAD_VALUE).
 *
 *  5. Timing.  A write is a SystemC signal write: it takes effect at the
 *     next advance, and a read returns what the signal holds now.  Inputs
 *     and inouts can be written, every port can be read.  Outputs belong to
 *     the model (CORVANE_SC_ERR_DIRECTION).  Advancing by 0 ns runs a single
 *     delta cycle; a combinational path usually needs a short non-zero
 *     advance to settle.
 *
 *  6. Errors.  Functions return CORVANE_SC_OK or an error code (or null,
 *     for those that return a pointer), and corvane_sc_last_error() then
 *     describes the latest failure.  Errors that SystemC itself reports
 *     (an exception in a model, a binding error at the end of elaboration)
 *     come back as CORVANE_SC_ERR_SYSTEMC with SystemC's message; after one
 *     of those the kernel may be unable to go on.
 */

#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

/** An instance of an exported module, made by corvane_sc_instantiate(). */
typedef struct corvane_sc_instance corvane_sc_instance;

enum {
  CORVANE_SC_OK = 0,
  CORVANE_SC_ERR_ARGUMENT = 1,         /* null or empty argument, unknown handle */
  CORVANE_SC_ERR_UNKNOWN_MODULE = 2,   /* no module of that name is exported */
  CORVANE_SC_ERR_UNKNOWN_PORT = 3,     /* the instance has no port of that name */
  CORVANE_SC_ERR_BAD_VALUE = 4,        /* value does not fit, or X/Z read */
  CORVANE_SC_ERR_DIRECTION = 5,        /* write to an output port */
  CORVANE_SC_ERR_ELABORATED = 6,       /* instantiate after the first advance */
  CORVANE_SC_ERR_UNSUPPORTED_PORT = 7, /* a port type without a 64-bit value */
  CORVANE_SC_ERR_NAME_TAKEN = 8,       /* an object of that name exists */
  CORVANE_SC_ERR_SYSTEMC = 9           /* SystemC reported an error */
};

/** Number of modules that the library exports. */
int corvane_sc_module_count(void);

/** Name of exported module \p index (0 to count - 1); null when out of range. */
const char *corvane_sc_module_name(int index);

/** Builds an instance of \p module named \p instance_name (a SystemC base
 *  name: no dots, unique among top-level objects) and binds its ports to
 *  signals of the library.  Null on failure. */
corvane_sc_instance *corvane_sc_instantiate(const char *module, const char *instance_name);

/** Writes \p value to input or inout port \p port; see rules 4 and 5. */
int corvane_sc_write_u64(corvane_sc_instance *instance, const char *port, uint64_t value);

/** Reads port \p port into \p *value; see rule 4. */
int corvane_sc_read_u64(corvane_sc_instance *instance, const char *port, uint64_t *value);

/** Runs the SystemC kernel for \p nanoseconds of simulated time.  The kernel
 *  is shared by all instances: \p instance may be null; when it is not, it
 *  must be a live handle. */
int corvane_sc_advance(corvane_sc_instance *instance, uint64_t nanoseconds);

/** The latest failure's description; "" when nothing has failed.  Valid
 *  until the next call into the library. */
const char *corvane_sc_last_error(void);

#ifdef __cplusplus
}
#endif

#endif
