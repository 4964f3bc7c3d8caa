// The crash report of a co-simulation: a model that dies of a signal says
// so on standard error before the process ends, in the suite's shape of a
// crash report ("=F:[Crash] " and what follows): the signal, the SystemC
// process that was running and the simulation time, then the stack of the
// library's code, the model's and SystemC's, with function names and, for
// code built with -g, files and lines (addr2line reads them).  Then the
// signal goes on to whoever handled it before (a simulator's own handler,
// a sanitizer's) or ends the process as it would have without us, so the
// exit status is the signal's.
//
// Everything here runs inside a signal handler of a process in an unknown
// state: the report is written with write(2) from fixed buffers, and the
// one thing that reads the debug information runs in a child process.

#include "kit/include/corvane_sc_runtime.h"

#include <systemc>

#include <csignal>
#include <cstdio>
#include <cstring>
#include <dlfcn.h>
#include <link.h>
#include <execinfo.h>
#include <sys/wait.h>
#include <ucontext.h>
#include <unistd.h>

namespace {

constexpr int kSignals[] = {SIGSEGV, SIGBUS, SIGFPE, SIGILL, SIGABRT};
constexpr const char *kSignalNames[] = {"SIGSEGV (segmentation fault)", "SIGBUS (bus error)",
                                        "SIGFPE (arithmetic error)", "SIGILL (illegal instruction)",
                                        "SIGABRT (abort)"};
constexpr int kSignalCount = sizeof kSignals / sizeof kSignals[0];

struct sigaction previous[kSignalCount];

/// Frames of the stack shown at most.
constexpr int kMaxFrames = 48;

/// The handler's own stack: a model's stack overflow leaves none, and
/// SystemC's thread stacks are small.
alignas(16) char handlerStack[64 * 1024];

void put(const char *text) {
  for (size_t left = std::strlen(text); left > 0;) {
    const ssize_t n = ::write(STDERR_FILENO, text, left);
    if (n <= 0)
      return;
    text += n;
    left -= static_cast<size_t>(n);
  }
}

/// The address at which the signal came, when the machine's context says.
void *fault_address(void *context) {
#if defined(__x86_64__)
  return reinterpret_cast<void *>(static_cast<ucontext_t *>(context)->uc_mcontext.gregs[REG_RIP]);
#elif defined(__aarch64__)
  return reinterpret_cast<void *>(static_cast<ucontext_t *>(context)->uc_mcontext.pc);
#else
  (void)context;
  return nullptr;
#endif
}

/// Writes "  #<n> <function> at <file>:<line>" for each of the \p count
/// places of \p object, offsets into it, through addr2line; false when it
/// could not run.
bool describe(const char *object, const unsigned long *offsets, int count, int first) {
  char text[kMaxFrames][24];
  const char *argv[kMaxFrames + 8] = {"addr2line", "-C", "-f", "-p", "-e", object};
  int argc = 6;
  for (int i = 0; i < count; ++i) {
    std::snprintf(text[i], sizeof text[i], "0x%lx", offsets[i]);
    argv[argc++] = text[i];
  }
  argv[argc] = nullptr;
  int pipeEnds[2];
  if (::pipe(pipeEnds) != 0)
    return false;
  const pid_t child = ::fork();
  if (child < 0)
    return false;
  if (child == 0) {
    ::dup2(pipeEnds[1], STDOUT_FILENO);
    ::close(pipeEnds[0]);
    ::execvp("addr2line", const_cast<char *const *>(argv));
    ::_exit(127);
  }
  ::close(pipeEnds[1]);
  // One line per place; each is prefixed with its frame number.
  char buffer[4096], line[1024];
  size_t used = 0;
  int frame = first;
  bool any = false;
  for (ssize_t n; (n = ::read(pipeEnds[0], buffer, sizeof buffer)) > 0;)
    for (ssize_t i = 0; i < n; ++i) {
      if (buffer[i] != '\n') {
        if (used + 1 < sizeof line)
          line[used++] = buffer[i];
        continue;
      }
      line[used] = '\0';
      used = 0;
      char number[32];
      std::snprintf(number, sizeof number, "  #%d ", frame++);
      put(number);
      put(line);
      put("\n");
      any = true;
    }
  ::close(pipeEnds[0]);
  int status = 0;
  ::waitpid(child, &status, 0);
  return any && WIFEXITED(status) && WEXITSTATUS(status) == 0;
}

/// Where the program that loaded the library begins in memory: its frames
/// are the simulator's, not the model's.
const void *programBase = nullptr;

int find_program(dl_phdr_info *info, size_t, void *) {
  // The first object listed is the program.
  for (int i = 0; i < info->dlpi_phnum; ++i)
    if (info->dlpi_phdr[i].p_type == PT_LOAD && info->dlpi_phdr[i].p_offset == 0) {
      programBase = reinterpret_cast<const void *>(info->dlpi_addr + info->dlpi_phdr[i].p_vaddr);
      break;
    }
  return 1;
}

/// The stack from the frame at \p at on, up to the program's own frames:
/// the model's, SystemC's and the library's, each run of frames of one
/// object described by one addr2line.
void report_stack(void *at) {
  void *frames[kMaxFrames + 8];
  const int depth = ::backtrace(frames, kMaxFrames + 8);
  // The frames of this handler and of the signal's trampoline come first.
  int first = 0;
  for (int i = 0; at && i < depth; ++i)
    if (frames[i] == at) {
      first = i;
      break;
    }
  put("stack:\n");
  unsigned long offsets[kMaxFrames];
  int shown = 0;
  for (int i = first; i < depth && shown < kMaxFrames;) {
    Dl_info object{};
    if (!::dladdr(frames[i], &object) || !object.dli_fname || object.dli_fbase == programBase)
      break;
    int count = 0;
    const int from = i;
    for (Dl_info place{}; i < depth && shown + count < kMaxFrames && ::dladdr(frames[i], &place) &&
                          place.dli_fbase == object.dli_fbase;
         ++i) {
      // A return address is one past its call, which may end a line.
      const auto pc = reinterpret_cast<unsigned long>(frames[i]) - (i == first && at ? 0 : 1);
      offsets[count++] = pc - reinterpret_cast<unsigned long>(object.dli_fbase);
    }
    if (!describe(object.dli_fname, offsets, count, shown))
      ::backtrace_symbols_fd(frames + from, count, STDERR_FILENO);
    shown += count;
  }
}

void report(int signal, void *context) {
  int index = 0;
  while (kSignals[index] != signal)
    ++index;
  std::fflush(stdout);
  put("=F:[Crash] \nThe simulation has crashed: ");
  put(kSignalNames[index]);
  put("\n");
  // The kernel's notion of the running process and of the time; reading
  // them touches nothing that a model's crash could have left half-done.
  if (const sc_core::sc_process_b *process = sc_core::sc_get_current_process_b()) {
    put("in SystemC process ");
    put(process->name());
    put("\n");
  } else {
    put("outside every SystemC process\n");
  }
  char time[128];
  std::snprintf(time, sizeof time, "at simulation time %s\n", sc_core::sc_time_stamp().to_string().c_str());
  put(time);
  report_stack(fault_address(context));
}

void on_signal(int signal, siginfo_t *info, void *context) {
  // Whoever handled the signals before us handles any second one, and a
  // simulator that exits from its own handler runs no model's
  // end_of_simulation after the crash.
  for (int i = 0; i < kSignalCount; ++i)
    ::sigaction(kSignals[i], &previous[i], nullptr);
  corvane_sc::runtime::ended = true;
  report(signal, context);
  int index = 0;
  while (kSignals[index] != signal)
    ++index;
  const struct sigaction &before = previous[index];
  if ((before.sa_flags & SA_SIGINFO) && before.sa_sigaction)
    before.sa_sigaction(signal, info, context);
  else if (before.sa_handler != SIG_DFL && before.sa_handler != SIG_IGN)
    before.sa_handler(signal);
  // A fault comes again when the instruction runs again, now to the
  // default action; a signal that was sent is sent again.
  else if (info->si_code <= 0)
    ::raise(signal);
}

} // namespace

