#ifndef CORVANE_UTIL_JSONWRITER_H
#define CORVANE_UTIL_JSONWRITER_H

/// \file
/// A streaming JSON writer: members go straight into a std::string, compact
/// or pretty-printed, with no document tree in between.

#include <cstdint>
#include <string>

/// One open JSON object or array of a streaming writer.  Members are
/// written straight to the output text: the opening bracket is owed until
/// the first member (or the close) and a comma goes before every later one.
/// With \c pretty each member starts on a new line, indented one level
/// deeper than the scope, and a space follows each colon.  A closed scope
/// ignores further members, as does a scope nested in a closed one.
class JsonWriter {
public:
  JsonWriter(std::string &out, bool isArray = false, int depth = 0, bool pretty = false,
             int indentWidth = 4, bool useTabs = false);

  /// Writes what the next member owes (bracket or comma, line and indent),
  /// then the quoted \p name and the colon; a null \p name starts an array
  /// element.  Returns false, writing nothing, when the scope is closed.
  bool AddKey(const char *name);

  /// Members: the key, then the value.  A null string value writes "".
  void AddString(const char *name, const char *value);
  void AddInt(const char *name, int64_t value);
  void AddUnsigned(const char *name, uint64_t value);
  /// Formatted as a default output stream formats a double ("%g"); NaN
  /// and the infinities, which JSON cannot hold, are written as null.
  void AddDouble(const char *name, double value);

  /// A scope nested in this one under \p name (null in arrays).  Close it
  /// before adding anything else to this scope.
  JsonWriter AddObject(const char *name);
  JsonWriter AddArray(const char *name);

  /// Writes the closing bracket (and the owed opening one: "{}" when empty).
  void Close();
  bool IsClosed() const { return m_State == kClosed; }

  /// Appends \p text to \p out quoted and escaped: tab, line feed, carriage
  /// return, quote and backslash by their short escapes, other bytes 1-31
  /// and 127 as "\u00xx", everything else (UTF-8 included) as it is.
  static void WriteQuoted(std::string &out, const char *text);

private:
  enum State { kEmpty, kOpen, kClosed };
  JsonWriter Nested(bool isArray, bool closed);
  void Indent(int levels);

  bool m_IsArray;
  State m_State = kEmpty;
  std::string *m_Out;
  int m_Depth;
  bool m_Pretty;
  int m_IndentWidth;
  bool m_UseTabs;
};

#endif
