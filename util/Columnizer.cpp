#include "util/Columnizer.h"

#include "util/strings.h"

#include <algorithm>
#include <cstdarg>
#include <cstdio>

namespace {

/// The lines of a cell, without the one trailing line feed.
std::vector<std::string_view> SplitLines(std::string_view text) {
  if (!text.empty() && text.back() == '\n')
    text.remove_suffix(1);
  std::vector<std::string_view> lines;
  for (;;) {
    size_t end = text.find('\n');
    if (end == std::string_view::npos) {
      lines.push_back(text);
      return lines;
    }
    lines.push_back(text.substr(0, end));
    text.remove_prefix(end + 1);
  }
}

/// Index of the last cell of \p cells that was ever added to, or -1.
long LastFilledCell(const auto &cells) {
  for (size_t i = cells.size(); i-- > 0;)
    if (cells[i].used)
      return static_cast<long>(i);
  return -1;
}

void PadTo(std::string &line, size_t &width, size_t target) {
  if (width < target) {
    line.append(target - width, ' ');
    width = target;
  }
}

} // namespace

Columnizer::~Columnizer() = default;

void Columnizer::Flush() {
  std::vector<size_t> widths = ColumnWidths();
  std::string text;
  for (const Row &row : m_Rows) {
    if (!row.used)
      continue;
    text.clear();
    LayoutRow(row, widths, text);
    WriteText(text.c_str());
  }
  Clear();
}

void Columnizer::Clear() { m_Rows.clear(); }

void Columnizer::WriteText(const char *text) { std::fputs(text, stdout); }

size_t Columnizer::TextWidth(std::string_view text) const {
  size_t width = 0;
  for (unsigned char c : text)
    if ((c & 0xC0) != 0x80)
      ++width;
  return width;
}

Columnizer::Cell *Columnizer::CellAt(unsigned row, unsigned column) {
  if (row >= kMaxRows || column >= kMaxColumns)
    return nullptr;
  if (m_Rows.size() <= row)
    m_Rows.resize(row + 1);
  Row &r = m_Rows[row];
  r.used = true;
  if (r.cells.size() <= column)
    r.cells.resize(column + 1);
  Cell &cell = r.cells[column];
  cell.used = true;
  return &cell;
}

bool Columnizer::AddLine(unsigned column, const char *text) {
  // RowCount() never exceeds kMaxRows, so the cast cannot wrap.
  return AddText(static_cast<unsigned>(m_Rows.size()), column, text ? text : "");
}

bool Columnizer::AddFormattedLine(unsigned row, unsigned column, const char *format, ...) {
  Cell *cell = CellAt(row, column);
  if (!cell)
    return false;
  va_list args;
  va_start(args, format);
  appendFormattedV(cell->text, format, args);
  va_end(args);
  return true;
}

bool Columnizer::AddText(unsigned row, unsigned column, std::string_view text) {
  Cell *cell = CellAt(row, column);
  if (!cell)
    return false;
  cell->text.append(text);
  return true;
}

bool Columnizer::SetMinColumnWidth(unsigned column, size_t width) {
  if (column >= kMaxColumns || width > kMaxMinWidth)
    return false;
  if (m_MinWidths.size() <= column)
    m_MinWidths.resize(column + 1, 0);
  m_MinWidths[column] = width;
  return true;
}

std::vector<size_t> Columnizer::ColumnWidths() const {
  std::vector<size_t> widths = m_MinWidths;
  for (const Row &row : m_Rows) {
    long last = LastFilledCell(row.cells);
    for (long c = 0; c < last; ++c) {
      const Cell &cell = row.cells[c];
      if (!cell.used)
        continue;
      if (widths.size() <= static_cast<size_t>(c))
        widths.resize(c + 1, 0);
      std::vector<std::string_view> lines = SplitLines(cell.text);
      for (size_t i = 0; i < lines.size(); ++i)
        widths[c] = std::max(widths[c], TextWidth(lines[i]) + (i ? kIndent : 0));
    }
  }
  return widths;
}

void Columnizer::LayoutRow(const Row &row, const std::vector<size_t> &widths,
                           std::string &out) const {
  long last = LastFilledCell(row.cells);
  std::vector<std::vector<std::string_view>> lines(last + 1);
  size_t height = 1;
  for (long c = 0; c <= last; ++c) {
    if (row.cells[c].used)
      lines[c] = SplitLines(row.cells[c].text);
    height = std::max(height, lines[c].size());
  }
  for (size_t k = 0; k < height; ++k) {
    std::string line(kIndent, ' ');
    size_t width = 0; // display width of the line after the indent
    size_t start = 0; // where the current column begins
    for (long c = 0; c <= last; ++c) {
      if (k < lines[c].size()) {
        PadTo(line, width, start + (k ? kIndent : 0));
        line.append(lines[c][k]);
        width += TextWidth(lines[c][k]);
      }
      size_t columnWidth = static_cast<size_t>(c) < widths.size() ? widths[c] : 0;
      start += columnWidth + kGap;
    }
    while (!line.empty() && line.back() == ' ')
      line.pop_back();
    out.append(line);
    out.push_back('\n');
  }
}

std::string Columnizer::Layout() const {
  std::vector<size_t> widths = ColumnWidths();
  std::string text;
  for (const Row &row : m_Rows)
    if (row.used)
      LayoutRow(row, widths, text);
  return text;
}
