// xkrdb add, set, dup and rm: each change is on the disk when its call returns. Everything that can be judged is judged
// before the first change, so that a mistake in the last argument changes nothing.
#include <fmt/format.h>

#include <algorithm>
#include <set>

#include "commands.h"
#include "safe_text.h"
#include "terminal.h"
#include "tool_error.h"
#include "value_rules.h"

namespace xkrdb {
namespace {

using Assignment = std::pair<size_t, std::u16string>;

std::vector<Assignment> Assignments(Database& database, const EditOptions& options) {
  std::vector<Assignment> assignments;
  std::set<size_t> seen;
  for (const std::string& typed : options.values) {
    Assignment assignment = FieldAndText(database.fields(), typed);
    const Field& field = database.fields()[assignment.first];
    if (!seen.insert(assignment.first).second) {
      throw ToolError(ExitCode::kUsage, fmt::format("the field {} is given twice", Quoted(field.name)));
    }
    const std::optional<std::string> what =
        ValueProblem(database.env(), field.type, field.max_size, assignment.second, options.any_value);
    if (what)
      throw ToolError(ExitCode::kBadInput, fmt::format("field {}: {}; nothing was changed", Quoted(field.name), *what));
    assignments.push_back(std::move(assignment));
  }
  return assignments;
}

std::string Numbers(size_t count) { return fmt::format("{} record{}", count, count == 1 ? "" : "s"); }

}  // namespace

ExitCode RunAdd(const EditOptions& options) {
  RequireDatabaseName(options.database);
  Database database(options.database);
  std::vector<const MDbChar*> texts(database.fields().size(), u"");
  const std::vector<Assignment> assignments = Assignments(database, options);
  for (const Assignment& assignment : assignments) texts[assignment.first] = assignment.second.c_str();
  MDbEnv* env = database.env();
  const MDbRecInfo no_info{};
  // One call and one flush: the record is there with all its values or not at all.
  Require(MDbDataTblAddRec(env, &env->agentRef, &env->dataTbl, &no_info, texts.data(),
                           static_cast<int16_t>(texts.size()), 0, nullptr, nullptr),
          "adding the record");
  const uint32_t number = database.RecordCount();
  database.Close();
  WriteOutput(fmt::format("{}\n", number));
  return ExitCode::kDone;
}

ExitCode RunSet(const EditOptions& options) {
  RequireDatabaseName(options.database);
  Database database(options.database);
  const std::vector<Assignment> assignments = Assignments(database, options);
  const std::vector<uint32_t> numbers = RecordNumbers(options.numbers, database.RecordCount());
  {
    RecordSet all(database);
    for (const uint32_t number : numbers) {
      const std::string what = fmt::format("changing record {}", number);
      Require(MDbRecsetSetInx(database.env(), all.get(), static_cast<int16_t>(number - 1)), what);
      Require(MDbRecsetOpenRec(database.env(), all.get()), what);
      for (const auto& [field, text] : assignments) {
        Require(MDbRecsetSetField(database.env(), all.get(), static_cast<int16_t>(field), text.c_str()), what);
      }
      Require(MDbRecsetCloseRec(database.env(), all.get()), what);
    }
  }
  database.Close();
  PrintMessage(fmt::format("{} changed", Numbers(numbers.size())));
  return ExitCode::kDone;
}

ExitCode RunDup(const EditOptions& options) {
  RequireDatabaseName(options.database);
  Database database(options.database);
  const std::vector<uint32_t> numbers = RecordNumbers(options.numbers, database.RecordCount());
  std::string made;
  {
    RecordSet all(database);
    for (const uint32_t number : numbers) {
      const std::string what = fmt::format("copying record {}", number);
      uint16_t index = 0;
      Require(MDBRecsetDupRec(database.env(), all.get(), static_cast<int16_t>(number - 1), &index), what);
      made += fmt::format("{}\n", index + 1);
    }
  }
  database.Close();
  WriteOutput(made);
  return ExitCode::kDone;
}

ExitCode RunRemove(const RemoveOptions& options) {
  RequireDatabaseName(options.database);
  const bool selects = !options.selection.where.empty();
  if ((options.numbers.empty() ? 0 : 1) + (selects ? 1 : 0) + (options.all ? 1 : 0) != 1) {
    throw ToolError(ExitCode::kUsage, "rm takes record numbers, or --where, or --all");
  }
  Database database(options.database);
  std::vector<Record> records = SelectRecords(database, options.selection);
  if (!options.numbers.empty()) {
    const std::vector<uint32_t> numbers = RecordNumbers(options.numbers, database.RecordCount());
    std::vector<Record> named;
    named.reserve(numbers.size());
    for (const uint32_t number : numbers) named.push_back(std::move(records[number - 1]));
    records = std::move(named);
  }
  if (options.dry_run) {
    const std::string text = FormatRecords(database, records, {});
    database.Close();
    WriteOutput(text);
    PrintMessage(fmt::format("{} would be deleted", Numbers(records.size())));
    return records.empty() && selects ? ExitCode::kNothingFound : ExitCode::kDone;
  }
  const auto unlogged = std::count_if(records.begin(), records.end(),
                                      [](const Record& record) { return (record.state & RecStateNew) != 0; });
  // From the last one backwards, so that the numbers of the others stay what they are.
  std::sort(records.begin(), records.end(), [](const Record& a, const Record& b) { return a.number > b.number; });
  {
    RecordSet all(database);
    Progress progress("deleting records", records.size());
    for (size_t i = 0; i < records.size(); ++i) {
      Require(MDbRecsetDelRec(database.env(), all.get(), static_cast<int16_t>(records[i].number - 1),
                              options.no_log ? 1 : 0),
              fmt::format("deleting record {}", records[i].number));
      progress.Update(i + 1);
    }
  }
  database.Close();
  if (records.empty() && selects) {
    PrintMessage("nothing found");
    return ExitCode::kNothingFound;
  }
  PrintMessage(fmt::format("{} deleted", Numbers(records.size())));
  if (unlogged > 0 && !options.no_log) {
    PrintMessage(fmt::format("note: {} of them had been added here; such records are not logged", unlogged));
  }
  return ExitCode::kDone;
}

}  // namespace xkrdb
