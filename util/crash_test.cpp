#include "util/crash.h"

#include "driver/log.h"
#include "testsupport/testsupport.h"
#include "util/roster.h"

#include <gtest/gtest.h>

#include <csignal>
#include <cstdio>
#include <fcntl.h>
#include <string>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

using testsupport::read_file;
using testsupport::run_in_child;
using testsupport::TempDir;

namespace {

const char kCrashReport[] = "=F:[Crash] \nCorvane has crashed due to an internal error.\n"
                            "Please seek assistance from Corvane support personnel.\n"
                            "Additional information may follow.\n\n";

const char kLimitSummary[] = "=F:[LimitReached]\n"
                             "    The message limit has been reached\n"
                             "    10 errors have been found\n";

/// Tells crashes only; keeps the base OnTerminate.
struct CrashOnly : CrashHandler {
  explicit CrashOnly(const char *name) : m_Name(name) {}
  void OnCrash(int signal) override { log_printf("%s OnCrash %d\n", m_Name, signal); }
  const char *m_Name;
};

/// Tells both.
struct Both : CrashOnly {
  using CrashOnly::CrashOnly;
  void OnTerminate(int signal) override { log_printf("%s OnTerminate %d\n", m_Name, signal); }
};

/// The roster (oldest, holding a limit report), then A, then B, and some
/// text still buffered for standard output and the log.
void SetUpChain() {
  open_log_file("crash.log");
  ErrorRoster::Get().LimitClass().Add(std::make_unique<LimitReachedMsg>(10, "errors", 1));
  (new CrashOnly("A"))->RegisterHandler();
  (new Both("B"))->RegisterHandler();
  log_printf("pending text\n");
}

struct Outcome {
  int status = -1;
  std::string out, err, log;
};

/// Forks a child that sets up the chain and waits; this process then sends
/// it \p signal with kill().
Outcome KillChild(int signal) {
  TempDir dir;
  int ready[2];
  if (::pipe(ready) != 0)
    return {};
  std::fflush(nullptr);
  pid_t pid = ::fork();
  if (pid == 0) {
    ::close(ready[0]);
    if (::chdir(dir.path().c_str()) != 0)
      ::_exit(126);
    int out = ::open("out", O_WRONLY | O_CREAT | O_TRUNC, 0644);
    int err = ::open("err", O_WRONLY | O_CREAT | O_TRUNC, 0644);
    ::dup2(out, 1);
    ::dup2(err, 2);
    SetUpChain();
    ::alarm(20); // a signal that got lost must not hang the test
    if (::write(ready[1], "x", 1) != 1)
      ::_exit(125);
    for (;;)
      ::pause();
  }
  ::close(ready[1]);
  char byte;
  bool isReady = ::read(ready[0], &byte, 1) == 1;
  ::close(ready[0]);
  if (isReady)
    ::kill(pid, signal);
  int wstatus = 0;
  ::waitpid(pid, &wstatus, 0);
  Outcome outcome;
  outcome.status = WIFEXITED(wstatus) ? WEXITSTATUS(wstatus) : 128 + WTERMSIG(wstatus);
  outcome.out = read_file(dir / "out");
  outcome.err = read_file(dir / "err");
  outcome.log = read_file(dir / "crash.log");
  return outcome;
}

struct SignalCase {
  int signal;
  bool crash;
};

void PrintTo(const SignalCase &c, std::ostream *os) { *os << "signal " << c.signal; }

class RealSignal : public ::testing::TestWithParam<SignalCase> {};

TEST_P(RealSignal, ReportsTellsFlushesAndExits1) {
  const SignalCase &c = GetParam();
  Outcome o = KillChild(c.signal);
  std::string n = std::to_string(c.signal);
  std::string report, told;
  if (c.crash) {
    report = kCrashReport;
    told = "B OnCrash " + n + "\nA OnCrash " + n + "\n";
  } else {
    report = "=F:[Term] \nCorvane has termed due to receive a signal " + n + ".\n";
    told = "B OnTerminate " + n + "\n"; // A keeps the empty base OnTerminate
  }
  EXPECT_EQ(o.status, 1);
  // Summaries follow the crash report (the roster's handler is the oldest).
  EXPECT_EQ(o.err, report + (c.crash ? kLimitSummary : ""));
  EXPECT_EQ(o.out, "pending text\n" + told);
  EXPECT_EQ(o.log, "pending text\n" + report + told);
}

INSTANTIATE_TEST_SUITE_P(SixSignals, RealSignal,
                         ::testing::Values(SignalCase{SIGSEGV, true}, SignalCase{SIGABRT, true},
                                           SignalCase{SIGTERM, false}, SignalCase{SIGINT, false},
                                           SignalCase{SIGQUIT, false},
                                           SignalCase{SIGHUP, false}),
                         [](const auto &info) { return std::to_string(info.param.signal); });

TEST(HandleFatalSignal, OtherSignalsGiveNoMessageAndExit1) {
  for (int signal : {SIGBUS, SIGFPE, SIGILL, SIGPIPE, 0, -3, 16, 64}) {
    TempDir dir;
    auto result = run_in_child(
        [&] {
          SetUpChain();
          HandleFatalSignal(signal);
        },
        dir.path());
    EXPECT_EQ(result.status, 1) << signal;
    EXPECT_EQ(result.err, "") << signal;
    EXPECT_EQ(result.out, "pending text\n") << signal;
    EXPECT_EQ(read_file(dir / "crash.log"), "pending text\n") << signal;
  }
}

TEST(HandleFatalSignal, EmptyChainStillReports) {
  auto result = run_in_child([] {
    if (CrashHandlerChain())
      std::exit(99);
    HandleFatalSignal(SIGQUIT);
  });
  EXPECT_EQ(result.status, 1);
  EXPECT_EQ(result.err, "=F:[Term] \nCorvane has termed due to receive a signal 3.\n");
}

TEST(HandleFatalSignal, ASecondFaultWhileReportingKills) {
  struct Faulty : CrashHandler {
    void OnCrash(int) override { std::raise(SIGSEGV); }
  };
  auto result = run_in_child([] {
    struct rlimit noCore = {0, 0};
    ::setrlimit(RLIMIT_CORE, &noCore);
    (new Faulty)->RegisterHandler();
    std::raise(SIGABRT);
  });
  EXPECT_EQ(result.status, 128 + SIGSEGV);
  EXPECT_EQ(result.err, kCrashReport);
}

// The chain as "newest>...>oldest|" and, per signal of the list, H when the
// routine is installed, D for the default action, ? otherwise.
std::string Describe() {
  std::string text;
  for (CrashHandler *h = CrashHandlerChain(); h; h = h->Next()) {
    if (h != CrashHandlerChain())
      text += '>';
    text += static_cast<CrashOnly *>(h)->m_Name;
  }
  text += '|';
  for (int s : kCrashSignals) {
    struct sigaction action;
    ::sigaction(s, nullptr, &action);
    text += action.sa_handler == HandleFatalSignal ? 'H' : action.sa_handler == SIG_DFL ? 'D' : '?';
  }
  return text + "\n";
}

TEST(CrashHandler, RegisteringAndTheKeptQuirks) {
  auto result = run_in_child([] {
    if (CrashHandlerChain())
      std::exit(99);
    auto &a = *new CrashOnly("A");
    auto &b = *new CrashOnly("B");
    std::string t = Describe();
    a.RegisterHandler();
    t += Describe();
    std::signal(SIGINT, SIG_IGN);
    b.RegisterHandler(); // the chain was not empty: nothing is reinstalled
    t += Describe();
    std::signal(SIGINT, HandleFatalSignal);
    a.RegisterHandler(); // twice is harmless
    t += Describe();
    b.UnregisterHandler(); // the head of two: routines stay
    t += Describe() + (b.IsRegistered() ? "registered\n" : "not registered\n");
    b.RegisterHandler(); // still marked registered: not put back
    t += Describe();
    a.UnregisterHandler(); // last one out: default actions
    t += Describe();
    b.RegisterHandler(); // chain empty: routines installed over an empty chain
    t += Describe();
    std::fputs(t.c_str(), stdout);
  });
  EXPECT_EQ(result.status, 0);
  EXPECT_EQ(result.out, "|DDDDDD\n"
                        "A|HHHHHH\n"
                        "B>A|HHH?HH\n"
                        "B>A|HHHHHH\n"
                        "A|HHHHHH\n"
                        "registered\n"
                        "A|HHHHHH\n"
                        "|DDDDDD\n"
                        "|HHHHHH\n");
}

TEST(CrashHandler, UnregisteringFromTheMiddleAndTheStaleLink) {
  auto result = run_in_child([] {
    if (CrashHandlerChain())
      std::exit(99);
    auto &a = *new CrashOnly("A");
    auto &b = *new CrashOnly("B");
    auto &c = *new CrashOnly("C");
    a.RegisterHandler();
    b.RegisterHandler();
    c.RegisterHandler();
    b.UnregisterHandler();
    std::string t = Describe();
    c.UnregisterHandler();
    a.UnregisterHandler();
    t += Describe();
    // c left while it was the head and still links to a; unregistering it
    // again, with a new chain, splices that link onto the chain's tail.
    auto &x = *new CrashOnly("X");
    x.RegisterHandler();
    c.UnregisterHandler();
    t += Describe();
    {
      CrashOnly scoped("S");
      scoped.RegisterHandler();
      t += Describe();
    }
    t += Describe();
    std::fputs(t.c_str(), stdout);
  });
  EXPECT_EQ(result.status, 0);
  EXPECT_EQ(result.out, "C>A|HHHHHH\n"
                        "|DDDDDD\n"
                        "X>A|HHHHHH\n"
                        "S>X>A|HHHHHH\n"
                        "X>A|HHHHHH\n");
}

} // namespace
