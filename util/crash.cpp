#include "util/crash.h"

#include "driver/log.h"
#include "util/roster.h"

#include <csignal>
#include <cstdlib>

const int kCrashSignals[6] = {SIGSEGV, SIGABRT, SIGTERM, SIGINT, SIGQUIT, SIGHUP};

const char kCrashText[] = "\nCorvane has crashed due to an internal error.\n"
                          "Please seek assistance from Corvane support personnel.\n"
                          "Additional information may follow.\n\n";

const char kTermFormat[] = "\nCorvane has termed due to receive a signal %d.\n";

namespace {

CrashHandler *chainHead = nullptr;

void InstallSignalRoutine() {
  for (int s : kCrashSignals)
    std::signal(s, HandleFatalSignal);
}

void ResetSignals() {
  for (int s : kCrashSignals)
    std::signal(s, SIG_DFL);
}

} // namespace

CrashHandler *CrashHandlerChain() { return chainHead; }

CrashHandler::~CrashHandler() {
  if (m_Registered)
    UnregisterHandler();
}

void CrashHandler::OnTerminate(int) {}

void CrashHandler::RegisterHandler() {
  bool wasEmpty = chainHead == nullptr;
  if (!m_Registered) {
    m_Next = chainHead;
    chainHead = this;
    m_Registered = true;
  }
  if (wasEmpty)
    InstallSignalRoutine();
}

void CrashHandler::UnregisterHandler() {
  if (!m_Registered)
    return;
  if (chainHead && chainHead != this) {
    CrashHandler *node = chainHead;
    while (node->m_Next && node->m_Next != this)
      node = node->m_Next;
    node->m_Next = m_Next;
    return;
  }
  chainHead = m_Next;
  if (!chainHead)
    ResetSignals();
}

void HandleFatalSignal(int signal) {
  // A second fault while we report must kill the process, not loop here.
  ResetSignals();

  switch (signal) {
  case SIGSEGV:
  case SIGABRT:
    ReportMessageToStderr(5, "Crash", "%s", kCrashText);
    for (CrashHandler *h = chainHead; h;) {
      CrashHandler *next = h->m_Next;
      h->OnCrash(signal);
      h = next;
    }
    break;
  case SIGHUP:
  case SIGINT:
  case SIGQUIT:
  case SIGTERM:
    ReportMessageToStderr(5, "Term", kTermFormat, signal);
    // Handlers that keep the empty base OnTerminate are called too; for
    // them the call does nothing.
    for (CrashHandler *h = chainHead; h;) {
      CrashHandler *next = h->m_Next;
      h->OnTerminate(signal);
      h = next;
    }
    break;
  default:
    break;
  }

  flush_all_output();
  std::exit(1);
}
