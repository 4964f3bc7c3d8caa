// Linked exactly as quillc is (the driver library and nothing else) and
// naming nothing of the option framework except through a weak reference,
// which does not pull an archive member in: the standard options are found
// only when the library's link interface brought them into the program.
// Prints the registry and exits 0 when the five standard options are there.

#include "util/cmdline.h"

#include <cstdio>
#include <cstring>

const std::vector<CmdArg *> &RegisteredArgs() __attribute__((weak));

int main() {
  if (!RegisteredArgs) {
    std::puts("the option framework is not linked in");
    return 1;
  }
  const char *expected[] = {"-help", "-options", "-version", "-version-verbose", "-exclude-file-offsets"};
  size_t matched = 0;
  for (const CmdArg *arg : RegisteredArgs()) {
    std::printf("%s\n", arg->Name());
    if (matched < 5 && std::strcmp(arg->Name(), expected[matched]) == 0)
      ++matched;
  }
  return matched == 5 ? 0 : 1;
}
