#ifndef QUILLC_DRIVER_BUILD_H
#define QUILLC_DRIVER_BUILD_H

/// \file
/// The two build steps of a run.  Both compile every export source inside
/// the build directory and link the objects with the sources that have no
/// modules.  Each command is echoed to console and log, then run by the
/// shell; exit statuses are deliberately not inspected, so every later
/// command runs whatever happened before.

#include "driver/args.h"

#include <span>
#include <string_view>

/// Builds sc_module/wrapper_generator (-DSC_WRAPPER) and runs it once.
void build_wrapper_generator(std::span<const SourceUnit> units, std::string_view extraOptionsText);

/// Builds libcorvanesc.so (-fPIC -shared -DSC_COSIM) in the current directory.
void build_systemc_library(std::span<const SourceUnit> units, std::string_view extraOptionsText);

#endif
