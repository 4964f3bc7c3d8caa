#include "util/strings.h"

#include <gtest/gtest.h>

#include <limits>
#include <map>
#include <string>
#include <vector>

namespace {

TEST(QuoteString, EveryByteValue) {
  // Written out by hand: the short forms; printable ASCII is itself and
  // every other byte \xNN with lower-case digits.
  const std::map<int, std::string> shortForms = {{7, "\\a"},  {9, "\\t"},  {10, "\\n"},   {11, "\\v"},
                                                 {12, "\\f"}, {34, "\\\""}, {92, "\\\\"}};
  const char hex[] = "0123456789abcdef";
  for (int b = 0; b < 256; ++b) {
    std::string expected = {'\\', 'x', hex[b / 16], hex[b % 16]};
    if (shortForms.count(b))
      expected = shortForms.at(b);
    else if (b >= 32 && b < 127)
      expected = std::string(1, static_cast<char>(b));
    const char byte = static_cast<char>(b);
    EXPECT_EQ(quoteString(&byte, 1), "\"" + expected + "\"") << "byte " << b;
  }
}

TEST(QuoteString, LengthGovernsNotTerminator) {
  EXPECT_EQ(quoteString("", 0), "\"\"");
  EXPECT_EQ(quoteString(nullptr, 0), "\"\"");
  EXPECT_EQ(quoteString("abc", -1), "\"\"");
  EXPECT_EQ(quoteString("abc", 2), "\"ab\"");
  // An embedded NUL is data, and the escapes of neighbours do not merge.
  EXPECT_EQ(quoteString("a\0\"b\\\r\n", 7), "\"a\\x00\\\"b\\\\\\x0d\\n\"");
}

TEST(FormatDuration, BranchesAndBoundaries) {
  const double nan = std::numeric_limits<double>::quiet_NaN(), inf = std::numeric_limits<double>::infinity();
  const std::pair<double, const char *> cases[] = {
      {0, "0.000s"}, {59.999, "59.999s"}, {59.9996, "60.000s"}, // below a minute; only rounding says 60
      {60, "1m:0.000s"}, {3599.5, "59m:59.500s"}, {3600, "1h:0m:0.000s"}, {3725.5, "1h:2m:5.500s"},
      {86399, "23h:59m:59.000s"}, {86400, "1d:0h:0m:0.000s"},
      {100 * 86400.0 + 23 * 3600 + 59 * 60 + 7.25, "100d:23h:59m:7.250s"},
      {-3600, "-3600.000s"}, {-0.0004, "-0.000s"}, {nan, "nans"}, {inf, "infs"},
      {1e20, "100000000000000000000.000s"},
  };
  for (const auto &[seconds, text] : cases)
    EXPECT_EQ(formatDuration(seconds), text) << "seconds " << seconds;
}

TEST(SplitJoinTrim, SplitKeepsEveryPieceJoinUndoesItTrimTakesOuterSpace) {
  const std::pair<const char *, std::vector<std::string>> cases[] = {
      {"", {""}}, {"a", {"a"}}, {",", {"", ""}}, {"a,,b,", {"a", "", "b", ""}},
      {",-g,-DX=1", {"", "-g", "-DX=1"}},
  };
  for (const auto &[text, pieces] : cases) {
    EXPECT_EQ(splitString(text, ','), pieces) << text;
    EXPECT_EQ(joinStrings(pieces, ","), text) << text;
  }
  EXPECT_EQ(joinStrings({}, ", "), "");
  EXPECT_EQ(joinStrings({"a", "b", "c"}, " :: "), "a :: b :: c");
  EXPECT_EQ(trimString(" \t\n\v\f\r"), "");
  EXPECT_EQ(trimString("  a  b \r\n"), "a  b");
  EXPECT_EQ(trimString(std::string("\0a\0", 3)), std::string("\0a\0", 3));
}

} // namespace
