#include "driver/parallel.h"

#include "driver/command.h"
#include "driver/log.h"
#include "driver/record.h"

#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <fcntl.h>
#include <span>
#include <unistd.h>
#include <utility>
#include <vector>

namespace {

/// A descriptor that its owner closes.
class FileDescriptor {
public:
  FileDescriptor() = default;
  explicit FileDescriptor(int fd) : m_Fd(fd) {}
  FileDescriptor(FileDescriptor &&other) noexcept : m_Fd(std::exchange(other.m_Fd, -1)) {}
  FileDescriptor &operator=(FileDescriptor &&other) noexcept {
    if (this != &other) {
      reset();
      m_Fd = std::exchange(other.m_Fd, -1);
    }
    return *this;
  }
  ~FileDescriptor() { reset(); }

  int get() const { return m_Fd; }
  void reset() {
    if (m_Fd >= 0)
      ::close(m_Fd);
    m_Fd = -1;
  }

private:
  int m_Fd = -1;
};

/// A temporary file without a name, in $TMPDIR or /tmp, to hold one stream
/// of one compile: however much it writes lands on disk rather than in our
/// memory, and nothing is left behind however the run ends.  Negative when
/// none can be made.
int make_capture() {
  const char *dir = std::getenv("TMPDIR");
  if (!dir || !*dir)
    dir = "/tmp";
  int fd = ::open(dir, O_TMPFILE | O_RDWR | O_CLOEXEC, 0600);
  if (fd >= 0)
    return fd;
  // Not every file system makes nameless files: name one and unlink it.
  std::string name = std::string(dir) + "/quillc-XXXXXX";
  fd = ::mkostemp(name.data(), O_CLOEXEC);
  if (fd >= 0)
    ::unlink(name.c_str());
  return fd;
}

/// Copies what \p capture holds to descriptor \p to, a block at a time.
void print_capture(int capture, int to) {
  static char block[1 << 16];
  if (capture < 0 || ::lseek(capture, 0, SEEK_SET) != 0)
    return;
  for (;;) {
    ssize_t length = ::read(capture, block, sizeof block);
    if (length < 0 && errno == EINTR)
      continue;
    if (length <= 0)
      return;
    for (ssize_t done = 0; done < length;) {
      ssize_t written = ::write(to, block + done, length - done);
      if (written < 0 && errno == EINTR)
        continue;
      // A console that is gone takes the rest with it.
      if (written <= 0)
        return;
      done += written;
    }
  }
}

struct Compile {
  enum State { kWaiting, kRunning, kEnded };
  State state = kWaiting;
  pid_t pid = 0;
  bool interrupted = false; ///< Ended by the user's interruption.
  int status = -1;          ///< The wait status once ended; -1 if it never started.
  FileDescriptor out, err;  ///< Negative for a compile run on the console.
};

void echo(const BuildAction &action) {
  log_printf("%s\n", action.text.c_str());
  flush_all_output();
}

/// Prints what \p compile wrote, standard output first, and lets go of it.
void print(Compile &compile) {
  flush_all_output();
  print_capture(compile.out.get(), STDOUT_FILENO);
  print_capture(compile.err.get(), STDERR_FILENO);
  compile.out.reset();
  compile.err.reset();
}

/// Starts \p compile with its output held.  When no file can hold it, only
/// the compile whose turn it is (\p isHead) starts, straight on the
/// console; any other returns false to wait until it is the head.
bool start(CommandBatch &batch, Compile &compile, const std::string &command, bool isHead) {
  FileDescriptor out(make_capture()), err(make_capture());
  if (out.get() < 0 || err.get() < 0) {
    if (!isHead)
      return false;
    out.reset();
    err.reset();
  }
  compile.pid = batch.start(command, out.get(), err.get());
  // A compile whose shell could not start has ended, as with one command.
  compile.state = compile.pid > 0 ? Compile::kRunning : Compile::kEnded;
  compile.out = std::move(out);
  compile.err = std::move(err);
  return true;
}

/// Runs \p actions, compiles all, up to \p jobs at a time, echoing and
/// printing them in order.  Returns the signal by which the user
/// interrupted one, or 0.
int run_compiles(std::span<const BuildAction> actions, size_t jobs) {
  std::vector<Compile> compiles(actions.size());
  CommandBatch batch;
  size_t head = 0; // the first compile whose output is not printed; echoed
  size_t next = 0; // the first compile not started
  int interruption = 0;
  echo(actions[head]);
  for (;;) {
    // After an interruption only what ran up to the interrupted compile is
    // shown, as a run of one command at a time would have shown it.
    while (compiles[head].state == Compile::kEnded) {
      print(compiles[head]);
      if (!compiles[head].interrupted)
        record_command(actions[head].subject, actions[head].text, compiles[head].status);
      if (compiles[head].interrupted || ++head == compiles.size())
        return interruption;
      if (interruption && compiles[head].state == Compile::kWaiting)
        return interruption;
      echo(actions[head]);
    }
    if (interruption)
      return interruption;

    while (next < compiles.size() && batch.running() < jobs && next - head < 2 * jobs &&
           start(batch, compiles[next], actions[next].text, next == head))
      ++next;

    const auto [pid, status] = batch.wait();
    for (size_t i = head; i < next; ++i) {
      Compile &compile = compiles[i];
      if (compile.state == Compile::kRunning && compile.pid == pid) {
        compile.state = Compile::kEnded;
        compile.status = status;
        interruption = batch.interruption(status);
        compile.interrupted = interruption != 0;
      }
    }
    if (interruption) {
      batch.end_all(interruption);
      for (size_t i = head; i < next; ++i)
        if (compiles[i].state == Compile::kRunning) {
          compiles[i].state = Compile::kEnded;
          compiles[i].interrupted = true;
        }
    }
  }
}

} // namespace

long parse_setting(const char *value, unsigned most) {
  if (!*value)
    return -1;
  long number = 0;
  for (const char *c = value; *c; ++c) {
    if (*c < '0' || *c > '9')
      return -1;
    number = number * 10 + (*c - '0');
    if (number > static_cast<long>(most))
      return -1;
  }
  return number;
}

unsigned parse_job_count(const char *value) {
  if (!value)
    return 1;
  const long count = parse_setting(value, kMostCommandsAtOnce);
  return count < 0 ? 0 : static_cast<unsigned>(count);
}

void run_build_plan_parallel(const BuildPlan &plan, unsigned jobs) {
  for (size_t i = 0; i < plan.size();) {
    size_t end = i;
    while (end < plan.size() && plan[end].kind == BuildAction::kCompile)
      ++end;
    if (end - i < 2) {
      run_build_action(plan[i++]);
      continue;
    }
    // Raised once the batch is gone and our own signal routine is back.
    if (const int signal = run_compiles(std::span(plan).subspan(i, end - i), jobs))
      ::raise(signal);
    i = end;
  }
}
