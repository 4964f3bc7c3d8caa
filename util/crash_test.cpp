#include "util/crash.h"

#include "driver/log.h"
#include "testsupport/testsupport.h"
#include "util/roster.h"

#include <csignal>
#include <sys/resource.h>

namespace {

const char kCrashReport[] = "=F:[Crash] \nCorvane has crashed due to an internal error.\n"
                            "Please seek assistance from Corvane support personnel.\n"
                            "Additional information may follow.\n\n";

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

/// In a child: the roster (oldest, holding a limit report), then A, then B,
/// and some text still buffered for standard output and the log; then
/// \p trigger.  Returns the child's result with the log's text in \c out
/// after a "|".
RunResult RunChain(const std::function<void()> &trigger) {
  TempDir dir;
  auto result = run_in_child(
      [&] {
        open_log_file("crash.log");
        ErrorRoster::Get().LimitClass().Add(std::make_unique<LimitReachedMsg>(10, "errors", 1));
        (new CrashOnly("A"))->RegisterHandler();
        (new Both("B"))->RegisterHandler();
        log_printf("pending text\n");
        trigger();
      },
      dir.path());
  result.out += "|" + read_file(dir / "crash.log");
  return result;
}

// Signals outside the six (and 0) are handed to the routine directly: no
// message, no handler told, but flushed and status 1 all the same.
TEST(HandleFatalSignal, ReportTellFlushAndExit1) {
  for (int signal : {SIGSEGV, SIGABRT, SIGTERM, SIGINT, SIGQUIT, SIGHUP, SIGBUS, 0}) {
    const bool crash = signal == SIGSEGV || signal == SIGABRT, other = signal == SIGBUS || signal == 0;
    auto result = RunChain([&] { other ? HandleFatalSignal(signal) : (void)::kill(::getpid(), signal); });
    const std::string n = std::to_string(signal);
    // A keeps the empty base OnTerminate.
    const std::string told = other ? "" : crash ? "B OnCrash " + n + "\nA OnCrash " + n + "\n"
                                               : "B OnTerminate " + n + "\n";
    const std::string report = other ? "" : crash ? kCrashReport
                                                  : "=F:[Term] \nCorvane has termed due to receive a signal " + n + ".\n";
    EXPECT_EQ(result.status, 1) << n;
    // Summaries follow the crash report (the roster's handler is the oldest).
    EXPECT_EQ(result.err, report + (crash ? "=F:[LimitReached]\n"
                                            "    The message limit has been reached\n"
                                            "    10 errors have been found\n"
                                          : ""));
    EXPECT_EQ(result.out, "pending text\n" + told + "|pending text\n" + report + told);
  }
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
  for (CrashHandler *h = CrashHandlerChain(); h; h = h->Next())
    text += (h != CrashHandlerChain() ? ">" : "") + std::string(static_cast<CrashOnly *>(h)->m_Name);
  text += '|';
  for (int s : kCrashSignals) {
    struct sigaction action;
    ::sigaction(s, nullptr, &action);
    text += action.sa_handler == HandleFatalSignal ? 'H' : action.sa_handler == SIG_DFL ? 'D' : '?';
  }
  return text + " ";
}

TEST(CrashHandler, RegisteringAndTheKeptQuirks) {
  auto result = run_in_child([] {
    auto &a = *new CrashOnly("A"), &b = *new CrashOnly("B"), &c = *new CrashOnly("C");
    std::string t = Describe();
    a.RegisterHandler();
    std::signal(SIGINT, SIG_IGN);
    b.RegisterHandler(); // the chain was not empty: nothing is reinstalled
    c.RegisterHandler();
    a.RegisterHandler(); // twice is harmless
    t += Describe();
    b.UnregisterHandler(); // from the middle: routines stay
    std::signal(SIGINT, HandleFatalSignal);
    t += Describe() + (b.IsRegistered() ? "registered " : "not registered ");
    b.RegisterHandler(); // still marked registered: not put back
    c.UnregisterHandler();
    a.UnregisterHandler(); // last one out: default actions
    t += Describe();
    b.RegisterHandler(); // chain empty: routines installed over an empty chain
    t += Describe();
    // c left while it was the head and still links to a; leaving again, with
    // a new chain, splices that link onto the chain's tail.
    (new CrashOnly("X"))->RegisterHandler();
    c.UnregisterHandler();
    t += Describe();
    {
      CrashOnly scoped("S");
      scoped.RegisterHandler();
      t += Describe();
    }
    std::fputs((t + Describe()).c_str(), stdout);
  });
  EXPECT_EQ(result.status, 0);
  EXPECT_EQ(result.out, "|DDDDDD C>B>A|HHH?HH C>A|HHHHHH registered |DDDDDD |HHHHHH X>A|HHHHHH S>X>A|HHHHHH X>A|HHHHHH ");
}

} // namespace
