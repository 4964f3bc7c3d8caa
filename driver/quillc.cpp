#include "driver/quillc.h"

#include "driver/args.h"
#include "driver/build.h"
#include "driver/command.h"
#include "driver/export.h"
#include "driver/log.h"
#include "driver/parallel.h"
#include "driver/record.h"
#include "driver/strict.h"
#include "util/AppInfo.h"
#include "util/roster.h"

#include <cerrno>
#include <cstdlib>
#include <fcntl.h>
#include <unistd.h>

namespace {

/// Opens /dev/null on whichever of descriptors 0 to 2 is closed, lowest
/// first, so that no file we open later takes the place of a standard
/// stream (a log on descriptor 1 would receive every console line twice).
void open_standard_descriptors() {
  for (int fd = 0; fd <= 2; ++fd) {
    if (::fcntl(fd, F_GETFD) != -1 || errno != EBADF)
      continue;
    // The lowest free descriptor is this one, as those below it are open.
    if (::open("/dev/null", fd == 0 ? O_RDONLY : O_WRONLY) != fd)
      ::_exit(1);
  }
}

} // namespace

int quillc_main(int argc, char **argv) {
  open_standard_descriptors();
  // The roster's crash handler makes a fatal signal end the run with its
  // report and everything flushed; the command terminator, told first,
  // takes the running command with it.
  ErrorRoster::Get();
  register_command_terminator();

  // A log that cannot be opened is reported and the run goes on; its text
  // then stays in memory.
  open_log_file("quillc.log");
  // Refused before anything runs, the banner's commands included.
  const char *jobsValue = std::getenv(kJobsVariable);
  const unsigned jobs = parse_job_count(jobsValue);
  if (jobs == 0) {
    log_eprintf("Wrong value of %s: '%s'. Expected a whole number from 1 to %zu\n", kJobsVariable, jobsValue,
                kMostCommandsAtOnce);
    return 1;
  }
  const char *strictValue = std::getenv(kStrictVariable);
  const int strict = parse_strict(strictValue);
  if (strict < 0) {
    log_eprintf("Wrong value of %s: '%s'. Expected 0 or 1\n", kStrictVariable, strictValue);
    return 1;
  }
  // A script that asked for a status it can trust learns first of a kit
  // that the commands will not find.
  const int kitProblems = strict ? check_kit_variables() : 0;
  tool_startup(argc, argv, "quillc");

  DriverArguments args;
  if (!parse_driver_arguments(argc, argv, args))
    return 1;

  const std::string extraOptions = args.extraOptionsText();
  // The record of an earlier run goes before the export sources change.
  begin_run_record();
  generate_export_sources(args.units);
  // Each step is carried out whole before the next begins: the library's
  // compiles overwrite the objects that the wrapper generator's link reads.
  const auto run = [jobs](const BuildPlan &plan) {
    if (jobs > 1)
      run_build_plan_parallel(plan, jobs);
    else
      run_build_plan(plan);
  };
  record_step("wrapper");
  run(plan_wrapper_generator(args.units, extraOptions));
  record_step("library");
  run(plan_systemc_library(args.units, extraOptions));
  end_run_record();
  if (!strict)
    return 0;
  return (report_failed_commands() + kitProblems) > 0 ? 1 : 0;
}
