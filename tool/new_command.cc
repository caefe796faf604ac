// xkrdb new: a database with fields and no records.
#include <fmt/format.h>

#include <algorithm>

#include "commands.h"
#include "database_formats.h"
#include "database_maker.h"
#include "safe_text.h"
#include "terminal.h"
#include "utf_text.h"
#include "value_rules.h"

namespace xkrdb {
namespace {

constexpr size_t kMostFields = 255;  // a display order is one byte

void AddField(DatabaseDesign& design, const std::string& typed) {
  // The last sign, since a name may hold one; a name alone is a text field.
  const size_t sign = typed.rfind('=');
  const std::string name = typed.substr(0, sign);
  const std::string type_name = sign == std::string::npos ? "text" : typed.substr(sign + 1);
  const std::optional<uint8_t> type = TypeFromName(type_name);
  if (!type) {
    throw ToolError(ExitCode::kUsage, fmt::format("field {}: no type \"{}\"; the types are text, number, date and time",
                                                  Quoted(name), type_name));
  }
  if (name.empty()) throw ToolError(ExitCode::kUsage, "a field without a name");
  std::u16string wide = WideArgument(name);
  if (std::find(design.field_names.begin(), design.field_names.end(), wide) != design.field_names.end()) {
    throw ToolError(ExitCode::kUsage, fmt::format("two fields are called {}", Quoted(name)));
  }
  design.field_names.push_back(std::move(wide));
  design.field_types.push_back(*type);
}

DateFormat DateFormatOf(const FormatOptions& options) {
  DateFormat format = DefaultDateFormat();
  if (!options.date_order.empty()) format.order = DateOrderFromName(options.date_order).value_or(format.order);
  if (!options.date_separator.empty()) {
    const std::u16string separator = WideArgument(options.date_separator);
    if (separator.size() != 1 || (separator[0] >= u'0' && separator[0] <= u'9')) {
      throw ToolError(ExitCode::kUsage, "--date-separator takes one character that is no digit");
    }
    format.separator = separator[0];
  }
  return format;
}

}  // namespace

ExitCode RunNew(const NewOptions& options) {
  RequireDatabaseName(options.database);
  DatabaseDesign design;
  for (const std::string& field : options.fields) AddField(design, field);
  if (design.field_names.size() > kMostFields) {
    throw ToolError(ExitCode::kUsage,
                    fmt::format("{} fields, but at most {} are possible", design.field_names.size(), kMostFields));
  }
  design.name = WideArgument(options.name.empty() ? DatabaseTitle(options.database) : options.name);
  for (const std::string& list : options.value_lists) design.value_lists.push_back(WideArgument(list));
  design.date_format = DateFormatOf(options.formats);
  design.time_format = DefaultTimeFormat();
  design.time_format.twelveHour = options.formats.twelve_hour ? 1 : 0;
  MakeDatabase(options.database, design, {});
  PrintMessage(fmt::format("{}: made with {} field{}", options.database, design.field_names.size(),
                           design.field_names.size() == 1 ? "" : "s"));
  return ExitCode::kDone;
}

}  // namespace xkrdb
