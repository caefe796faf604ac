// Every command with its options, its help and an example. A command's options live here until its function is called.
#include "command_line.h"

#include <fmt/format.h>

#include <CLI/CLI.hpp>
#include <algorithm>
#include <functional>
#include <sstream>

#include "commands.h"
#include "name_suggestion.h"
#include "safe_text.h"
#include "terminal.h"
#include "tool_error.h"

namespace xkrdb {
namespace {

const std::vector<std::string> kDateOrders = {"ymd", "dmy", "mdy", "ydm", "dym", "myd"};

class CommandLine {
 public:
  CommandLine();
  CLI::App& app() { return app_; }
  ExitCode Run() { return command_(); }

 private:
  CLI::App* Add(const char* name, const char* what, const char* example);
  static void Database(CLI::App* command, std::string& database);
  static void Output(CLI::App* command, OutputOptions& output, bool columns);
  static void Selection(CLI::App* command, SelectionOptions& selection);
  static void DateOrder(CLI::App* command, std::string& order);
  void Making();
  void Reading();
  void Editing();
  void Exchanging();
  void Judging();

  CLI::App app_{"An embedded record database: small typed tables, one file each.", "xkrdb"};
  std::function<ExitCode()> command_;
  NewOptions new_;
  ImportOptions import_;
  InfoOptions info_;
  ListOptions list_;
  FindOptions find_;
  ShowOptions show_;
  EditOptions add_, set_, dup_;
  RemoveOptions remove_;
  LogOptions log_;
  ExportOptions export_;
  CheckOptions check_;
  RepairOptions repair_;
};

CommandLine::CommandLine() {
  app_.set_version_flag("--version", "xkrdb " XKRDB_VERSION, "Print the version and leave");
  app_.set_help_flag("-h,--help", "Print this help and leave");
  app_.require_subcommand(1);
  app_.allow_windows_style_options(false);  // a path may begin with a slash on every system
  app_.footer(
      "Exit codes: 0 done, 1 nothing found, check failed or repair lost something, 2 wrong usage, 3 bad input,\n"
      "4 not a database or damaged, 5 in use, 6 input or output failed.\n"
      "Example: xkrdb import flights.xdb flights.csv && xkrdb list flights.xdb --sort launched");
  Making();
  Reading();
  Editing();
  Exchanging();
  Judging();
}

CLI::App* CommandLine::Add(const char* name, const char* what, const char* example) {
  CLI::App* command = app_.add_subcommand(name, what);
  command->footer(fmt::format("Example: {}", example));
  command->option_defaults()->always_capture_default(false);
  return command;
}

void CommandLine::Database(CLI::App* command, std::string& database) {
  command->add_option("database", database, "The database file, usually *.xdb")->required()->type_name("DATABASE");
}

void CommandLine::Output(CLI::App* command, OutputOptions& output, bool columns) {
  CLI::Option* json = command->add_flag("--json", output.json, "Print JSON");
  command->add_flag("--csv", output.csv, "Print CSV")->excludes(json);
  if (!columns) return;
  command->add_option("--columns", output.columns, "Only these fields, in this order")->type_name("FIELD,...");
  command->add_flag("--numbers", output.numbers, "Record numbers in JSON and CSV, too, as \"#\"");
}

void CommandLine::Selection(CLI::App* command, SelectionOptions& selection) {
  CLI::Option* where = command
                           ->add_option("--where", selection.where,
                                        "Only records whose field matches: numbers, dates and times by value,\n"
                                        "text by words, each word of TEXT beginning one of the field's.\n"
                                        "May be repeated; all must match")
                           ->type_name("FIELD=TEXT")
                           ->allow_extra_args(false);
  CLI::Option* words =
      command->add_flag("--words", selection.words, "--where searches by words in every field")->needs(where);
  command->add_flag("--exact", selection.exact, "--where takes only the very same text")->needs(where)->excludes(words);
}

void CommandLine::DateOrder(CLI::App* command, std::string& order) {
  command
      ->add_option("--date-order", order, "The order of year, month and day in dates: ymd, dmy, mdy, ydm, dym or myd")
      ->type_name("ORDER")
      ->check(CLI::IsMember(kDateOrders));
}

void CommandLine::Making() {
  CLI::App* make = Add("new", "Make an empty database",
                       "xkrdb new books.xdb title author year=number bought=date --name \"My books\"");
  Database(make, new_.database);
  make->add_option("fields", new_.fields, "Fields: NAME=text, NAME=number, NAME=date, NAME=time, or NAME for text")
      ->required()
      ->type_name("NAME=TYPE");
  make->add_option("--name", new_.name, "The name shown to people; else the file's")->type_name("TEXT");
  make->add_option("--list", new_.value_lists, "A value list, kept as it is. May be repeated")
      ->type_name("TEXT")
      ->allow_extra_args(false);
  DateOrder(make, new_.formats.date_order);
  make->add_option("--date-separator", new_.formats.date_separator, "What stands between the parts of a date; else -")
      ->type_name("CHARACTER");
  make->add_flag("--twelve-hour", new_.formats.twelve_hour, "Times are shown with AM and PM");
  make->callback([this] { command_ = [this] { return RunNew(new_); }; });
}

void CommandLine::Reading() {
  CLI::App* info = Add("info", "Show what a database is made of", "xkrdb info books.xdb");
  Database(info, info_.database);
  Output(info, info_.output, false);
  info->callback([this] { command_ = [this] { return RunInfo(info_); }; });

  CLI::App* list = Add("list", "List records", "xkrdb list books.xdb --where author=woolf --sort year --descending");
  Database(list, list_.database);
  Selection(list, list_.selection);
  CLI::Option* sort =
      list->add_option("--sort", list_.selection.sort, "In the order of this field")->type_name("FIELD");
  list->add_flag("--descending,--desc", list_.selection.descending, "The greatest first")->needs(sort);
  list->add_option("--limit", list_.selection.limit, "At most this many records")
      ->type_name("COUNT")
      ->check(CLI::NonNegativeNumber);
  list->add_option("--skip,--offset", list_.selection.skip, "Leave out the first ones")
      ->type_name("COUNT")
      ->check(CLI::NonNegativeNumber);
  list->add_flag("--count", list_.count, "Print only how many there are");
  Output(list, list_.output, true);
  list->callback([this] { command_ = [this] { return RunList(list_); }; });

  CLI::App* find = Add("find", "Find records by words in any field", "xkrdb find books.xdb light house");
  Database(find, find_.database);
  find->add_option("words", find_.words, "Words; each must begin a word of the same field")
      ->required()
      ->type_name("WORD");
  find->add_option("--field,--fields", find_.fields, "Search only these fields")->type_name("FIELD,...");
  Output(find, find_.output, true);
  find->callback([this] { command_ = [this] { return RunFind(find_); }; });

  CLI::App* show = Add("show", "Show whole records", "xkrdb show books.xdb 3 7-9 last");
  Database(show, show_.database);
  show->add_option("records", show_.numbers, "Record numbers: 3, 5-9, last")->required()->type_name("NUMBER");
  Output(show, show_.output, true);
  show->callback([this] { command_ = [this] { return RunShow(show_); }; });

  CLI::App* log = Add("log", "List the deleted records", "xkrdb log books.xdb --json");
  Database(log, log_.database);
  Output(log, log_.output, true);
  log->callback([this] { command_ = [this] { return RunLog(log_); }; });
}

void CommandLine::Editing() {
  const char* any_value = "Take values that are none for their field's type";
  CLI::App* add = Add("add", "Add a record and print its number", "xkrdb add books.xdb title=Orlando year=1928");
  Database(add, add_.database);
  add->add_option("values", add_.values, "Values; other fields stay empty")->required()->type_name("FIELD=VALUE");
  add->add_flag("--any-value", add_.any_value, any_value);
  add->callback([this] { command_ = [this] { return RunAdd(add_); }; });

  CLI::App* set =
      Add("set", "Change fields of a record", "xkrdb set books.xdb 3 year=1929 title=\"A Room of One's Own\"");
  Database(set, set_.database);
  std::string& number = set_.numbers.emplace_back();
  set->add_option("record", number, "Record number: 3, 5-9, last")->required()->type_name("NUMBER");
  set->add_option("values", set_.values, "New values")->required()->type_name("FIELD=VALUE");
  set->add_flag("--any-value", set_.any_value, any_value);
  set->callback([this] { command_ = [this] { return RunSet(set_); }; });

  CLI::App* remove = Add("rm", "Delete records; those that came by import are logged", "xkrdb rm books.xdb 3 7-9");
  Database(remove, remove_.database);
  remove->add_option("records", remove_.numbers, "Record numbers: 3, 5-9, last")->type_name("NUMBER");
  Selection(remove, remove_.selection);
  remove->add_flag("--all", remove_.all, "Every record");
  remove->add_flag("--no-log", remove_.no_log, "Log none of them");
  remove->add_flag("-n,--dry-run", remove_.dry_run, "Print what would be deleted, and delete nothing");
  remove->callback([this] { command_ = [this] { return RunRemove(remove_); }; });

  CLI::App* dup = Add("dup", "Copy records and print the copies' numbers", "xkrdb dup books.xdb last");
  Database(dup, dup_.database);
  dup->add_option("records", dup_.numbers, "Record numbers: 3, 5-9, last")->required()->type_name("NUMBER");
  dup->callback([this] { command_ = [this] { return RunDup(dup_); }; });
}

void CommandLine::Exchanging() {
  CLI::App* import = Add("import", "Add the rows of a CSV file; makes the database when there is none",
                         "xkrdb import books.xdb books.csv --types isbn=text,year=number");
  Database(import, import_.database);
  import->add_option("file", import_.file, "The CSV file in UTF-8, or - for standard input")
      ->required()
      ->type_name("FILE");
  import->add_option("--types", import_.types, "Types of columns that are not to be proposed")
      ->type_name("NAME=TYPE,...");
  DateOrder(import, import_.date_order);
  import->add_option("--delimiter", import_.delimiter, "What stands between values; else , and a tab in *.tsv")
      ->type_name("CHARACTER");
  import->add_option("--header", import_.header, "The file has no heading line; these are its columns")
      ->type_name("NAME,...");
  import->add_option("--name", import_.name, "The new database's name shown to people")->type_name("TEXT");
  import->add_flag("--any-value", import_.any_value, "Take values that are none for their field's type");
  import->add_flag("-n,--dry-run", import_.dry_run, "Print what would be done, and do nothing");
  import->callback([this] { command_ = [this] { return RunImport(import_);
};
}  // namespace
);

CLI::App* write = Add("export", "Write records as CSV or JSON", "xkrdb export books.xdb books.csv");
Database(write, export_.database);
write->add_option("file", export_.file, "The file to write; *.json is JSON. Else standard output")->type_name("FILE");
Selection(write, export_.selection);
CLI::Option* sort =
    write->add_option("--sort", export_.selection.sort, "In the order of this field")->type_name("FIELD");
write->add_flag("--descending,--desc", export_.selection.descending, "The greatest first")->needs(sort);
Output(write, export_.output, true);
write->add_option("--delimiter", export_.delimiter, "What stands between values; else , and a tab in *.tsv")
    ->type_name("CHARACTER");
write->add_flag("--force", export_.force, "Replace the file when it is there");
write->callback([this] { command_ = [this] { return RunExport(export_); }; });
}  // namespace xkrdb

void CommandLine::Judging() {
  CLI::App* check = Add("check", "Read everything in a database and judge it", "xkrdb check books.xdb");
  Database(check, check_.database);
  Output(check, check_.output, false);
  check->callback([this] { command_ = [this] { return RunCheck(check_); }; });

  CLI::App* repair =
      Add("repair", "Save what is sound in a damaged database into a new one", "xkrdb repair books.xdb saved.xdb");
  Database(repair, repair_.database);
  repair->add_option("target", repair_.target, "The new database, which must not exist")
      ->required()
      ->type_name("NEW_DATABASE");
  Output(repair, repair_.output, false);
  repair->callback([this] { command_ = [this] { return RunRepair(repair_); }; });
}

// Words that other tools use for what a command here does.
struct OtherName {
  const char* typed;
  const char* command;
};
constexpr OtherName kOtherNames[] = {
    {"ls", "list"},        {"select", "list"},    {"query", "list"},     {"sort", "list"},   {"search", "find"},
    {"grep", "find"},      {"create", "new"},     {"init", "new"},       {"insert", "add"},  {"append", "add"},
    {"edit", "set"},       {"update", "set"},     {"delete", "rm"},      {"remove", "rm"},   {"del", "rm"},
    {"copy", "dup"},       {"cp", "dup"},         {"duplicate", "dup"},  {"get", "show"},    {"cat", "show"},
    {"dump", "export"},    {"load", "import"},    {"schema", "info"},    {"tables", "info"}, {"verify", "check"},
    {"validate", "check"}, {"recover", "repair"}, {"salvage", "repair"}, {"fix", "repair"}};

std::optional<std::string> MeantCommand(const std::string& typed, const std::vector<std::string>& names) {
  for (const OtherName& other : kOtherNames) {
    if (typed == other.typed) return other.command;
  }
  return NearestName(typed, names);
}

std::vector<std::string> CommandNames(CLI::App& app) {
  std::vector<std::string> names;
  for (const CLI::App* command : app.get_subcommands([](CLI::App*) { return true; }))
    names.push_back(command->get_name());
  return names;
}

void PrintUnknownCommand(const std::string& typed, const std::vector<std::string>& names) {
  if (std::string_view(typed).ends_with(".xdb")) {
    PrintMessage(fmt::format("xkrdb: the command comes before the database: xkrdb list {}", typed));
    return;
  }
  std::string list;
  for (const std::string& name : names) list += (list.empty() ? "" : ", ") + name;
  const std::optional<std::string> meant = MeantCommand(typed, names);
  PrintMessage(fmt::format("xkrdb: no command \"{}\"{} The commands are: {}", typed,
                           meant ? fmt::format("; did you mean \"{}\"?", *meant) : ".", list));
}

void PrintUsageError(CLI::App& app, const CLI::ParseError& error) {
  const std::vector<CLI::App*> chosen = app.get_subcommands();
  PrintMessage(fmt::format("xkrdb: {}", error.what()));
  PrintMessage(fmt::format("Try: {} --help", chosen.empty() ? "xkrdb" : "xkrdb " + chosen.front()->get_name()));
}

// "xkrdb help" and "xkrdb help list" as "xkrdb --help" and "xkrdb list --help". In reverse, as the parser takes them.
std::vector<std::string> Arguments(std::vector<std::string> arguments) {
  if (!arguments.empty() && arguments[0] == "help") {
    arguments.erase(arguments.begin());
    arguments.resize(std::min<size_t>(arguments.size(), 1));
    arguments.emplace_back("--help");
  }
  std::reverse(arguments.begin(), arguments.end());
  return arguments;
}

}  // namespace

int RunCommandLine(const std::vector<std::string>& typed) {
  CommandLine line;
  const std::vector<std::string> arguments = Arguments(typed);
  const std::vector<std::string> names = CommandNames(line.app());
  // The parser would take a first word that is no command for an argument of a later one.
  const std::string first = arguments.empty() ? std::string() : arguments.back();
  if (!first.empty() && first[0] != '-' && std::find(names.begin(), names.end(), first) == names.end()) {
    PrintUnknownCommand(first, names);
    return static_cast<int>(ExitCode::kUsage);
  }
  try {
    line.app().parse(std::vector<std::string>(arguments));
  } catch (const CLI::Success& asked) {  // help and version are output that was asked for
    std::ostringstream text;
    (void)line.app().exit(asked, text, text);
    WriteOutput(text.str());
    return static_cast<int>(ExitCode::kDone);
  } catch (const CLI::ParseError& error) {
    PrintUsageError(line.app(), error);
    return static_cast<int>(ExitCode::kUsage);
  }
  return static_cast<int>(line.Run());
}

}  // namespace xkrdb
