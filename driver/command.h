#ifndef QUILLC_DRIVER_COMMAND_H
#define QUILLC_DRIVER_COMMAND_H

/// \file
/// Running one shell command the way system() does (through /bin/sh, with
/// SIGINT and SIGQUIT ignored here while it runs and the child given the
/// default actions and this process's original signal mask), but keeping
/// the child's process id so that a termination request can end it too.

#include <string>

/// Runs \p command through /bin/sh and waits for it.  A command longer than
/// the kernel lets a single argument be is fed to the shell on its standard
/// input instead.  Returns the wait status, or -1 when no shell could start.
/// When the command was ended by SIGINT or SIGQUIT, the signal is raised in
/// this process as well: the user meant the whole run.
int run_shell_command(const std::string &command);

/// Registers, once, the crash handler that ends the running command (the
/// shell and everything it started) when this process is told to
/// terminate or crashes.
void register_command_terminator();

#endif
