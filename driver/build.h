#ifndef QUILLC_DRIVER_BUILD_H
#define QUILLC_DRIVER_BUILD_H

/// \file
/// The two build steps of a run, each planned in full before anything of it
/// runs.  A step compiles every export source inside the build directory
/// and links the objects with the sources that have no modules.  Its plan
/// is the ordered list of what it does; run_build_plan() carries it out.
/// Exit statuses of the commands are deliberately not inspected, so every
/// later action runs whatever happened before; only a command ended by
/// SIGINT or SIGQUIT (the user's Ctrl-C) ends the run, as if this process
/// had received the signal.

#include "driver/args.h"

#include <span>
#include <string>
#include <string_view>
#include <vector>

/// One thing a build step does.
struct BuildAction {
  enum Kind {
    kEcho,          ///< Print \c text to standard output and the log.
    kMakeDirectory, ///< Create \c text (under the current directory) with its parents.
    kRunEchoed,     ///< Print \c text and a line feed, then run it through the shell.
    kRunSilent,     ///< Run \c text through the shell without printing it.
    kCompile,       ///< As kRunEchoed; compiles next to each other may run at once.
  };
  Kind kind;
  std::string text;
  /// What a command does, for the run's record: "compile <source>",
  /// "link <file>" or "run <program>".
  std::string subject = {};

  bool operator==(const BuildAction &) const = default;
};

using BuildPlan = std::vector<BuildAction>;

/// Builds sc_module/wrapper_generator (-DSC_WRAPPER) and runs it once.
BuildPlan plan_wrapper_generator(std::span<const SourceUnit> units, std::string_view extraOptionsText);

/// Builds libcorvanesc.so (-fPIC -shared -DSC_COSIM) in the current directory.
BuildPlan plan_systemc_library(std::span<const SourceUnit> units, std::string_view extraOptionsText);

/// Carries out one action as run_build_plan() does.
void run_build_action(const BuildAction &action);

/// Carries out \p plan in order, each command through run_shell_command().
/// Output is flushed before each command, as the command writes straight to
/// the same descriptors.  A directory that
/// cannot be created ends the process (the exception is not caught).
void run_build_plan(const BuildPlan &plan);

#endif
