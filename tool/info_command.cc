// xkrdb info: what a database is made of.
#include <fmt/format.h>

#include "commands.h"
#include "database_formats.h"
#include "json_text.h"
#include "safe_text.h"
#include "terminal.h"
#include "tool_error.h"
#include "utf_text.h"
#include "value_rules.h"

namespace xkrdb {
namespace {

struct Information {
  std::string path;
  std::u16string name;
  std::vector<Field> fields;
  std::vector<size_t> order;
  uint32_t records = 0;
  uint32_t log_entries = 0;
  MDbAttrs attrs{};
  std::vector<std::u16string> lists;
};

Information Gather(Database& database) {
  Information info;
  info.path = database.path();
  info.name = database.Name();
  info.fields = database.fields();
  info.order = database.DisplayOrder();
  info.records = database.RecordCount();
  info.log_entries = database.LogCount();
  info.attrs = database.Attributes();
  info.lists = database.ValueLists();
  return info;
}

// Names of foreign databases may be no valid text; here they are shown, not copied.
std::string Shown(const std::u16string& text) { return ToUtf8(text).value_or(SafeText(text)); }

size_t MostCharacters(const Field& field) { return field.max_size > 0 ? field.max_size / sizeof(MDbChar) - 1 : 0; }

std::string AsJson(const Information& info) {
  Json page = Json::object();
  page["file"] = ToWide(info.path) ? info.path : SafeText(info.path);
  page["name"] = Shown(info.name);
  page["records"] = info.records;
  page["most_records"] = +MDB_MAX_RECORDS;
  page["log_entries"] = info.log_entries;
  page["date_format"] = DateFormatText(info.attrs.dateFormat);
  page["time_format"] = TimeFormatText(info.attrs.timeFormat);
  page["attributes"] = Json::array();
  for (const uint32_t attribute :
       {info.attrs.attribute[0], info.attrs.attribute[1], info.attrs.attribute[2], info.attrs.attribute[3]}) {
    page["attributes"].push_back(attribute);
  }
  page["value_lists"] = Json::array();
  for (const std::u16string& list : info.lists) page["value_lists"].push_back(Shown(list));
  page["fields"] = Json::array();
  for (const size_t i : info.order) {
    const Field& field = info.fields[i];
    page["fields"].push_back(
        Json{{"name", Shown(field.name)}, {"type", TypeName(field.type)}, {"most_characters", MostCharacters(field)}});
  }
  return JsonPage(page) + "\n";
}

std::string AsCsv(const Information& info) {
  std::vector<std::vector<std::string>> rows{{"field", "type", "most_characters"}};
  for (const size_t i : info.order) {
    const Field& field = info.fields[i];
    rows.push_back({Shown(field.name), TypeName(field.type), fmt::to_string(MostCharacters(field))});
  }
  return FormatCsvRows(rows, ',', OutputIsTerminal() ? Controls::kEscaped : Controls::kRaw);
}

std::string AsText(const Information& info) {
  std::vector<std::pair<std::string, std::string>> pairs;
  pairs.emplace_back("file", SafeText(info.path));
  pairs.emplace_back("name", SafeText(info.name));
  pairs.emplace_back("records", fmt::format("{} of at most {}", info.records, +MDB_MAX_RECORDS));
  pairs.emplace_back("deletion log",
                     fmt::format("{} {}", info.log_entries, info.log_entries == 1 ? "entry" : "entries"));
  pairs.emplace_back("dates", DateFormatText(info.attrs.dateFormat));
  pairs.emplace_back("times", TimeFormatText(info.attrs.timeFormat));
  for (size_t i = 0; i < info.lists.size(); ++i) {
    pairs.emplace_back(fmt::format("value list {}", i + 1), SafeText(info.lists[i]));
  }
  Table table;
  table.columns = {{"field"}, {"type"}, {"most characters", true, true}};
  for (const size_t i : info.order) {
    const Field& field = info.fields[i];
    table.rows.push_back({SafeText(field.name), TypeName(field.type), fmt::to_string(MostCharacters(field))});
  }
  return LayOutPairs(pairs, OutputIsStyled()) + "\n" + LayOut(table, OutputWidth(), OutputIsStyled());
}

}  // namespace

ExitCode RunInfo(const InfoOptions& options) {
  RequireDatabaseName(options.database);
  Database database(options.database);
  const Information info = Gather(database);
  database.Close();
  WriteOutput(options.output.json ? AsJson(info) : options.output.csv ? AsCsv(info) : AsText(info));
  return ExitCode::kDone;
}

}  // namespace xkrdb
