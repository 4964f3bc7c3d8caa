#include "util/AppInfo.h"

#include <cstring>
#include <unistd.h>

const char *const kToolRevision = "r79477";
const char *const kToolVersion = "1.22.1 RELEASE 64-bit r79477 BUILD 202411061516";
const char *const kToolVersionVerbose = kToolVersion;

std::map<std::string, std::string> &tool_title_table() {
  static std::map<std::string, std::string> titles = {
      {"tarn", "Corvane DIGITAL LOGIC SIMULATOR"},
      {"tarn_elab", "Corvane DIGITAL LOGIC ELABORATER"},
      {"svquill", "Corvane SYSTEM VERILOG COMPILER"},
      {"vhquill", "Corvane VHDL COMPILER"},
      {"quillc", "Corvane SystemC COMPILER"},
  };
  return titles;
}

// The banner itself is not written yet; start-up only honours the options
// that suppress it.
void tool_startup(int argc, char **argv, const char *tool_name) {
  for (int i = 1; i < argc; ++i)
    if (!std::strcmp(argv[i], "-version") || !std::strcmp(argv[i], "-version-verbose") ||
        !std::strcmp(argv[i], "-options"))
      return;
  print_start_banner(tool_name);
}

void print_start_banner(const char *) {}

std::string get_host_name() {
  static std::string cached;
  if (cached.empty()) {
    char name[512] = {};
    ::gethostname(name, sizeof name - 1);
    cached = name;
  }
  return cached;
}
