// libFuzzer target for ParseArguments with a fixed registry holding an
// option of every kind.  The input is split at NUL bytes into arguments;
// its first byte picks the mode.  Whatever the arguments, the parse returns
// and its results hang together: one resolved name per file, only "+"
// arguments among the unknown plus-arguments, only given arguments
// forwarded, and a command line of files alone is accepted whole.

#include "driver/log.h"
#include "util/cmdline.h"

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <string>
#include <vector>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
  static const bool cleared = [] {
    ::clearenv();
    // Without a log file the session log would keep every note in memory.
    open_log_file("/dev/null");
    return true;
  }();
  (void)cleared;
  if (size == 0)
    return 0;
  const int mode = data[0] % 3;
  std::vector<std::string> args(1);
  for (size_t i = 1; i < size; ++i) {
    if (data[i] == 0)
      args.emplace_back();
    else
      args.back() += static_cast<char>(data[i]);
  }

  ScopedCmdLine scope;
  int32_t selector = 0;
  SwitchArg flag("-flag", 2, "a switch");
  StringArg text("-text", 2, "t:a text");
  MultiStringArg many("-many", 2 | 16, "m:repeatable");
  IntegerArg number("-number", 2, "n:a number", IntegerArg::NotNegative | IntegerArg::NotZero);
  MutexArg one("-one", 2, "first choice", &selector, 1);
  MutexArg two("-two", 2, "second choice", &selector, 2);
  SwitchArg plus("+plus", 2, "a plus option");
  SwitchArg old("-old", 64, "deprecated");
  old.Deprecate("-flag");
  AddOptionGroup(2 | 64, "Fuzz");

  const bool ok = ParseArguments(args[0], args, mode);
  if (Files().size() != ExpandedFiles().size())
    __builtin_trap();
  for (const std::string &arg : UnknownPlusArgs())
    if (arg.empty() || arg[0] != '+')
      __builtin_trap();
  for (const std::string &arg : ForwardedArgs())
    if (std::find(args.begin() + 1, args.end(), arg) == args.end())
      __builtin_trap();
  if (mode != 2 && CleanArgc() > static_cast<int>(args.size()))
    __builtin_trap();
  const bool onlyFiles = std::all_of(args.begin() + 1, args.end(), [](const std::string &arg) {
    return arg.empty() || (arg[0] != '-' && arg[0] != '+');
  });
  if (onlyFiles && (!ok || Files().size() != args.size() - 1))
    __builtin_trap();
  if (selector != 0 && selector != 1 && selector != 2)
    __builtin_trap();
  return 0;
}
