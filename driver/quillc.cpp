#include "driver/quillc.h"

#include "driver/args.h"
#include "driver/build.h"
#include "driver/export.h"
#include "driver/log.h"
#include "util/AppInfo.h"

int quillc_main(int argc, char **argv) {
  // A log that cannot be opened is reported and the run goes on; its text
  // then stays in memory.
  open_log_file("quillc.log");
  tool_startup(argc, argv, "quillc");

  DriverArguments args;
  if (!parse_driver_arguments(argc, argv, args))
    return 1;

  const std::string extraOptions = args.extraOptionsText();
  generate_export_sources(args.units);
  run_build_plan(plan_wrapper_generator(args.units, extraOptions));
  run_build_plan(plan_systemc_library(args.units, extraOptions));
  return 0;
}
