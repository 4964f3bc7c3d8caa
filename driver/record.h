#ifndef QUILLC_DRIVER_RECORD_H
#define QUILLC_DRIVER_RECORD_H

/// \file
/// The record of a run, sc_module/quillc.run: which step began, how each
/// command ended and whether the run carried out every step.  Those who come
/// after quillc read it: quillc-sim refuses a library or a wrapper that a
/// failed or unfinished run left behind from an earlier one (both steps
/// write the same objects, so times alone cannot tell), and QUILLC_STRICT
/// reports the failed commands.  The record is a file of its own and never
/// changes what the run prints.  Its lines, in the order things happened:
///
///   quillc run record 1
///   step <name>                      a step begins ("wrapper", "library")
///   <status>\t<what>\t<command>      a command ended (see describe_status)
///   end                              every step was carried out
///
/// where <what> is the action's subject ("compile x.cpp", "link
/// libcorvanesc.so", ...) and <command> its text as echoed.  The previous
/// run's record is removed before this run writes anything, so a run that
/// dies leaves a record without "end", or none.

#include <string>
#include <string_view>
#include <vector>

/// The record's file, under the build directory.
inline constexpr char kRunRecordName[] = "quillc.run";

/// A command of this run that did not end with status 0.
struct FailedCommand {
  std::string status; ///< As describe_status() puts it.
  std::string command;
};

/// "status N" for a command that exited with N, "signal N" for one that a
/// signal ended, "not started" when no shell could start (-1).
std::string describe_status(int waitStatus);

/// Removes the previous record and starts this run's.  Until it is called,
/// nothing is recorded (a plan run on its own writes no record).
void begin_run_record();

/// Marks the start of step \p name.
void record_step(std::string_view name);

/// Records how a command ended; \p subject says what it did.
void record_command(std::string_view subject, std::string_view command, int waitStatus);

/// Marks the run as carried out whole and closes the record.
void end_run_record();

/// The commands recorded with a status other than 0, in order.
const std::vector<FailedCommand> &failed_commands();

#endif
