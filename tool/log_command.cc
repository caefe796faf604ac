// xkrdb log: the records that were deleted, in the order of their deletion.
#include <fmt/format.h>

#include <algorithm>

#include "commands.h"
#include "terminal.h"

namespace xkrdb {

ExitCode RunLog(const LogOptions& options) {
  RequireDatabaseName(options.database);
  Database database(options.database);
  std::vector<Record> entries;
  const uint32_t all = database.LogCount();
  const uint32_t count = std::min(all, kReachableLogEntries);
  Progress progress("reading the log", count);
  for (uint32_t i = 0; i < count; ++i) {
    entries.push_back(database.LogEntry(i));
    progress.Update(i + 1);
  }
  const std::string text = FormatRecords(database, entries, options.output);
  database.Close();
  WriteOutput(text);
  if (all > count) PrintMessage(fmt::format("note: {} later entries are beyond the library's reach", all - count));
  if (count == 0) PrintMessage("the deletion log is empty");
  return ExitCode::kDone;
}

}  // namespace xkrdb
