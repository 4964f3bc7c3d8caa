#include "util/Columnizer.h"

#include "testsupport/testsupport.h"

#include <climits>

namespace {

/// Keeps what Flush() prints, one entry per WriteText() call.
struct Capture : Columnizer {
  void WriteText(const char *text) override { m_Written.push_back(text); }
  std::vector<std::string> m_Written;
};

TEST(Columnizer, ColumnsLineUpAndLastCellsAreNotPadded) {
  Capture c;
  c.SetMinColumnWidth(1, 6);
  c.AddFormattedLine(0, 0, "%s", "id");
  c.AddFormattedLine(0, 1, "%s", "name");
  c.AddFormattedLine(0, 2, "%s", "a very long last cell");
  c.AddFormattedLine(1, 0, "%d", 12345);
  c.AddFormattedLine(1, 1, "%s", "x");
  c.AddFormattedLine(1, 1, "%s", "y"); // appends to the cell
  c.AddFormattedLine(1, 2, "%s", "z");
  c.AddFormattedLine(2, 0, "%s", "a first cell longer than the column");
  c.AddText(4, 0, "\xc3\xa9t\xc3\xa9"); // 3 characters, 5 bytes
  c.AddText(4, 1, "|");
  EXPECT_EQ(c.RowCount(), 5u);
  // Row 3 was never given text and does not print.
  EXPECT_EQ(c.Layout(), "    id     name    a very long last cell\n"
                        "    12345  xy      z\n"
                        "    a first cell longer than the column\n"
                        "    \xc3\xa9t\xc3\xa9    |\n");
}

TEST(Columnizer, ContinuationTextAndLineFeeds) {
  Capture c;
  c.AddLine(0, "head\n");
  c.AddText(1, 0, "file.cpp");
  c.AddText(1, 1, "first\nsecond\n");
  c.AddText(1, 2, "end");
  c.AddText(2, 0, "multi\nline");
  c.AddLine(0, "\n"); // an empty line of its own
  c.AddLine(1, "second column only");
  c.Flush(); // row by row, then forgets them
  EXPECT_EQ(c.m_Written, (std::vector<std::string>{"    head\n", "    file.cpp  first       end\n"
                                                   "                  second\n",
                                                   "    multi\n        line\n", "\n",
                                                   "              second column only\n"}));
  EXPECT_EQ(c.RowCount(), 0u);
  c.AddLine(0, "dropped");
  c.Clear();
  EXPECT_EQ(c.Layout(), "");
}

TEST(Columnizer, AbsurdIndicesAreRefusedWithoutChange) {
  Capture c;
  // UINT_MAX + 1 wraps to 0; 2^30 rows would be gigabytes of empty rows.
  EXPECT_FALSE(c.AddText(UINT_MAX, 0, "x") || c.AddText(0, UINT_MAX, "x") ||
               c.AddText(1u << 30, 0, "x") || c.AddText(65536, 0, "x") || c.AddText(0, 256, "x") ||
               c.AddFormattedLine(UINT_MAX, 0, "%s", "x") || c.AddLine(UINT_MAX, "x") ||
               c.SetMinColumnWidth(UINT_MAX, 1) || c.SetMinColumnWidth(1, 4097));
  EXPECT_EQ(c.RowCount(), 0u);
  EXPECT_TRUE(c.SetMinColumnWidth(0, 4096) && c.AddText(0, 0, "a") && c.AddText(0, 255, "b"));
  EXPECT_EQ(c.Layout().size(), 4u + 4096 + 2 + 254 * 2 + 1 + 1);
  EXPECT_TRUE(c.AddText(65535, 0, "last"));
  EXPECT_EQ(c.RowCount(), 65536u);
}

} // namespace
