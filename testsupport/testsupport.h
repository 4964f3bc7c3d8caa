#ifndef CORVANE_TESTSUPPORT_H
#define CORVANE_TESTSUPPORT_H

/// \file
/// What the tests share: scratch directories, files, and running a real
/// program with its standard output, standard error and exit status kept
/// apart.  It is every test file's prelude, so it also brings GoogleTest,
/// the standard headers that most tests use, and its own names into scope.

#include <gtest/gtest.h>

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <functional>
#include <string>
#include <string_view>
#include <unistd.h>
#include <vector>

namespace testsupport {

/// A fresh directory under the system's temporary directory, removed with
/// everything in it when the object goes away.
class TempDir {
public:
  TempDir();
  ~TempDir();
  TempDir(const TempDir &) = delete;
  TempDir &operator=(const TempDir &) = delete;

  const std::filesystem::path &path() const { return m_Path; }
  std::filesystem::path operator/(std::string_view name) const { return m_Path / name; }

private:
  std::filesystem::path m_Path;
};

struct RunResult {
  int status = -1; ///< Exit status, or 128 + signal number when killed.
  std::string out;
  std::string err;
};

/// Runs argv[0] (searched on PATH) in \p cwd and waits for it.  \p env holds
/// "NAME=VALUE" entries to set and bare "NAME" entries to unset.  Standard
/// input is empty.
RunResult run(const std::vector<std::string> &argv, const std::filesystem::path &cwd,
              const std::vector<std::string> &env = {});

/// Runs \p body in a forked copy of this process, in \p cwd when given,
/// with standard output and standard error captured.  When \p body returns,
/// the child flushes every stdio stream and ends with status 0 without
/// running exit handlers; \p body may end the process itself.  State that
/// \p body changes (singletons, signal handlers) stays in the child.
RunResult run_in_child(const std::function<void()> &body, const std::filesystem::path &cwd = {});

std::string read_file(const std::filesystem::path &path);
void write_file(const std::filesystem::path &path, std::string_view content, bool executable = false);

/// PATH with \p dir in front, as a "PATH=..." entry for run().
std::string path_with(const std::filesystem::path &dir);

} // namespace testsupport

namespace fs = std::filesystem;
using namespace testsupport;

#endif
