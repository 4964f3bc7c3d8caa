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
  {
    std::ofstream out(path, std::ios::binary | std::ios::trunc);
    out.write(content.data(), content.size());
  }
  if (executable)
    fs::permissions(path, fs::perms::owner_all | fs::perms::group_read | fs::perms::group_exec |
                              fs::perms::others_read | fs::perms::others_exec);
}

std::string path_with(const fs::path &dir) {
  const char *path = std::getenv("PATH");
  return "PATH=" + dir.string() + ":" + (path ? path : "/usr/bin:/bin");
}

namespace {

/// In a child: standard output and error into the two files.
void redirect_output(const fs::path &outPath, const fs::path &errPath) {
  int out = ::open(outPath.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0644);
  int err = ::open(errPath.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0644);
  ::dup2(out, 1);
  ::dup2(err, 2);
  ::close(out);
  ::close(err);
}

RunResult wait_for(pid_t pid, const fs::path &outPath, const fs::path &errPath) {
  int wstatus = 0;
  ::waitpid(pid, &wstatus, 0);
  RunResult result;
  result.status = WIFEXITED(wstatus) ? WEXITSTATUS(wstatus) : 128 + WTERMSIG(wstatus);
  result.out = read_file(outPath);
  result.err = read_file(errPath);
  return result;
}

} // namespace

RunResult run(const std::vector<std::string> &argv, const fs::path &cwd,
              const std::vector<std::string> &env, std::string_view input) {
  TempDir io;
  const fs::path outPath = io / "out", errPath = io / "err", inPath = io / "in";
  write_file(inPath, input);

  pid_t pid = ::fork();
  if (pid < 0)
    throw std::runtime_error("fork failed");
  if (pid == 0) {
    if (::chdir(cwd.c_str()) != 0)
      ::_exit(126);
    for (const std::string &entry : env) {
      size_t eq = entry.find('=');
      if (eq == std::string::npos)
        ::unsetenv(entry.c_str());
      else
        ::setenv(entry.substr(0, eq).c_str(), entry.c_str() + eq + 1, 1);
    }
    int in = ::open(inPath.c_str(), O_RDONLY);
    ::dup2(in, 0);
    ::close(in);
    redirect_output(outPath, errPath);
    std::vector<char *> args;
    for (const std::string &a : argv)
      args.push_back(const_cast<char *>(a.c_str()));
    args.push_back(nullptr);
    ::execvp(args[0], args.data());
    ::_exit(127);
  }

  return wait_for(pid, outPath, errPath);
}

RunResult run_in_child(const std::function<void()> &body, const fs::path &cwd) {
  TempDir io;
  const fs::path outPath = io / "out", errPath = io / "err";
  // Text still buffered here would otherwise be printed twice.
  std::fflush(nullptr);

  pid_t pid = ::fork();
  if (pid < 0)
    throw std::runtime_error("fork failed");
  if (pid == 0) {
    if (!cwd.empty() && ::chdir(cwd.c_str()) != 0)
      ::_exit(126);
    redirect_output(outPath, errPath);
    // An exception must not unwind into the test runner's copy.
    try {
      body();
    } catch (...) {
      std::fflush(nullptr);
      ::_exit(125);
    }
    std::fflush(nullptr);
    ::_exit(0);
  }

  return wait_for(pid, outPath, errPath);
}

} // namespace testsupport

// In the sanitizer build the address sanitizer installs its own SIGSEGV
// routine at start-up; the crash-handler tests check that a program starts
// with the default actions and that the chain's routine takes the signal,
// so the tests leave SIGSEGV alone.  Memory errors are still caught where
// they happen, by the instrumentation.  Read only by the sanitizer's
// run-time; other builds never call it.
extern "C" const char *__asan_default_options() { return "handle_segv=0"; }
