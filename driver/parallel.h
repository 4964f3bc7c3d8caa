#ifndef QUILLC_DRIVER_PARALLEL_H
#define QUILLC_DRIVER_PARALLEL_H

/// \file
/// A second runner of the same build plans: the compiles of a step run
/// several at a time, and the run still reads as if they had run one after
/// another.  Every command is echoed in plan order; while a compile runs,
/// its standard output and standard error go to nameless temporary files,
/// which are printed whole, to the same two streams, after its echo line
/// and before the next command's.  An echo line therefore waits for its
/// turn: when a later compile ends first, its output (and its echo) wait
/// until every earlier compile's output is out.  Like any command's own
/// output, the held output reaches the console only, never the log.

#include "driver/build.h"

/// The variable that asks for parallel compiles.
inline constexpr char kJobsVariable[] = "QUILLC_JOBS";

/// The number that \p value writes in decimal digits alone when it is no
/// more than \p most; -1 otherwise (empty, signed, with blanks, too large).
/// The variables that steer a run (QUILLC_JOBS, QUILLC_STRICT) are read so.
long parse_setting(const char *value, unsigned most);

/// How many compiles \p value (that of QUILLC_JOBS, null when it is not
/// set) lets run at once: 1 when it is not set, the number when it is
/// nothing but decimal digits worth 1 to kMostCommandsAtOnce, and 0 (a
/// value to refuse) otherwise: empty, signed, with blanks, too large.
unsigned parse_job_count(const char *value);

/// Carries out \p plan as run_build_plan() does, but runs each group of
/// compiles that stand next to each other up to \p jobs at a time.  What
/// follows a group (the link) starts when all of the group has ended, so
/// that one step's compiles never overwrite the objects that the step
/// before still links.  A compile starts only within 2 * \p jobs of the
/// oldest compile whose output is not printed yet, which bounds the files
/// held open.  A compile whose output cannot be held (no temporary file)
/// waits for its turn and runs straight on the console.  When the user
/// interrupts a compile, the others end too, the output up to the
/// interrupted one is printed and the signal is raised here, as after a
/// single interrupted command.
void run_build_plan_parallel(const BuildPlan &plan, unsigned jobs);

#endif
