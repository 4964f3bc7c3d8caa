// The wrapper generator's entry.  quillc links it from
// libwrapper_generator.a with the design's export objects and runs it in
// the work directory.

#include "kit/generator/wrapper_writer.h"

#include <systemc>

#include <cstdlib>

int main() {
  // The generator only builds instances; SystemC's start-up notice would
  // just pad the build's output.
  setenv("SYSTEMC_DISABLE_COPYRIGHT_MESSAGE", "1", 0);
  return corvane_sc::run_wrapper_generator();
}

// SystemC's library refers to sc_main; this program never calls it.  Weak,
// so that a design that brings its own sc_main still links.
[[gnu::weak]] int sc_main(int, char *[]) { return 1; }
