#ifndef CORVANE_SC_COSIM_H
#define CORVANE_SC_COSIM_H

/* The co-simulation interface of libcorvanesc.so.
 *
 * quillc builds libcorvanesc.so from a design's SystemC sources.  A
 * simulator loads it with dlopen() and finds these functions with dlsym();
 * the interface is plain C so that any host can call it.  The module
 * bodies of wrapper.sv reach the same instances through DPI-C, with the
 * functions of corvane_sc_dpi.h.
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
 *  3. Ports and their names.  Every port of an instance is bound to a
 *     signal that the library owns, and is addressed by the name that
 *     wrapper.sv gives it:
 *       - a port named in the module's constructor (clk("clk")) keeps
 *         that name;
 *       - any other port takes its member name as the C++ source writes
 *         it, whatever its class (sc_in, sc_out, sc_inout, sc_port<IF>,
 *         a class derived from one), also for members of the first base
 *         class (and of its first, ...), of a class template and of a
 *         member struct ("<member>_<port>"), which the wrapper generator
 *         reads from the source with libclang; a port that is no member
 *         (made with new, in a later base class or inside a standard
 *         library object such as std::array) keeps SystemC's name;
 *       - an array of ports takes the member name and each index:
 *         d[4] gives d_0 .. d_3, m[2][3] gives m_0_0 .. m_1_2;
 *       - without the front end (libclang not installed, or the source
 *         does not parse with it; the variable CORVANE_LIBCLANG names
 *         another libclang to load) a port keeps SystemC's name, port_0,
 *         port_1, ..., and the generator warns about each;
 *       - the name is then made a legal SystemVerilog identifier: any
 *         character other than a letter, a digit or "_" becomes "_", a
 *         leading digit gets "_" before it, and a SystemVerilog keyword
 *         gets "_" after it (input_, reg_); a port that wants a name that
 *         an earlier port of the module has takes the first of
 *         <name>_2, <name>_3, ... that no port wants.
 *     corvane_sc_port_count() and corvane_sc_port_info() list them.
 *
 *     Data types and their SystemVerilog form in wrapper.sv (an inout is
 *     a net: "wire" in place of "bit" and "logic"):
 *       bool                         bit
 *       sc_logic                     logic
 *       char, short, int, long,      bit signed [W-1:0], or bit [W-1:0]
 *         long long, their unsigned    for the unsigned ones (W = 8, 16,
 *         forms, signed char           32, 64, 64)
 *       sc_uint<N>, sc_int<N>        bit [N-1:0], bit signed [N-1:0]
 *       sc_bv<N>, sc_lv<N>           bit [N-1:0], logic [N-1:0]
 *       sc_biguint<N>, sc_bigint<N>  bit [N-1:0], bit signed [N-1:0]
 *       double, float                real, shortreal (no inout)
 *     N is any width (up to 2^20).  A module with any other port type, or
 *     a resolved port, cannot be instantiated: the wrapper names such a
 *     port in a comment, and corvane_sc_instantiate() fails with
 *     CORVANE_SC_ERR_UNSUPPORTED_PORT, naming the first one as the wrapper
 *     does.  So it does for a module that the wrapper generator did not
 *     describe (it could not build one, or did not run).  The refusal
 *     comes before anything of the module is built: it leaves no process,
 *     object or name behind, and the run goes on exactly as without the
 *     call.
 *
 *     A module whose constructor builds other ports in the library than
 *     in the wrapper generator (code under SC_COSIM, ports that depend on
 *     the instance name) is only found out once built: it is deleted and
 *     refused the same way.  When it had started processes, which SystemC
 *     cannot take back, or when a constructor throws after starting some,
 *     every later corvane_sc_instantiate() and corvane_sc_advance() fails
 *     with CORVANE_SC_ERR_SYSTEMC: the kernel cannot go on.
 *
 *  4. Values.  Bits travel as arrays of 64-bit words, least significant
 *     word first; corvane_sc_write_u64() and corvane_sc_read_u64() are the
 *     one-word case.  A value of C words fits an N-bit port when every bit
 *     from N up is 0, or, for a signed port, when every bit from N-1 up is
 *     1 (a sign extension): both 0xff and 0xffffffffffffffff write -1 into
 *     an sc_int<8>.  A signed port wider than the C words given takes them
 *     as a two's complement number: one word 0xffffffffffffffff writes -1
 *     into an sc_bigint<200>.  Reads fill the C words asked for, signed
 *     values sign-extended, and fail (CORVANE_SC_ERR_BAD_VALUE) when the
 *     value needs more.  bool and sc_logic take 0 and 1.
 *
 *     Four-valued ports (sc_logic, sc_lv) hold X and Z too, which only the
 *     logic entry points carry: an a word and a b word per 64 bits, in
 *     which a bit is 0 as a=0 b=0, 1 as a=1 b=0, Z as a=0 b=1 and X as
 *     a=1 b=1.  They carry the N bits as they are: no sign extension, and
 *     bits from N up are 0 in reads and must be 0 in writes.  A number
 *     read from a port that holds X or Z bits fails
 *     (CORVANE_SC_ERR_BAD_VALUE), and a two-valued port takes no X or Z.
 *
 *     Real ports (double, float) take and give doubles through
 *     corvane_sc_write_f64() and corvane_sc_read_f64(), a float port
 *     rounding to float; words to a real port, and a double to any other
 *     port, fail with CORVANE_SC_ERR_KIND.
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

#include <stddef.h>
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
  CORVANE_SC_ERR_UNSUPPORTED_PORT = 7, /* a port type that the library does not carry */
  CORVANE_SC_ERR_NAME_TAKEN = 8,       /* an object of that name exists */
  CORVANE_SC_ERR_SYSTEMC = 9,          /* SystemC reported an error */
  CORVANE_SC_ERR_KIND = 10             /* bits to a real port, a real to a bit port */
};

