#ifndef QUILLC_DRIVER_COMMAND_H
#define QUILLC_DRIVER_COMMAND_H

/// \file
/// Running shell commands the way system() does (through /bin/sh, with
/// SIGINT and SIGQUIT ignored here while they run and each child given the
/// default actions and this process's original signal mask), but keeping
/// the children's process ids so that a termination request can end them
/// too.  One command at a time with run_shell_command(), or several side by
/// side with a CommandBatch.

#include <csignal>
#include <cstddef>
#include <string>
#include <sys/types.h>
#include <utility>
#include <vector>

/// The most commands a CommandBatch runs at once.
inline constexpr size_t kMostCommandsAtOnce = 128;

/// Runs \p command through /bin/sh and waits for it.  A command longer than
/// the kernel lets a single argument be is fed to the shell on its standard
/// input instead.  Returns the wait status, or -1 when no shell could start.
/// When the command was ended by SIGINT or SIGQUIT, the signal is raised in
/// this process as well: the user meant the whole run.
int run_shell_command(const std::string &command);

/// Shell commands run side by side, each started as run_shell_command()
/// starts one, but with its standard output and standard error sent where
/// the caller says.  While any of them runs, SIGINT and SIGQUIT are ignored
/// here, as while a single command runs; termination requests are held
/// except while wait() waits, so they never meet the batch half-updated.
/// Only one batch at a time, and no run_shell_command() while it lives.
class CommandBatch {
public:
  CommandBatch();
  /// Ends whatever still runs and gives back the signal state it found.
  ~CommandBatch();
  CommandBatch(const CommandBatch &) = delete;
  CommandBatch &operator=(const CommandBatch &) = delete;

  /// Starts \p command with its standard output on \p outFd and standard
  /// error on \p errFd (this process's own where negative).  Returns the
  /// shell's process id, or -1 when none could start (or kMostCommandsAtOnce
  /// already run).
  pid_t start(const std::string &command, int outFd, int errFd);

  /// Waits until one running command ends; returns its process id and wait
  /// status.  Only while running() is not 0.
  std::pair<pid_t, int> wait();

  /// Ends every running command with \p signal (each shell and everything
  /// it started; what is left after two seconds is killed) and reaps them.
  void end_all(int signal);

  size_t running() const { return m_Running.size(); }

  /// SIGINT or SIGQUIT when \p status is that of a command that the user
  /// interrupted, which should end the run as it ends a single command's
  /// run; 0 otherwise.
  int interruption(int status) const;

private:
  void stop_ignoring_interrupts();

  struct sigaction m_OldInt, m_OldQuit, m_OldChild;
  sigset_t m_OldMask;
  bool m_IgnoringInterrupts = false;
  std::vector<pid_t> m_Running;
};

/// Registers, once, the crash handler that ends the running commands (each
/// shell and everything it started) when this process is told to
/// terminate or crashes.
void register_command_terminator();

#endif
