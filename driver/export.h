#ifndef QUILLC_DRIVER_EXPORT_H
#define QUILLC_DRIVER_EXPORT_H

/// \file
/// Export sources: for every source given with modules, a small C++ file in
/// the build directory that includes systemc.h and the user's source and
/// exports each module with NCSC_MODULE_EXPORT.

#include "driver/args.h"

#include <filesystem>
#include <span>
#include <string_view>

/// "top.cpp" -> "top_create.cpp", "rtl/top.cc" -> "rtl/top_create.cpp",
/// "top" -> "top_create.cpp".  The directory part is kept.
std::filesystem::path make_export_name(std::string_view source);

/// Writes sc_module/<stem>_create.cpp for every unit that has modules.
void generate_export_sources(std::span<const SourceUnit> units);

#endif
