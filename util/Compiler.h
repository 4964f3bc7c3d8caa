#ifndef CORVANE_UTIL_COMPILER_H
#define CORVANE_UTIL_COMPILER_H

/// \file
/// Compiler attributes shared by the whole support library.  Every header
/// that wants one includes this file and nothing heavier, so that the
/// library's layers need not know about each other for an attribute.

/// Marks a printf-style function: \p fmt is the 1-based index of the format
/// argument, \p args that of the first variadic argument.
#define CORVANE_PRINTF(fmt, args) __attribute__((format(printf, fmt, args)))

/// Marks a vprintf-style function, whose arguments come as a va_list:
/// the compiler checks the format string but not the arguments.
#define CORVANE_VPRINTF(fmt) __attribute__((format(printf, fmt, 0)))

/// Keeps the sanitizers out of one function, for code that faults on
/// purpose: the fault must reach the crash handler as the signal it is in
/// every build, not as a sanitizer's report.
#define CORVANE_NO_SANITIZE __attribute__((no_sanitize("address", "undefined")))

#endif
