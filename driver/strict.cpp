#include "driver/strict.h"

#include "driver/log.h"
#include "driver/parallel.h"
#include "driver/record.h"

#include <cstdlib>
#include <string>
#include <sys/stat.h>

namespace {

bool is_file(const std::string &path) {
  struct stat st;
  return ::stat(path.c_str(), &st) == 0 && S_ISREG(st.st_mode);
}

bool is_directory(const std::string &path) {
  struct stat st;
  return ::stat(path.c_str(), &st) == 0 && S_ISDIR(st.st_mode);
}

} // namespace

int parse_strict(const char *value) { return value ? static_cast<int>(parse_setting(value, 1)) : 0; }

int check_kit_variables() {
  // What each variable must lead to: the file that quillc's commands need
  // first from it, or, for TARN_HOME, which holds no file they need, the
  // directory itself.
  const struct {
    const char *name, *holds;
  } variables[] = {{"SYSTEMC_PATH", "/include/systemc.h"},
                   {"QUILLC_PATH", "/include/startup.cpp"},
                   {"TARN_HOME", ""}};
  int said = 0;
  for (const auto &variable : variables) {
    const char *value = std::getenv(variable.name);
    if (!value) {
      log_eprintf("Kit variable %s is not set; eval \"$(quillc-env)\" sets the kit's variables\n", variable.name);
      ++said;
      continue;
    }
    const std::string needed = value + std::string(variable.holds);
    if (*variable.holds ? is_file(needed) : is_directory(needed))
      continue;
    log_eprintf("Kit variable %s='%s' does not hold the kit: no %s %s\n", variable.name, value,
                *variable.holds ? "file" : "directory", needed.c_str());
    ++said;
  }
  return said;
}

int report_failed_commands() {
  for (const FailedCommand &failed : failed_commands())
    log_eprintf("Failed (%s): %s\n", failed.status.c_str(), failed.command.c_str());
  return static_cast<int>(failed_commands().size());
}
