#include "util/AppInfo.h"

#include "testsupport/testsupport.h"

#include <regex>

namespace ad = appinfo_detail;

namespace {

/// One processor entry as the kernel lists it (abridged).
std::string cpu(int processor, int physical, int core, const std::string &model = "Test CPU @ 2.00GHz") {
  return "processor\t: " + std::to_string(processor) + "\nmodel name\t: " + model +
         "\ncpu MHz\t\t: 2000.000\nphysical id\t: " + std::to_string(physical) +
         "\ncore id\t\t: " + std::to_string(core) + "\nflags\t\t: fpu vme\n\n";
}

/// Eight CPUs: two packages of four cores, one thread each.
std::string eight_cpus() {
  std::string text;
  for (int p = 0; p < 8; ++p)
    text += cpu(p, p / 4, p % 4);
  return text;
}

/// Host files made up for one test, each in a file of its own.
struct Files {
  TempDir m_Dir;
  int m_Count = 0;
  std::string operator()(const std::string &content) {
    write_file(m_Dir / std::to_string(++m_Count), content);
    return (m_Dir / std::to_string(m_Count)).string();
  }
};

TEST(CpuCount, CountsFromProcessorNumbers) {
  const std::pair<std::string, int> cases[] = {
      {eight_cpus(), 8},
      {"", 1},
      {cpu(0, 0, 0) + cpu(1, 0, 1) + cpu(2, 0, 0) + cpu(3, 0, 1), 4}, // two threads per core is fine
      {cpu(0, 1, 0) + cpu(1, 1, 0) + cpu(2, 1, 0), 3},                 // only package 0 is watched
      {eight_cpus() + cpu(8, 1, 4, "Virtual processor"), 1},          // the model name resets it
      {eight_cpus() + "model name\t: 486 processor\n", 487},          // to the number after the colon
      {eight_cpus() + "Processor\t: ARMv7 Processor rev 10\n", 8},    // case matters
  };
  Files file;
  for (const auto &[cpuinfo, count] : cases)
    EXPECT_EQ(ad::cpu_count(file(cpuinfo).c_str()), count) << cpuinfo;
  EXPECT_EXIT(ad::cpu_count("/nonexistent/cpuinfo"), ::testing::ExitedWithCode(0),
              "^unable open /nonexistent/cpuinfo\n$");
}

TEST(AppInfoDeathTest, FailedHostChecksNameTheirLineAndFunction) {
  Files file;
  // A call of \p parse on a file holding \p content.
  auto on = [&](auto parse, const std::string &content) {
    return [parse, path = file(content)] { parse(path.c_str()); };
  };
  const char count[] = "int real_cpu_number\\(\\)", model[] = "std::string f_get_cpu_info\\(\\)";
  const struct {
    std::function<void()> call;
    int line;
    const char *function, *expr;
  } cases[] = {
      {on(ad::cpu_count, cpu(0, 0, 0) + cpu(1, 0, 0) + cpu(2, 0, 0)), 197, count, "numCore0Phy0 <= 2"},
      {on(ad::cpu_count, eight_cpus() + "processor 8\n"), 172, count, "ch != __null"},
      {on(ad::cpu_count, "physical id 0\n"), 180, count, "ch != __null"},
      {on(ad::cpu_count, "physical id\t: 0\ncore id 0\n"), 188, count, "ch != __null"},
      {on(ad::cpu_model, "processor\t: 0\ncpu MHz\t: 1000\n"), 56, model, "pch != __null"},
      {[] { ad::cpu_model("/nonexistent/cpuinfo"); }, 56, model, "pch != __null"},
      {on(ad::cpu_freq, "cpu MHz 1000\n"), 283, "double f_get_cpu_freq\\(\\)", "ch != __null"},
      {[] { system_command_print_message(nullptr, nullptr); }, 251,
       "void system_command_print_message\\(const char\\*, std::string\\*\\)", "command"},
  };
  for (const auto &c : cases)
    EXPECT_DEATH(c.call(), std::string("util/AppInfo\\.cpp:") + std::to_string(c.line) + ": " + c.function +
                               ": Assertion `" + c.expr + "' failed");
}

TEST(CpuModel, FirstModelNameWithoutLeadingBlanks) {
  const std::string longModel(600, 'x');
  const std::pair<std::string, std::string> cases[] = {
      {cpu(0, 0, 0, "First") + cpu(1, 0, 1, "Second"), "First"},
      {"model name:\t  spaced  \n", "spaced  "},
      {"model name\t: a: b\n", "a: b"},
      {"model name\t:\n", ""},
      {"model name\t: no newline", "no newline"},
      // Lines are read 511 bytes at a time; the model is what the first piece holds.
      {"model name\t: " + longModel + "\n", longModel.substr(0, 511 - 13)},
  };
  Files file;
  for (const auto &[cpuinfo, model] : cases)
    EXPECT_EQ(ad::cpu_model(file(cpuinfo).c_str()), model) << cpuinfo;
}

TEST(HostFiles, LoadMemoryClockAndCommandOutput) {
  Files file;
  const std::string cpuinfo = file(eight_cpus());
  double one = -1, five = -1, fifteen = -1;
  ad::load_percent(file("4.00 2.00 0.08 3/412 98765\n").c_str(), cpuinfo.c_str(), &one, &five, &fifteen);
  char text[64];
  std::snprintf(text, sizeof text, "%.2f%% %.2f%% %.2f%%", one, five, fifteen);
  EXPECT_STREQ(text, "50.00% 25.00% 1.00%");
  ad::load_average("/nonexistent/loadavg", cpuinfo.c_str(), &one, &five, &fifteen);
  EXPECT_EQ(one + five + fifteen, 0.0);
  // Free + buffers + cached in kB, names in any case, the last of each
  // counting; a line without a unit is not read.
  EXPECT_EQ(ad::free_memory(file("MemTotal: 100 kB\nMemFree: 10 kB\nMemAvailable: 50 kB\nBuffers: 2 kB\n"
                                 "Cached: 3 kB\nSwapCached: 1000 kB\nHugePages_Total: 7\nCached: 99\n"
                                 "memfree: 20 kB\nCACHED: 4 kB\n")
                                .c_str()),
            (20 + 2 + 4) * 1024);
  EXPECT_EQ(ad::free_memory(file("MemFree: 3000000000 kB\n").c_str()), 3000000000LL * 1024);
  EXPECT_EQ(ad::free_memory("/nonexistent/meminfo"), 0);
  EXPECT_EQ(ad::cpu_freq(file("cpu MHz\t: 1000.5\ncpu MHz\t: 2400.25\n").c_str()), 2400.25e6);
  EXPECT_EQ(ad::cpu_freq(file("processor\t: 0\n").c_str()), 2e9);
  EXPECT_EQ(ad::cpu_freq("/nonexistent/cpuinfo"), 2e9);
  // Command output: the first 2048 bytes, nothing from a failed command.
  std::string out;
  system_command_print_message("head -c 5000 /dev/zero | tr '\\0' x", &out);
  EXPECT_EQ(out, std::string(2048, 'x'));
  system_command_print_message("exit 3", &out);
  EXPECT_EQ(out, "");
}

// A real run shows only quillc's banner (checked in the driver tests); here
// a tool name of no title, which the title table then holds, and the
// end-time line.
TEST(Banner, UnknownToolGetsEmptyTitleLine) {
  auto result = run_in_child([] {
    print_start_banner("no_such_tool");
    print_end_time();
    std::printf("[%s][%s]", tool_title_table().at("no_such_tool").c_str(),
                tool_title_table().at("tarn_elab").c_str());
  });
  EXPECT_TRUE(std::regex_search(result.out, std::regex(std::string("^[^\n]+\n\nVERSION ") + kToolVersion +
                                                       "\n(.*\n)+END TIME         : \\w{3} \\w{3} [ \\d]\\d "
                                                       "\\d\\d:\\d\\d:\\d\\d \\d{4}\n\\[\\]\\[Corvane DIGITAL LOGIC ELABORATER\\]$")))
      << result.out;
}

} // namespace
