#include "util/strings.h"

#include <cmath>
#include <cstdio>
#include <fmt/format.h>

std::string quoteString(const char *text, int32_t length) {
  static const char kHexDigits[] = "0123456789abcdef";
  std::string quoted;
  quoted.reserve(length > 0 ? static_cast<size_t>(length) + 2 : 2);
  quoted += '"';
  for (int32_t i = 0; i < length; ++i) {
    const unsigned char byte = static_cast<unsigned char>(text[i]);
    switch (byte) {
    case '\\': quoted += "\\\\"; break;
    case '\a': quoted += "\\a"; break;
    case '\t': quoted += "\\t"; break;
    case '\n': quoted += "\\n"; break;
    case '\v': quoted += "\\v"; break;
    case '\f': quoted += "\\f"; break;
    case '"': quoted += "\\\""; break;
    default:
      // Printable means what isprint says in the C locale; the range is
      // spelled out so that a tool which switched locales still writes the
      // same literals.
      if (byte >= 0x20 && byte < 0x7f) {
        quoted += static_cast<char>(byte);
      } else {
        quoted += "\\x";
        quoted += kHexDigits[byte >> 4];
        quoted += kHexDigits[byte & 0xf];
      }
    }
  }
  quoted += '"';
  return quoted;
}

std::string formatDuration(double s) {
  // Beyond 2^31 hours the hour count no longer fits its 32-bit integer;
  // such values (and NaN) keep the plain seconds form rather than print
  // garbage.
  if (s < 60 || !(s / 3600 < 2147483648.0))
    return fmt::format("{:.3f}s", s);

  const double m = s / 60;
  const int32_t hours = static_cast<int32_t>(std::trunc(m / 60));
  const int32_t minutes = static_cast<int32_t>(std::trunc(m - hours * 60.0));
  const double secs = (s - hours * 3600.0) - minutes * 60.0;

  std::string text = fmt::format("{}m:{:.3f}s", minutes, secs);
  if (s >= 3600)
    text = fmt::format("{}h:", hours % 24) + text;
  if (s >= 86400)
    text = fmt::format("{}d:", hours / 24) + text;
  return text;
}

std::vector<std::string> splitString(std::string_view text, char separator) {
  std::vector<std::string> pieces;
  for (;;) {
    const size_t at = text.find(separator);
    pieces.emplace_back(text.substr(0, at));
    if (at == std::string_view::npos)
      return pieces;
    text.remove_prefix(at + 1);
  }
}

std::string joinStrings(const std::vector<std::string> &pieces, std::string_view separator) {
  std::string joined;
  for (size_t i = 0; i < pieces.size(); ++i) {
    if (i)
      joined += separator;
    joined += pieces[i];
  }
  return joined;
}

std::string trimString(std::string_view text) {
  static constexpr std::string_view kSpace = " \t\n\v\f\r";
  const size_t first = text.find_first_not_of(kSpace);
  if (first == std::string_view::npos)
    return {};
  const size_t last = text.find_last_not_of(kSpace);
  return std::string(text.substr(first, last - first + 1));
}

void appendFormattedV(std::string &out, const char *format, va_list args) {
  const size_t base = out.size();
  if (out.capacity() - base < 128)
    out.reserve(base + 256);
  out.resize(out.capacity());
  const size_t room = out.size() - base;
  va_list copy;
  va_copy(copy, args);
  // The terminating zero lands on the string's own terminator slot.
  const int length = std::vsnprintf(out.data() + base, room + 1, format, copy);
  va_end(copy);
  if (length < 0) {
    out.resize(base);
    return;
  }
  if (static_cast<size_t>(length) > room) {
    out.resize(base + length);
    std::vsnprintf(out.data() + base, length + 1, format, args);
  }
  out.resize(base + length);
}

std::string formatString(const char *format, ...) {
  std::string text;
  va_list args;
  va_start(args, format);
  appendFormattedV(text, format, args);
  va_end(args);
  return text;
}
