#ifndef CORVANE_UTIL_ENV_H
#define CORVANE_UTIL_ENV_H

/// \file
/// Environment expansion over a process-wide snapshot of the environment.
/// File names from command lines and manifests, and commands, go through
/// ExpandEnv(); every expansion that used a variable says so in an
/// "ExpandEnv" note of the message roster, listing each variable with its
/// value, so that a user can see why a name resolved the way it did.

#include <cstdio>
#include <map>
#include <string>
#include <string_view>

/// The snapshot: variable name to value, in byte-wise name order.  Filled
/// on demand from `environ`; for a name that occurs twice the first entry
/// wins.
std::map<std::string, std::string> &EnvironmentCache();

/// The value of \p name in the snapshot, empty when unset.  An empty
/// snapshot is filled first.
std::string GetEnv(std::string_view name);

/// Forgets the snapshot; the next GetEnv() takes a fresh one.
void ClearEnvironmentCache();

/// Writes one "env NAME "VALUE"" line per variable of the snapshot, in name
/// order, with the value quoted and escaped as by quoteString().
void WriteEnvironment(FILE *stream);

/// Expands \p text:
///  - a leading "~/" becomes $HOME and "/"; a leading "~user/" becomes the
///    user's home directory and "/" (nothing for an unknown user); a "~"
///    with no "/" after it is dropped;
///  - "${NAME}", "$(NAME)" and "$NAME" become the variable's value, where a
///    bare name runs over letters, digits, "-" and "_" (so "$A-b" names
///    "A-b"); an unset variable is empty;
///  - an unclosed "${" or "$(" is kept and the character after it dropped.
/// When any variable was looked up, an "ExpandEnv" note names \p text and,
/// when the roster shows it, the variables and values follow.
std::string ExpandEnv(std::string_view text);

/// True when ExpandEnv(\p text) has anything to do: a "$" anywhere or a
/// leading "~".  Otherwise the expansion is \p text itself, with no note.
bool HasEnvReferences(std::string_view text);

/// Opens the expansion of \p name with open_stream() (compressed names
/// included).  Close the result with close_stream().
FILE *open_stream_expanded(const char *name, const char *mode);

#endif
