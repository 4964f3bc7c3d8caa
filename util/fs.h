#ifndef CORVANE_UTIL_FS_H
#define CORVANE_UTIL_FS_H

/// \file
/// File-system questions and operations over POSIX calls, each taking a
/// path.  None of them throws: each reports through its result, and the
/// directory removal through messages on the session log.

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

/// `stat` succeeds and names a regular file (links followed).
bool isRegularFile(const std::string &path);

/// `stat` succeeds and names a directory (links followed).
bool isDirectory(const std::string &path);

/// False when the file may be written; otherwise true exactly when it may
/// be read.  A missing file is therefore not read-only.
bool isReadOnly(const std::string &path);

/// The file's modification time in whole seconds since the epoch; 0.0 when
/// `stat` fails.
double modificationTime(const std::string &path);

/// One `mkdir` with mode 0777 (the umask applies); not recursive.
bool makeDirectory(const std::string &path);

/// True when the directory opens and holds nothing but "." and "..".
bool isEmptyDirectory(const std::string &path);

/// Fills \p buffer with \p length bytes from /dev/urandom in one read.
/// The buffer is zeroed first and stays zeroed when the device cannot be
/// opened; a short read is a failure.  Negative lengths read nothing and
/// succeed only for -1.
bool randomBytes(void *buffer, long length);

/// Decides about a generated file written in full to \p path + ".new":
/// when \p path is missing or its content differs, the new file replaces it
/// (true); when the content is the same, the new file is deleted and \p path
/// keeps its content and time stamp (false).
bool commitIfChanged(const std::string &path);

/// Removes the directory \p path.  A non-empty directory is left alone when
/// \p onlyIfEmpty is set; otherwise its files and subdirectories are
/// removed first, each failure reported on the session log and skipped.
/// True when \p path itself was removed.
bool removeDirectory(const std::string &path, bool onlyIfEmpty);

/// The file a request for the shared library \p name means, looked for as
/// the loader would: \p name (and \p name + ".so" unless it ends in ".so"),
/// as given when absolute or starting with "~", then in the current
/// directory, then, for a name without "/", in each directory of
/// LD_LIBRARY_PATH.  Empty when nothing is a regular file.
std::string findSharedLibrary(const std::string &name);

/// The names of the entries of \p dir that are not directories (links are
/// not followed, so a link to a directory counts as a file), sorted
/// byte-wise.  Empty when the directory cannot be read.
std::vector<std::string> listFiles(const std::string &dir);

/// The names of the subdirectories of \p dir other than "." and "..",
/// sorted byte-wise; links to directories are not included.
std::vector<std::string> listSubdirectories(const std::string &dir);

/// True when \p path starts with "/".
bool isAbsolutePath(std::string_view path);

/// \p dir and \p name with exactly one "/" between them: trailing slashes of
/// \p dir and leading "./" steps of \p name are dropped ("d/" + "./x" is
/// "d/x"; "." + "x" is "./x").  An absolute \p name, or an empty \p dir,
/// gives \p name itself; an empty \p name gives \p dir.
std::string joinPath(std::string_view dir, std::string_view name);

#endif
