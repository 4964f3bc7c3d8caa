#include "testsupport/testsupport.h"

#include <cstdio>
#include <cstdlib>
#include <fcntl.h>
#include <fstream>
#include <sstream>
#include <stdexcept>
#include <sys/wait.h>
#include <unistd.h>

namespace fs = std::filesystem;

namespace testsupport {

TempDir::TempDir() {
  std::string pattern = (fs::temp_directory_path() / "corvane-test-XXXXXX").string();
  if (!::mkdtemp(pattern.data()))
    throw std::runtime_error("mkdtemp failed");
  m_Path = pattern;
}

TempDir::~TempDir() {
  std::error_code ignored;
  fs::remove_all(m_Path, ignored);
}

std::string read_file(const fs::path &path) {
  std::ifstream in(path, std::ios::binary);
  std::ostringstream text;
  text << in.rdbuf();
  return text.str();
}

void write_file(const fs::path &path, std::string_view content, bool executable) {
  std::ofstream(path, std::ios::binary | std::ios::trunc).write(content.data(), content.size());
  if (executable)
    fs::permissions(path, fs::perms::owner_exec | fs::perms::group_exec | fs::perms::others_exec,
                    fs::perm_options::add);
}

std::string path_with(const fs::path &dir) {
  const char *path = std::getenv("PATH");
  return "PATH=" + dir.string() + ":" + (path ? path : "/usr/bin:/bin");
}

namespace {

/// Forks; the child enters \p cwd (when given), reads an empty standard
/// input, writes its output into two files and runs \p child, which must
/// not return.  The parent waits and collects.
RunResult fork_and_collect(const fs::path &cwd, const std::function<void()> &child) {
  TempDir io;
  const fs::path in = "/dev/null", out = io / "out", err = io / "err";
  // Text still buffered here would otherwise be printed twice.
  std::fflush(nullptr);
  const pid_t pid = ::fork();
  if (pid < 0)
    throw std::runtime_error("fork failed");
  if (pid == 0) {
    if (!cwd.empty() && ::chdir(cwd.c_str()) != 0)
      ::_exit(126);
    const fs::path *files[] = {&in, &out, &err};
    for (int fd = 0; fd < 3; ++fd) {
      const int opened = ::open(files[fd]->c_str(), fd ? O_WRONLY | O_CREAT | O_TRUNC : O_RDONLY, 0644);
      ::dup2(opened, fd);
      ::close(opened);
    }
    child();
    ::_exit(127);
  }
  int wstatus = 0;
  ::waitpid(pid, &wstatus, 0);
  return {WIFEXITED(wstatus) ? WEXITSTATUS(wstatus) : 128 + WTERMSIG(wstatus), read_file(out), read_file(err)};
}

} // namespace

RunResult run(const std::vector<std::string> &argv, const fs::path &cwd, const std::vector<std::string> &env) {
  return fork_and_collect(cwd, [&] {
    for (const std::string &entry : env) {
      const size_t eq = entry.find('=');
      if (eq == std::string::npos)
        ::unsetenv(entry.c_str());
      else
        ::setenv(entry.substr(0, eq).c_str(), entry.c_str() + eq + 1, 1);
    }
    std::vector<char *> args;
    for (const std::string &a : argv)
      args.push_back(const_cast<char *>(a.c_str()));
    args.push_back(nullptr);
    ::execvp(args[0], args.data());
  });
}

RunResult run_in_child(const std::function<void()> &body, const fs::path &cwd) {
  return fork_and_collect(cwd, [&] {
    // An exception must not unwind into the test runner's copy.
    try {
      body();
    } catch (...) {
      std::fflush(nullptr);
      ::_exit(125);
    }
    std::fflush(nullptr);
    ::_exit(0);
  });
}

} // namespace testsupport

// In the sanitizer build the address sanitizer installs its own SIGSEGV
// routine at start-up; the crash-handler tests check that a program starts
// with the default actions and that the chain's routine takes the signal,
// so the tests leave SIGSEGV alone.  Memory errors are still caught where
// they happen, by the instrumentation.  Read only by the sanitizer's
// run-time; other builds never call it.
extern "C" const char *__asan_default_options() { return "handle_segv=0"; }
