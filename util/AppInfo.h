#ifndef CORVANE_UTIL_APPINFO_H
#define CORVANE_UTIL_APPINFO_H

/// \file
/// Tool identity and the host banner that opens every session log: title,
/// version, executable, host, CPU, memory, load, OS, user, directory, pid
/// and start time.  Host facts come from /proc, the environment and two
/// shell commands.  Everything prints through the session log printers, so
/// console and log receive the same bytes.

#include <cstdint>
#include <map>
#include <string>

/// Build-time identity of the suite's tools.
extern const char *const kToolRevision;       // "r79477"
extern const char *const kToolVersion;        // "1.22.1 RELEASE 64-bit r79477 BUILD ..."
extern const char *const kToolVersionVerbose; // same text

/// Tool name -> banner title, for the suite's five tools.  A banner for a
/// name not in the table adds it with an empty title.
std::map<std::string, std::string> &tool_title_table();

/// Prints the banner, a blank line and flushes, unless an argument is
/// exactly "-version", "-version-verbose" or "-options".
void tool_startup(int argc, char **argv, const char *tool_name);

/// Prints the host banner for \p tool_name to standard output and the log,
/// then flushes all output.  Runs "lsb_release -ds" and "uname -r".
void print_start_banner(const char *tool_name);

/// Prints "END TIME         : " and the current local time in ctime form,
/// then flushes all output.
void print_end_time();

/// The host name; cached once it is not empty.
std::string get_host_name();

/// The first "model name" of /proc/cpuinfo without its leading blanks;
/// cached once it is not empty.  A host whose /proc/cpuinfo cannot be read
/// or has no model name ends the process with an assertion failure.
std::string f_get_cpu_info();

/// MemFree + Buffers + Cached of /proc/meminfo in bytes; 0 when the file
/// cannot be read.
int64_t get_free_memory();

/// One more than the last "processor" number of /proc/cpuinfo (1 when there
/// is none).  An unreadable /proc/cpuinfo prints "unable open
/// /proc/cpuinfo" and ends the process with status 0; more than two
/// hardware threads on core 0 of package 0 is an assertion failure.
int real_cpu_number();

/// The three load averages of /proc/loadavg divided by real_cpu_number();
/// all 0 when the file cannot be read.
void get_load_average(double *one, double *five, double *fifteen);

/// get_load_average() times 100.
void get_load_percent(double *one, double *five, double *fifteen);

/// The last "cpu MHz" of /proc/cpuinfo in Hz; 2e9 when there is none or the
/// file cannot be read.
double f_get_cpu_freq();

/// Runs \p command (not null) through the shell and stores at most the first
/// 2048 bytes of its standard output in \p out, newlines included.  A command
/// that cannot be started stores the empty string.
void system_command_print_message(const char *command, std::string *out);

/// Readers behind the host facts, on any file instead of the /proc one, so
/// that the parsing can be tried on prepared files.  Each behaves exactly as
/// the public function named beside it, with the same checks and assertion
/// reports (the public function's name and its line of util/AppInfo.cpp),
/// but caches nothing; cpu_count() names the file it could not open.  Not
/// for use outside this component and its tests.
namespace appinfo_detail {

std::string cpu_model(const char *cpuinfo_path);                       // f_get_cpu_info
int64_t free_memory(const char *meminfo_path);                          // get_free_memory
int cpu_count(const char *cpuinfo_path);                                // real_cpu_number
void load_average(const char *loadavg_path, const char *cpuinfo_path, // get_load_average
                  double *one, double *five, double *fifteen);
void load_percent(const char *loadavg_path, const char *cpuinfo_path, // get_load_percent
                  double *one, double *five, double *fifteen);
double cpu_freq(const char *cpuinfo_path);                              // f_get_cpu_freq

} // namespace appinfo_detail

#endif
