// CSV is quoted where a reader could otherwise take a value for something else, and nowhere else.
#include "record_output.h"

#include <csv.h>
#include <fmt/format.h>

#include <algorithm>
#include <charconv>

#include "json_text.h"
#include "record_selection.h"
#include "safe_text.h"
#include "terminal.h"
#include "tool_error.h"
#include "utf_text.h"
#include "value_rules.h"

namespace xkrdb {
namespace {

constexpr std::string_view kByteOrderMark = "\xEF\xBB\xBF";
constexpr const char* kNumberHeading = "#";

std::string Utf8Value(const Record& record, const Field& field, const std::u16string& value) {
  if (std::optional<std::string> utf8 = ToUtf8(value)) return *utf8;
  throw ToolError(
      ExitCode::kBadInput,
      fmt::format("record {}, field {}: {} holds half a surrogate pair, which UTF-8 cannot express; nothing "
                  "was written",
                  record.number, Quoted(field.name), Quoted(value)));
}

std::string Utf8Name(const Field& field) {
  if (std::optional<std::string> utf8 = ToUtf8(field.name)) return *utf8;
  throw ToolError(ExitCode::kBadInput, fmt::format("the field name {} holds half a surrogate pair, which UTF-8 cannot "
                                                   "express; nothing was written",
                                                   Quoted(field.name)));
}

bool NeedsQuotes(std::string_view value, char delimiter, bool only_column) {
  if (value.empty()) return only_column;  // else it would be a blank line, which readers skip
  const bool blank_end = value.front() == ' ' || value.front() == '\t' || value.back() == ' ' || value.back() == '\t';
  return blank_end || value.find_first_of(std::string("\"\r\n") + delimiter) != std::string_view::npos ||
         value.starts_with(kByteOrderMark);
}

void AppendCsvValue(std::string& text, std::string_view value, char delimiter, bool only_column) {
  if (!NeedsQuotes(value, delimiter, only_column)) {
    text += value;
    return;
  }
  const size_t start = text.size();
  text.resize(start + value.size() * 2 + 2);
  text.resize(start + csv_write(text.data() + start, text.size() - start, value.data(), value.size()));
}

void AppendCsvRow(std::string& text, const std::vector<std::string>& values, char delimiter, Controls controls) {
  for (size_t i = 0; i < values.size(); ++i) {
    if (i > 0) text += delimiter;
    const std::string shown = controls == Controls::kEscaped ? SafeText(values[i]) : values[i];
    AppendCsvValue(text, shown, delimiter, values.size() == 1);
  }
  text += '\n';
}

// Names as members of an object, where each must be there once.
std::vector<std::string> UniqueNames(const std::vector<Field>& fields, const std::vector<size_t>& columns) {
  std::vector<std::string> names;
  for (const size_t column : columns) {
    const std::string name = Utf8Name(fields[column]);
    std::string unique = name;
    for (int copy = 2; std::find(names.begin(), names.end(), unique) != names.end(); ++copy) {
      unique = fmt::format("{} ({})", name, copy);
    }
    names.push_back(unique);
  }
  return names;
}

Json JsonValue(const Field& field, const std::u16string& value, std::string utf8) {
  if (field.type != MDbFieldNumber || !IsCanonicalNumber(value)) return utf8;
  int32_t number = 0;
  std::from_chars(utf8.data(), utf8.data() + utf8.size(), number);
  return number;
}

}  // namespace

std::string FormatCsvRows(const std::vector<std::vector<std::string>>& rows, char delimiter, Controls controls) {
  std::string text;
  for (const std::vector<std::string>& row : rows) AppendCsvRow(text, row, delimiter, controls);
  return text;
}

std::string FormatCsv(const std::vector<Field>& fields, const std::vector<size_t>& columns,
                      const std::vector<Record>& records, const OutputOptions& options, Controls controls) {
  std::string text;
  std::vector<std::string> row;
  if (options.numbers) row.push_back(kNumberHeading);
  for (const size_t column : columns) row.push_back(Utf8Name(fields[column]));
  AppendCsvRow(text, row, options.delimiter, controls);
  for (const Record& record : records) {
    row.clear();
    if (options.numbers) row.push_back(fmt::to_string(record.number));
    for (const size_t column : columns) row.push_back(Utf8Value(record, fields[column], record.values[column]));
    AppendCsvRow(text, row, options.delimiter, controls);
  }
  return text;
}

std::string FormatJson(const std::vector<Field>& fields, const std::vector<size_t>& columns,
                       const std::vector<Record>& records, const OutputOptions& options) {
  const std::vector<std::string> names = UniqueNames(fields, columns);
  std::string text = "[";
  for (const Record& record : records) {
    Json object = Json::object();
    if (options.numbers) object[kNumberHeading] = record.number;
    for (size_t i = 0; i < columns.size(); ++i) {
      const Field& field = fields[columns[i]];
      const std::u16string& value = record.values[columns[i]];
      object[names[i]] = JsonValue(field, value, Utf8Value(record, field, value));
    }
    text += (text.size() == 1 ? "\n  " : ",\n  ") + JsonLine(object);
  }
  return text + (records.empty() ? "]\n" : "\n]\n");
}

Table RecordTable(const std::vector<Field>& fields, const std::vector<size_t>& columns,
                  const std::vector<Record>& records) {
  Table table;
  table.columns.push_back({kNumberHeading, true, true});
  for (const size_t column : columns) {
    const uint8_t type = fields[column].type;
    table.columns.push_back({SafeText(fields[column].name), type == MDbFieldNumber, type > MDbFieldText});
  }
  for (const Record& record : records) {
    std::vector<std::string> row{fmt::to_string(record.number)};
    for (const size_t column : columns) row.push_back(SafeText(record.values[column]));
    table.rows.push_back(std::move(row));
  }
  return table;
}

std::string FormatRecords(const Database& database, const std::vector<Record>& records, const OutputOptions& options) {
  const std::vector<Field>& fields = database.fields();
  const std::vector<size_t> columns = FindColumns(database, options.columns);
  if (options.json) return FormatJson(fields, columns, records, options);
  if (options.csv) {
    const Controls controls = OutputIsTerminal() ? Controls::kEscaped : Controls::kRaw;
    return FormatCsv(fields, columns, records, options, controls);
  }
  if (records.empty()) return {};
  return LayOut(RecordTable(fields, columns, records), OutputWidth(), OutputIsStyled());
}

std::string StateText(uint8_t state) {
  std::string text;
  const auto add = [&](int bit, const char* word) {
    if ((state & bit) != 0) text += (text.empty() ? "" : ", ") + std::string(word);
  };
  add(RecStateNew, "new here");
  add(RecStateTouched, "touched");
  add(RecStateDeleted, "deleted");
  return text.empty() ? "as imported" : text;
}

}  // namespace xkrdb
