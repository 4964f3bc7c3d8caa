#ifndef CORVANE_UTIL_APPINFO_H
#define CORVANE_UTIL_APPINFO_H

/// \file
/// Tool identity and the host banner that opens every session log: title,
/// version, executable, host, CPU, memory, load, OS, user, directory, pid
/// and start time.  Host facts come from /proc, the environment and two
/// shell commands.

#include <cstdint>
#include <map>
#include <string>

/// Build-time identity of the suite's tools.
extern const char *const kToolRevision;       // "r79477"
extern const char *const kToolVersion;        // "1.22.1 RELEASE 64-bit r79477 BUILD ..."
extern const char *const kToolVersionVerbose; // same text

/// Tool name -> banner title, for the suite's five tools.
std::map<std::string, std::string> &tool_title_table();

/// Prints the banner, a blank line and flushes, unless an argument is
/// exactly "-version", "-version-verbose" or "-options".
void tool_startup(int argc, char **argv, const char *tool_name);
void print_start_banner(const char *tool_name);
void print_end_time();

std::string get_host_name();
std::string f_get_cpu_info();
int64_t get_free_memory();
int real_cpu_number();
void get_load_average(double *one, double *five, double *fifteen);
void get_load_percent(double *one, double *five, double *fifteen);
double f_get_cpu_freq();
void system_command_print_message(const char *command, std::string *out);

#endif
