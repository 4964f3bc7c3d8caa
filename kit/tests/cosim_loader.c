/* A minimal simulator host: loads a libcorvanesc.so with dlopen() and
 * drives it through corvane_sc_cosim.h, as a simulator does.
 *
 *   kit_cosim_loader <library> counter|two_modules|port_types
 *
 * Each scenario fits one of the kit tests' designs.  Prints one line per
 * failed check and ends with status 1 if there was any. */

#include "corvane_sc_cosim.h"

#include <dlfcn.h>
#include <inttypes.h>
#include <stdio.h>
#include <string.h>

static struct {
  int (*module_count)(void);
  const char *(*module_name)(int);
  corvane_sc_instance *(*instantiate)(const char *, const char *);
  int (*write_u64)(corvane_sc_instance *, const char *, uint64_t);
  int (*read_u64)(corvane_sc_instance *, const char *, uint64_t *);
  int (*advance)(corvane_sc_instance *, uint64_t);
  const char *(*last_error)(void);
} sc;

static int failures;

#define CHECK(cond, ...)                                                                      \
  do {                                                                                         \
    if (!(cond)) {                                                                             \
      ++failures;                                                                              \
      printf("FAIL %s:%d: %s: ", __FILE__, __LINE__, #cond);                                   \
      printf(__VA_ARGS__);                                                                     \
      printf(" (last error: %s)\n", sc.last_error());                                          \
    }                                                                                          \
  } while (0)

static void check_error(int code, int expected, const char *message, int line) {
  if (code != expected || !strstr(sc.last_error(), message)) {
    ++failures;
    printf("FAIL %s:%d: code %d, expected %d; message \"%s\", expected it to hold \"%s\"\n",
           __FILE__, line, code, expected, sc.last_error(), message);
  }
}
#define CHECK_ERROR(call, expected, message) check_error((call), (expected), (message), __LINE__)

static uint64_t read_port(corvane_sc_instance *instance, const char *port) {
  uint64_t value = 0xdeadbeef;
  int code = sc.read_u64(instance, port, &value);
  CHECK(code == CORVANE_SC_OK, "reading %s", port);
  return value;
}

static void write_port(corvane_sc_instance *instance, const char *port, uint64_t value) {
  int code = sc.write_u64(instance, port, value);
  CHECK(code == CORVANE_SC_OK, "writing %s = %" PRIu64, port, value);
}

static void clock_edges(corvane_sc_instance *instance, int edges) {
  for (int i = 0; i < edges; ++i) {
    write_port(instance, "clk", 1);
    CHECK(sc.advance(instance, 5) == CORVANE_SC_OK, "advance");
    write_port(instance, "clk", 0);
    CHECK(sc.advance(NULL, 5) == CORVANE_SC_OK, "advance");
  }
}

static void counter(void) {
  CHECK(sc.module_count() == 1, "count %d", sc.module_count());
  CHECK(sc.module_name(0) && strcmp(sc.module_name(0), "counter") == 0, "name");
  CHECK(sc.module_name(1) == NULL, "past the end");
  CHECK(strstr(sc.last_error(), "no module number 1") != NULL, "message");

  CHECK(sc.instantiate("no_such", "x") == NULL, "unknown module");
  CHECK(strstr(sc.last_error(), "unknown module 'no_such' (exported: counter)") != NULL, "message");
  CHECK(sc.instantiate("counter", "") == NULL, "empty instance name");
  CHECK(sc.instantiate("counter", "a.b") == NULL, "hierarchical instance name");

  /* Two instances before the first advance; the second stays disabled. */
  corvane_sc_instance *c = sc.instantiate("counter", "c");
  corvane_sc_instance *idle = sc.instantiate("counter", "idle");
  CHECK(c != NULL && idle != NULL, "instantiate");
  if (!c || !idle)
    return;
  CHECK(sc.instantiate("counter", "c") == NULL, "name taken");
  CHECK(strstr(sc.last_error(), "an object named 'c' exists already") != NULL, "message");

  write_port(c, "reset", 1);
  write_port(c, "enable", 1);
  write_port(idle, "reset", 0);
  write_port(idle, "enable", 0);
  clock_edges(c, 3);
  clock_edges(idle, 3);
  CHECK(read_port(c, "count") == 0, "held in reset");
  CHECK(read_port(idle, "count") == 0, "idle");

  write_port(c, "reset", 0);
  clock_edges(c, 100);
  CHECK(read_port(c, "count") == 100, "count %" PRIu64, read_port(c, "count"));
  CHECK(read_port(c, "enable") == 1, "inputs read back");

  write_port(c, "enable", 0);
  clock_edges(c, 5);
  CHECK(read_port(c, "count") == 100, "disabled");

  write_port(c, "reset", 1);
  write_port(c, "enable", 1);
  clock_edges(c, 1);
  CHECK(read_port(c, "count") == 0, "reset");

  /* The counter wraps at 8 bits. */
  write_port(c, "reset", 0);
  clock_edges(c, 260);
  CHECK(read_port(c, "count") == 4, "wrapped %" PRIu64, read_port(c, "count"));

  uint64_t value;
  CHECK_ERROR(sc.write_u64(c, "nope", 1), CORVANE_SC_ERR_UNKNOWN_PORT,
              "instance 'c' has no port 'nope'");
  CHECK_ERROR(sc.read_u64(c, "nope", &value), CORVANE_SC_ERR_UNKNOWN_PORT,
              "instance 'c' has no port 'nope'");
  CHECK_ERROR(sc.write_u64(c, "count", 1), CORVANE_SC_ERR_DIRECTION,
              "port 'count' of instance 'c' is an output");
  CHECK_ERROR(sc.write_u64(c, "enable", 2), CORVANE_SC_ERR_BAD_VALUE,
              "port 'enable' of instance 'c': value 2 does not fit 1 bit");
  CHECK_ERROR(sc.write_u64(NULL, "enable", 1), CORVANE_SC_ERR_ARGUMENT, "not an instance");
  CHECK_ERROR(sc.write_u64((corvane_sc_instance *)&value, "enable", 1), CORVANE_SC_ERR_ARGUMENT,
              "not an instance");
  CHECK_ERROR(sc.advance((corvane_sc_instance *)&value, 1), CORVANE_SC_ERR_ARGUMENT,
              "not an instance");
  CHECK_ERROR(sc.read_u64(c, "count", NULL), CORVANE_SC_ERR_ARGUMENT, "no place for the value");
  CHECK_ERROR(sc.write_u64(c, NULL, 1), CORVANE_SC_ERR_ARGUMENT, "no port name");

  CHECK(sc.instantiate("counter", "late") == NULL, "instantiate after the first advance");
  CHECK(strstr(sc.last_error(), "cannot instantiate 'late': the simulation has started") != NULL,
        "message");
  /* Nothing broke: the counter still counts. */
  clock_edges(c, 1);
  CHECK(read_port(c, "count") == 5, "after the errors");
}

static void two_modules(void) {
  CHECK(sc.module_count() == 2, "count %d", sc.module_count());
  CHECK(strcmp(sc.module_name(0), "adder") == 0 && strcmp(sc.module_name(1), "shift_reg") == 0,
        "names");
  corvane_sc_instance *add = sc.instantiate("adder", "add");
  corvane_sc_instance *shift = sc.instantiate("shift_reg", "shift");
  CHECK(add != NULL && shift != NULL, "instantiate");
  if (!add || !shift)
    return;

  /* 200 + 100 = 300 = 0b100101100: four ones, even. */
  write_port(add, "a", 200);
  write_port(add, "b", 100);
  CHECK(sc.advance(NULL, 1) == CORVANE_SC_OK, "advance");
  CHECK(read_port(add, "sum") == 300, "sum");
  CHECK(read_port(add, "parity") == 0, "parity of 300");
  /* 255 + 3 = 258 = 0b100000010: two ones; 255 + 4 = 259: three. */
  write_port(add, "a", 255);
  write_port(add, "b", 3);
  CHECK(sc.advance(NULL, 1) == CORVANE_SC_OK, "advance");
  CHECK(read_port(add, "sum") == 258, "sum");
  CHECK(read_port(add, "parity") == 0, "parity of 258");
  write_port(add, "b", 4);
  CHECK(sc.advance(NULL, 1) == CORVANE_SC_OK, "advance");
  CHECK(read_port(add, "parity") == 1, "parity of 259");
  CHECK_ERROR(sc.write_u64(add, "a", 256), CORVANE_SC_ERR_BAD_VALUE, "value 256 does not fit 8 bits");

  /* Shift in 1, 0, 1, 1: q holds them oldest first. */
  const int bits[] = {1, 0, 1, 1};
  for (int i = 0; i < 4; ++i) {
    write_port(shift, "din", bits[i]);
    clock_edges(shift, 1);
  }
  CHECK(read_port(shift, "q") == 0xb, "q %" PRIx64, read_port(shift, "q"));
  CHECK_ERROR(sc.write_u64(shift, "din", 2), CORVANE_SC_ERR_BAD_VALUE, "does not fit 1 bit");
}

static void port_types(void) {
  CHECK(sc.instantiate("odd", "o") == NULL, "module with a port without a 64-bit value");
  CHECK(strstr(sc.last_error(),
               "module 'odd', port 'level': sc_core::sc_in<double> has no 64-bit value") != NULL,
        "message");
  /* The refused module left nothing behind: its name is free, and the
   * kernel elaborates the rest. */
  corvane_sc_instance *t = sc.instantiate("all_types", "o");
  CHECK(t != NULL, "instantiate");
  if (!t)
    return;

  /* Logic vectors start as X. */
  CHECK(sc.advance(t, 1) == CORVANE_SC_OK, "advance");
  uint64_t value;
  CHECK_ERROR(sc.read_u64(t, "lv_out", &value), CORVANE_SC_ERR_BAD_VALUE,
              "port 'lv_out' of instance 'o' holds XXXXX");
  CHECK_ERROR(sc.read_u64(t, "l", &value), CORVANE_SC_ERR_BAD_VALUE, "holds X");

  static const struct {
    const char *port;
    uint64_t value;
    int code;
  } writes[] = {
      {"b", 1, CORVANE_SC_OK},
      {"b", 2, CORVANE_SC_ERR_BAD_VALUE},
      {"l", 1, CORVANE_SC_OK},
      {"l", 2, CORVANE_SC_ERR_BAD_VALUE},
      {"u", 4095, CORVANE_SC_OK},
      {"u", 4096, CORVANE_SC_ERR_BAD_VALUE},
      {"u", UINT64_MAX, CORVANE_SC_ERR_BAD_VALUE},
      {"s", 0x800, CORVANE_SC_OK},                    /* -2048 as 12 bits */
      {"s", 0xfffffffffffff800u, CORVANE_SC_OK},      /* -2048 sign-extended */
      {"s", 0x1000, CORVANE_SC_ERR_BAD_VALUE},
      {"s", 0xfffffffffffff7ffu, CORVANE_SC_ERR_BAD_VALUE}, /* -2049 */
      {"s", 0x7ffffffffffff800u, CORVANE_SC_ERR_BAD_VALUE}, /* not a sign extension */
      {"bv", 7, CORVANE_SC_OK},
      {"bv", 8, CORVANE_SC_ERR_BAD_VALUE},
      {"i", 0xffffffffu, CORVANE_SC_OK},
      {"i", 0x100000000u, CORVANE_SC_ERR_BAD_VALUE},
      {"us", 65535, CORVANE_SC_OK},
      {"us", 65536, CORVANE_SC_ERR_BAD_VALUE},
      {"s_out", 0, CORVANE_SC_ERR_DIRECTION},
      {"io", 15, CORVANE_SC_OK},
      {"io", 16, CORVANE_SC_ERR_BAD_VALUE},
      {"io_bit", 1, CORVANE_SC_OK},
  };
  for (size_t i = 0; i < sizeof writes / sizeof writes[0]; ++i) {
    int code = sc.write_u64(t, writes[i].port, writes[i].value);
    CHECK(code == writes[i].code, "write %s = 0x%" PRIx64 ": code %d", writes[i].port,
          writes[i].value, code);
  }
  write_port(t, "s", 0xfff); /* -1 */
  write_port(t, "lv", 0x15);
  CHECK(sc.advance(t, 1) == CORVANE_SC_OK, "advance");

  static const struct {
    const char *port;
    uint64_t value;
  } reads[] = {
      {"b", 1},
      {"l", 1},
      {"u", 4095},
      {"s", UINT64_MAX},
      {"s_out", UINT64_MAX}, /* signed reads come back sign-extended */
      {"bv", 7},
      {"lv_out", 0x15},
      {"i", UINT64_MAX},
      {"ll_out", UINT64_MAX},
      {"us", 65535},
      {"io", 15},
      {"io_bit", 1},
  };
  for (size_t i = 0; i < sizeof reads / sizeof reads[0]; ++i) {
    uint64_t got = read_port(t, reads[i].port);
    CHECK(got == reads[i].value, "read %s: 0x%" PRIx64 ", expected 0x%" PRIx64, reads[i].port, got,
          reads[i].value);
  }
}

int main(int argc, char **argv) {
  if (argc != 3) {
    fprintf(stderr, "usage: %s <library> counter|two_modules|port_types\n", argv[0]);
    return 2;
  }
  void *library = dlopen(argv[1], RTLD_NOW | RTLD_LOCAL);
  if (!library) {
    printf("FAIL dlopen: %s\n", dlerror());
    return 1;
  }
#define FIND(field, symbol)                                                                    \
  do {                                                                                         \
    *(void **)&sc.field = dlsym(library, symbol);                                              \
    if (!sc.field) {                                                                           \
      printf("FAIL no %s in %s\n", symbol, argv[1]);                                           \
      return 1;                                                                                \
    }                                                                                          \
  } while (0)
  FIND(module_count, "corvane_sc_module_count");
  FIND(module_name, "corvane_sc_module_name");
  FIND(instantiate, "corvane_sc_instantiate");
  FIND(write_u64, "corvane_sc_write_u64");
  FIND(read_u64, "corvane_sc_read_u64");
  FIND(advance, "corvane_sc_advance");
  FIND(last_error, "corvane_sc_last_error");

  CHECK(strcmp(sc.last_error(), "") == 0, "no error yet");
  if (strcmp(argv[2], "counter") == 0)
    counter();
  else if (strcmp(argv[2], "two_modules") == 0)
    two_modules();
  else if (strcmp(argv[2], "port_types") == 0)
    port_types();
  else {
    fprintf(stderr, "unknown scenario %s\n", argv[2]);
    return 2;
  }
  printf("%s: %d failed check%s\n", argv[2], failures, failures == 1 ? "" : "s");
  return failures ? 1 : 0;
}