namespace corvane_sc::runtime {

void report_crashes() {
  static bool prepared = false;
  if (!prepared) {
    prepared = true;
    // An alternate stack that someone set up before (a sanitizer) serves.
    stack_t alternate{};
    if (::sigaltstack(nullptr, &alternate) == 0 && (alternate.ss_flags & SS_DISABLE)) {
      alternate.ss_sp = handlerStack;
      alternate.ss_size = sizeof handlerStack;
      alternate.ss_flags = 0;
      ::sigaltstack(&alternate, nullptr);
    }
    ::dl_iterate_phdr(find_program, nullptr);
  }
  struct sigaction action{};
  action.sa_sigaction = on_signal;
  action.sa_flags = SA_SIGINFO | SA_ONSTACK;
  sigemptyset(&action.sa_mask);
  // A simulator that installed handlers of its own since the last call
  // (GHDL does when its simulation starts) is handed the signal after the
  // report; where the report is still first, nothing changes.
  for (int i = 0; i < kSignalCount; ++i) {
    struct sigaction current{};
    ::sigaction(kSignals[i], nullptr, &current);
    if ((current.sa_flags & SA_SIGINFO) && current.sa_sigaction == on_signal)
      continue;
    ::sigaction(kSignals[i], &action, &previous[i]);
  }
}

} // namespace corvane_sc::runtime
