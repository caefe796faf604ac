// Arguments that several commands take, judged in one place.
#include <fmt/format.h>

#include <array>
#include <string_view>

#include "commands.h"
#include "path_names.h"
#include "tool_error.h"

namespace xkrdb {

void RequireDatabaseName(const std::string& path) {
  if (path.empty()) throw ToolError(ExitCode::kUsage, "the name of the database is empty");
  if (path == "-") throw ToolError(ExitCode::kUsage, "a database is a file; it cannot be standard input or output");
  constexpr std::array<std::string_view, 5> kDataFiles = {".csv", ".tsv", ".json", ".txt", ".xlsx"};
  for (const std::string_view ending : kDataFiles) {
    if (!std::string_view(path).ends_with(ending)) continue;
    throw ToolError(
        ExitCode::kUsage,
        fmt::format("{} looks like a data file; the database comes first: xkrdb import book.xdb {}", path, path));
  }
}

std::string DatabaseTitle(const std::string& path) {
  const std::string file = path.substr(StartOfName(path));
  const size_t dot = file.rfind('.');
  return dot == std::string::npos || dot == 0 ? file : file.substr(0, dot);
}

char DelimiterOf(const std::string& typed, const std::string& file) {
  if (typed.empty()) return std::string_view(file).ends_with(".tsv") ? '\t' : ',';
  if (typed == "tab" || typed == "\\t") return '\t';
  const std::string_view refused = "\"\r\n";
  if (typed.size() != 1 || refused.find(typed[0]) != std::string_view::npos || typed[0] == '\0') {
    throw ToolError(ExitCode::kUsage, "--delimiter takes one character of plain ASCII, or \"tab\"");
  }
  return typed[0];
}

}  // namespace xkrdb
