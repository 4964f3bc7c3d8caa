#include "util/JsonWriter.h"

#include <array>
#include <cmath>
#include <cstring>
#include <fmt/format.h>
#include <iterator>


JsonWriter::JsonWriter(std::string &out, bool isArray, int depth, bool pretty, int indentWidth,
                       bool useTabs)
    : m_IsArray(isArray), m_Out(&out), m_Depth(depth), m_Pretty(pretty),
      m_IndentWidth(indentWidth), m_UseTabs(useTabs) {}

void JsonWriter::Indent(int levels) {
  if (m_UseTabs)
    m_Out->append(levels, '\t');
  else
    m_Out->append(static_cast<size_t>(levels) * m_IndentWidth, ' ');
}

bool JsonWriter::AddKey(const char *name) {
  if (m_State == kClosed)
    return false;
  if (m_State == kEmpty) {
    m_Out->push_back(m_IsArray ? '[' : '{');
    m_State = kOpen;
  } else {
    m_Out->push_back(',');
  }
  if (m_Pretty) {
    m_Out->push_back('\n');
    Indent(m_Depth + 1);
  }
  if (name) {
    WriteQuoted(*m_Out, name);
    m_Out->push_back(':');
    if (m_Pretty)
      m_Out->push_back(' ');
  }
  return true;
}

void JsonWriter::AddString(const char *name, const char *value) {
  if (AddKey(name))
    WriteQuoted(*m_Out, value ? value : "");
}

void JsonWriter::AddInt(const char *name, int64_t value) {
  if (AddKey(name))
    fmt::format_to(std::back_inserter(*m_Out), "{}", value);
}

void JsonWriter::AddUnsigned(const char *name, uint64_t value) {
  if (AddKey(name))
    fmt::format_to(std::back_inserter(*m_Out), "{}", value);
}

void JsonWriter::AddDouble(const char *name, double value) {
  if (!AddKey(name))
    return;
  if (!std::isfinite(value)) {
    m_Out->append("null");
    return;
  }
  fmt::format_to(std::back_inserter(*m_Out), "{:g}", value);
}

JsonWriter JsonWriter::Nested(bool isArray, bool closed) {
  JsonWriter child(*m_Out, isArray, m_Depth + 1, m_Pretty, m_IndentWidth, m_UseTabs);
  if (closed)
    child.m_State = kClosed;
  return child;
}

JsonWriter JsonWriter::AddObject(const char *name) { return Nested(false, !AddKey(name)); }

JsonWriter JsonWriter::AddArray(const char *name) { return Nested(true, !AddKey(name)); }

void JsonWriter::Close() {
  if (m_State == kClosed)
    return;
  if (m_State == kEmpty) {
    m_Out->append(m_IsArray ? "[]" : "{}");
  } else {
    if (m_Pretty) {
      m_Out->push_back('\n');
      Indent(m_Depth);
    }
    m_Out->push_back(m_IsArray ? ']' : '}');
  }
  m_State = kClosed;
}

namespace {

/// The bytes at which WriteQuoted stops copying: those it escapes, and the
/// terminating zero.
constexpr auto kStops = [] {
  std::array<bool, 256> stops{};
  for (int c = 0; c < 32; ++c)
    stops[c] = true;
  stops['"'] = stops['\\'] = stops[127] = true;
  return stops;
}();

} // namespace

void JsonWriter::WriteQuoted(std::string &out, const char *text) {
  static const char hex[] = "0123456789abcdef";
  out.push_back('"');
  const unsigned char *p = reinterpret_cast<const unsigned char *>(text);
  for (;;) {
    // Most text needs no escape at all: append it a run at a time.
    const unsigned char *run = p;
    while (!kStops[*p])
      ++p;
    out.append(reinterpret_cast<const char *>(run), p - run);
    const unsigned char c = *p++;
    switch (c) {
    case 0:
      out.push_back('"');
      return;
    case '\t':
      out.append("\\t", 2);
      break;
    case '\n':
      out.append("\\n", 2);
      break;
    case '\r':
      out.append("\\r", 2);
      break;
    case '"':
    case '\\':
      out.push_back('\\');
      out.push_back(static_cast<char>(c));
      break;
    default:
      const char escape[6] = {'\\', 'u', '0', '0', hex[c >> 4], hex[c & 15]};
      out.append(escape, sizeof escape);
    }
  }
}
