#include "util/manifest.h"

#include "util/cmdline.h"
#include "util/env.h"
#include "util/roster.h"

#include <cctype>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <memory>

namespace {

/// Buffered reading of one character at a time.
class CharReader {
public:
  explicit CharReader(FILE *file) : m_File(file) {}

  int Get() {
    if (m_Next == m_End) {
      m_End = std::fread(m_Buffer, 1, sizeof m_Buffer, m_File);
      m_Next = 0;
      if (m_End == 0)
        return EOF;
    }
    return static_cast<unsigned char>(m_Buffer[m_Next++]);
  }

  /// Skips up to and including the next line feed or carriage return.
  void SkipLine() {
    for (int c = Get(); c != EOF && c != '\n' && c != '\r'; c = Get()) {
    }
  }

  /// Skips the rest of a block comment, the "/*" already read: it ends at
  /// the first "/" after a "*", or at once when "/" comes first ("/*/").
  void SkipBlockComment() {
    int previous = Get();
    if (previous == '/')
      return;
    for (int c = Get(); c != EOF; previous = c, c = Get())
      if (previous == '*' && c == '/')
        return;
  }

private:
  FILE *m_File;
  char m_Buffer[65536];
  size_t m_Next = 0;
  size_t m_End = 0;
};

bool IsSpace(int c) { return std::isspace(c) != 0; }

/// The directory relative names of the manifest at \p path are found in.
std::string ManifestDirectory(const std::string &path) {
  const size_t slash = path.rfind('/');
  if (slash == std::string::npos)
    return ".";
  if (slash == 0)
    return "/";
  return path.substr(0, slash);
}

void Tokenize(FILE *file, std::vector<std::string> &tokens, std::vector<std::string> &local) {
  auto reader = std::make_unique<CharReader>(file);
  std::string buffer;
  auto finish = [&] {
    tokens.push_back(ExpandEnv(buffer));
    local.push_back(ExpandEnv(buffer));
    buffer.clear();
  };
  bool quoted = false;
  for (int c = reader->Get(); c != EOF; c = reader->Get()) {
    if (quoted) {
      buffer += static_cast<char>(c);
      if (c == '"')
        quoted = false;
      continue;
    }
    if (IsSpace(c)) {
      if (!buffer.empty())
        finish();
      continue;
    }
    if (c == '#') {
      reader->SkipLine();
      continue;
    }
    if (c == '/') {
      const int d = reader->Get();
      if (d == EOF) {
        buffer += '/';
        break;
      }
      if (d == '*') {
        reader->SkipBlockComment();
      } else if (d == '/') {
        reader->SkipLine();
      } else if (IsSpace(d)) {
        buffer += '/';
        finish();
      } else {
        // Taken as it is: a quote, "#" or "/" here is ordinary.
        buffer += '/';
        buffer += static_cast<char>(d);
      }
      continue;
    }
    buffer += static_cast<char>(c);
    if (c == '"')
      quoted = true;
  }
  if (!buffer.empty())
    finish();
}

} // namespace

bool ReadManifest(const std::string &path, int directoryMode, std::vector<std::string> &tokens,
                  int parseMode) {
  const std::string resolved = ResolveFile(ExpandEnv(path));
  FILE *file = std::fopen(resolved.c_str(), "r");
  if (!file) {
    ReportError("%s: %s\n", resolved.c_str(), std::strerror(errno));
    return false;
  }
  if (directoryMode & 2)
    ReportMessageToStderr(kSeverityContinuation, nullptr, "Reading manifest file %s\n", resolved.c_str());

  std::vector<std::string> local;
  Tokenize(file, tokens, local);
  std::fclose(file);

  const bool parse = directoryMode < 3;
  const bool ownDirectory = parse ? (directoryMode & 1) != 0 : directoryMode == 4;
  AddSearchDirectory(ownDirectory ? ManifestDirectory(resolved) : ".");
  if (!parse)
    return false;

  const std::string caller = ProgramName();
  const bool ok = ParseArguments(resolved, local, parseMode);
  SetProgramName(caller);
  if (ok)
    SearchDirectories().pop_back();
  return ok;
}
