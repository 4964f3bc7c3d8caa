#include "util/env.h"

#include "driver/log.h"
#include "driver/streams.h"
#include "util/roster.h"
#include "util/strings.h"

#include <algorithm>
#include <cctype>
#include <cstring>
#include <pwd.h>

extern char **environ;

std::map<std::string, std::string> &EnvironmentCache() {
  static auto &cache = *new std::map<std::string, std::string>;
  return cache;
}

namespace {

void FillEnvironmentCache() {
  auto &cache = EnvironmentCache();
  for (char **entry = environ; entry && *entry; ++entry) {
    const char *equals = std::strchr(*entry, '=');
    if (!equals)
      continue;
    // emplace keeps an existing entry: the first occurrence of a name wins.
    cache.emplace(std::string(*entry, static_cast<size_t>(equals - *entry)), std::string(equals + 1));
  }
}

bool IsNameChar(char c) {
  return std::isalnum(static_cast<unsigned char>(c)) || c == '-' || c == '_';
}

/// The variables one expansion looked up, with the value the note shows.
using UsedVariables = std::map<std::string, std::string>;

void AppendVariable(std::string &out, std::string_view name, UsedVariables &used) {
  std::string value = GetEnv(name);
  used.emplace(std::string(name), value.empty() ? "(undefined)" : value);
  out += value;
}

void ReportUsedVariables(std::string_view text, const UsedVariables &used) {
  const std::string original(text);
  if (!ErrorRoster::Get().ReportMessage(kSeverityInfo, "ExpandEnv", "used in expansion of %s:\n\n",
                                        original.c_str()))
    return;
  size_t width = 30;
  for (const auto &[name, value] : used)
    width = std::max(width, name.size());
  for (const auto &[name, value] : used)
    log_printf("     %-*s    %s\n", static_cast<int>(width), name.c_str(), value.c_str());
  log_printf("\n");
}

} // namespace

std::string GetEnv(std::string_view name) {
  auto &cache = EnvironmentCache();
  if (cache.empty())
    FillEnvironmentCache();
  auto found = cache.find(std::string(name));
  return found == cache.end() ? std::string() : found->second;
}

void ClearEnvironmentCache() { EnvironmentCache().clear(); }

void WriteEnvironment(FILE *stream) {
  auto &cache = EnvironmentCache();
  if (cache.empty())
    FillEnvironmentCache();
  for (const auto &[name, value] : cache) {
    const std::string quoted = quoteString(value.data(), static_cast<int32_t>(std::min<size_t>(value.size(), INT32_MAX)));
    std::fprintf(stream, "env %s %s\n", name.c_str(), quoted.c_str());
  }
}

bool HasEnvReferences(std::string_view text) {
  return text.find('$') != std::string_view::npos || (!text.empty() && text[0] == '~');
}

std::string ExpandEnv(std::string_view text) {
  // Most names hold neither a variable nor a home reference: spare them the
  // walk (the parser expands every file argument).
  if (!HasEnvReferences(text))
    return std::string(text);

  std::string out;
  out.reserve(text.size());
  UsedVariables used;
  size_t i = 0;
  if (!text.empty() && text[0] == '~') {
    size_t slash = text.find('/', 1);
    if (slash == 1) {
      AppendVariable(out, "HOME", used);
      out += '/';
      i = 2;
    } else if (slash != std::string_view::npos) {
      const std::string user(text.substr(1, slash - 1));
      // A name with a NUL in it names no user (and must not be cut short).
      const struct passwd *entry =
          user.find('\0') == std::string::npos ? ::getpwnam(user.c_str()) : nullptr;
      if (entry)
        out += entry->pw_dir;
      i = slash;
    } else {
      i = 1;
    }
  }

  while (i < text.size()) {
    const char c = text[i];
    if (c != '$') {
      out += c;
      ++i;
      continue;
    }
    const char next = i + 1 < text.size() ? text[i + 1] : '\0';
    if (next == '(' || next == '{') {
      const char close = next == '(' ? ')' : '}';
      const size_t end = text.find(close, i + 2);
      if (end == std::string_view::npos) {
        // Unclosed: the opener stays and the character after it is lost.
        out += '$';
        out += next;
        i = std::min(text.size(), i + 3);
      } else {
        AppendVariable(out, text.substr(i + 2, end - i - 2), used);
        i = end + 1;
      }
      continue;
    }
    size_t end = i + 1;
    while (end < text.size() && IsNameChar(text[end]))
      ++end;
    AppendVariable(out, text.substr(i + 1, end - i - 1), used);
    i = end;
  }

  if (!used.empty())
    ReportUsedVariables(text, used);
  return out;
}

FILE *open_stream_expanded(const char *name, const char *mode) {
  const std::string expanded = ExpandEnv(name ? name : "");
  return open_stream(expanded.c_str(), mode);
}
