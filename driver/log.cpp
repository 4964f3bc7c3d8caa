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

// The log prints into a stream of its own whose buffer is emptied into the
// stream of the stream layer below.  Only that step writes to the file or
// the compressor, so QuietWrites, four system calls, guards it there: once
// per buffer, never per message.

ssize_t write_quietly(void *below, const char *bytes, size_t length) {
  QuietWrites quiet;
  return static_cast<ssize_t>(std::fwrite(bytes, 1, length, static_cast<FILE *>(below)));
}

int close_below(void *below) { return close_stream(static_cast<FILE *>(below)); }

/// The one log of the process.  Made on first use and never destroyed, so
/// that anything may print at any time, during exit too.  The file is
/// closed at exit by a hook that the first open registers: through the
/// stream layer, which waits for a compressor to finish.
class SessionLog {
public:
  bool open(const char *path) {
    close();
    FILE *below = open_stream(path, "w");
    if (!below) {
      std::fprintf(stderr, "Can't open log file '%s': %s\n", path, std::strerror(errno));
      return false;
    }
    // The stream below holds nothing back: the file is written within
    // write_quietly only.
    std::setvbuf(below, nullptr, _IONBF, 0);
    m_File = ::fopencookie(below, "w", {nullptr, write_quietly, nullptr, close_below});
    if (!m_File) {
      const int error = errno;
      close_stream(below);
      std::fprintf(stderr, "Can't open log file '%s': %s\n", path, std::strerror(error));
      return false;
    }
    // A buffer of the usual size would still pay for QuietWrites every
    // hundred messages or so.
    std::setvbuf(m_File, m_Buffer, _IOFBF, sizeof m_Buffer);
    if (!m_ExitHookRegistered)
      m_ExitHookRegistered = std::atexit(close_at_exit) == 0;
    std::fwrite(m_Pending.data(), 1, m_Pending.size(), m_File);
    m_Pending.clear();
    m_Pending.shrink_to_fit();
    return true;
  }

  /// Writes what the buffer holds and closes the stream below through the
  /// stream layer.
  void close() {
    if (m_File)
      std::fclose(m_File);
    m_File = nullptr;
  }

  void vprint(const char *format, va_list args) {
    if (m_File) {
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
    if (m_File)
      std::fwrite(bytes, 1, length, m_File);
    else
      m_Pending.append(bytes, length);
  }

  void flush() {
    if (m_File)
      std::fflush(m_File);
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
  char m_Buffer[64 * 1024];
};

SessionLog &theLog() {
  static SessionLog &log = *new SessionLog;
  return log;
}

void close_at_exit() { theLog().teardown(); }

int print_both(FILE *console, const char *format, va_list args) {
  va_list copy;
  va_copy(copy, args);
  // The roster prints every line with "%s": that needs no format parser,
  // which would be most of a message's cost (twice).  A null text takes
  // the general way, which prints "(null)".
  if (format[0] == '%' && format[1] == 's' && format[2] == '\0') {
    if (const char *text = va_arg(copy, const char *)) {
      va_end(copy);
      std::fputs(text, console);
      theLog().write(text, std::strlen(text));
      return 1;
    }
    va_end(copy);
    va_copy(copy, args);
  }
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
