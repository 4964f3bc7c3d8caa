// libFuzzer target for ExpandEnv.  With an empty environment every
// reference expands to nothing, so a text that does not start with "~" can
// only get shorter, and a text without "$" or a leading "~" comes back
// unchanged.  The note goes through the roster with the text as it is
// ("%" included).

#include "driver/log.h"
#include "util/env.h"

#include <cstdint>
#include <cstdlib>
#include <string>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
  static const bool cleared = [] {
    ::clearenv();
    ClearEnvironmentCache();
    // Without a log file the session log would keep every note in memory.
    open_log_file("/dev/null");
    return true;
  }();
  (void)cleared;
  const std::string text(reinterpret_cast<const char *>(data), size);
  const std::string expanded = ExpandEnv(text);
  const bool tilde = !text.empty() && text[0] == '~';
  if (!tilde && expanded.size() > text.size())
    __builtin_trap();
  if (!tilde && text.find('$') == std::string::npos && expanded != text)
    __builtin_trap();
  return 0;
}
