#ifndef CORVANE_UTIL_FS_H
#define CORVANE_UTIL_FS_H

/// \file
/// File-system questions and operations over POSIX calls, each taking a
/// path.  None of them throws: each reports through its result, and the
/// directory removal through messages on the session log.

#include <cstddef>
#include <string>

/// `stat` succeeds and names a regular file (links followed).
bool isRegularFile(const std::string &path);

/// `stat` succeeds and names a directory (links followed).
bool isDirectory(const std::string &path);

/// The file's modification time in whole seconds since the epoch; 0.0 when
/// `stat` fails.
double modificationTime(const std::string &path);

#endif
