// libFuzzer target for the telemetry records' string escape.  The input,
// split at its first NUL into a file name and a language, goes through the
// real record path (a "file_processing" event appended to a telemetry file
// in a scratch directory).  Every record must be one line; when both texts
// are UTF-8 the line must parse as strict JSON and give the texts back.

#include "util/telemetry.h"

#include <cctype>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <string_view>
#include <fcntl.h>
#include <unistd.h>

namespace {

char directory[] = "/tmp/telemetry_fuzz.XXXXXX";
std::string telemetryPath;
int telemetryFd = -1;

/// Length of the UTF-8 sequence at the start of \p s, or 0 if it is not one
/// (overlong forms, surrogates and values above U+10FFFF included).
size_t utf8Length(std::string_view s) {
  const unsigned char c = static_cast<unsigned char>(s[0]);
  size_t n;
  uint32_t value;
  if (c < 0x80)
    return 1;
  else if (c >= 0xc2 && c <= 0xdf)
    n = 2, value = c & 0x1f;
  else if (c >= 0xe0 && c <= 0xef)
    n = 3, value = c & 0x0f;
  else if (c >= 0xf0 && c <= 0xf4)
    n = 4, value = c & 0x07;
  else
    return 0;
  if (s.size() < n)
    return 0;
  for (size_t i = 1; i < n; ++i) {
    const unsigned char d = static_cast<unsigned char>(s[i]);
    if ((d & 0xc0) != 0x80)
      return 0;
    value = value << 6 | (d & 0x3f);
  }
  if ((n == 3 && value < 0x800) || (n == 4 && (value < 0x10000 || value > 0x10ffff)) ||
      (value >= 0xd800 && value <= 0xdfff))
    return 0;
  return n;
}

bool isUtf8(std::string_view s) {
  while (!s.empty()) {
    size_t n = utf8Length(s);
    if (!n)
      return false;
    s.remove_prefix(n);
  }
  return true;
}

/// A strict JSON reader, just enough to check a record: it collects the
/// decoded string values that follow the keys "filename" and "language".
struct Json {
  std::string_view text;
  size_t at = 0;
  std::string filename, language;
  bool sawFilename = false, sawLanguage = false;

