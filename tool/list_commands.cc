// xkrdb list, find and show: records on standard output.
#include <fmt/format.h>

#include "commands.h"
#include "json_text.h"
#include "safe_text.h"
#include "terminal.h"
#include "utf_text.h"

namespace xkrdb {
namespace {

std::string RecordPage(const Database& database, const Record& record, const std::vector<size_t>& columns) {
  std::vector<std::pair<std::string, std::string>> pairs;
  pairs.emplace_back("#", fmt::format("{} ({})", record.number, StateText(record.state)));
  for (const size_t column : columns) {
    pairs.emplace_back(SafeText(database.fields()[column].name), SafeText(record.values[column]));
  }
  return LayOutPairs(pairs, OutputIsStyled());
}

// The records' text is made while the database is open and written when it is closed.
ExitCode PrintRecords(Database& database, const std::vector<Record>& records, const OutputOptions& output,
                      bool searched) {
  const std::string text = FormatRecords(database, records, output);
  const uint32_t all = database.RecordCount();
  database.Close();
  WriteOutput(text);
  if (records.empty() && searched) {
    PrintMessage("nothing found");
    return ExitCode::kNothingFound;
  }
  if (records.empty() && !output.json && !output.csv) PrintMessage(fmt::format("{} has no records", database.path()));
  if (OutputIsTerminal() && searched) PrintMessage(fmt::format("{} of {} records", records.size(), all));
  return ExitCode::kDone;
}

}  // namespace

ExitCode RunList(const ListOptions& options) {
  RequireDatabaseName(options.database);
  Database database(options.database);
  // Wrong names are told before a search takes its time.
  (void)FindColumns(database, options.output.columns);
  const std::vector<Record> records = SelectRecords(database, options.selection);
  const bool searched = !options.selection.where.empty();
  if (!options.count) return PrintRecords(database, records, options.output, searched);
  database.Close();
  WriteOutput(fmt::format("{}\n", records.size()));
  return records.empty() && searched ? ExitCode::kNothingFound : ExitCode::kDone;
}

ExitCode RunFind(const FindOptions& options) {
  RequireDatabaseName(options.database);
  std::string text;
  for (const std::string& word : options.words) text += (text.empty() ? "" : " ") + word;
  const std::u16string wide = WideArgument(text);
  if (wide.find_first_not_of(u" \t") == std::u16string::npos) {
    throw ToolError(ExitCode::kUsage, "find needs a word to look for");
  }
  Database database(options.database);
  const std::vector<size_t> fields = FindColumns(database, options.fields);
  const std::vector<Record> records = FindByWords(database, fields, wide);
  return PrintRecords(database, records, options.output, true);
}

ExitCode RunShow(const ShowOptions& options) {
  RequireDatabaseName(options.database);
  Database database(options.database);
  const std::vector<size_t> columns = FindColumns(database, options.output.columns);
  std::vector<Record> records;
  {
    RecordSet all(database);
    for (const uint32_t number : RecordNumbers(options.numbers, all.Count())) {
      records.push_back(all.Read(number - 1));
      records.back().number = number;
    }
  }
  if (options.output.json || options.output.csv) return PrintRecords(database, records, options.output, false);
  std::string text;
  for (const Record& record : records) {
    text += (text.empty() ? "" : "\n") + RecordPage(database, record, columns);
  }
  database.Close();
  WriteOutput(text);
  return ExitCode::kDone;
}

}  // namespace xkrdb
