// xkrdb import: a CSV file into a new database or behind the records of one that exists. All or nothing.
#include <fmt/format.h>

#include <algorithm>

#include "commands.h"
#include "csv_reader.h"
#include "database_maker.h"
#include "import_plan.h"
#include "interruption.h"
#include "name_suggestion.h"
#include "open_failure.h"
#include "safe_text.h"
#include "terminal.h"
#include "utf_text.h"
#include "value_rules.h"

namespace xkrdb {
namespace {

RecordSource SourceOf(const CsvTable& table, const std::vector<TargetField>& fields, const std::string& file) {
  RecordSource source;
  source.count = table.rows.size();
  source.texts = [&table, &fields](size_t i) {
    std::vector<const MDbChar*> texts;
    texts.reserve(fields.size());
    for (const TargetField& field : fields)
      texts.push_back(field.column ? table.rows[i].values[*field.column].c_str() : u"");
    return texts;
  };
  source.name = [&table, file](size_t i) { return fmt::format("{}:{}", file, table.rows[i].line); };
  return source;
}

std::vector<std::u16string> HeaderNames(const std::string& typed) {
  std::vector<std::u16string> names;
  for (size_t start = 0; !typed.empty() && start <= typed.size();) {
    const size_t comma = std::min(typed.find(',', start), typed.size());
    names.push_back(WideArgument(typed.substr(start, comma - start)));
    start = comma + 1;
  }
  return names;
}

// One column that holds the usual separators was probably meant to be several.
void HintAtDelimiter(const CsvTable& table, char delimiter) {
  if (table.header.size() != 1) return;
  for (const char other : {',', ';', '\t', '|'}) {
    if (other == delimiter || table.header[0].find(static_cast<char16_t>(other)) == std::u16string::npos) continue;
    PrintMessage(fmt::format("note: the heading is one column with '{}' in it; perhaps --delimiter '{}' is needed",
                             other, other == '\t' ? "tab" : std::string(1, other)));
    return;
  }
}

void PrintTypes(const CsvTable& table, const TypeProposal& proposal) {
  std::vector<std::pair<std::string, std::string>> lines;
  for (size_t i = 0; i < proposal.types.size(); ++i) {
    std::string text = TypeName(proposal.types[i]);
    if (proposal.types[i] == MDbFieldDate) text += fmt::format(" ({})", DateOrderName(proposal.date_format.order));
    if (!proposal.notes[i].empty() && proposal.types[i] == MDbFieldText)
      text += fmt::format(" ({})", proposal.notes[i]);
    lines.emplace_back("  " + SafeText(table.header[i]), text);
  }
  const std::string page = LayOutPairs(lines, false);
  for (size_t start = 0; start < page.size();) {
    const size_t end = page.find('\n', start);
    PrintMessage(page.substr(start, end - start));
    start = end + 1;
  }
}

std::string Rows(size_t count) { return fmt::format("{} record{}", count, count == 1 ? "" : "s"); }

ExitCode ImportNew(const ImportOptions& options, const CsvTable& table, ProblemList& problems) {
  TypeRequest request;
  request.types = RequestedTypes(options.types, table);
  if (!options.date_order.empty()) request.date_order = DateOrderFromName(options.date_order);
  const Interruption interruption;  // from here on there are files to remove
  ScratchDatabase scratch;
  const TypeProposal proposal = ProposeTypes(table, request, scratch);
  const std::vector<uint32_t> sizes = scratch.MaxSizes(proposal.types);
  std::vector<TargetField> fields;
  for (size_t i = 0; i < sizes.size(); ++i) fields.push_back({proposal.types[i], sizes[i], i});
  CheckValues(scratch.env(), table, fields, options.any_value, problems);
  CheckRoom(table, 0, problems);
  problems.Report();
  const std::string file = CsvName(options.file);
  if (options.dry_run) {
    PrintMessage(fmt::format("{}: would be made with {} from {}:", options.database, Rows(table.row_count), file));
    PrintTypes(table, proposal);
    return ExitCode::kDone;
  }
  DatabaseDesign design;
  design.name = WideArgument(options.name.empty() ? DatabaseTitle(options.database) : options.name);
  design.field_names = table.header;
  design.field_types = proposal.types;
  design.date_format = proposal.date_format;
  design.time_format = proposal.time_format;
  MakeDatabase(options.database, design, SourceOf(table, fields, file));
  PrintMessage(fmt::format("{}: made with {} from {}:", options.database, Rows(table.row_count), file));
  PrintTypes(table, proposal);
  return ExitCode::kDone;
}

// The columns of the file beside the fields of the database, by name.
std::vector<TargetField> MatchColumns(const Database& database, const CsvTable& table, ProblemList& problems) {
  std::vector<TargetField> fields;
  std::vector<std::string> names;
  for (const Field& field : database.fields()) {
    fields.push_back({field.type, field.max_size, std::nullopt});
    names.push_back(ToUtf8(field.name).value_or(""));
  }
  for (size_t column = 0; column < table.header.size(); ++column) {
    const auto& all = database.fields();
    const auto found =
        std::find_if(all.begin(), all.end(), [&](const Field& field) { return field.name == table.header[column]; });
    if (found != all.end()) {
      fields[static_cast<size_t>(found - all.begin())].column = column;
      continue;
    }
    const std::optional<std::string> nearest = NearestName(ToUtf8(table.header[column]).value_or(""), names);
    problems.Add(std::max<size_t>(table.header_line, 1),
                 fmt::format("{} has no field {}{}", database.path(), Quoted(table.header[column]),
                             nearest ? fmt::format("; did you mean {}?", Quoted(*nearest)) : ""));
  }
  return fields;
}

ExitCode ImportInto(const ImportOptions& options, const CsvTable& table, ProblemList& problems) {
  if (!options.types.empty() || !options.date_order.empty() || !options.name.empty()) {
    throw ToolError(ExitCode::kUsage,
                    fmt::format("{} exists: its types, formats and name are as they are", options.database));
  }
  Database database(options.database);
  const std::vector<TargetField> fields = MatchColumns(database, table, problems);
  CheckValues(database.env(), table, fields, options.any_value, problems);
  CheckRoom(table, database.RecordCount(), problems);
  problems.Report();
  for (size_t i = 0; i < fields.size(); ++i) {
    if (fields[i].column) continue;
    PrintMessage(fmt::format("note: no column for the field {}; it stays empty", Quoted(database.fields()[i].name)));
  }
  const std::string file = CsvName(options.file);
  if (options.dry_run) {
    PrintMessage(fmt::format("{}: {} would be added from {}", options.database, Rows(table.row_count), file));
    return ExitCode::kDone;
  }
  AddRecords(database, SourceOf(table, fields, file));
  PrintMessage(fmt::format("{}: {} added from {}", options.database, Rows(table.row_count), file));
  return ExitCode::kDone;
}

}  // namespace

ExitCode RunImport(const ImportOptions& options) {
  RequireDatabaseName(options.database);
  CsvReadOptions read;
  read.delimiter = DelimiterOf(options.delimiter, options.file);
  read.header = HeaderNames(options.header);
  const CsvTable table = ReadCsv(options.file, read);
  ProblemList problems(CsvName(options.file), table.problems);
  CheckHeader(table, problems);
  HintAtDelimiter(table, read.delimiter);
  if (table.header.size() == 1 && table.blank_lines > 0) {
    PrintMessage(fmt::format("note: {} blank line{} skipped; an empty value of the only column is written \"\"",
                             table.blank_lines, table.blank_lines == 1 ? " was" : "s were"));
  }
  if (table.header.empty()) problems.Report();
  return FileExists(options.database) ? ImportInto(options, table, problems) : ImportNew(options, table, problems);
}

}  // namespace xkrdb