  void ws() {
    while (at < text.size() && std::strchr(" \t\r\n", text[at]))
      ++at;
  }
  bool literal(std::string_view word) {
    if (text.substr(at, word.size()) != word)
      return false;
    at += word.size();
    return true;
  }
  bool hex4(uint32_t &value) {
    value = 0;
    for (int i = 0; i < 4; ++i, ++at) {
      if (at >= text.size() || !std::isxdigit(static_cast<unsigned char>(text[at])))
        return false;
      char c = static_cast<char>(std::tolower(static_cast<unsigned char>(text[at])));
      value = value * 16 + (c <= '9' ? c - '0' : c - 'a' + 10);
    }
    return true;
  }
  bool string(std::string &out) {
    if (!literal("\""))
      return false;
    while (at < text.size()) {
      unsigned char c = static_cast<unsigned char>(text[at]);
      if (c == '"') {
        ++at;
        return isUtf8(out);
      }
      if (c < 0x20)
        return false;
      if (c != '\\') {
        out += static_cast<char>(c);
        ++at;
        continue;
      }
      if (++at >= text.size())
        return false;
      char e = text[at++];
      const char *simple = std::strchr("\"\\/bfnrt", e);
      if (e && simple) {
        out += "\"\\/\b\f\n\r\t"[simple - "\"\\/bfnrt"];
        continue;
      }
      uint32_t value;
      if (e != 'u' || !hex4(value) || (value >= 0xd800 && value <= 0xdfff))
        return false; // the writer never needs surrogate pairs
      if (value < 0x80) {
        out += static_cast<char>(value);
      } else if (value < 0x800) {
        out += static_cast<char>(0xc0 | value >> 6);
        out += static_cast<char>(0x80 | (value & 0x3f));
      } else {
        out += static_cast<char>(0xe0 | value >> 12);
        out += static_cast<char>(0x80 | (value >> 6 & 0x3f));
        out += static_cast<char>(0x80 | (value & 0x3f));
      }
    }
    return false;
  }
  bool value(int depth) {
    if (depth > 8)
      return false;
    ws();
    if (at >= text.size())
      return false;
    std::string ignored;
    switch (text[at]) {
    case '{': return members(depth, '}', true);
    case '[': return members(depth, ']', false);
    case '"': return string(ignored);
    case 't': return literal("true");
    case 'f': return literal("false");
    case 'n': return literal("null");
    default: return number();
    }
  }
  bool number() {
    size_t start = at;
    if (at < text.size() && text[at] == '-')
      ++at;
    size_t digits = at;
    while (at < text.size() && std::isdigit(static_cast<unsigned char>(text[at])))
      ++at;
    if (at == digits || (text[digits] == '0' && at - digits > 1))
      return false;
    if (at < text.size() && text[at] == '.') {
      size_t fraction = ++at;
      while (at < text.size() && std::isdigit(static_cast<unsigned char>(text[at])))
        ++at;
      if (at == fraction)
        return false;
    }
    if (at < text.size() && (text[at] == 'e' || text[at] == 'E')) {
      if (++at < text.size() && (text[at] == '+' || text[at] == '-'))
        ++at;
      size_t exponent = at;
      while (at < text.size() && std::isdigit(static_cast<unsigned char>(text[at])))
        ++at;
      if (at == exponent)
        return false;
    }
    return at > start;
  }
  bool members(int depth, char close, bool keyed) {
    ++at;
    ws();
    if (literal(std::string_view(&close, 1)))
      return true;
    for (;;) {
      ws();
      if (keyed) {
        std::string key;
        if (!string(key))
          return false;
        ws();
        if (!literal(":"))
          return false;
        ws();
        if (key == "filename" || key == "language") {
          std::string &out = key == "filename" ? filename : language;
          (key == "filename" ? sawFilename : sawLanguage) = true;
          if (!string(out))
            return false;
        } else if (!value(depth + 1)) {
          return false;
        }
      } else if (!value(depth + 1)) {
        return false;
      }
      ws();
      if (literal(std::string_view(&close, 1)))
        return true;
      if (!literal(","))
        return false;
    }
  }
};

/// What the records wrote since the last call.  The first call keeps a
/// descriptor of the telemetry file and removes the file and its scratch
/// directory, so that nothing is left behind; the telemetry stream keeps
/// appending to the emptied file.
std::string readAndEmpty() {
  if (telemetryFd < 0) {
    telemetryFd = ::open(telemetryPath.c_str(), O_RDWR);
    if (telemetryFd < 0)
      std::abort(); // telemetry switched itself off
    ::unlink(telemetryPath.c_str());
    ::rmdir(directory);
  }
  std::string text;
  char buffer[4096];
  ssize_t n;
  while ((n = ::pread(telemetryFd, buffer, sizeof buffer, static_cast<off_t>(text.size()))) > 0)
    text.append(buffer, static_cast<size_t>(n));
  if (::ftruncate(telemetryFd, 0) != 0)
    std::abort();
  return text;
}

} // namespace

extern "C" int LLVMFuzzerInitialize(int *, char ***) {
  if (!::mkdtemp(directory))
    std::abort();
  ::setenv("OBX_EXECUTION_ID", "fuzz", 1);
  ::setenv("OBX_TELEMETRY_LOG_PATH", directory, 1);
  SetTelemetryToolName("telemetry_fuzz");
  StartTelemetrySession();
  telemetryPath = std::string(directory) + "/fuzz_" + std::to_string(::getpid()) + ".tel";
  return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
  std::string input(reinterpret_cast<const char *>(data), size);
  // The record takes C strings: the first NUL separates the two texts and
  // a second one ends the language.
  std::string filename = input.substr(0, input.find('\0'));
  std::string language;
  if (filename.size() < input.size())
    language = input.substr(filename.size() + 1).c_str();
  TelemetryFileProcessing(filename.c_str(), language.c_str());

  std::string line = readAndEmpty();
  if (line.empty() || line.back() != '\n' || line.find('\n') != line.size() - 1)
    std::abort(); // telemetry switched off, or a record spread over lines
  line.pop_back();
  if (!isUtf8(filename) || !isUtf8(language))
    return 0;
  Json json;
  json.text = line;
  // An empty language is recorded as given; only a null one is "Unknown".
  if (!json.value(0))
    std::abort();
  json.ws();
  if (json.at != line.size() || !json.sawFilename || !json.sawLanguage ||
      json.filename != filename || json.language != language)
    std::abort();
  return 0;
}
