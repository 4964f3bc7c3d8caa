#include "driver/log.h"

#include "driver/streams.h"

#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>

namespace {

void close_at_exit();

/// Ignores SIGPIPE and SIGXFSZ while it lives.  A log whose compressor is
/// gone or never started, or that meets a full disk or a file-size limit,
/// then only sees write errors, which the log does not check, instead of
/// ending the process.  Only around the log's own writes: the commands a
/// tool runs keep the default actions.
class QuietWrites {
public:
  QuietWrites() {
    struct sigaction ignore = {};
    ignore.sa_handler = SIG_IGN;
    ::sigaction(SIGPIPE, &ignore, &m_Pipe);
    ::sigaction(SIGXFSZ, &ignore, &m_FileSize);
  }
  ~QuietWrites() {
    ::sigaction(SIGPIPE, &m_Pipe, nullptr);
    ::sigaction(SIGXFSZ, &m_FileSize, nullptr);
  }
  QuietWrites(const QuietWrites &) = delete;
  QuietWrites &operator=(const QuietWrites &) = delete;

private:
  struct sigaction m_Pipe, m_FileSize;
};

/// The one log of the process.  Made on first use and never destroyed, so
/// that anything may print at any time, during exit too.  The file is
/// closed at exit by a hook that the first open registers: through the
/// stream layer, which waits for a compressor to finish.
class SessionLog {
public:
  bool open(const char *path) {
    close();
    m_File = open_stream(path, "w");
    if (!m_File) {
      std::fprintf(stderr, "Can't open log file '%s': %s\n", path, std::strerror(errno));
      return false;
    }
    if (!m_ExitHookRegistered)
      m_ExitHookRegistered = std::atexit(close_at_exit) == 0;
    QuietWrites quiet;
    std::fwrite(m_Pending.data(), 1, m_Pending.size(), m_File);
    m_Pending.clear();
    m_Pending.shrink_to_fit();
    return true;
  }

  void close() {
    if (m_File) {
      QuietWrites quiet;
      close_stream(m_File);
    }
    m_File = nullptr;
  }

  void vprint(const char *format, va_list args) {
    if (m_File) {
      QuietWrites quiet;
      std::vfprintf(m_File, format, args);
      return;
    }
    // No file yet: format into a reusable scratch block that grows until the
    // text fits, then keep the text for the file.
    if (!m_Scratch) {
      m_ScratchSize = 128;
      m_Scratch = static_cast<char *>(std::malloc(m_ScratchSize));
    }
    for (;;) {
      va_list copy;
      va_copy(copy, args);
      int length = std::vsnprintf(m_Scratch, m_ScratchSize, format, copy);
      va_end(copy);
      if (length < 0)
        return;
      if (static_cast<size_t>(length) < m_ScratchSize) {
        m_Pending.append(m_Scratch, length);
        return;
      }
      size_t grown = length + 2 * m_ScratchSize;
      std::free(m_Scratch);
      m_Scratch = static_cast<char *>(std::malloc(grown));
      m_ScratchSize = grown;
    }
  }

  void write(const char *bytes, size_t length) {
    if (m_File) {
      QuietWrites quiet;
      std::fwrite(bytes, 1, length, m_File);
    } else
      m_Pending.append(bytes, length);
  }

  void flush() {
    if (m_File) {
      QuietWrites quiet;
      std::fflush(m_File);
    }
  }

  /// Closes the file and gives back the scratch block; text still pending
  /// is dropped.
  void teardown() {
    close();
    std::free(m_Scratch);
    m_Scratch = nullptr;
    m_ScratchSize = 0;
  }

private:
  std::string m_Pending;
  FILE *m_File = nullptr;
  char *m_Scratch = nullptr;
  size_t m_ScratchSize = 0;
  bool m_ExitHookRegistered = false;
};

SessionLog &theLog() {
  static SessionLog &log = *new SessionLog;
  return log;
}

void close_at_exit() { theLog().teardown(); }

int print_both(FILE *console, const char *format, va_list args) {
  va_list copy;
  va_copy(copy, args);
  std::vfprintf(console, format, copy);
  va_end(copy);
  theLog().vprint(format, args);
  return 1;
}

} // namespace

bool open_log_file(const char *path) { return theLog().open(path); }

void close_log_file() { theLog().close(); }

int log_vprintf(const char *format, va_list args) { return print_both(stdout, format, args); }

int log_veprintf(const char *format, va_list args) { return print_both(stderr, format, args); }

int log_printf(const char *format, ...) {
  va_list args;
  va_start(args, format);
  print_both(stdout, format, args);
  va_end(args);
  return 1;
}

int log_eprintf(const char *format, ...) {
  va_list args;
  va_start(args, format);
  print_both(stderr, format, args);
  va_end(args);
  return 1;
}

void log_printf_level(int level, const char *format, ...) {
  if (level >= 1)
    return;
  va_list args;
  va_start(args, format);
  print_both(stdout, format, args);
  va_end(args);
}

void log_write(const char *bytes, size_t length) { theLog().write(bytes, length); }

void flush_all_output() {
  std::fflush(stdout);
  std::fflush(stderr);
  theLog().flush();
}
