// libFuzzer target for quoteString.  The literal must decode, by the
// escaping table alone, back to the input bytes: short escapes for
// backslash, quote, 7, 9, 10, 11 and 12, "\x" and two lower-case hex digits
// for every other byte outside 32..126, and nothing else between the
// quotes but printable ASCII.

#include "util/strings.h"

#include <cstdint>
#include <cstdlib>
#include <string>

namespace {

int hexValue(char c) {
  if (c >= '0' && c <= '9')
    return c - '0';
  if (c >= 'a' && c <= 'f')
    return c - 'a' + 10;
  return -1; // upper case is not what the table writes
}

/// The bytes that \p literal stands for; aborts on anything the table
/// cannot have produced.
std::string decode(const std::string &literal) {
  if (literal.size() < 2 || literal.front() != '"' || literal.back() != '"')
    std::abort();
  std::string bytes;
  for (size_t i = 1; i + 1 < literal.size(); ++i) {
    char c = literal[i];
    if (c == '"' || c < 0x20 || c > 0x7e)
      std::abort();
    if (c != '\\') {
      bytes += c;
      continue;
    }
    if (++i + 1 >= literal.size())
      std::abort(); // a backslash escaping the closing quote
    switch (literal[i]) {
    case '\\': bytes += '\\'; break;
    case '"': bytes += '"'; break;
    case 'a': bytes += '\a'; break;
    case 't': bytes += '\t'; break;
    case 'n': bytes += '\n'; break;
    case 'v': bytes += '\v'; break;
    case 'f': bytes += '\f'; break;
    case 'x': {
      if (i + 3 >= literal.size())
        std::abort();
      int high = hexValue(literal[i + 1]), low = hexValue(literal[i + 2]);
      if (high < 0 || low < 0)
        std::abort();
      unsigned char byte = static_cast<unsigned char>(high * 16 + low);
      // A byte with a short escape or a printable one never gets "\x".
      if ((byte >= 0x20 && byte < 0x7f) || byte == 7 || (byte >= 9 && byte <= 12))
        std::abort();
      bytes += static_cast<char>(byte);
      i += 2;
      break;
    }
    default:
      std::abort();
    }
  }
  return bytes;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
  const char *text = reinterpret_cast<const char *>(data);
  std::string input(text, size);
  if (decode(quoteString(text, static_cast<int32_t>(size))) != input)
    std::abort();
  // A length below 1 gives just the quotes, whatever the pointer.
  if (quoteString(nullptr, -static_cast<int32_t>(size % 1000)) != "\"\"")
    std::abort();
  return 0;
}
