#ifndef QUILLC_DRIVER_STRICT_H
#define QUILLC_DRIVER_STRICT_H

/// \file
/// QUILLC_STRICT=1: a status that a build script can trust.  The run goes
/// exactly as without it; on top of that, the kit's variables are checked
/// before anything runs, and the run ends with one line per failed command
/// and status 1 when anything failed.  Without the variable, or with 0,
/// nothing of this happens.

/// The variable that asks for a strict status.
inline constexpr char kStrictVariable[] = "QUILLC_STRICT";

/// 0 or 1 for \p value (that of QUILLC_STRICT, null when it is not set: 0),
/// read as QUILLC_JOBS is read; -1 for a value to refuse.
int parse_strict(const char *value);

/// Says on standard error and in the log each of SYSTEMC_PATH, QUILLC_PATH
/// and TARN_HOME that is not set or does not hold the kit (include/systemc.h,
/// include/startup.cpp, a directory).  Returns how many it said.
int check_kit_variables();

/// Says on standard error and in the log one line per command of this run
/// that failed, with its status.  Returns how many it said.
int report_failed_commands();

#endif
