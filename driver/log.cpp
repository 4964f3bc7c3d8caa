#include "driver/log.h"

#include "driver/streams.h"

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>

namespace {

/// The one log of the process.  Built during static initialisation so that
/// it exists before anything can print; its destructor runs at exit and
/// closes the file through the stream layer, which waits for a compressor.
class SessionLog {
public:
  ~SessionLog() {
    if (m_File)
      close_stream(m_File);
    m_File = nullptr;
    std::free(m_Scratch);
  }

  bool open(const char *path) {
    close();
    m_File = open_stream(path, "w");
    if (!m_File) {
      std::fprintf(stderr, "Can't open log file '%s': %s\n", path, std::strerror(errno));
      return false;
    }
    std::fwrite(m_Pending.data(), 1, m_Pending.size(), m_File);
    m_Pending.clear();
    m_Pending.shrink_to_fit();
    return true;
  }

  void close() {
    if (m_File)
      close_stream(m_File);
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

private:
  std::string m_Pending;
  FILE *m_File = nullptr;
  char *m_Scratch = nullptr;
  size_t m_ScratchSize = 0;
};

SessionLog theLog;

int print_both(FILE *console, const char *format, va_list args) {
  va_list copy;
  va_copy(copy, args);
  std::vfprintf(console, format, copy);
  va_end(copy);
  theLog.vprint(format, args);
  return 1;
}

} // namespace

bool open_log_file(const char *path) { return theLog.open(path); }

void close_log_file() { theLog.close(); }

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

void log_write(const char *bytes, size_t length) { theLog.write(bytes, length); }

void flush_all_output() {
  std::fflush(stdout);
  std::fflush(stderr);
  theLog.flush();
}
