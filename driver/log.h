#ifndef CORVANE_DRIVER_LOG_H
#define CORVANE_DRIVER_LOG_H

/// \file
/// The session log: every line a tool shows on the console is written,
/// byte for byte, to one log file per process as well.  Text logged before
/// the file is open is kept in memory and lands at the top of the file when
/// it opens, so start-up code need not care about ordering.

#include <cstdarg>
#include <cstddef>

#include "util/Compiler.h"

/// Opens \p path for writing (through a compressor for ".gz" and friends),
/// closing any log that was open, and moves the pending text into it.
/// On failure prints "Can't open log file '...': <reason>" to standard error
/// only and keeps collecting text in memory.
bool open_log_file(const char *path);

/// Closes the log file; later text is kept in memory again.
void close_log_file();

/// Standard output and log.  Always returns 1.
int log_printf(const char *format, ...) CORVANE_PRINTF(1, 2);
int log_vprintf(const char *format, va_list args) CORVANE_VPRINTF(1);

/// Standard error and log.  Always returns 1.
int log_eprintf(const char *format, ...) CORVANE_PRINTF(1, 2);
int log_veprintf(const char *format, va_list args) CORVANE_VPRINTF(1);

/// As log_printf, but only for \p level below 1.
void log_printf_level(int level, const char *format, ...) CORVANE_PRINTF(2, 3);

/// Raw bytes to the log only.
void log_write(const char *bytes, size_t length);

/// Flushes standard output, standard error and the log file, if open.
void flush_all_output();

#endif