/** Port directions and value kinds of corvane_sc_port. */
enum { CORVANE_SC_INPUT = 0, CORVANE_SC_OUTPUT = 1, CORVANE_SC_INOUT = 2 };
enum { CORVANE_SC_TWO_STATE = 0, CORVANE_SC_FOUR_STATE = 1, CORVANE_SC_REAL = 2 };

/** One port of an instance, as corvane_sc_port_info() describes it. */
typedef struct corvane_sc_port {
  const char *name; /* valid while the instance lives */
  int direction;    /* CORVANE_SC_INPUT, _OUTPUT or _INOUT */
  int kind;         /* CORVANE_SC_TWO_STATE, _FOUR_STATE or _REAL */
  unsigned width;   /* bits; 64 for double, 32 for float */
  int is_signed;    /* 1 for the signed integer types */
} corvane_sc_port;

/** Number of modules that the library exports. */
int corvane_sc_module_count(void);

/** Name of exported module \p index (0 to count - 1); null when out of range. */
const char *corvane_sc_module_name(int index);

/** Builds an instance of \p module named \p instance_name (a SystemC base
 *  name: no dots, unique among top-level objects) and binds its ports to
 *  signals of the library.  Null on failure. */
corvane_sc_instance *corvane_sc_instantiate(const char *module, const char *instance_name);

/** Number of ports of \p instance; -1 for a handle that is none. */
int corvane_sc_port_count(corvane_sc_instance *instance);

/** Describes port \p index (0 to count - 1, in the wrapper's order) of
 *  \p instance into \p *info. */
int corvane_sc_port_info(corvane_sc_instance *instance, int index, corvane_sc_port *info);

/** Writes \p value to input or inout port \p port; see rules 4 and 5. */
int corvane_sc_write_u64(corvane_sc_instance *instance, const char *port, uint64_t value);

/** Reads port \p port into \p *value; see rule 4. */
int corvane_sc_read_u64(corvane_sc_instance *instance, const char *port, uint64_t *value);

/** Writes the \p count words of \p words to \p port; see rule 4. */
int corvane_sc_write_words(corvane_sc_instance *instance, const char *port, const uint64_t *words,
                           size_t count);

/** Reads \p port into \p count words at \p words; see rule 4. */
int corvane_sc_read_words(corvane_sc_instance *instance, const char *port, uint64_t *words, size_t count);

/** Writes a value with X and Z bits, \p count a words and \p count b
 *  words, to \p port; see rule 4. */
int corvane_sc_write_logic(corvane_sc_instance *instance, const char *port, const uint64_t *aval,
                           const uint64_t *bval, size_t count);

/** Reads \p port with its X and Z bits into \p count a and b words. */
int corvane_sc_read_logic(corvane_sc_instance *instance, const char *port, uint64_t *aval, uint64_t *bval,
                          size_t count);

/** Writes \p value to real port \p port. */
int corvane_sc_write_f64(corvane_sc_instance *instance, const char *port, double value);

/** Reads real port \p port into \p *value. */
int corvane_sc_read_f64(corvane_sc_instance *instance, const char *port, double *value);

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
