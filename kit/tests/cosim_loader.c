/* A minimal simulator host: loads a libcorvanesc.so with dlopen() and
 * drives it through corvane_sc_cosim.h, as a simulator does.
 *
 *   kit_cosim_loader <library> counter|two_modules|ports|stranded
 *
 * Each scenario is a table of steps for one of the kit tests' designs.
 * Prints one line per failed check and ends with status 1 if there was any. */

#include "corvane_sc_cosim.h"

#include <dlfcn.h>
#include <inttypes.h>
#include <stdio.h>
#include <string.h>

/* The library's functions, found with dlsym(); sc.f is corvane_sc_f. */
#define FUNCTIONS(X)                                                                                    \
  X(module_count) X(module_name) X(instantiate) X(port_count) X(port_info) X(write_u64) X(read_u64)     \
  X(write_words) X(read_words) X(write_logic) X(read_logic) X(write_f64) X(read_f64) X(advance)         \
  X(last_error)
#define DECLARE(f) __typeof__(corvane_sc_##f) *f;
static struct {
  FUNCTIONS(DECLARE)
} sc;

static int failures;

#define CHECK(cond, ...)                                                                                \
  do {                                                                                                   \
    if (!(cond))                                                                                         \
      ++failures, printf("FAIL %s:%d: %s: ", __FILE__, __LINE__, #cond), printf(__VA_ARGS__),            \
          printf(" (last error: %s)\n", sc.last_error());                                               \
  } while (0)

/* One call into the library: op I instantiates module `arg` as `inst`; W
 * writes and R reads port `arg` (r: into no place); A advances `value` ns;
 * C runs `value` clock cycles; V and v write and read `n` words `a`, L and
 * l `n` words `a` and `b` with X and Z, F and f the real `real`; P finds
 * port number `value` named `arg`, `n` bits wide.  `inst` names an instance
 * made by an earlier step; NULL is a null handle, any other name a pointer
 * that is no handle.  The call must end with `code` (FAILED: a null
 * instance), a read that succeeds must give the value, and the last error
 * must hold `message`. */
typedef struct {
  char op;
  const char *inst, *arg;
  uint64_t value;
  int code;
  const char *message;
  unsigned n;
  uint64_t a[4], b[4];
  double real;
} Step;
enum { FAILED = -1 };

static const char *names[8];
static corvane_sc_instance *instances[8];
static int made;

static corvane_sc_instance *handle(const char *name) {
  for (int i = 0; name && i < made; ++i)
    if (strcmp(names[i], name) == 0)
      return instances[i];
  return name ? (corvane_sc_instance *)&failures : NULL;
}

static void run(const Step *steps, size_t count) {
  for (const Step *s = steps; s < steps + count; ++s) {
    corvane_sc_instance *instance = handle(s->inst), *fresh;
    uint64_t got = 0, a[4] = {0}, b[4] = {0};
    double real = 0;
    corvane_sc_port port = {0};
    int code = CORVANE_SC_OK, same = 1;
    switch (s->op) {
    case 'I':
      code = (fresh = sc.instantiate(s->arg, s->inst)) ? CORVANE_SC_OK : FAILED;
      if (fresh && made < 8)
        names[made] = s->inst, instances[made++] = fresh;
      break;
    case 'W': code = sc.write_u64(instance, s->arg, s->value); break;
    case 'R': code = sc.read_u64(instance, s->arg, &got), same = got == s->value; break;
    case 'r': code = sc.read_u64(instance, s->arg, NULL); break;
    case 'A': code = sc.advance(instance, s->value); break;
    case 'C': /* the kernel is shared: the second advance needs no instance */
      for (uint64_t i = 0; i < s->value && code == CORVANE_SC_OK; ++i)
        code = sc.write_u64(instance, "clk", 1) || sc.advance(instance, 5) || sc.write_u64(instance, "clk", 0) ||
               sc.advance(NULL, 5);
      break;
    case 'V': code = sc.write_words(instance, s->arg, s->a, s->n); break;
    case 'v': code = sc.read_words(instance, s->arg, a, s->n), same = !memcmp(a, s->a, sizeof a); break;
    case 'L': code = sc.write_logic(instance, s->arg, s->a, s->b, s->n); break;
    case 'l':
      code = sc.read_logic(instance, s->arg, a, b, s->n);
      same = !memcmp(a, s->a, sizeof a) && !memcmp(b, s->b, sizeof b);
      break;
    case 'F': code = sc.write_f64(instance, s->arg, s->real); break;
    case 'f': code = sc.read_f64(instance, s->arg, &real), same = real == s->real; break;
    case 'P':
      code = sc.port_info(instance, (int)s->value, &port);
      same = port.name && strcmp(port.name, s->arg) == 0 && port.width == s->n;
      break;
    }
    CHECK(code == s->code && (code || same) && (!s->message || strstr(sc.last_error(), s->message)),
          "step %d: %c %s %s 0x%" PRIx64 ": code %d, value 0x%" PRIx64, (int)(s - steps) + 1, s->op,
          s->inst ? s->inst : "(null)", s->arg ? s->arg : "(null)", s->value, code, got);
  }
}

enum {
  OK = CORVANE_SC_OK, ARG = CORVANE_SC_ERR_ARGUMENT, PORT = CORVANE_SC_ERR_UNKNOWN_PORT,
  VALUE = CORVANE_SC_ERR_BAD_VALUE, DIRECTION = CORVANE_SC_ERR_DIRECTION, KIND = CORVANE_SC_ERR_KIND,
  SYSTEMC = CORVANE_SC_ERR_SYSTEMC
};
/* Steps; one with a trailing code (and message) must fail so.  BAD writes a value that does not fit. */
#define I(inst, module, ...) {'I', inst, module, 0, __VA_ARGS__}
#define W(inst, port, value, ...) {'W', inst, port, value, __VA_ARGS__}
#define BAD(inst, port, value) {'W', inst, port, value, VALUE}
#define R(inst, port, value, ...) {'R', inst, port, value, __VA_ARGS__}
#define A(inst, ...) {'A', inst, NULL, 1, __VA_ARGS__}
#define C(inst, cycles) {'C', inst, NULL, cycles}
#define P(inst, port, number, width) {'P', inst, port, number, OK, NULL, width}
#define F(op, inst, port, value) {op, inst, port, .real = value}
#define WORDS(op, inst, port, count, ...) {op, inst, port, 0, OK, NULL, count, {__VA_ARGS__}}

static const Step counter[] = {
    I("x", "no_such", FAILED, "unknown module 'no_such' (exported: counter)"), I("", "counter", FAILED),
    I("a.b", "counter", FAILED),
    /* Two instances before the first advance; the second stays disabled. */
    I("c", "counter"), I("idle", "counter"), I("c", "counter", FAILED, "an object named 'c' exists already"),
    W("c", "reset", 1), W("c", "enable", 1), W("idle", "reset", 0), W("idle", "enable", 0),
    C("c", 3), C("idle", 3), R("c", "count", 0), R("idle", "count", 0),
    W("c", "reset", 0), C("c", 100), R("c", "count", 100), W("c", "enable", 0), C("c", 5), R("c", "count", 100),
    W("c", "reset", 1), W("c", "enable", 1), C("c", 1), R("c", "count", 0),
    W("c", "reset", 0), C("c", 260), R("c", "count", 4), /* 8 bits wrap */
    W("c", "nope", 1, PORT, "instance 'c' has no port 'nope'"),
    R("c", "nope", 0, PORT, "instance 'c' has no port 'nope'"),
    W("c", "count", 1, DIRECTION, "port 'count' of instance 'c' is an output"),
    W("c", "enable", 2, VALUE, "port 'enable' of instance 'c': value 2 does not fit 1 bit"),
    W(NULL, "enable", 1, ARG, "not an instance"), W("stray", "enable", 1, ARG, "not an instance"),
    A("stray", ARG, "not an instance"), {'r', "c", "count", 0, ARG, "no place for the value"},
    W("c", NULL, 1, ARG, "no port name"),
    I("late", "counter", FAILED, "cannot instantiate 'late': the simulation has started"),
    C("c", 1), R("c", "count", 5), /* nothing broke */
};

static const Step two_modules[] = {
    I("add", "adder"), I("shift", "shift_reg"),
    /* 200 + 100 = 300 = 0b100101100: four ones, even; 255 + 3 = 258 =
     * 0b100000010: two ones; 255 + 4 = 259: three. */
    W("add", "a", 200), W("add", "b", 100), A(NULL), R("add", "sum", 300), R("add", "parity", 0),
    W("add", "a", 255), W("add", "b", 3), A(NULL), R("add", "sum", 258), R("add", "parity", 0),
    W("add", "b", 4), A(NULL), R("add", "parity", 1), W("add", "a", 256, VALUE, "value 256 does not fit 8 bits"),
    /* Shift in 1, 0, 1, 1: q holds them oldest first. */
    W("shift", "din", 1), C("shift", 1), W("shift", "din", 0), C("shift", 1),
    W("shift", "din", 1), C("shift", 2), R("shift", "q", 0xb), W("shift", "din", 2, VALUE, "does not fit 1 bit"),
};

static const Step ports[] = {
    I("o", "odd", FAILED, "module 'odd', port 'level': the library carries no sc_core::sc_inout<double>"),
    I("o", "producer", FAILED, "module 'producer', port 'out': the library carries no sc_core::sc_port<write_if, "),
    I("o", "shy", FAILED, "module 'shy': the wrapper generator did not describe it"),
    I("o", "grows", FAILED, "module 'grows', port 'port_1': the library carries no sc_core::sc_port<write_if, "),
    /* The refused modules left nothing behind: no process prints, the name
     * is free, and the kernel elaborates the rest. */
    I("o", "all_types"), I("m", "mixer"), I("w", "wide"), I("i", "inc12"),
    /* Names from the source, in the wrapper's order. */
    P("m", "enable_0_2", 7, 1), P("w", "sum", 3, 200), P("m", "strobe_fall", 10, 1),
    {'P', "m", NULL, 12, ARG, "no port number 12 on instance 'm'"}, A("o"),
    /* Logic vectors start as X. */
    R("o", "lv_out", 0, VALUE, "port 'lv_out' of instance 'o' holds XXXXX"), R("o", "l", 0, VALUE, "holds X"),
    {'l', "w", "lanes_out", 0, OK, NULL, 2, {~0ull, ~0ull}, {~0ull, ~0ull}},
    /* Each value that just fits, then the next beyond. */
    W("o", "b", 1), BAD("o", "b", 2), W("o", "l", 1), BAD("o", "l", 2),
    W("o", "u", 4095), BAD("o", "u", 4096), BAD("o", "u", UINT64_MAX),
    W("o", "s", 0x800), W("o", "s", (uint64_t)-2048), /* -2048 as 12 bits and sign-extended */
    BAD("o", "s", 0x1000), BAD("o", "s", (uint64_t)-2049), BAD("o", "s", 0x7ffffffffffff800u), /* not sign-extended */
    W("o", "bv", 7), BAD("o", "bv", 8), W("o", "i", 0xffffffffu), BAD("o", "i", 0x100000000u),
    W("o", "us", 65535), BAD("o", "us", 65536), W("o", "io", 15), BAD("o", "io", 16), W("o", "io_bit", 1),
    W("o", "s_out", 0, DIRECTION), W("o", "s", 0xfff), W("o", "lv", 0x15), /* s = -1 */
    /* 2^128 - 1 + (-1) and 2^64 + 2^64 - 1 - 1; -1 is one word, sign-extended. */
    WORDS('V', "w", "data", 2, ~0ull, ~0ull), W("w", "offset", ~0ull),
    {'V', "w", "data", 0, VALUE, "port 'data' of instance 'w': value does not fit 128 bits", 3, {0, 0, 1}},
    F('F', "m", "gain", 1.25), F('F', "m", "bias", 0.1), W("m", "enable_0", 1), W("m", "enable_2", 1),
    W("m", "enable_0_2", 1), W("m", "reg_", 1), W("i", "in", 4095),
    /* Lanes: bit 0 is 1, bit 1 Z, bit 64 X, bit 127 Z. */
    {'L', "w", "lanes", 0, OK, NULL, 2, {1, 1}, {2, 1ull | 1ull << 63}}, A("o"),
    /* Signed reads come back sign-extended. */
    R("o", "b", 1), R("o", "l", 1), R("o", "u", 4095), R("o", "s", UINT64_MAX),
    R("o", "s_out", UINT64_MAX), R("o", "bv", 7), R("o", "lv_out", 0x15), R("o", "i", UINT64_MAX),
    R("o", "ll_out", UINT64_MAX), R("o", "us", 65535), R("o", "io", 15), R("o", "io_bit", 1),
    WORDS('v', "w", "sum", 4, ~0ull - 1, ~0ull), R("w", "sum", 0, VALUE, "the value needs 4 words"),
    F('f', "m", "level", 2.5 + 0.1f), F('f', "m", "bias", 0.1f), R("m", "count", 2), R("i", "out", 0),
    {'l', "w", "lanes_out", 0, OK, NULL, 3, {1, 1}, {2, 1ull | 1ull << 63}},
    {'v', "w", "lanes_out", 0, VALUE, "port 'lanes_out' of instance 'w' holds Z0", 2},
    W("m", "gain", 1, KIND, "port 'gain' of instance 'm' is real: write it as a double"),
    {'F', "m", "clk", 0, KIND, "port 'clk' of instance 'm' is not real"},
    {'L', "w", "data", 0, VALUE, "port 'data' of instance 'w' takes no X or Z", 1, {0}, {1}},
    /* data = 0: the sum is -1, which fits one word and all four. */
    WORDS('V', "w", "data", 1, 0), A(NULL), R("w", "sum", UINT64_MAX),
    WORDS('v', "w", "sum", 4, ~0ull, ~0ull, ~0ull, ~0ull),
};

/* Taken back after construction, grows left its process behind. */
static const Step stranded[] = {
    I("busy", "grows", FAILED, "not see); the kernel cannot go on: instance 'busy' of module 'grows' left processes"),
    I("o", "odd", FAILED, "the kernel cannot go on"), A(NULL, SYSTEMC, "the kernel cannot go on"),
};

#define SCENARIO(steps, modules) {#steps, modules, steps, sizeof steps / sizeof steps[0]}
static const struct {
  const char *name, *modules; /* the modules the library exports, in order */
  const Step *steps;
  size_t count;
} scenarios[] = {SCENARIO(counter, "counter "), SCENARIO(two_modules, "adder shift_reg "),
                 SCENARIO(ports, "mixer wide inc12 producer grows shy all_types odd "),
                 SCENARIO(stranded, "mixer wide inc12 producer grows shy all_types odd ")};

int main(int argc, char **argv) {
  void *library = argc == 3 ? dlopen(argv[1], RTLD_NOW | RTLD_LOCAL) : NULL;
  int found = library != NULL;
#define FIND(f) found = found && (*(void **)&sc.f = dlsym(library, "corvane_sc_" #f));
  FUNCTIONS(FIND)
  if (!found) {
    printf("FAIL %s\n", argc == 3 ? dlerror() : "usage: kit_cosim_loader <library> <scenario>");
    return 1;
  }
  CHECK(strcmp(sc.last_error(), "") == 0, "no error yet");
  for (size_t i = 0; i < sizeof scenarios / sizeof scenarios[0]; ++i) {
    if (strcmp(argv[2], scenarios[i].name) != 0)
      continue;
    char modules[256] = "", past[64];
    const int count = sc.module_count();
    for (int m = 0; m < count && strlen(modules) < 200; ++m)
      strcat(strcat(modules, sc.module_name(m)), " ");
    snprintf(past, sizeof past, "no module number %d", count);
    CHECK(strcmp(modules, scenarios[i].modules) == 0, "modules %s", modules);
    CHECK(sc.module_name(count) == NULL && strstr(sc.last_error(), past), "past the end");
    run(scenarios[i].steps, scenarios[i].count);
    printf("%s: %d failed check%s\n", argv[2], failures, failures == 1 ? "" : "s");
    return failures ? 1 : 0;
  }
  printf("FAIL unknown scenario %s\n", argv[2]);
  return 1;
}
