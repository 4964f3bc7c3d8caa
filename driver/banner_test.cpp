// The host banner of a real quillc run, checked line by line against what
// this host says about itself, and its suppression by the version and
// option-listing arguments.

#include "testsupport/testsupport.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <ctime>
#include <filesystem>
#include <fstream>
#include <regex>
#include <sstream>
#include <string>
#include <unistd.h>
#include <vector>

namespace fs = std::filesystem;
using testsupport::read_file;
using testsupport::run;
using testsupport::TempDir;

namespace {

const char kNotice[] = "Corvane Logic Simulation Suite. Copyright (c) 2024 Corvane. All rights reserved.";
const char kNoArguments[] = "Wrong arguments. Expected arguments:\n   -module <module name>\n   <systemC file>\n";

std::vector<std::string> lines_of(const std::string &text) {
  std::vector<std::string> lines;
  std::istringstream in(text);
  for (std::string line; std::getline(in, line);)
    lines.push_back(line);
  return lines;
}

/// First line of a shell command's output.
std::string first_line_of(const char *command) {
  std::string text;
  if (FILE *pipe = ::popen(command, "r")) {
    char buffer[4096];
    size_t n;
    while ((n = std::fread(buffer, 1, sizeof buffer, pipe)) > 0)
      text.append(buffer, n);
    ::pclose(pipe);
  }
  return text.substr(0, text.find('\n'));
}

std::string host_name() {
  char name[512] = {};
  ::gethostname(name, sizeof name - 1);
  return name;
}

/// The first "model name" value of /proc/cpuinfo.
std::string cpu_model() {
  std::ifstream cpuinfo("/proc/cpuinfo");
  for (std::string line; std::getline(cpuinfo, line);)
    if (line.rfind("model name", 0) == 0) {
      const std::string value = line.substr(line.find(':') + 1);
      const size_t start = value.find_first_not_of(" \t");
      return start == std::string::npos ? "" : value.substr(start);
    }
  return "<no model name>";
}

std::string padded20(std::string text) {
  if (text.size() < 20)
    text.resize(20, ' ');
  return text;
}

/// The START TIME line for some second in [from, to].
bool is_start_time_between(const std::string &line, time_t from, time_t to) {
  for (time_t t = from; t <= to; ++t) {
    std::string stamp = std::ctime(&t);
    stamp.pop_back();
    if (line == "START TIME       : " + stamp)
      return true;
  }
  return false;
}

struct Environment {
  std::vector<std::string> settings; // for run()
  const char *user;                   // as the banner shows it
  const char *hostType;
};

class Banner : public ::testing::TestWithParam<Environment> {};

TEST_P(Banner, ShowsTheHostFactsLineByLine) {
  const Environment &env = GetParam();
  TempDir dir;
  const time_t before = std::time(nullptr);
  const testsupport::RunResult result = run({QUILLC_BIN}, dir.path(), env.settings);
  const time_t after = std::time(nullptr);
  ASSERT_EQ(result.status, 1) << result.err;

  const std::vector<std::string> lines = lines_of(result.out);
  ASSERT_EQ(lines.size(), 14u) << result.out;
  EXPECT_EQ(lines[0], kNotice);
  EXPECT_EQ(lines[1], "Corvane SystemC COMPILER");
  EXPECT_EQ(lines[2], "VERSION 1.22.1 RELEASE 64-bit r79477 BUILD 202411061516");
  EXPECT_EQ(lines[3], "PATH             : " + fs::canonical(QUILLC_BIN).string());
  EXPECT_EQ(lines[4], "MACHINE NAME     : " + host_name());
  EXPECT_EQ(lines[5], "CPU              : " + cpu_model());
  EXPECT_TRUE(std::regex_match(lines[6], std::regex("MEMORY AVAILABLE : [0-9]+\\.[0-9]{3} GB"))) << lines[6];
  EXPECT_TRUE(std::regex_match(lines[7], std::regex("CPU AVERAGE LOAD : [0-9]+\\.[0-9]{2}% \\(1 minute\\) "
                                                    "[0-9]+\\.[0-9]{2}% \\(5 minutes\\) "
                                                    "[0-9]+\\.[0-9]{2}%\\(15 minutes\\)")))
      << lines[7];
  EXPECT_EQ(lines[8], "MACHINE OS       : " + first_line_of("lsb_release -ds") + ", " + env.hostType + ", " +
                          first_line_of("uname -r"));
  EXPECT_EQ(lines[9], "USER NAME        : " + padded20(env.user) + " ");
  EXPECT_EQ(lines[10], "PWD              : " + padded20(fs::canonical(dir.path()).string()) + " ");
  EXPECT_TRUE(std::regex_match(lines[11], std::regex("PID              : [1-9][0-9]*"))) << lines[11];
  EXPECT_TRUE(is_start_time_between(lines[12], before, after)) << lines[12];
  EXPECT_EQ(lines[13], "");
  EXPECT_EQ(result.out.substr(result.out.size() - 2), "\n\n");

  // The log holds the same bytes, followed by the error that ended the run.
  EXPECT_EQ(read_file(dir / "quillc.log"), result.out + kNoArguments);
}

INSTANTIATE_TEST_SUITE_P(Environments, Banner,
                         ::testing::Values(Environment{{"HOSTTYPE", "USER=banner_user"}, "banner_user", "(null)"},
                                           Environment{{"HOSTTYPE=x86_64-test", "USER"}, "(null)", "x86_64-test"}),
                         [](const auto &info) { return info.index ? "UserUnset" : "HostTypeUnset"; });

TEST(BannerSuppression, OnlyExactVersionAndOptionWords) {
  struct Case {
    std::vector<std::string> args;
    bool banner;
  };
  // Every case ends with a module that has no source, so the run stops
  // before any build step.
  const Case cases[] = {
      {{"-version", "-module", "m"}, false},
      {{"-module", "m", "-version-verbose"}, false},
      {{"-options", "-module", "m"}, false},
      {{"-module", "-version"}, false}, // the module's name is the word itself
      {{"-Version", "-module", "m"}, true},
      {{"-versions", "-module", "m"}, true},
      {{"--options", "-module", "m"}, true},
  };
  for (const Case &c : cases) {
    TempDir dir;
    std::vector<std::string> argv{QUILLC_BIN};
    argv.insert(argv.end(), c.args.begin(), c.args.end());
    const testsupport::RunResult result = run(argv, dir.path());
    const std::string what = c.args[0] + " " + c.args[1];
    EXPECT_EQ(result.status, 1) << what;
    if (c.banner)
      EXPECT_EQ(lines_of(result.out).at(0), kNotice) << what;
    else
      EXPECT_EQ(result.out, "") << what;
    EXPECT_EQ(read_file(dir / "quillc.log"), result.out + result.err) << what;
  }
}

} // namespace
