#ifndef CORVANE_UTIL_COLUMNIZER_H
#define CORVANE_UTIL_COLUMNIZER_H

/// \file
/// Column layout of multi-line text blocks, such as the body of a message
/// block.  Text is collected as cells by row and column and printed, row by
/// row, when the block is flushed.
///
/// Layout rules:
///  - Rows are numbered from 0 and made on demand: adding to row 5 of an
///    empty block makes rows 0 to 5.  A row that never received a cell is
///    not printed; a row whose cells are all empty prints as an empty line.
///  - The text of a cell is split at line feeds.  One trailing line feed is
///    dropped, because every printed line ends with its own.  Adding to a
///    cell that already has text appends to it.
///  - Every printed line starts with kIndent (four) blanks: the body of a
///    block continues the message line above it, as continuation messages
///    do.
///  - The first line of a cell starts at its column's position.  The further
///    lines of a cell are continuation text: they start on the following
///    printed lines, kIndent (four) blanks to the right of the column's
///    position.
///  - A column is as wide as the widest line (continuation indent included)
///    of its cells, not counting the last cell of each row, which is never
///    padded; a width set with SetMinColumnWidth() is the least it gets.
///    Columns are kGap (two) blanks apart.
///  - Widths are display widths from TextWidth(), which counts UTF-8
///    characters, so names in any script line up.
///  - Trailing blanks of a printed line are dropped.
///
/// Limits: rows and columns are indices into vectors made on demand, and a
/// caller's stray index (a wrapped -1, a count used as an index) must not
/// turn into a crash or a multi-gigabyte allocation.  A row from kMaxRows
/// up, a column from kMaxColumns up or a minimum width above kMaxMinWidth
/// is refused: the call returns false and changes nothing.  The limits are
/// far beyond any message block (a few dozen rows, a handful of columns).

#include "util/Compiler.h"

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

class Columnizer {
public:
  /// Blanks before every printed line, and before continuation text.
  static constexpr size_t kIndent = 4;
  /// Blanks between two columns.
  static constexpr size_t kGap = 2;
  /// Rows are 0 to kMaxRows - 1.
  static constexpr unsigned kMaxRows = 1u << 16;
  /// Columns are 0 to kMaxColumns - 1.
  static constexpr unsigned kMaxColumns = 256;
  /// The widest minimum that SetMinColumnWidth() accepts.
  static constexpr size_t kMaxMinWidth = 4096;

  Columnizer() = default;
  Columnizer(const Columnizer &) = delete;
  Columnizer &operator=(const Columnizer &) = delete;
  virtual ~Columnizer();

  /// Prints the collected rows through WriteText(), one call per row, and
  /// forgets them (the minimum column widths stay).
  virtual void Flush();

  /// Forgets the collected rows without printing them.
  virtual void Clear();

  /// The sink of every printed row.  The default writes to standard output.
  virtual void WriteText(const char *text);

  /// The display width of \p text: its number of UTF-8 characters.
  virtual size_t TextWidth(std::string_view text) const;

  /// Adds \p text as a new row after the last one, in \p column.  False
  /// when the column or the new row is out of the limits.
  bool AddLine(unsigned column, const char *text);

  /// Formats printf-style and appends the result to the cell at
  /// (\p row, \p column).  False for a cell out of the limits or a format
  /// error.
  bool AddFormattedLine(unsigned row, unsigned column, const char *format, ...)
      CORVANE_PRINTF(4, 5);

  /// Appends \p text to the cell at (\p row, \p column).  False for a cell
  /// out of the limits.
  bool AddText(unsigned row, unsigned column, std::string_view text);

  /// Makes \p column at least \p width wide.  False for a column or width
  /// out of the limits.
  bool SetMinColumnWidth(unsigned column, size_t width);

  /// The number of rows made so far (printed or not).
  size_t RowCount() const { return m_Rows.size(); }

  /// The text that Flush() would print now, all rows together.
  std::string Layout() const;

private:
  struct Cell {
    bool used = false;
    std::string text;
  };
  struct Row {
    bool used = false;
    std::vector<Cell> cells;
  };

  Cell *CellAt(unsigned row, unsigned column);
  std::vector<size_t> ColumnWidths() const;
  void LayoutRow(const Row &row, const std::vector<size_t> &widths, std::string &out) const;

  std::vector<Row> m_Rows;
  std::vector<size_t> m_MinWidths;
};

#endif
