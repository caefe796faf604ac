// The commands of the tool: what each takes from the command line, and the function that does it. A command returns its
// exit code or throws ToolError; it closes its database before it writes its output.
#ifndef XKRDB_TOOL_COMMANDS_H
#define XKRDB_TOOL_COMMANDS_H

#include <optional>
#include <string>
#include <vector>

#include "record_output.h"
#include "record_selection.h"
#include "tool_error.h"

namespace xkrdb {

struct FormatOptions {
  std::string date_order;      // "ymd", "dmy", ...; empty: found or the default
  std::string date_separator;  // one character
  bool twelve_hour = false;
};

struct NewOptions {
  std::string database;
  std::vector<std::string> fields;  // NAME=TYPE or NAME
  std::string name;
  std::vector<std::string> value_lists;
  FormatOptions formats;
};
ExitCode RunNew(const NewOptions& options);

struct ImportOptions {
  std::string database;
  std::string file;
  std::string types;   // NAME=TYPE,...
  std::string header;  // NAME,...: the file has no heading line
  std::string name;
  std::string date_order;
  std::string delimiter;
  bool any_value = false;
  bool dry_run = false;
};
ExitCode RunImport(const ImportOptions& options);

struct InfoOptions {
  std::string database;
  OutputOptions output;
};
ExitCode RunInfo(const InfoOptions& options);

struct ListOptions {
  std::string database;
  SelectionOptions selection;
  OutputOptions output;
  bool count = false;
};
ExitCode RunList(const ListOptions& options);

struct FindOptions {
  std::string database;
  std::vector<std::string> words;
  std::string fields;  // "a,b"; empty: all
  OutputOptions output;
};
ExitCode RunFind(const FindOptions& options);

struct ShowOptions {
  std::string database;
  std::vector<std::string> numbers;
  OutputOptions output;
};
ExitCode RunShow(const ShowOptions& options);

struct EditOptions {
  std::string database;
  std::vector<std::string> numbers;
  std::vector<std::string> values;  // FIELD=VALUE
  bool any_value = false;
};
ExitCode RunAdd(const EditOptions& options);
ExitCode RunSet(const EditOptions& options);
ExitCode RunDup(const EditOptions& options);

struct RemoveOptions {
  std::string database;
  std::vector<std::string> numbers;
  SelectionOptions selection;
  bool all = false;
  bool no_log = false;
  bool dry_run = false;
};
ExitCode RunRemove(const RemoveOptions& options);

struct LogOptions {
  std::string database;
  OutputOptions output;
};
ExitCode RunLog(const LogOptions& options);

struct ExportOptions {
  std::string database;
  std::string file;  // empty or "-": standard output
  SelectionOptions selection;
  OutputOptions output;
  std::string delimiter;
  bool force = false;
};
ExitCode RunExport(const ExportOptions& options);

struct CheckOptions {
  std::string database;
  OutputOptions output;
};
ExitCode RunCheck(const CheckOptions& options);

struct RepairOptions {
  std::string database;
  std::string target;
  OutputOptions output;
};
ExitCode RunRepair(const RepairOptions& options);

// Throws ToolError for a database argument that cannot be meant: a data file, "-", nothing.
void RequireDatabaseName(const std::string& path);

// The name of a database that was given none: its file's name without folder and ending.
std::string DatabaseTitle(const std::string& path);

// ",", ";", "tab": what stands between values. Empty: a tab for *.tsv, else a comma.
char DelimiterOf(const std::string& typed, const std::string& file);

}  // namespace xkrdb

#endif
