#include "util/strings.h"

#include "testsupport/testsupport.h"

#include <limits>

namespace {

TEST(QuoteString, EscapesTable) {
  const std::pair<std::string, const char *> cases[] = {
      {"", R"("")"},
      {" azAZ09~!#$%&'()*+,-./:;<=>?@[]^_`{|}", R"(" azAZ09~!#$%&'()*+,-./:;<=>?@[]^_`{|}")"},
      {"\a\t\n\v\f\"\\", R"("\a\t\n\v\f\"\\")"},
      {std::string("\0\x01\b\r\x1b\x1f\x7f", 7), R"("\x00\x01\x08\x0d\x1b\x1f\x7f")"},
      {"\x80\xab\xc3\xa9\xff", R"("\x80\xab\xc3\xa9\xff")"},
      // The escapes of neighbours do not merge.
      {std::string("a\0\"b\\\r\n", 7), R"("a\x00\"b\\\x0d\n")"},
  };
  for (const auto &[text, quoted] : cases)
    EXPECT_EQ(quoteString(text.data(), static_cast<int32_t>(text.size())), quoted) << quoted;
  EXPECT_EQ(quoteString(nullptr, 0), "\"\"");
  EXPECT_EQ(quoteString("abc", -1), "\"\"");
  EXPECT_EQ(quoteString("abc", 2), "\"ab\"");
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

TEST(FormatString, AnyLengthAroundTheRoomItMakes) {
  for (size_t length : {0, 124, 125, 252, 253, 254, 5000}) {
    const std::string text(length, 'x');
    EXPECT_EQ(formatString("%s|%d%%", text.c_str(), 42), text + "|42%") << length;
  }
}

} // namespace
