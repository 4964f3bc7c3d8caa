#include "util/manifest.h"

#include "util/cmdline.h"
#include "util/env.h"
#include "util/fs.h"
#include "util/roster.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <memory>
#include <sys/stat.h>

namespace {

/// Characters that end a run of ordinary token text outside quotes: the
/// white space of the C locale, "#", "/" and the double quote.
constexpr std::array<bool, 256> kSpecial = [] {
  std::array<bool, 256> special = {};
  for (unsigned char c : {' ', '\t', '\n', '\v', '\f', '\r', '#', '/', '"'})
    special[c] = true;
  return special;
}();

bool IsSpecial(char c) { return kSpecial[static_cast<unsigned char>(c)]; }

/// White space of the C locale.
bool IsSpace(int c) { return c == ' ' || (c >= '\t' && c <= '\r'); }

/// Buffered reading, one character or one run of characters at a time.
class CharReader {
public:
  explicit CharReader(FILE *file) : m_File(file) {}

  int Get() {
    if (!Fill())
      return EOF;
    return static_cast<unsigned char>(m_Buffer[m_Next++]);
  }

  /// Appends to \p out the characters up to the next one for which \p stop
  /// holds, without consuming that one.  False at end of file.
  template <class Stop> bool AppendUntil(std::string &out, Stop stop) {
    while (Fill()) {
      const char *begin = m_Buffer + m_Next, *end = m_Buffer + m_End, *at = begin;
      while (at != end && !stop(*at))
        ++at;
      out.append(begin, at);
      m_Next += static_cast<size_t>(at - begin);
      if (at != end)
        return true;
    }
    return false;
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
  bool Fill() {
    if (m_Next == m_End) {
      m_End = std::fread(m_Buffer, 1, sizeof m_Buffer, m_File);
      m_Next = 0;
    }
    return m_Next != m_End;
  }

  FILE *m_File;
  char m_Buffer[65536];
  size_t m_Next = 0;
  size_t m_End = 0;
};

/// The directory relative names of the manifest at \p path are found in.
std::string ManifestDirectory(const std::string &path) {
  const size_t slash = path.rfind('/');
  if (slash == std::string::npos)
    return ".";
  if (slash == 0)
    return "/";
  return path.substr(0, slash);
}

/// Splits \p file into tokens, each expanded into \p tokens and, expanded
/// again, into \p local when that is wanted.
void Tokenize(FILE *file, std::vector<std::string> &tokens, std::vector<std::string> *local) {
  auto reader = std::make_unique<CharReader>(file);
  std::string buffer;
  auto finish = [&] {
    if (HasEnvReferences(buffer)) {
      tokens.push_back(ExpandEnv(buffer));
      // The second expansion also repeats the note, wanted or not.
      std::string again = ExpandEnv(buffer);
      if (local)
        local->push_back(std::move(again));
    } else {
      if (local)
        local->push_back(buffer);
      tokens.push_back(std::move(buffer));
    }
    buffer.clear();
  };
  for (;;) {
    if (!reader->AppendUntil(buffer, IsSpecial))
      break;
    const int c = reader->Get();
    if (IsSpace(c)) {
      if (!buffer.empty())
        finish();
    } else if (c == '#') {
      reader->SkipLine();
    } else if (c == '/') {
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
    } else {
      // A double quote: everything up to the closing one is token text.
      buffer += '"';
      if (!reader->AppendUntil(buffer, [](char x) { return x == '"'; }))
        break;
      buffer += static_cast<char>(reader->Get());
    }
  }
  if (!buffer.empty())
    finish();
}

} // namespace

bool ReadManifest(const std::string &path, int directoryMode, std::vector<std::string> &tokens,
                  int parseMode) {
  const std::string resolved = ResolveFile(ExpandEnv(path));
  // A directory opens, but reads as an error: refuse it here, as a file
  // that cannot be opened.
  FILE *file = isDirectory(resolved) ? (errno = EISDIR, nullptr) : std::fopen(resolved.c_str(), "r");
  if (!file) {
    ReportError("%s: %s\n", resolved.c_str(), std::strerror(errno));
    return false;
  }
  if (directoryMode & 2)
    ReportMessageToStderr(kSeverityContinuation, nullptr, "Reading manifest file %s\n", resolved.c_str());

  const bool parse = directoryMode < 3;
  std::vector<std::string> local;
  // Room for the tokens of a typical manifest up front spares the list its
  // copies as it grows; capped, since the size says little about a hostile
  // file's token count.
  struct stat info;
  if (::fstat(fileno(file), &info) == 0 && S_ISREG(info.st_mode)) {
    const size_t wanted = tokens.size() + std::min<size_t>(static_cast<size_t>(info.st_size) / 8, size_t(1) << 23);
    if (wanted > tokens.capacity())
      tokens.reserve(std::max(wanted, 2 * tokens.capacity()));
  }
  Tokenize(file, tokens, parse ? &local : nullptr);
  std::fclose(file);

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
