// A tool of the suite, built against the installed support library: it
// must find the package, compile against the installed headers and link.
#include "driver/log.h"
#include "util/roster.h"
#include "util/strings.h"

int main() {
  ReportMessage(2, "Demo", "%s\n", quoteString("a\tb", 3).c_str());
  return 0;
}
