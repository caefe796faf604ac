// CSV as the tool reads it, against a second reading that cuts the whole text at once.
//
// Input: delimiter, size of the blocks that the text arrives in, then the file.
#include <algorithm>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "csv_reader.h"
#include "input_bytes.h"
#include "requirement.h"
#include "safe_text.h"
#include "tool_error.h"
#include "utf_text.h"

namespace {

using xkrdb::CsvReadOptions;
using xkrdb::CsvTable;

std::optional<CsvTable> Read(std::string_view text, size_t block_size, const CsvReadOptions& options) {
  const auto next_block = [&](size_t) {
    const std::string_view block = text.substr(0, block_size);
    text.remove_prefix(block.size());
    return block;
  };
  try {
    return xkrdb::ReadCsvBlocks("input", next_block, options);
  } catch (const xkrdb::ToolError&) {
    return std::nullopt;  // UTF-16
  }
}

bool Same(const CsvTable& a, const CsvTable& b) {
  const auto same_row = [](const xkrdb::CsvRow& x, const xkrdb::CsvRow& y) {
    return x.line == y.line && x.values == y.values;
  };
  const auto same_problem = [](const xkrdb::CsvProblem& x, const xkrdb::CsvProblem& y) {
    return x.line == y.line && x.what == y.what;
  };
  return a.header == b.header && a.header_line == b.header_line && a.row_count == b.row_count &&
         a.blank_lines == b.blank_lines &&
         std::equal(a.rows.begin(), a.rows.end(), b.rows.begin(), b.rows.end(), same_row) &&
         std::equal(a.problems.begin(), a.problems.end(), b.problems.begin(), b.problems.end(), same_problem);
}

struct PlainRow {
  size_t line = 0;
  std::vector<std::string> values;
};

// The second reading: rows of bytes, or nothing when a quote stands where none may.
class PlainReader {
 public:
  PlainReader(std::string_view text, char delimiter) : text_(text), delimiter_(delimiter) {}

  std::optional<std::vector<PlainRow>> Rows() {
    std::vector<PlainRow> rows;
    for (SkipLineEnds(); at_ < text_.size(); SkipLineEnds()) {
      PlainRow row{LineOf(at_), {}};
      do {
        if (!Value(row.values)) return std::nullopt;
      } while (Take(delimiter_));
      if (at_ < text_.size() && !IsLineEnd(text_[at_])) return std::nullopt;
      rows.push_back(std::move(row));
    }
    return rows;
  }

  // Positions may be asked for in ascending order only.
  size_t LineOf(size_t position) {
    for (; counted_ < position; ++counted_) {
      const bool first_half = text_[counted_] == '\r' && counted_ + 1 < text_.size() && text_[counted_ + 1] == '\n';
      if (IsLineEnd(text_[counted_]) && !first_half) ++line_;
    }
    return line_;
  }

 private:
  static bool IsLineEnd(char c) { return c == '\r' || c == '\n'; }
  bool Take(char c) {
    if (at_ == text_.size() || text_[at_] != c) return false;
    ++at_;
    return true;
  }
  void SkipLineEnds() {
    while (at_ < text_.size() && IsLineEnd(text_[at_])) ++at_;
  }
  bool Value(std::vector<std::string>& values) {
    std::string value;
    if (Take('"')) {
      for (;;) {
        const size_t quote = text_.find('"', at_);
        if (quote == std::string_view::npos) return false;
        value += text_.substr(at_, quote - at_);
        at_ = quote + 1;
        if (!Take('"')) break;
        value += '"';
      }
    } else {
      for (; at_ < text_.size() && text_[at_] != delimiter_ && !IsLineEnd(text_[at_]); ++at_) {
        if (text_[at_] == '"') return false;
        value += text_[at_];
      }
    }
    values.push_back(std::move(value));
    return true;
  }

