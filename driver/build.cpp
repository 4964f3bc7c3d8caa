#include "driver/build.h"

#include "driver/export.h"
#include "driver/log.h"
#include "driver/names.h"

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <string>

namespace fs = std::filesystem;

namespace {

/// The kernel refuses to pass a single argument of this many bytes or more
/// (terminator included), so `sh -c <command>` cannot start for it.
constexpr size_t kLongestShellArgument = 128 * 1024;

void run_shell_command(const std::string &command) {
  if (command.size() + 1 < kLongestShellArgument) {
    std::system(command.c_str());
    return;
  }
  // A link over many sources can outgrow that limit; the shell then reads
  // the command from a pipe instead, with the same expansion and the same
  // console.
  if (FILE *shell = ::popen("/bin/sh", "w")) {
    std::fwrite(command.data(), 1, command.size(), shell);
    std::fputc('\n', shell);
    ::pclose(shell);
  }
}

void echo_and_run(const std::string &command) {
  log_printf("%s\n", command.c_str());
  // The child writes straight to our descriptors; what we echoed must be
  // out first.
  flush_all_output();
  run_shell_command(command);
}

/// Starts a command with the compiler prefix, the step's flags and the
/// extra options; the compile-only command is this text plus the
/// compile-only tail.
std::string compiler_command(std::string_view stepFlags, std::string_view extraOptionsText) {
  std::string command = kCompilerPrefix;
  command += ' ';
  command += stepFlags;
  command += ' ';
  command += extraOptionsText;
  command += ' ';
  return command;
}

/// Compiles each export source inside the build directory and appends its
/// object to \p link; sources without modules go onto the link as given.
void compile_units(std::span<const SourceUnit> units, const std::string &compilePrefix,
                   std::string &link) {
  const std::string enterBuildDir = std::string("cd ") + kBuildDirectory + ";";
  for (const SourceUnit &unit : units) {
    if (unit.modules.empty()) {
      link += unit.source;
      link += ' ';
      continue;
    }
    fs::path exportName = make_export_name(unit.source);
    echo_and_run(enterBuildDir + compilePrefix + exportName.native());
    link += kBuildDirectory;
    link += '/';
    link += exportName.replace_extension(".o").native();
    link += ' ';
  }
}

void create_build_directory() { fs::create_directories(fs::current_path() / kBuildDirectory); }

} // namespace

void build_wrapper_generator(std::span<const SourceUnit> units, std::string_view extraOptionsText) {
  log_printf("Start wrapper generating...\n");
  create_build_directory();

  std::string link = compiler_command(kWrapperDefine, extraOptionsText);
  const std::string compilePrefix = link + kCompileOnlyTail + " ";
  compile_units(units, compilePrefix, link);

  const std::string library = std::string(kQuillcLibDir) + kWrapperLibrary;
  const std::string program = std::string(kBuildDirectory) + "/" + kWrapperProgram;
  // The library stands twice on purpose: before the output name and again
  // after the system libraries.
  link += library + " ";
  link += "-o " + program + " " + kLinkTail + " " + library;
  echo_and_run(link);

  std::system(program.c_str());
  log_printf("End wrapper generating.\n");
}

void build_systemc_library(std::span<const SourceUnit> units, std::string_view extraOptionsText) {
  log_printf("Start generating SC library...\n");
  create_build_directory();

  std::string link = compiler_command(kLibraryFlags, extraOptionsText);
  const std::string compilePrefix = link + kCompileOnlyTail + " ";
  // The start-up source is compiled by the link itself, never on its own.
  link += std::string(kQuillcIncludeDir) + kStartupSource + " ";
  compile_units(units, compilePrefix, link);

  link += std::string(" -o ") + kCosimLibrary + " " + kLinkTail + " " + kQuillcLibDir +
          kCosimSupportLibrary;
  echo_and_run(link);

  log_printf("End generating SC library %s.\n", kCosimLibrary);
}
