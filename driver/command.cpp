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

/// The shells of the running commands, 0 marking a free place.  Read by
/// the signal routine, so a fixed table written one whole id at a time.
volatile pid_t runningShells[kMostCommandsAtOnce] = {};

void remember(pid_t pid) {
  for (volatile pid_t &slot : runningShells)
    if (slot == 0) {
      slot = pid;
      return;
    }
}

void forget(pid_t pid) {
  for (volatile pid_t &slot : runningShells)
    if (slot == pid)
      slot = 0;
}

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

/// \p roots and every process below them, parents before their children.
/// A process that one of them starts while the table is read may be
/// missed.
std::vector<pid_t> process_trees(const std::vector<pid_t> &roots) {
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
  std::vector<pid_t> trees = roots;
  for (size_t i = 0; i < trees.size(); ++i)
    for (const auto &[pid, parent] : links)
      if (parent == trees[i])
        trees.push_back(pid);
  return trees;
}

void signal_trees(const std::vector<pid_t> &roots, int signal) {
  for (pid_t pid : process_trees(roots))
    ::kill(pid, signal);
}

/// Ends every running command: \p signal to each shell and all it
/// started; whatever has not ended within two seconds is killed.
void end_running_commands(int signal) {
  std::vector<pid_t> shells;
  for (pid_t pid : runningShells)
    if (pid > 0)
      shells.push_back(pid);
  if (shells.empty())
    return;
  signal_trees(shells, signal);
  const timespec tick = {0, 10 * 1000 * 1000};
  for (int i = 0; i < 200 && !shells.empty(); ++i) {
    // A shell that is gone leaves its children, if any lingered, as
    // orphans.
    std::erase_if(shells, [](pid_t pid) {
      if (::waitpid(pid, nullptr, WNOHANG) == 0)
        return false;
      forget(pid);
      return true;
    });
    if (!shells.empty())
      ::nanosleep(&tick, nullptr);
  }
  if (!shells.empty())
    signal_trees(shells, SIGKILL);
  for (pid_t pid : shells) {
    ::waitpid(pid, nullptr, 0);
    forget(pid);
  }
}

class CommandTerminator : public CrashHandler {
public:
  void OnCrash(int) override { end_running_commands(SIGTERM); }
  void OnTerminate(int signal) override { end_running_commands(signal); }
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

/// What a running command holds until its id is known, so that the signal
/// routine can always end it: termination requests and SIGCHLD.
sigset_t held_signals() {
  sigset_t held;
  sigemptyset(&held);
  for (int s : {SIGCHLD, SIGTERM, SIGHUP, SIGINT, SIGQUIT})
    sigaddset(&held, s);
  return held;
}

/// Forks /bin/sh for \p command and counts it among the running commands.
/// Called with SIGINT and SIGQUIT ignored and termination requests held.
/// The child gets \p mask, the default actions for SIGINT and SIGQUIT
/// (a disposition ignored before, in \p oldInt and \p oldQuit, stays
/// ignored, as with system(); our own routine would be reset by exec
/// anyway), and its standard output and standard error on \p outFd and
/// \p errFd where they are not negative.
pid_t start_shell(const std::string &command, const struct sigaction &oldInt, const struct sigaction &oldQuit,
                  const sigset_t &mask, int outFd, int errFd) {
  const bool viaStdin = command.size() + 1 >= kLongestShellArgument;
  int feed[2] = {-1, -1};
  if (viaStdin && ::pipe2(feed, O_CLOEXEC) != 0)
    return -1;

  const pid_t pid = ::fork();
  if (pid == 0) {
    struct sigaction standard = {};
    standard.sa_handler = SIG_DFL;
    ::sigaction(SIGINT, oldInt.sa_handler == SIG_IGN ? &oldInt : &standard, nullptr);
    ::sigaction(SIGQUIT, oldQuit.sa_handler == SIG_IGN ? &oldQuit : &standard, nullptr);
    ::sigprocmask(SIG_SETMASK, &mask, nullptr);
    if (outFd >= 0)
      ::dup2(outFd, 1);
    if (errFd >= 0)
      ::dup2(errFd, 2);
    if (viaStdin) {
      ::dup2(feed[0], 0);
      ::execl("/bin/sh", "sh", static_cast<char *>(nullptr));
    } else {
      ::execl("/bin/sh", "sh", "-c", command.c_str(), static_cast<char *>(nullptr));
    }
    ::_exit(127);
  }
  if (pid > 0)
    remember(pid);
  if (viaStdin) {
    ::close(feed[0]);
    if (pid > 0)
      write_all(feed[1], command + "\n");
    ::close(feed[1]);
  }
  return pid;
}

void wake_up(int) {}

} // namespace

void register_command_terminator() {
  static CommandTerminator &terminator = *new CommandTerminator;
  terminator.RegisterHandler();
}

