// xkrdb check: reads everything that a database holds and judges it, first its file, row by row, then what the library
// reads in it. Nothing is written. A fault is something that the
// library could not have left behind; a warning is something that was stored as it is but will surprise.
#include <fmt/format.h>

#include <algorithm>
#include <optional>

#include "commands.h"
#include "database_formats.h"
#include "json_text.h"
#include "safe_text.h"
#include "terminal.h"
#include "tool_error.h"
#include "utf_text.h"
#include "value_rules.h"
#include "volume_findings.h"

namespace xkrdb {
namespace {

constexpr uint8_t kKnownStates = RecStateTouched | RecStateDeleted | RecStateNew;

struct Finding {
  bool fault;
  std::string where;
  std::string what;
};

class Checker {
 public:
  // findings: what was found in the file.
  Checker(Database& database, std::vector<Finding> findings) : database_(database), findings_(std::move(findings)) {}

  std::vector<Finding> Run() {
    Mark();
    Schema();
    Options();
    Settings();
    Guarded("value lists", [&] { (void)database_.ValueLists(); });
    Records();
    Log();
    return std::move(findings_);
  }

 private:
  void Fault(std::string where, std::string what) { findings_.push_back({true, std::move(where), std::move(what)}); }
  void Warning(std::string where, std::string what) { findings_.push_back({false, std::move(where), std::move(what)}); }

  // A read that fails is a fault of the place it read, and the check goes on.
  template <typename Step>
  void Guarded(const std::string& where, Step step) {
    try {
      step();
    } catch (const ToolError& error) {
      Fault(where, error.what());
    }
  }

  void Mark();
  void Schema();
  void Options();
  void Settings();
  void Records();
  void Log();
  void Values(const std::string& where, const Record& record);

