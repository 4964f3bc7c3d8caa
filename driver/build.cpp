#include "driver/build.h"

#include "driver/command.h"
#include "driver/export.h"
#include "driver/log.h"
#include "driver/names.h"
#include "driver/record.h"

#include <filesystem>

namespace fs = std::filesystem;

namespace {

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

/// Plans the compile of each export source inside the build directory and
/// appends its object to \p link; sources without modules go onto the link
/// as given.
void plan_compiles(std::span<const SourceUnit> units, const std::string &compilePrefix,
                   std::string &link, BuildPlan &plan) {
  const std::string enterBuildDir = std::string("cd ") + kBuildDirectory + ";";
  for (const SourceUnit &unit : units) {
    if (unit.modules.empty()) {
      link += unit.source;
      link += ' ';
      continue;
    }
    fs::path exportName = make_export_name(unit.source);
    plan.push_back({BuildAction::kCompile, enterBuildDir + compilePrefix + exportName.native(),
                    "compile " + std::string(unit.source)});
    link += kBuildDirectory;
    link += '/';
    link += exportName.replace_extension(".o").native();
    link += ' ';
  }
}

} // namespace

BuildPlan plan_wrapper_generator(std::span<const SourceUnit> units, std::string_view extraOptionsText) {
  BuildPlan plan = {{BuildAction::kEcho, "Start wrapper generating...\n"},
                    {BuildAction::kMakeDirectory, kBuildDirectory}};

  std::string link = compiler_command(kWrapperDefine, extraOptionsText);
  const std::string compilePrefix = link + kCompileOnlyTail + " ";
  plan_compiles(units, compilePrefix, link, plan);

  const std::string library = std::string(kQuillcLibDir) + kWrapperLibrary;
  const std::string program = std::string(kBuildDirectory) + "/" + kWrapperProgram;
  // The library stands twice on purpose: before the output name and again
  // after the system libraries.
  link += library + " ";
  link += "-o " + program + " " + kLinkTail + " " + library;
  plan.push_back({BuildAction::kRunEchoed, std::move(link), "link " + program});
  plan.push_back({BuildAction::kRunSilent, program, "run " + program});
  plan.push_back({BuildAction::kEcho, "End wrapper generating.\n"});
  return plan;
}

BuildPlan plan_systemc_library(std::span<const SourceUnit> units, std::string_view extraOptionsText) {
  BuildPlan plan = {{BuildAction::kEcho, "Start generating SC library...\n"},
                    {BuildAction::kMakeDirectory, kBuildDirectory}};

  std::string link = compiler_command(kLibraryFlags, extraOptionsText);
  const std::string compilePrefix = link + kCompileOnlyTail + " ";
  // The start-up source is compiled by the link itself, never on its own.
  link += std::string(kQuillcIncludeDir) + kStartupSource + " ";
  plan_compiles(units, compilePrefix, link, plan);

  link += std::string(" -o ") + kCosimLibrary + " " + kLinkTail + " " + kQuillcLibDir +
          kCosimSupportLibrary;
  plan.push_back({BuildAction::kRunEchoed, std::move(link), std::string("link ") + kCosimLibrary});
  plan.push_back({BuildAction::kEcho, std::string("End generating SC library ") + kCosimLibrary + ".\n"});
  return plan;
}

void run_build_action(const BuildAction &action) {
  switch (action.kind) {
  case BuildAction::kEcho:
    log_printf("%s", action.text.c_str());
    break;
  case BuildAction::kMakeDirectory:
    fs::create_directories(fs::current_path() / action.text);
    break;
  case BuildAction::kRunEchoed:
  case BuildAction::kCompile:
    log_printf("%s\n", action.text.c_str());
    [[fallthrough]];
  case BuildAction::kRunSilent:
    // The child writes straight to our descriptors; what we printed must
    // be out first.
    flush_all_output();
    record_command(action.subject, action.text, run_shell_command(action.text));
    break;
  }
}

void run_build_plan(const BuildPlan &plan) {
  for (const BuildAction &action : plan)
    run_build_action(action);
}