  std::string_view text_;
  char delimiter_;
  size_t at_ = 0;
  size_t counted_ = 0;
  size_t line_ = 1;
};

bool IsStorable(const std::string& value) {
  return !xkrdb::FirstBadByte(value) && value.find('\0') == std::string::npos;
}

size_t BadValues(const PlainRow& row) {
  return static_cast<size_t>(
      std::count_if(row.values.begin(), row.values.end(), [](const std::string& value) { return !IsStorable(value); }));
}

std::vector<std::u16string> Wide(const std::vector<std::string>& values) {
  std::vector<std::u16string> wide;
  for (const std::string& value : values) wide.push_back(xkrdb::ToWide(value).value_or(std::u16string()));
  return wide;
}

void CompareWithPlain(const CsvTable& table, const std::vector<PlainRow>& rows) {
  if (rows.empty()) {
    FUZZ_REQUIRE(table.header.empty() && table.row_count == 0 && table.problems.empty(),
                 "nothing is read from nothing");
    return;
  }
  FUZZ_REQUIRE(table.header == Wide(rows[0].values), "both readings have the same heading");
  FUZZ_REQUIRE(table.header_line == rows[0].line, "in the same line");
  FUZZ_REQUIRE(table.row_count == rows.size() - 1, "both readings have as many rows");
  size_t problems = BadValues(rows[0]);
  size_t kept = 0;
  for (size_t i = 1; i < rows.size(); ++i) {
    const bool short_or_long = rows[i].values.size() != table.header.size();
    const size_t found = BadValues(rows[i]) + (short_or_long ? 1 : 0);
    problems += found;
    if (found > 0) continue;
    FUZZ_REQUIRE(kept < table.rows.size(), "a row without a problem is kept");
    FUZZ_REQUIRE(table.rows[kept].line == rows[i].line, "with its line");
    FUZZ_REQUIRE(table.rows[kept].values == Wide(rows[i].values), "and its values, byte for byte");
    ++kept;
  }
  FUZZ_REQUIRE(kept == table.rows.size(), "no other row is kept");
  FUZZ_REQUIRE(problems == table.problems.size(), "every problem is told");
}

void CheckTable(const CsvTable& table, size_t lines) {
  size_t line = 0;
  for (const auto& row : table.rows) {
    FUZZ_REQUIRE(row.values.size() == table.header.size(), "a row that is kept has a value for each column");
    FUZZ_REQUIRE(row.line > line && row.line <= lines, "rows are in the order of lines");
    line = row.line;
    for (const std::u16string& value : row.values) {
      FUZZ_REQUIRE(xkrdb::ToUtf8(value).has_value() && value.find(u'\0') == std::u16string::npos,
                   "a value that is kept can be stored and written again");
    }
  }
  FUZZ_REQUIRE(table.rows.size() <= table.row_count, "kept rows are among all rows");
  line = 0;
  for (const auto& problem : table.problems) {
    FUZZ_REQUIRE(problem.line >= line && problem.line >= 1 && problem.line <= lines, "problems are in order of lines");
    line = problem.line;
    if (&problem != &table.problems.front()) continue;  // one is enough: most of the time went here
    const std::string shown = xkrdb::SafeText(problem.what);
    FUZZ_REQUIRE(std::none_of(shown.begin(), shown.end(), [](char c) { return (c >= 0 && c < ' ') || c == '\x7F'; }),
                 "what is shown has no control characters");
  }
}

std::string Written(const CsvTable& table, char delimiter) {
  std::string text;
  const auto write = [&](const std::vector<std::u16string>& values) {
    for (size_t i = 0; i < values.size(); ++i) {
      if (i > 0) text += delimiter;
      text += '"';
      for (const char c : xkrdb::ToUtf8(values[i]).value_or(std::string()))
        text += c == '"' ? "\"\"" : std::string(1, c);
      text += '"';
    }
    text += "\r\n";
  };
  write(table.header);
  for (const auto& row : table.rows) write(row.values);
  return text;
}

void CheckWrittenAgain(const CsvTable& table, const CsvReadOptions& options) {
  if (table.header.empty() || (table.header.size() == 1 && table.header[0].starts_with(u'\uFEFF'))) return;
  for (const std::u16string& name : table.header) {
    if (name.find(u'\0') != std::u16string::npos) return;
  }
  const std::optional<CsvTable> again = Read(Written(table, options.delimiter), 1 << 16, options);
  FUZZ_REQUIRE(again && again->problems.empty(), "what was read can be written and read");
  FUZZ_REQUIRE(again->header == table.header && again->row_count == table.rows.size(),
               "with the same columns and rows");
  for (size_t i = 0; i < table.rows.size(); ++i) {
    FUZZ_REQUIRE(again->rows[i].values == table.rows[i].values, "and the same values");
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  fuzz::InputBytes input(data, size);
  constexpr char kDelimiters[] = {',', ';', '\t', '|', ' ', 'a'};
  CsvReadOptions options;
  options.delimiter = kDelimiters[input.Byte() % sizeof kDelimiters];
  const size_t block_size = 1 + input.Byte() % 16;
  std::string_view text(reinterpret_cast<const char*>(input.rest().data()), input.rest().size());
  const std::optional<CsvTable> table = Read(text, 1 << 16, options);
  const std::optional<CsvTable> in_blocks = Read(text, block_size, options);
  FUZZ_REQUIRE(table.has_value() == in_blocks.has_value(), "blocks make no difference");
  const bool is_utf16 = text.starts_with("\xFF\xFE") || text.starts_with("\xFE\xFF");
  if (text.starts_with("\xEF\xBB\xBF")) text.remove_prefix(3);
  FUZZ_REQUIRE(table.has_value() == !is_utf16, "UTF-16 and nothing else is refused");
  if (!table) return 0;
  FUZZ_REQUIRE(Same(*table, *in_blocks), "blocks make no difference");
  PlainReader plain(text, options.delimiter);
  const auto rows = plain.Rows();
  CheckTable(*table, plain.LineOf(text.size()));
  if (rows) {
    CompareWithPlain(*table, *rows);
  } else {
    FUZZ_REQUIRE(!table->problems.empty(), "a quote where none may stand is a problem");
  }
  CheckWrittenAgain(*table, options);
  return 0;
}
