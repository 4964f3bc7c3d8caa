#include "util/JsonWriter.h"

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

void JsonWriter::WriteQuoted(std::string &out, const char *text) {
  static const char hex[] = "0123456789abcdef";
  // Staged in a small block so that the string grows in chunks, not bytes.
  char stage[128];
  size_t used = 0;
  stage[used++] = '"';
  for (const unsigned char *p = reinterpret_cast<const unsigned char *>(text); *p; ++p) {
    if (used > sizeof stage - 8) {
      out.append(stage, used);
      used = 0;
    }
    unsigned char c = *p;
    switch (c) {
    case '\t':
      stage[used++] = '\\';
      stage[used++] = 't';
      break;
    case '\n':
      stage[used++] = '\\';
      stage[used++] = 'n';
      break;
    case '\r':
      stage[used++] = '\\';
      stage[used++] = 'r';
      break;
    case '"':
    case '\\':
      stage[used++] = '\\';
      stage[used++] = static_cast<char>(c);
      break;
    default:
      if (c < 32 || c == 127) {
        std::memcpy(stage + used, "\\u00", 4);
        stage[used + 4] = hex[c >> 4];
        stage[used + 5] = hex[c & 15];
        used += 6;
      } else {
        stage[used++] = static_cast<char>(c);
      }
    }
  }
  stage[used++] = '"';
  out.append(stage, used);
}
