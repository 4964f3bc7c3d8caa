#include "util/strings.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <string>
#include <vector>

namespace {

// What one byte becomes inside the quotes, written out by hand for all 256
// values from the escape table (short forms, printable ASCII as itself,
// everything else as \xNN with lower-case digits).
const char *const kEscaped[256] = {
    "\\x00", "\\x01", "\\x02", "\\x03", "\\x04", "\\x05", "\\x06", "\\a",
    "\\x08", "\\t", "\\n", "\\v", "\\f", "\\x0d", "\\x0e", "\\x0f",
    "\\x10", "\\x11", "\\x12", "\\x13", "\\x14", "\\x15", "\\x16", "\\x17",
    "\\x18", "\\x19", "\\x1a", "\\x1b", "\\x1c", "\\x1d", "\\x1e", "\\x1f",
    " ", "!", "\\\"", "#", "$", "%", "&", "'",
    "(", ")", "*", "+", ",", "-", ".", "/",
    "0", "1", "2", "3", "4", "5", "6", "7",
    "8", "9", ":", ";", "<", "=", ">", "?",
    "@", "A", "B", "C", "D", "E", "F", "G",
    "H", "I", "J", "K", "L", "M", "N", "O",
    "P", "Q", "R", "S", "T", "U", "V", "W",
    "X", "Y", "Z", "[", "\\\\", "]", "^", "_",
    "`", "a", "b", "c", "d", "e", "f", "g",
    "h", "i", "j", "k", "l", "m", "n", "o",
    "p", "q", "r", "s", "t", "u", "v", "w",
    "x", "y", "z", "{", "|", "}", "~", "\\x7f",
    "\\x80", "\\x81", "\\x82", "\\x83", "\\x84", "\\x85", "\\x86", "\\x87",
    "\\x88", "\\x89", "\\x8a", "\\x8b", "\\x8c", "\\x8d", "\\x8e", "\\x8f",
    "\\x90", "\\x91", "\\x92", "\\x93", "\\x94", "\\x95", "\\x96", "\\x97",
    "\\x98", "\\x99", "\\x9a", "\\x9b", "\\x9c", "\\x9d", "\\x9e", "\\x9f",
    "\\xa0", "\\xa1", "\\xa2", "\\xa3", "\\xa4", "\\xa5", "\\xa6", "\\xa7",
    "\\xa8", "\\xa9", "\\xaa", "\\xab", "\\xac", "\\xad", "\\xae", "\\xaf",
    "\\xb0", "\\xb1", "\\xb2", "\\xb3", "\\xb4", "\\xb5", "\\xb6", "\\xb7",
    "\\xb8", "\\xb9", "\\xba", "\\xbb", "\\xbc", "\\xbd", "\\xbe", "\\xbf",
    "\\xc0", "\\xc1", "\\xc2", "\\xc3", "\\xc4", "\\xc5", "\\xc6", "\\xc7",
    "\\xc8", "\\xc9", "\\xca", "\\xcb", "\\xcc", "\\xcd", "\\xce", "\\xcf",
    "\\xd0", "\\xd1", "\\xd2", "\\xd3", "\\xd4", "\\xd5", "\\xd6", "\\xd7",
    "\\xd8", "\\xd9", "\\xda", "\\xdb", "\\xdc", "\\xdd", "\\xde", "\\xdf",
    "\\xe0", "\\xe1", "\\xe2", "\\xe3", "\\xe4", "\\xe5", "\\xe6", "\\xe7",
    "\\xe8", "\\xe9", "\\xea", "\\xeb", "\\xec", "\\xed", "\\xee", "\\xef",
    "\\xf0", "\\xf1", "\\xf2", "\\xf3", "\\xf4", "\\xf5", "\\xf6", "\\xf7",
    "\\xf8", "\\xf9", "\\xfa", "\\xfb", "\\xfc", "\\xfd", "\\xfe", "\\xff",
};

TEST(QuoteString, EveryByteValue) {
  for (int b = 0; b < 256; ++b) {
    const char byte = static_cast<char>(b);
    EXPECT_EQ(quoteString(&byte, 1), std::string("\"") + kEscaped[b] + "\"") << "byte " << b;
  }
}

TEST(QuoteString, LengthGovernsNotTerminator) {
  EXPECT_EQ(quoteString("", 0), "\"\"");
  EXPECT_EQ(quoteString(nullptr, 0), "\"\"");
  EXPECT_EQ(quoteString("abc", -1), "\"\"");
  EXPECT_EQ(quoteString("abc", 2), "\"ab\"");
  EXPECT_EQ(quoteString("\t", 1), "\"\\t\"");
  // An embedded NUL is data, and the escapes of neighbours do not merge.
  EXPECT_EQ(quoteString("a\0\"b\\\r\n", 7), "\"a\\x00\\\"b\\\\\\x0d\\n\"");
}

TEST(FormatDuration, BranchesAndBoundaries) {
  struct Case {
    double seconds;
    const char *text;
  };
  const Case cases[] = {
      {0, "0.000s"},
      {12.3456, "12.346s"},
      {59.999, "59.999s"},
      {59.9996, "60.000s"}, // still below a minute; only the rounding says 60
      {60, "1m:0.000s"},
      {75, "1m:15.000s"},
      {3599.5, "59m:59.500s"},
      {3600, "1h:0m:0.000s"},
      {3725.5, "1h:2m:5.500s"},
      {86399, "23h:59m:59.000s"},
      {86400, "1d:0h:0m:0.000s"},
      {90061.5, "1d:1h:1m:1.500s"},
      {100 * 86400.0 + 23 * 3600 + 59 * 60 + 7.25, "100d:23h:59m:7.250s"},
      {-5, "-5.000s"},
      {-3600, "-3600.000s"},
      {-0.0004, "-0.000s"},
      {std::numeric_limits<double>::quiet_NaN(), "nans"},
      {std::numeric_limits<double>::infinity(), "infs"},
      {1e20, "100000000000000000000.000s"},
  };
  for (const Case &c : cases)
    EXPECT_EQ(formatDuration(c.seconds), c.text) << "seconds " << c.seconds;
}

TEST(SplitJoinTrim, SplitKeepsEveryPieceAndJoinUndoesIt) {
  struct Case {
    const char *text;
    std::vector<std::string> pieces;
  };
  const Case cases[] = {
      {"", {""}},
      {"a", {"a"}},
      {"a,b", {"a", "b"}},
      {",", {"", ""}},
      {"a,,b,", {"a", "", "b", ""}},
      {",-g,-DX=1", {"", "-g", "-DX=1"}},
  };
  for (const Case &c : cases) {
    EXPECT_EQ(splitString(c.text, ','), c.pieces) << c.text;
    EXPECT_EQ(joinStrings(c.pieces, ","), c.text) << c.text;
  }
  EXPECT_EQ(joinStrings({}, ", "), "");
  EXPECT_EQ(joinStrings({"a", "b", "c"}, " :: "), "a :: b :: c");
}

TEST(SplitJoinTrim, TrimRemovesOnlyOuterWhiteSpace) {
  EXPECT_EQ(trimString(""), "");
  EXPECT_EQ(trimString(" \t\n\v\f\r"), "");
  EXPECT_EQ(trimString("  a  b \r\n"), "a  b");
  EXPECT_EQ(trimString("x"), "x");
  EXPECT_EQ(trimString(std::string("\0a\0", 3)), std::string("\0a\0", 3));
}

} // namespace
