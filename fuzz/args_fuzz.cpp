// libFuzzer target for quillc's argument loop.  The input is split at NUL
// bytes into argv; the parse must never crash, and what it returns must
// hang together: every module of every unit is text of some argument, and
// an accepted command line leaves no module without a source.

#include "driver/args.h"
#include "driver/export.h"
#include "driver/log.h"

#include <cstdint>
#include <cstdlib>
#include <string>
#include <vector>

// Every argument error is logged; with no log file open the text would be
// held in memory for the whole run and grow until the fuzzer runs out of
// memory, so the session log goes to the null device.
extern "C" int LLVMFuzzerInitialize(int *, char ***) {
  open_log_file("/dev/null");
  return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
  std::vector<std::string> args = {"quillc"};
  std::string current;
  for (size_t i = 0; i < size; ++i) {
    if (data[i] == 0) {
      args.push_back(current);
      current.clear();
    } else {
      current += static_cast<char>(data[i]);
    }
  }
  args.push_back(current);

  std::vector<char *> argv;
  for (std::string &a : args)
    argv.push_back(a.data());
  argv.push_back(nullptr);

  DriverArguments parsed;
  parse_driver_arguments(static_cast<int>(args.size()), argv.data(), parsed);
  size_t modules = 0;
  for (const SourceUnit &unit : parsed.units) {
    if (!unit.source.empty() && unit.source[0] == '-')
      std::abort();
    modules += unit.modules.size();
    (void)make_export_name(unit.source);
  }
  if (modules + parsed.units.size() > args.size())
    std::abort();
  (void)parsed.extraOptionsText();
  return 0;
}
