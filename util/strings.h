#ifndef CORVANE_UTIL_STRINGS_H
#define CORVANE_UTIL_STRINGS_H

/// \file
/// Small stateless text helpers of the support library: a double-quoted,
/// escaped literal of arbitrary bytes, a compact elapsed-time text, and the
/// split / join / trim trio that option and path handling build on, and
/// printf-style formatting into a std::string.

#include "util/Compiler.h"

#include <cstdarg>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

/// Returns the \p length bytes at \p text as a double-quoted literal, fit for
/// a log line or a generated source file.  Backslash, double quote, 7, 9, 10,
/// 11 and 12 get their short escapes (\\ \" \a \t \n \v \f); every other byte
/// outside the printable ASCII range 32..126 is written as "\x" and two
/// lower-case hex digits (so 13 is \x0d and bytes from 128 up are escaped).
/// A \p length below 1 gives just the two quotes; \p text may then be null.
std::string quoteString(const char *text, int32_t length);

/// Elapsed time as text: "12.346s" below a minute, then "1m:15.000s",
/// "1h:2m:5.500s" and "1d:1h:1m:1.500s".  Seconds always carry three
/// decimals; minutes, hours and days are not zero-padded.  Negative values
/// print in the seconds-only form with their sign; so do NaN, infinities and
/// durations too long for a 32-bit hour count (over 240 000 years).
std::string formatDuration(double seconds);

/// Splits \p text at every \p separator.  Empty pieces are kept, so the
/// result always has one piece more than there are separators and
/// joinStrings(splitString(t, c), {&c, 1}) == t.  Empty text gives one
/// empty piece; callers that want no empties drop them themselves.
std::vector<std::string> splitString(std::string_view text, char separator);

/// Concatenates \p pieces with \p separator between neighbours (not before
/// the first or after the last).  No pieces give the empty string.
std::string joinStrings(const std::vector<std::string> &pieces, std::string_view separator);

/// Returns \p text without leading and trailing white space (blank, tab,
/// newline, vertical tab, form feed, carriage return).
std::string trimString(std::string_view text);

/// Appends printf-style text to \p out.  Formats once when the text fits
/// the string's spare capacity (at least 128 bytes are made available),
/// twice otherwise; a format error appends nothing.  \p args is used up.
void appendFormattedV(std::string &out, const char *format, va_list args) CORVANE_VPRINTF(2);

/// printf-style text as a string.
std::string formatString(const char *format, ...) CORVANE_PRINTF(1, 2);

#endif
