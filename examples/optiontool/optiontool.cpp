// A small tool built on the support library's option framework: it declares
// options of every kind, parses its command line and, with -f, a manifest,
// and prints what it got.  Try:
//
//   optiontool -help
//   optiontool -verbose -jobs 4 -D A=1 -D B=2 -fast +trace+all top.v
//   optiontool -f args.f

#include "util/cmdline.h"
#include "util/manifest.h"
#include "util/strings.h"

#include <cstdio>

namespace {

// The kind bit this tool's own options use; the group below makes them valid.
constexpr uint32_t kToolOptions = 0x2;

SwitchArg g_Verbose("-verbose", kToolOptions, "print more");
StringArg g_Out("-out", kToolOptions, "file:where the report goes");
MultiStringArg g_Define("-D", kToolOptions, "name=value:define a macro (repeatable)");
IntegerArg g_Jobs("-jobs", kToolOptions, "n:parallel jobs, at least one", IntegerArg::NotNegative | IntegerArg::NotZero);
int32_t g_Goal = 0; // shared by the two members of one exclusive set
MutexArg g_Fast("-fast", kToolOptions, "optimise for speed", &g_Goal, 1);
MutexArg g_Small("-small", kToolOptions, "optimise for size", &g_Goal, 2);
SwitchArg g_Trace("+trace", kToolOptions, "what:trace the named signals (+trace+<what>)");
StringArg g_Manifest("-f", kToolOptions, "file:read more arguments from a manifest");

std::string List(const std::vector<std::string> &items) { return "[" + joinStrings(items, ", ") + "]"; }

} // namespace

int main(int argc, char **argv) {
  AddOptionGroup(kToolOptions, "optiontool options");
  // -version and -version-verbose have kind 32: a tool that offers them
  // says so with a group.
  AddOptionGroup(32, "Version");
  if (!ParseCommandLine(argc, argv))
    return 1;
  const StandardCmdArgs &standard = StandardOptions();
  if (standard.help.Value() || standard.options.Value() || standard.version.Value() ||
      standard.versionVerbose.Value())
    return 0;

  std::vector<std::string> tokens;
  // Mode 1: relative names in the manifest are found next to it.  The first
  // token stands for the program, as argv[0] does on a command line.
  if (!g_Manifest.Value().empty() && !ReadManifest(g_Manifest.Value(), 1, tokens, 0))
    return 1;

  std::printf("verbose: %s\n", g_Verbose.Value() ? "yes" : "no");
  std::printf("out: %s\n", g_Out.Value().c_str());
  std::printf("defines: %s\n", List(g_Define.Values()).c_str());
  std::printf("jobs: %d%s\n", g_Jobs.Value(), g_Jobs.Given() ? "" : " (default)");
  std::printf("goal: %s\n", g_Goal == 1 ? "speed" : g_Goal == 2 ? "size" : "none");
  std::printf("manifest tokens: %s\n", List(tokens).c_str());
  std::printf("files: %s\n", List(Files()).c_str());
  std::printf("resolved: %s\n", List(ExpandedFiles()).c_str());
  std::printf("plus-arguments: %s\n", List(UnknownPlusArgs()).c_str());
  std::printf("trace: %s\n", g_Trace.Value() ? "on" : "off");
  return 0;
}
