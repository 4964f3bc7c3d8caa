#include "util/AppInfo.h"

#include "driver/log.h"
#include "testsupport/testsupport.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <regex>
#include <sstream>
#include <string>
#include <vector>

using testsupport::read_file;
using testsupport::TempDir;
using testsupport::write_file;

namespace {

/// One processor entry as the kernel lists it (abridged).
std::string cpu_entry(int processor, int physical, int core, const std::string &model = "Test CPU @ 2.00GHz") {
  std::ostringstream entry;
  entry << "processor\t: " << processor << "\n"
        << "vendor_id\t: GenuineTest\n"
        << "model name\t: " << model << "\n"
        << "cpu MHz\t\t: 2000.000\n"
        << "physical id\t: " << physical << "\n"
        << "core id\t\t: " << core << "\n"
        << "flags\t\t: fpu vme de pse tsc msr pae\n"
        << "address sizes\t: 46 bits physical, 48 bits virtual\n\n";
  return entry.str();
}

/// Eight CPUs: two packages of four cores, one thread each.
std::string eight_cpus() {
  std::string text;
  for (int p = 0; p < 8; ++p)
    text += cpu_entry(p, p / 4, p % 4);
  return text;
}

/// Writes \p content to \p name in \p dir and returns the path.
std::string fixture(const TempDir &dir, const char *name, const std::string &content) {
  write_file(dir / name, content);
  return (dir / name).string();
}

/// The C library's report of a failed check of util/AppInfo.cpp.
std::string assertion(int line, const char *function, const char *expr) {
  return std::string("util/AppInfo\\.cpp:") + std::to_string(line) + ": " + function + ": Assertion `" +
         expr + "' failed";
}

TEST(CpuCount, CountsFromProcessorNumbers) {
  struct Case {
    const char *what;
    std::string cpuinfo;
    int count;
  };
  const Case cases[] = {
      {"eight CPUs", eight_cpus(), 8},
      {"empty file", "", 1},
      {"two threads per core is fine",
       cpu_entry(0, 0, 0) + cpu_entry(1, 0, 1) + cpu_entry(2, 0, 0) + cpu_entry(3, 0, 1), 4},
      {"only package 0 is watched", cpu_entry(0, 1, 0) + cpu_entry(1, 1, 0) + cpu_entry(2, 1, 0), 3},
      {"'processor' in a model name resets the count",
       eight_cpus() + cpu_entry(8, 1, 4, "Virtual processor"), 1},
      {"and takes the number after the colon", eight_cpus() + "model name\t: 486 processor\n", 487},
      {"capitalised 'Processor' is not a processor line",
       eight_cpus() + "Processor\t: ARMv7 Processor rev 10\n", 8},
  };
  TempDir dir;
  for (const Case &c : cases)
    EXPECT_EQ(appinfo_detail::cpu_count(fixture(dir, "cpuinfo", c.cpuinfo).c_str()), c.count) << c.what;
}

TEST(CpuCountDeathTest, LayoutsItDoesNotUnderstandAbort) {
  struct Case {
    std::string cpuinfo;
    int line;
    const char *expr;
  };
  const Case cases[] = {
      {cpu_entry(0, 0, 0) + cpu_entry(1, 0, 0) + cpu_entry(2, 0, 0), 197, "numCore0Phy0 <= 2"},
      {eight_cpus() + "processor 8\n", 172, "ch != __null"},
      {"physical id 0\n", 180, "ch != __null"},
      {"physical id\t: 0\ncore id 0\n", 188, "ch != __null"},
  };
  TempDir dir;
  for (const Case &c : cases) {
    const std::string path = fixture(dir, "cpuinfo", c.cpuinfo);
    EXPECT_DEATH(appinfo_detail::cpu_count(path.c_str()), assertion(c.line, "int real_cpu_number\\(\\)", c.expr));
  }
}

TEST(CpuCountDeathTest, UnreadableFileEndsTheRunQuietly) {
  EXPECT_EXIT(appinfo_detail::cpu_count("/nonexistent/cpuinfo"), ::testing::ExitedWithCode(0),
              "^unable open /nonexistent/cpuinfo\n$");
}

TEST(LoadAverage, IsPerCpuAndInPercent) {
  TempDir dir;
  const std::string cpuinfo = fixture(dir, "cpuinfo", eight_cpus());
  double one = -1, five = -1, fifteen = -1;
  appinfo_detail::load_percent(fixture(dir, "loadavg", "4.00 2.00 0.08 3/412 98765\n").c_str(), cpuinfo.c_str(),
                               &one, &five, &fifteen);
  char text[64];
  std::snprintf(text, sizeof text, "%.2f%% %.2f%% %.2f%%", one, five, fifteen);
  EXPECT_STREQ(text, "50.00% 25.00% 1.00%");

  appinfo_detail::load_average("/nonexistent/loadavg", cpuinfo.c_str(), &one, &five, &fifteen);
  EXPECT_EQ(one + five + fifteen, 0.0);
}

TEST(CpuModel, FirstModelNameWithoutLeadingBlanks) {
  const std::string longModel(600, 'x');
  struct Case {
    std::string cpuinfo;
    std::string model;
  };
  const Case cases[] = {
      {eight_cpus(), "Test CPU @ 2.00GHz"},
      {cpu_entry(0, 0, 0, "First") + cpu_entry(1, 0, 1, "Second"), "First"},
      {"model name:\t  spaced  \n", "spaced  "},
      {"model name\t: a: b\n", "a: b"},
      {"model name\t:\n", ""},
      {"model name\t: no newline", "no newline"},
      // Lines are read 511 bytes at a time; the model is what the first piece holds.
      {"model name\t: " + longModel + "\n", longModel.substr(0, 511 - 13)},
  };
  TempDir dir;
  for (const Case &c : cases)
    EXPECT_EQ(appinfo_detail::cpu_model(fixture(dir, "cpuinfo", c.cpuinfo).c_str()), c.model) << c.cpuinfo;
}

TEST(CpuModelDeathTest, NoModelNameAborts) {
  TempDir dir;
  const std::string expected = assertion(56, "std::string f_get_cpu_info\\(\\)", "pch != __null");
  const std::string noModel = fixture(dir, "no-model", "processor\t: 0\ncpu MHz\t: 1000\n");
  const std::string noColon = fixture(dir, "no-colon", "model name Test CPU\n");
  EXPECT_DEATH(appinfo_detail::cpu_model(noModel.c_str()), expected);
  EXPECT_DEATH(appinfo_detail::cpu_model(noColon.c_str()), expected);
  EXPECT_DEATH(appinfo_detail::cpu_model("/nonexistent/cpuinfo"), expected);
}

TEST(FreeMemory, SumsFreeBuffersAndCachedInBytes) {
  TempDir dir;
  const std::string meminfo = fixture(dir, "meminfo",
                                      "MemTotal:       100 kB\n"
                                      "MemFree:         10 kB\n"
                                      "MemAvailable:    50 kB\n"
                                      "Buffers:          2 kB\n"
                                      "Cached:           3 kB\n"
                                      "SwapCached:    1000 kB\n"
                                      "HugePages_Total:  7\n"
                                      "Cached:          99\n" // no unit: not read
                                      "memfree:         20 kB\n"
                                      "CACHED:           4 kB\n");
  EXPECT_EQ(appinfo_detail::free_memory(meminfo.c_str()), (20 + 2 + 4) * 1024);

  const std::string large = fixture(dir, "large", "MemFree: 3000000000 kB\n");
  EXPECT_EQ(appinfo_detail::free_memory(large.c_str()), 3000000000LL * 1024);
  EXPECT_EQ(appinfo_detail::free_memory("/nonexistent/meminfo"), 0);
}

TEST(CpuFreq, LastClockWinsElseTwoGigahertz) {
  TempDir dir;
  EXPECT_EQ(appinfo_detail::cpu_freq(fixture(dir, "two", "cpu MHz\t: 1000.5\ncpu MHz\t: 2400.25\n").c_str()),
            2400.25e6);
  EXPECT_EQ(appinfo_detail::cpu_freq(fixture(dir, "none", "processor\t: 0\n").c_str()), 2e9);
  EXPECT_EQ(appinfo_detail::cpu_freq("/nonexistent/cpuinfo"), 2e9);
  const std::string noColon = fixture(dir, "no-colon", "cpu MHz 1000\n");
  EXPECT_DEATH(appinfo_detail::cpu_freq(noColon.c_str()),
               assertion(283, "double f_get_cpu_freq\\(\\)", "ch != __null"));
}

TEST(SystemCommand, KeepsFirst2048BytesOfOutput) {
  std::string out = "stale";
  system_command_print_message("printf 'a\\nb\\n'", &out);
  EXPECT_EQ(out, "a\nb\n");
  system_command_print_message("head -c 5000 /dev/zero | tr '\\0' x", &out);
  EXPECT_EQ(out, std::string(2048, 'x'));
  system_command_print_message("exit 3", &out);
  EXPECT_EQ(out, "");
  EXPECT_DEATH(system_command_print_message(nullptr, &out),
               assertion(251, "void system_command_print_message\\(const char\\*, std::string\\*\\)", "command"));
}

// The real-run banner is checked line by line against the host in the
// driver tests; here what a real run cannot reach: a tool name of no title,
// and the end-time line.
TEST(Banner, UnknownToolGetsEmptyTitleLine) {
  TempDir dir;
  ASSERT_TRUE(open_log_file((dir / "log").c_str()));
  print_start_banner("no_such_tool");
  print_end_time();
  close_log_file();

  std::vector<std::string> lines;
  std::istringstream log(read_file(dir / "log"));
  for (std::string line; std::getline(log, line);)
    lines.push_back(line);
  ASSERT_GE(lines.size(), 4u);
  EXPECT_EQ(lines[1], "");
  EXPECT_EQ(lines[2], std::string("VERSION ") + kToolVersion);
  EXPECT_TRUE(std::regex_match(lines.back(), std::regex("END TIME         : \\w{3} \\w{3} [ \\d]\\d "
                                                        "\\d\\d:\\d\\d:\\d\\d \\d{4}")))
      << lines.back();

  const auto &titles = tool_title_table();
  EXPECT_EQ(titles.size(), 6u);
  EXPECT_EQ(titles.at("no_such_tool"), "");
  EXPECT_EQ(titles.at("tarn_elab"), "Corvane DIGITAL LOGIC ELABORATER");
}

} // namespace