  Database& database_;
  std::vector<Finding> findings_;
};

void Checker::Mark() {
  if (MDbVerifyChecksome(database_.env(), &database_.env()->agentRef) != MDbStatusOk) {
    Fault("mark", "the mark does not say that the database is whole");
  }
}

void Checker::Schema() {
  std::vector<std::u16string> names;
  for (const Field& field : database_.fields()) {
    const std::string where = fmt::format("field {}", Quoted(field.name));
    if (field.type < MDbFieldText || field.type > MDbFieldTime) {
      Warning(where, fmt::format("type {} is none of text, number, date and time", field.type));
    }
    if (field.name.empty()) Warning(where, "the name is empty");
    if (std::find(names.begin(), names.end(), field.name) != names.end()) Warning(where, "the name is there twice");
    if (!ToUtf8(field.name)) Warning(where, "the name holds half a surrogate pair and cannot be exported");
    names.push_back(field.name);
  }
}

void Checker::Options() {
  MDbEnv* env = database_.env();
  const size_t fields = database_.fields().size();
  int16_t count = 0;
  if (MDbFieldOpTblGetCount(env, &env->agentRef, &env->fieldOpTbl, &count) != MDbStatusOk) {
    return Fault("field options", "they cannot be counted");
  }
  if (static_cast<size_t>(count) != fields) {
    Warning("field options", fmt::format("there are {} for {} fields", count, fields));
  }
  for (int16_t i = 0; i < count; ++i) {
    MDbFldOption option{};
    MDbFldOptionEx extended{};
    if (MDbFieldOpTblReadOption(env, &env->agentRef, &env->fieldOpTbl, i, &option) != MDbStatusOk ||
        MDbFieldOpTblReadOptionEx(env, &env->agentRef, &env->fieldOpTbl, i, &extended) != MDbStatusOk) {
      Fault("field options", fmt::format("those of field {} cannot be read", i + 1));
    }
  }
  const std::vector<size_t> order = database_.DisplayOrder();
  for (size_t i = 0; i < order.size(); ++i) {
    if (database_.fields()[order[i]].display_order == i) continue;
    return Warning("field options", "the display orders are not 0, 1, 2, ... each once");
  }
}

void Checker::Settings() {
  Guarded("settings", [&] {
    const MDbAttrs attrs = database_.Attributes();
    const DateFormat date = attrs.dateFormat;
    const TimeFormat time = attrs.timeFormat;
    if (date.order > MDbDateOrderYearDayMonth) {
      Fault("settings", fmt::format("date order {} does not exist: no date can be read", date.order));
    }
    if (date.separator == 0) Warning("settings", "dates have no separator");
    if (time.separator == 0) Warning("settings", "times have no separator");
    (void)database_.Name();
  });
}

void Checker::Values(const std::string& where, const Record& record) {
  for (size_t i = 0; i < record.values.size(); ++i) {
    const Field& field = database_.fields()[i];
    const std::string place = fmt::format("{}, field {}", where, Quoted(field.name));
    const std::u16string& value = record.values[i];
    if (!ToUtf8(value)) Warning(place, "the value holds half a surrogate pair and cannot be exported");
    const std::optional<std::string> what = ValueProblem(database_.env(), field.type, field.max_size, value, false);
    if (what) Warning(place, *what);
  }
}

void Checker::Records() {
  Guarded("records", [&] {
    RecordSet all(database_);
    const uint32_t count = all.Count();
    if (count > MDB_MAX_RECORDS)
      Fault("records", fmt::format("{} of them, but at most {} are possible", count, +MDB_MAX_RECORDS));
    if (count != database_.RecordCount()) Fault("records", "two counts of them differ");
    Progress progress("checking records", count);
    for (uint32_t i = 0; i < count; ++i) {
      const std::string where = fmt::format("record {}", i + 1);
      Guarded(where, [&] {
        const Record record = all.Read(i);
        if ((record.state & ~kKnownStates) != 0 || (record.state & RecStateDeleted) != 0) {
          Warning(where, fmt::format("state {} is not one of a live record", record.state));
        }
        Values(where, record);
      });
      progress.Update(i + 1);
    }
  });
}

void Checker::Log() {
  Guarded("deletion log", [&] {
    const uint32_t all = database_.LogCount();
    const uint32_t count = std::min(all, kReachableLogEntries);
    if (all > count)
      Warning("deletion log", fmt::format("{} later entries are beyond the library's reach", all - count));
    Progress progress("checking the log", count);
    for (uint32_t i = 0; i < count; ++i) {
      const std::string where = fmt::format("log entry {}", i + 1);
      Guarded(where, [&] {
        const Record entry = database_.LogEntry(i);
        constexpr uint8_t kLogged = RecStateTouched | RecStateDeleted;
        if ((entry.state & kLogged) != kLogged)
          Fault(where, fmt::format("state {} is not one of a deleted record", entry.state));
      });
      progress.Update(i + 1);
    }
  });
}

std::string AsJson(const std::vector<Finding>& findings) {
  Json page = Json::array();
  for (const Finding& finding : findings) {
    page.push_back(
        Json{{"severity", finding.fault ? "fault" : "warning"}, {"where", finding.where}, {"what", finding.what}});
  }
  return JsonPage(page) + "\n";
}

std::string AsCsv(const std::vector<Finding>& findings) {
  std::vector<std::vector<std::string>> rows{{"severity", "where", "what"}};
  for (const Finding& finding : findings) {
    rows.push_back({finding.fault ? "fault" : "warning", finding.where, finding.what});
  }
  return FormatCsvRows(rows, ',', OutputIsTerminal() ? Controls::kEscaped : Controls::kRaw);
}

std::string AsText(const std::vector<Finding>& findings) {
  std::string text;
  for (const Finding& finding : findings) {
    text += fmt::format("{}: {}: {}\n", finding.fault ? "fault" : "warning", finding.where, finding.what);
  }
  return text;
}

std::string Counted(size_t count, const char* one, const char* several) {
  return fmt::format("{} {}", count, count == 1 ? one : several);
}

std::string InForm(const std::vector<Finding>& findings, const OutputOptions& output) {
  return output.json ? AsJson(findings) : output.csv ? AsCsv(findings) : AsText(findings);
}

// What is wrong with the file. A file that is not there, not permitted or in use is left to the opening to tell.
std::vector<Finding> FileFindings(const std::string& path) {
  std::vector<VolumeFinding> in_file;
  if (CheckVolume(path, in_file) == XKRVolumeNone) {
    throw ToolError(ExitCode::kNotDatabase, fmt::format("{} is not a database of this library", path));
  }
  std::vector<Finding> findings;
  findings.reserve(in_file.size());
  for (VolumeFinding& finding : in_file) {
    findings.push_back({finding.damage, std::move(finding.where), std::move(finding.what)});
  }
  return findings;
}

// The library refuses a file with damage in it, or a table of it. What is damaged is said all the same.
ExitCode ReportDamaged(const CheckOptions& options, const std::vector<Finding>& findings, const char* what_fails) {
  WriteOutput(InForm(findings, options.output));
  PrintMessage(fmt::format("xkrdb: {} is damaged and cannot be {}: {}; \"xkrdb repair\" saves what is sound",
                           options.database, what_fails, Counted(findings.size(), "fault", "faults")));
  return ExitCode::kNotDatabase;
}

// A table opens with its first records. Its last one is there only when all of them are.
bool CanReadWhole(Database& database) {
  try {
    RecordSet all(database);
    const uint32_t records = all.Count();
    if (records != 0) static_cast<void>(all.Read(records - 1));
    const uint32_t entries = std::min(database.LogCount(), kReachableLogEntries);
    if (entries != 0) static_cast<void>(database.LogEntry(entries - 1));
    return true;
  } catch (const ToolError&) {
    return false;
  }
}

}  // namespace

ExitCode RunCheck(const CheckOptions& options) {
  RequireDatabaseName(options.database);
  std::vector<Finding> findings = FileFindings(options.database);
  std::optional<Database> opened;
  try {
    opened.emplace(options.database);
  } catch (const ToolError& error) {
    if (findings.empty()) throw;
    if (error.code() == ExitCode::kNotDatabase) return ReportDamaged(options, findings, "opened");
    WriteOutput(InForm(findings, options.output));
    throw;
  }
  Database& database = *opened;
  if (!findings.empty() && !CanReadWhole(database)) return ReportDamaged(options, findings, "read whole");
  findings = Checker(database, std::move(findings)).Run();
  const uint32_t records = database.RecordCount();
  const uint32_t entries = database.LogCount();
  database.Close();
  WriteOutput(InForm(findings, options.output));
  const auto faults =
      std::count_if(findings.begin(), findings.end(), [](const Finding& finding) { return finding.fault; });
  const auto warnings = static_cast<ptrdiff_t>(findings.size()) - faults;
  PrintMessage(fmt::format("{}: {}, {}, {}: {}, {}", options.database,
                           Counted(database.fields().size(), "field", "fields"), Counted(records, "record", "records"),
                           Counted(entries, "log entry", "log entries"),
                           Counted(static_cast<size_t>(faults), "fault", "faults"),
                           Counted(static_cast<size_t>(warnings), "warning", "warnings")));
  return faults == 0 ? ExitCode::kDone : ExitCode::kNothingFound;
}

}  // namespace xkrdb
