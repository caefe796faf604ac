// Widths are display widths; a cell is cut by them, too, so that East Asian text stays aligned.
#include "table_layout.h"

#include <fmt/format.h>

#include <algorithm>
#include <numeric>

#include "safe_text.h"

namespace xkrdb {
namespace {

constexpr size_t kGap = 2;
constexpr size_t kNarrowestColumn = 6;
constexpr size_t kWidestWholeColumn = 20;  // what is longer is no number, date or time, whatever its column says
constexpr const char* kBold = "\x1b[1m";
constexpr const char* kPlain = "\x1b[0m";

std::vector<size_t> NaturalWidths(const Table& table) {
  std::vector<size_t> widths;
  for (const TableColumn& column : table.columns) widths.push_back(DisplayWidth(column.heading));
  for (const std::vector<std::string>& row : table.rows) {
    for (size_t i = 0; i < row.size(); ++i) widths[i] = std::max(widths[i], DisplayWidth(row[i]));
  }
  return widths;
}

size_t LineWidth(const std::vector<size_t>& widths) {
  return std::accumulate(widths.begin(), widths.end(), size_t{0}) + kGap * (widths.empty() ? 0 : widths.size() - 1);
}

// Takes from the widest columns that may be cut until the line fits or none is left to take from.
void Shrink(const Table& table, std::vector<size_t>& widths, size_t width) {
  while (LineWidth(widths) > width) {
    size_t* widest = nullptr;
    for (size_t i = 0; i < widths.size(); ++i) {
      if (table.columns[i].whole && widths[i] <= kWidestWholeColumn) continue;
      if (widths[i] > (widest == nullptr ? kNarrowestColumn : *widest)) widest = &widths[i];
    }
    if (widest == nullptr) return;
    --*widest;
  }
}

// The widths of the columns that are shown.
std::vector<size_t> FittingWidths(const Table& table, size_t width) {
  std::vector<size_t> widths = NaturalWidths(table);
  if (width == 0) return widths;
  const std::vector<size_t> natural = widths;
  Shrink(table, widths, width);
  while (widths.size() > 1 && LineWidth(widths) > width) {
    widths.assign(natural.begin(), natural.begin() + static_cast<ptrdiff_t>(widths.size()) - 1);
    Shrink(table, widths, width);
  }
  if (widths.size() == 1) widths[0] = std::min(widths[0], width);
  return widths;
}

void AppendCell(std::string& line, const std::string& text, size_t width, bool right_aligned, bool last) {
  const std::string cut = CutToWidth(text, width);
  const std::string padding(width - std::min(width, DisplayWidth(cut)), ' ');
  if (right_aligned) {
    line += padding + cut;
  } else {
    line += last ? cut : cut + padding;
  }
  if (!last) line += std::string(kGap, ' ');
}

}  // namespace

std::string LayOut(const Table& table, size_t width, bool styled) {
  const std::vector<size_t> widths = FittingWidths(table, width);
  std::string text;
  if (styled) text += kBold;
  for (size_t i = 0; i < widths.size(); ++i) {
    const TableColumn& column = table.columns[i];
    AppendCell(text, column.heading, widths[i], column.right_aligned, i + 1 == widths.size());
  }
  if (styled) text += kPlain;
  text += '\n';
  for (const std::vector<std::string>& row : table.rows) {
    for (size_t i = 0; i < widths.size(); ++i) {
      AppendCell(text, row[i], widths[i], table.columns[i].right_aligned, i + 1 == widths.size());
    }
    text.erase(text.find_last_not_of(' ') + 1);  // an empty last cell leaves blanks behind
    text += '\n';
  }
  const size_t left_out = table.columns.size() - widths.size();
  if (left_out > 0)
    text += CutToWidth(fmt::format("(+{} column{}, see --columns)", left_out, left_out == 1 ? "" : "s"), width) + "\n";
  return text;
}

std::string LayOutPairs(const std::vector<std::pair<std::string, std::string>>& pairs, bool styled) {
  size_t width = 0;
  for (const auto& [name, value] : pairs) width = std::max(width, DisplayWidth(name));
  std::string text;
  for (const auto& [name, value] : pairs) {
    const std::string padding(width - DisplayWidth(name), ' ');
    text += styled ? fmt::format("{}{}{}{}  {}\n", kBold, name, kPlain, padding, value)
                   : fmt::format("{}{}  {}\n", name, padding, value);
  }
  return text;
}

}  // namespace xkrdb
