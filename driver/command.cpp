#include "driver/command.h"

#include "util/crash.h"

#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <dirent.h>
#include <fcntl.h>
#include <sys/wait.h>
#include <unistd.h>
#include <vector>

namespace {

/// The kernel refuses to pass a single argument of this many bytes or more
/// (terminator included), so `sh -c <command>` cannot start for it.
constexpr size_t kLongestShellArgument = 128 * 1024;

/// The shell of the running command; 0 while none runs.  Read by the signal
/// routine.
volatile pid_t runningChild = 0;

/// The parent of process \p pid from /proc, or 0 when it is gone.
pid_t parent_of(pid_t pid) {
  char name[64];
  std::snprintf(name, sizeof name, "/proc/%d/stat", static_cast<int>(pid));
  int fd = ::open(name, O_RDONLY | O_CLOEXEC);
  if (fd < 0)
    return 0;
  char text[512];
  ssize_t length = ::read(fd, text, sizeof text - 1);
  ::close(fd);
  if (length <= 0)
    return 0;
  text[length] = '\0';
  // "pid (command) state ppid ...": the command may hold blanks and
  // parentheses, so the fields start after the last ')'.
  char *close = nullptr;
  for (char *c = text; *c; ++c)
    if (*c == ')')
      close = c;
  int parent = 0;
  char state = 0;
  if (!close || std::sscanf(close + 1, " %c %d", &state, &parent) != 2)
    return 0;
  return parent;
}

/// \p root and every process below it, parents before their children.  A
/// process that one of them starts while the table is read may be missed.
std::vector<pid_t> process_tree(pid_t root) {
  std::vector<std::pair<pid_t, pid_t>> links; // (pid, parent)
  if (DIR *proc = ::opendir("/proc")) {
    while (dirent *entry = ::readdir(proc)) {
      char *end = nullptr;
      long pid = std::strtol(entry->d_name, &end, 10);
      if (pid > 0 && *end == '\0')
        links.emplace_back(static_cast<pid_t>(pid), parent_of(static_cast<pid_t>(pid)));
    }
    ::closedir(proc);
  }
  std::vector<pid_t> tree = {root};
  for (size_t i = 0; i < tree.size(); ++i)
    for (const auto &[pid, parent] : links)
      if (parent == tree[i])
        tree.push_back(pid);
  return tree;
}

void signal_tree(pid_t root, int signal) {
  for (pid_t pid : process_tree(root))
    ::kill(pid, signal);
}

/// Ends the running command: \p signal to the shell and all it started;
/// whatever has not ended within two seconds is killed.
void end_running_command(int signal) {
  const pid_t child = runningChild;
  if (child <= 0)
    return;
  signal_tree(child, signal);
  const timespec tick = {0, 10 * 1000 * 1000};
  for (int i = 0; i < 200; ++i) {
    if (::waitpid(child, nullptr, WNOHANG) == child) {
      // The shell is gone; its children, if any lingered, are orphans now.
      runningChild = 0;
      return;
    }
    ::nanosleep(&tick, nullptr);
  }
  signal_tree(child, SIGKILL);
  ::waitpid(child, nullptr, 0);
  runningChild = 0;
}

class CommandTerminator : public CrashHandler {
public:
  void OnCrash(int) override { end_running_command(SIGTERM); }
  void OnTerminate(int signal) override { end_running_command(signal); }
};

/// Writes all of \p text to \p fd; SIGPIPE is ignored meanwhile so that a
/// shell that stops reading early does not kill us.
void write_all(int fd, const std::string &text) {
  struct sigaction ignore = {}, previous;
  ignore.sa_handler = SIG_IGN;
  ::sigaction(SIGPIPE, &ignore, &previous);
  for (size_t done = 0; done < text.size();) {
    ssize_t n = ::write(fd, text.data() + done, text.size() - done);
    if (n < 0 && errno == EINTR)
      continue;
    if (n <= 0)
      break;
    done += n;
  }
  ::sigaction(SIGPIPE, &previous, nullptr);
}

} // namespace

void register_command_terminator() {
  static CommandTerminator &terminator = *new CommandTerminator;
  terminator.RegisterHandler();
}

int run_shell_command(const std::string &command) {
  const bool viaStdin = command.size() + 1 >= kLongestShellArgument;
  int feed[2] = {-1, -1};
  if (viaStdin && ::pipe2(feed, O_CLOEXEC) != 0)
    return -1;

  struct sigaction ignore = {}, oldInt, oldQuit;
  ignore.sa_handler = SIG_IGN;
  ::sigaction(SIGINT, &ignore, &oldInt);
  ::sigaction(SIGQUIT, &ignore, &oldQuit);
  // Termination requests wait until the child's id is known, so that the
  // signal routine can always end it.
  sigset_t held, oldMask;
  sigemptyset(&held);
  for (int s : {SIGCHLD, SIGTERM, SIGHUP, SIGINT, SIGQUIT})
    sigaddset(&held, s);
  ::sigprocmask(SIG_BLOCK, &held, &oldMask);

  const pid_t pid = ::fork();
  if (pid == 0) {
    // A disposition ignored at our start stays ignored, as with system();
    // our own routine for it would be reset by exec anyway.
    struct sigaction standard = {};
    standard.sa_handler = SIG_DFL;
    ::sigaction(SIGINT, oldInt.sa_handler == SIG_IGN ? &oldInt : &standard, nullptr);
    ::sigaction(SIGQUIT, oldQuit.sa_handler == SIG_IGN ? &oldQuit : &standard, nullptr);
    ::sigprocmask(SIG_SETMASK, &oldMask, nullptr);
    if (viaStdin) {
      ::dup2(feed[0], 0);
      ::execl("/bin/sh", "sh", static_cast<char *>(nullptr));
    } else {
      ::execl("/bin/sh", "sh", "-c", command.c_str(), static_cast<char *>(nullptr));
    }
    ::_exit(127);
  }
  if (pid > 0)
    runningChild = pid;
  sigset_t waiting = oldMask;
  sigaddset(&waiting, SIGCHLD);
  ::sigprocmask(SIG_SETMASK, &waiting, nullptr);

  int status = -1;
  if (pid > 0) {
    if (viaStdin) {
      ::close(feed[0]);
      write_all(feed[1], command + "\n");
      ::close(feed[1]);
    }
    while (::waitpid(pid, &status, 0) < 0 && errno == EINTR) {
    }
    runningChild = 0;
  } else if (viaStdin) {
    ::close(feed[0]);
    ::close(feed[1]);
  }

  ::sigaction(SIGINT, &oldInt, nullptr);
  ::sigaction(SIGQUIT, &oldQuit, nullptr);
  ::sigprocmask(SIG_SETMASK, &oldMask, nullptr);
  if (pid > 0 && WIFSIGNALED(status) && (WTERMSIG(status) == SIGINT || WTERMSIG(status) == SIGQUIT))
    ::raise(WTERMSIG(status));
  return status;
}
