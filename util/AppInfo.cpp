#include "util/AppInfo.h"

#include "driver/log.h"

// The host checks of this file must stop the process in every build, also
// the release builds that define NDEBUG: a /proc layout that we misread
// would otherwise turn into a wrong banner or a wrong CPU count without a
// word.  The C library declares its assertion routine only without NDEBUG.
#undef NDEBUG
#include <cassert>

#include <algorithm>
#include <climits>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <string_view>
#include <strings.h>
#include <unistd.h>

const char *const kToolRevision = "r79477";
const char *const kToolVersion = "1.22.1 RELEASE 64-bit r79477 BUILD 202411061516";
const char *const kToolVersionVerbose = kToolVersion;

// A failed host check is reported like any failed assertion of the C
// library ("<program>: util/AppInfo.cpp:197: int real_cpu_number():
// Assertion `numCore0Phy0 <= 2' failed." on standard error, then abort), but
// under a fixed line of this file and the public function whose input it
// checks.  Those two identify each check to the people who read such
// reports; they must not move when this file is edited or when the parsing
// sits in a reader of appinfo_detail rather than in the public function.
// The expression is quoted unexpanded, as assert() does.
#define APPINFO_CHECK(expr, line, function)                                                        \
  (static_cast<bool>(expr) ? void(0) : __assert_fail(#expr, __FILE__, line, function))

namespace {

// The functions the checks are reported under, spelled as gcc names them
// whichever compiler builds the library; each public function verifies at
// compile time that its text names it.
constexpr char kCpuInfoFunction[] = "std::string f_get_cpu_info()";
constexpr char kCpuNumberFunction[] = "int real_cpu_number()";
constexpr char kCommandFunction[] = "void system_command_print_message(const char*, std::string*)";
constexpr char kCpuFreqFunction[] = "double f_get_cpu_freq()";

/// Whether \p signature is the signature of the function named \p name.
/// Compilers spell signatures differently ("const char*" or "const char *"),
/// so the compile-time check of the texts above looks at the name only.
constexpr bool signs_function(std::string_view signature, std::string_view name) {
  std::size_t at = signature.find(name);
  return at != std::string_view::npos && at > 0 && signature[at - 1] == ' ' &&
         signature.substr(at + name.size()).starts_with("(");
}

/// Host files are read in lines of at most this many bytes (terminator
/// included); a longer line is seen as several.
constexpr int kLineSize = 512;

/// The integer after a colon, kept within int with room for the +1 of the
/// processor count.
int integer_after(const char *colon) {
  const long value = std::strtol(colon + 1, nullptr, 10);
  return static_cast<int>(std::clamp<long>(value, INT_MIN, INT_MAX - 1));
}

/// printf of a null %s is undefined; an unset variable prints as the C
/// library has always printed it.
const char *or_null_text(const char *text) { return text ? text : "(null)"; }

} // namespace

std::map<std::string, std::string> &tool_title_table() {
  static auto &titles = *new std::map<std::string, std::string>{
      {"tarn", "Corvane DIGITAL LOGIC SIMULATOR"},
      {"tarn_elab", "Corvane DIGITAL LOGIC ELABORATER"},
      {"svquill", "Corvane SYSTEM VERILOG COMPILER"},
      {"vhquill", "Corvane VHDL COMPILER"},
      {"quillc", "Corvane SystemC COMPILER"},
  };
  return titles;
}

void tool_startup(int argc, char **argv, const char *tool_name) {
  // Asking for the version or the option list wants exactly that on the
  // console, not a page of host facts before it.
  for (int i = 1; i < argc; ++i)
    if (!std::strcmp(argv[i], "-version") || !std::strcmp(argv[i], "-version-verbose") ||
        !std::strcmp(argv[i], "-options"))
      return;
  print_start_banner(tool_name);
  log_printf("\n");
  flush_all_output();
}

void print_start_banner(const char *tool_name) {
  const time_t start = std::time(nullptr);

  log_printf("Corvane Logic Simulation Suite. Copyright (c) 2024 Corvane. All rights reserved.\n");
  log_printf("%s\n", tool_title_table()[tool_name ? tool_name : ""].c_str());
  log_printf("VERSION %s\n", kToolVersion);

  char exe[10240] = {};
  if (::readlink("/proc/self/exe", exe, sizeof exe - 1) < 0)
    exe[0] = '\0';
  log_printf("PATH             : %s\n", exe);
  log_printf("MACHINE NAME     : %s\n", get_host_name().c_str());
  log_printf("CPU              : %s\n", f_get_cpu_info().c_str());

  const int64_t freeBytes = get_free_memory();
  if (freeBytes > 0)
    log_printf("MEMORY AVAILABLE : %4.3f GB\n", static_cast<double>(freeBytes) / (1 << 30));

  double one = 0, five = 0, fifteen = 0;
  get_load_percent(&one, &five, &fifteen);
  log_printf("CPU AVERAGE LOAD : %.2f%% (1 minute) %.2f%% (5 minutes) %.2f%%(15 minutes)\n", one,
             five, fifteen);

  // One spare byte beyond the 128 read keeps the text terminated.
  char distribution[128 + 1] = {};
  FILE *lsb = ::popen("lsb_release -ds", "r");
  if (lsb) {
    const size_t length = std::fread(distribution, 1, 128, lsb);
    if (length > 0 && distribution[length - 1] == '\n')
      distribution[length - 1] = '\0';
  }
  const char *hostType = std::getenv("HOSTTYPE");
  std::string kernel;
  system_command_print_message("uname -r", &kernel);
  // The kernel text brings its own newline.
  log_printf("MACHINE OS       : %s, %s, %s", distribution, or_null_text(hostType), kernel.c_str());
  std::fflush(stdout);

  log_printf("USER NAME        : %-20s \n", or_null_text(std::getenv("USER")));
  if (char *cwd = ::getcwd(nullptr, 0)) {
    log_printf("PWD              : %-20s \n", cwd);
    std::free(cwd);
  }
  if (lsb)
    ::pclose(lsb);
  log_printf("PID              : %d\n", static_cast<int>(::getpid()));
  log_printf("START TIME       : %s", std::ctime(&start));
  flush_all_output();
}

void print_end_time() {
  const time_t now = std::time(nullptr);
  log_printf("END TIME         : %s", std::ctime(&now));
  flush_all_output();
}

std::string get_host_name() {
  static std::string &cached = *new std::string;
  if (cached.empty()) {
    char name[512] = {};
    ::gethostname(name, sizeof name - 1);
    cached = name;
  }
  return cached;
}

std::string appinfo_detail::cpu_model(const char *cpuinfo_path) {
  // No fallback text: a banner that names no CPU is a host we do not
  // understand, and an unreadable file is treated the same.
  char line[kLineSize];
  const char *pch = nullptr;
  if (FILE *cpuinfo = std::fopen(cpuinfo_path, "r")) {
    while (std::fgets(line, sizeof line, cpuinfo))
      if (std::strstr(line, "model name")) {
        pch = std::strchr(line, ':');
        break;
      }
    std::fclose(cpuinfo);
  }
  APPINFO_CHECK(pch != __null, 56, kCpuInfoFunction);
  std::string_view model(pch + 1);
  model = model.substr(0, model.find('\n'));
  model.remove_prefix(std::min(model.find_first_not_of(" \t"), model.size()));
  return std::string(model);
}

std::string f_get_cpu_info() {
  static_assert(signs_function(kCpuInfoFunction, __func__));
  static std::string &cached = *new std::string;
  if (cached.empty())
    cached = appinfo_detail::cpu_model("/proc/cpuinfo");
  return cached;
}

int64_t appinfo_detail::free_memory(const char *meminfo_path) {
  FILE *meminfo = std::fopen(meminfo_path, "r");
  if (!meminfo)
    return 0;
  int64_t memFree = 0, buffers = 0, cached = 0;
  char line[kLineSize], name[kLineSize], unit[kLineSize];
  long value = 0;
  while (std::fgets(line, sizeof line, meminfo)) {
    // Name, amount and unit; a line without all three (the counters without
    // a unit) is not one of ours.
    if (std::sscanf(line, "%511s%ld%511s\n", name, &value, unit) != 3)
      continue;
    if (!::strcasecmp(name, "MemFree:"))
      memFree = value;
    else if (!::strcasecmp(name, "Buffers:"))
      buffers = value;
    else if (!::strcasecmp(name, "Cached:"))
      cached = value;
  }
  std::fclose(meminfo);
  return (memFree + buffers + cached) * 1024;
}

int64_t get_free_memory() { return appinfo_detail::free_memory("/proc/meminfo"); }

int appinfo_detail::cpu_count(const char *cpuinfo_path) {
  FILE *cpuinfo = std::fopen(cpuinfo_path, "r");
  if (!cpuinfo) {
    log_eprintf("unable open %s\n", cpuinfo_path);
    std::exit(0);
  }
  // The count is taken from the processor numbers, not from counting
  // lines: the last "processor" line decides, whatever its context.
  int numCpu = 1;
  int physicalId = -1;
  int numCore0Phy0 = 0;
  char line[kLineSize];
  while (std::fgets(line, sizeof line, cpuinfo)) {
    if (std::strstr(line, "processor")) {
      const char *ch = std::strchr(line, ':');
      APPINFO_CHECK(ch != __null, 172, kCpuNumberFunction);
      numCpu = integer_after(ch) + 1;
    } else if (std::strstr(line, "physical id")) {
      const char *ch = std::strchr(line, ':');
      APPINFO_CHECK(ch != __null, 180, kCpuNumberFunction);
      physicalId = integer_after(ch);
    } else if (std::strstr(line, "core id")) {
      const char *ch = std::strchr(line, ':');
      APPINFO_CHECK(ch != __null, 188, kCpuNumberFunction);
      if (integer_after(ch) == 0 && physicalId == 0)
        ++numCore0Phy0;
    }
  }
  std::fclose(cpuinfo);
  // More than two hardware threads on one core is a layout this count was
  // never meant for.
  APPINFO_CHECK(numCore0Phy0 <= 2, 197, kCpuNumberFunction);
  return numCpu;
}

int real_cpu_number() {
  static_assert(signs_function(kCpuNumberFunction, __func__));
  return appinfo_detail::cpu_count("/proc/cpuinfo");
}

void appinfo_detail::load_average(const char *loadavg_path, const char *cpuinfo_path,
                                  double *one, double *five, double *fifteen) {
  *one = *five = *fifteen = 0;
  FILE *loadavg = std::fopen(loadavg_path, "r");
  if (!loadavg)
    return;
  // A short read leaves the periods it did not reach at 0.
  const int periods = std::fscanf(loadavg, "%lf %lf %lf", one, five, fifteen);
  (void)periods;
  std::fclose(loadavg);
  if (const int cpus = cpu_count(cpuinfo_path)) {
    *one /= cpus;
    *five /= cpus;
    *fifteen /= cpus;
  }
}

void appinfo_detail::load_percent(const char *loadavg_path, const char *cpuinfo_path,
                                  double *one, double *five, double *fifteen) {
  load_average(loadavg_path, cpuinfo_path, one, five, fifteen);
  *one *= 100;
  *five *= 100;
  *fifteen *= 100;
}

void get_load_average(double *one, double *five, double *fifteen) {
  appinfo_detail::load_average("/proc/loadavg", "/proc/cpuinfo", one, five, fifteen);
}

void get_load_percent(double *one, double *five, double *fifteen) {
  appinfo_detail::load_percent("/proc/loadavg", "/proc/cpuinfo", one, five, fifteen);
}

double appinfo_detail::cpu_freq(const char *cpuinfo_path) {
  // Hosts that do not report a clock are taken to run at 2 GHz.
  double hz = 2e9;
  FILE *cpuinfo = std::fopen(cpuinfo_path, "r");
  if (!cpuinfo)
    return hz;
  char line[kLineSize];
  while (std::fgets(line, sizeof line, cpuinfo))
    if (std::strstr(line, "cpu MHz")) {
      const char *ch = std::strchr(line, ':');
      APPINFO_CHECK(ch != __null, 283, kCpuFreqFunction);
      hz = std::strtod(ch + 1, nullptr) * 1e6;
    }
  std::fclose(cpuinfo);
  return hz;
}

double f_get_cpu_freq() {
  static_assert(signs_function(kCpuFreqFunction, __func__));
  return appinfo_detail::cpu_freq("/proc/cpuinfo");
}

void system_command_print_message(const char *command, std::string *out) {
  static_assert(signs_function(kCommandFunction, __func__));
  APPINFO_CHECK(command, 251, kCommandFunction);
  // One spare byte beyond the 2048 read keeps the text terminated.
  char buffer[2048 + 1] = {};
  size_t length = 0;
  if (FILE *pipe = ::popen(command, "r")) {
    length = std::fread(buffer, 1, 2048, pipe);
    ::pclose(pipe);
  }
  if (out)
    out->assign(buffer, length);
}
