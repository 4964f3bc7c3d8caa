// The host banner of a real quillc run, checked line by line against what
// this host says about itself, and its suppression by the version and
// option-listing arguments.

#include "testsupport/testsupport.h"

#include <ctime>
#include <regex>

namespace {

const std::string kNotice =
    "Corvane Logic Simulation Suite. Copyright (c) 2024 Corvane. All rights reserved.\n";

/// First line of what a shell command prints.
std::string first_line(const std::string &command) {
  const std::string out = run({"sh", "-c", command}, ".").out;
  return out.substr(0, out.find('\n'));
}

/// \p text padded to 20 columns, then a blank.
std::string padded(const std::string &text) {
  return text + std::string(21 - std::min<size_t>(text.size(), 20), ' ');
}

TEST(Banner, ShowsTheHostFactsLineByLine) {
  const struct {
    std::vector<std::string> settings; // for run()
    std::string user, hostType;        // as the banner shows them
  } environments[] = {{{"HOSTTYPE", "USER=banner_user"}, "banner_user", "(null)"},
                      {{"HOSTTYPE=x86_64-test", "USER"}, "(null)", "x86_64-test"}};
  for (const auto &env : environments) {
    TempDir dir;
    const time_t before = std::time(nullptr);
    const RunResult result = run({QUILLC_BIN}, dir.path(), env.settings);
    const time_t after = std::time(nullptr);
    ASSERT_EQ(result.status, 1) << result.err;
    // The log holds the same bytes, followed by the error that ended the run.
    EXPECT_EQ(read_file(dir / "quillc.log"), result.out + "Wrong arguments. Expected arguments:\n"
                                                           "   -module <module name>\n   <systemC file>\n");

    // What changes from run to run becomes N, and the start time T when it
    // is a second of the run.
    std::string out = std::regex_replace(result.out, std::regex("[0-9]+\\.[0-9]{3} GB"), "N GB");
    out = std::regex_replace(out, std::regex("[0-9]+\\.[0-9]{2}%"), "N%");
    out = std::regex_replace(out, std::regex("(\nPID +: )[1-9][0-9]*\n"), "$1N\n");
    for (time_t t = before; t <= after; ++t) {
      const std::string stamp = "START TIME       : " + std::string(std::ctime(&t));
      if (const size_t at = out.find(stamp); at != std::string::npos)
        out.replace(at, stamp.size(), "START TIME       : T\n");
    }
    EXPECT_EQ(out, kNotice + "Corvane SystemC COMPILER\n"
                             "VERSION 1.22.1 RELEASE 64-bit r79477 BUILD 202411061516\n"
                             "PATH             : " + fs::canonical(QUILLC_BIN).string() +
                       "\nMACHINE NAME     : " + first_line("uname -n") + "\nCPU              : " +
                       first_line("grep -m1 '^model name' /proc/cpuinfo | sed 's/^[^:]*:[[:blank:]]*//'") +
                       "\nMEMORY AVAILABLE : N GB\n"
                       "CPU AVERAGE LOAD : N% (1 minute) N% (5 minutes) N%(15 minutes)\n"
                       "MACHINE OS       : " + first_line("lsb_release -ds") + ", " + env.hostType + ", " +
                       first_line("uname -r") + "\nUSER NAME        : " + padded(env.user) +
                       "\nPWD              : " + padded(fs::canonical(dir.path()).string()) +
                       "\nPID              : N\nSTART TIME       : T\n\n");
  }
}

TEST(BannerSuppression, OnlyExactVersionAndOptionWords) {
  // Every case ends with a module that has no source, so the run stops
  // before any build step.  "-module -version" names a module "-version".
  const std::pair<std::vector<std::string>, bool> cases[] = {
      {{"-version", "-module", "m"}, false},  {{"-module", "m", "-version-verbose"}, false},
      {{"-options", "-module", "m"}, false},  {{"-module", "-version"}, false},
      {{"-Version", "-module", "m"}, true},   {{"-versions", "-module", "m"}, true},
      {{"--options", "-module", "m"}, true},  {{"-Options", "-module", "m"}, true},
  };
  for (const auto &[args, banner] : cases) {
    TempDir dir;
    std::vector<std::string> argv{QUILLC_BIN};
    argv.insert(argv.end(), args.begin(), args.end());
    const RunResult result = run(argv, dir.path());
    SCOPED_TRACE(args[0] + " " + args[1]);
    EXPECT_EQ(result.status, 1);
    EXPECT_EQ(result.out.substr(0, banner ? kNotice.size() : std::string::npos), banner ? kNotice : "");
    EXPECT_EQ(read_file(dir / "quillc.log"), result.out + result.err);
  }
}

} // namespace
