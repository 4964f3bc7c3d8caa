#ifndef CORVANE_UTIL_CRASH_H
#define CORVANE_UTIL_CRASH_H

/// \file
/// The crash and termination handler chain.  A fatal signal becomes one
/// Fatal message on standard error ("Crash" for SIGSEGV and SIGABRT, "Term"
/// for SIGHUP, SIGINT, SIGQUIT and SIGTERM), every registered handler gets
/// its say, all output is flushed and the process exits with status 1.
///
/// The signal routine is installed for the six signals of kCrashSignals
/// when the first handler registers and removed when the last one leaves,
/// so a process without handlers keeps the default signal behaviour.
///
/// The chain is plain process-wide data: register and unregister on the
/// main thread only.

/// The signals the routine is installed for, in installation order:
/// SIGSEGV, SIGABRT, SIGTERM, SIGINT, SIGQUIT, SIGHUP.
extern const int kCrashSignals[6];

/// The crash report text (issued as a Fatal message with id "Crash").
extern const char kCrashText[];
/// The termination report format, with the signal number (id "Term").
extern const char kTermFormat[];

/// The common signal routine.  Resets the six signals to their default
/// action, reports a crash or termination request and tells the chain
/// (other signal numbers get neither), flushes standard output, standard
/// error and the session log, and exits with status 1.  Never returns.
[[noreturn]] void HandleFatalSignal(int signal);

/// An entry of the process-wide handler chain; the newest is told first.
///
/// Two quirks of unregistering are relied upon by older tools and kept:
///  - UnregisterHandler() leaves IsRegistered() set, so registering the
///    object again does not put it back into the chain (but, when the chain
///    is empty at that moment, still installs the signal routine).
///  - Unregistering an object that is not in the chain (because it left
///    already) overwrites the link of the chain's last entry with the link
///    the object still holds.  Destroy handlers in reverse order of
///    registration and this never matters.
class CrashHandler {
public:
  /// Not in the chain; does not register.
  CrashHandler() = default;
  CrashHandler(const CrashHandler &) = delete;
  CrashHandler &operator=(const CrashHandler &) = delete;
  /// Unregisters when registered.
  virtual ~CrashHandler();

  /// Called for SIGSEGV and SIGABRT, after the "Crash" message.
  virtual void OnCrash(int signal) = 0;
  /// Called for SIGHUP, SIGINT, SIGQUIT and SIGTERM, after the "Term"
  /// message.  The default does nothing.
  virtual void OnTerminate(int signal);

  /// Puts the object at the head of the chain unless it was registered
  /// before; installs the signal routine if the chain was empty.
  void RegisterHandler();
  /// Takes the object out of the chain (see the quirks above); removes the
  /// signal routine when the chain becomes empty through it.
  void UnregisterHandler();

  bool IsRegistered() const { return m_Registered; }
  /// The next (older) handler of the chain.
  CrashHandler *Next() const { return m_Next; }

private:
  friend void HandleFatalSignal(int signal);
  CrashHandler *m_Next = nullptr;
  bool m_Registered = false;
};

/// The newest handler of the chain, or null when it is empty.
CrashHandler *CrashHandlerChain();

#endif