int run_shell_command(const std::string &command) {
  struct sigaction ignore = {}, oldInt, oldQuit;
  ignore.sa_handler = SIG_IGN;
  ::sigaction(SIGINT, &ignore, &oldInt);
  ::sigaction(SIGQUIT, &ignore, &oldQuit);
  const sigset_t held = held_signals();
  sigset_t oldMask;
  ::sigprocmask(SIG_BLOCK, &held, &oldMask);

  const pid_t pid = start_shell(command, oldInt, oldQuit, oldMask, -1, -1);
  sigset_t waiting = oldMask;
  sigaddset(&waiting, SIGCHLD);
  ::sigprocmask(SIG_SETMASK, &waiting, nullptr);

  int status = -1;
  if (pid > 0) {
    while (::waitpid(pid, &status, 0) < 0 && errno == EINTR) {
    }
    forget(pid);
  }

  ::sigaction(SIGINT, &oldInt, nullptr);
  ::sigaction(SIGQUIT, &oldQuit, nullptr);
  ::sigprocmask(SIG_SETMASK, &oldMask, nullptr);
  if (pid > 0 && WIFSIGNALED(status) && (WTERMSIG(status) == SIGINT || WTERMSIG(status) == SIGQUIT))
    ::raise(WTERMSIG(status));
  return status;
}

CommandBatch::CommandBatch() {
  // A wait must wake when a command ends, and the default action of
  // SIGCHLD would discard the signal instead.
  struct sigaction wake = {};
  wake.sa_handler = wake_up;
  wake.sa_flags = SA_NOCLDSTOP;
  ::sigaction(SIGCHLD, &wake, &m_OldChild);
  ::sigaction(SIGINT, nullptr, &m_OldInt);
  ::sigaction(SIGQUIT, nullptr, &m_OldQuit);
  // SIGINT and SIGQUIT stay open: while nothing runs, Ctrl-C ends the run
  // at once, and while something runs they are ignored.
  sigset_t held = held_signals();
  sigdelset(&held, SIGINT);
  sigdelset(&held, SIGQUIT);
  ::sigprocmask(SIG_BLOCK, &held, &m_OldMask);
}

CommandBatch::~CommandBatch() {
  if (!m_Running.empty())
    end_all(SIGTERM);
  ::sigaction(SIGCHLD, &m_OldChild, nullptr);
  ::sigprocmask(SIG_SETMASK, &m_OldMask, nullptr);
}

pid_t CommandBatch::start(const std::string &command, int outFd, int errFd) {
  if (m_Running.size() >= kMostCommandsAtOnce)
    return -1;
  if (!m_IgnoringInterrupts) {
    struct sigaction ignore = {};
    ignore.sa_handler = SIG_IGN;
    ::sigaction(SIGINT, &ignore, nullptr);
    ::sigaction(SIGQUIT, &ignore, nullptr);
    m_IgnoringInterrupts = true;
  }
  const pid_t pid = start_shell(command, m_OldInt, m_OldQuit, m_OldMask, outFd, errFd);
  if (pid > 0)
    m_Running.push_back(pid);
  else if (m_Running.empty())
    stop_ignoring_interrupts();
  return pid;
}

std::pair<pid_t, int> CommandBatch::wait() {
  sigset_t open = m_OldMask;
  sigdelset(&open, SIGCHLD);
  while (!m_Running.empty()) {
    for (auto it = m_Running.begin(); it != m_Running.end(); ++it) {
      const pid_t pid = *it;
      int status = -1;
      const pid_t reaped = ::waitpid(pid, &status, WNOHANG);
      if (reaped == 0 || (reaped < 0 && errno == EINTR))
        continue;
      forget(pid);
      m_Running.erase(it);
      if (m_Running.empty())
        stop_ignoring_interrupts();
      return {pid, reaped == pid ? status : -1};
    }
    // Termination requests are let in here only, where the batch is whole.
    ::sigsuspend(&open);
  }
  return {-1, -1};
}

void CommandBatch::end_all(int signal) {
  end_running_commands(signal);
  m_Running.clear();
  stop_ignoring_interrupts();
}

int CommandBatch::interruption(int status) const {
  if (status == -1 || !WIFSIGNALED(status))
    return 0;
  const int signal = WTERMSIG(status);
  if (signal == SIGINT && m_OldInt.sa_handler != SIG_IGN)
    return SIGINT;
  if (signal == SIGQUIT && m_OldQuit.sa_handler != SIG_IGN)
    return SIGQUIT;
  return 0;
}

void CommandBatch::stop_ignoring_interrupts() {
  if (!m_IgnoringInterrupts)
    return;
  ::sigaction(SIGINT, &m_OldInt, nullptr);
  ::sigaction(SIGQUIT, &m_OldQuit, nullptr);
  m_IgnoringInterrupts = false;
}
