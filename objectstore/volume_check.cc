// See volume_check.h.
#include "volume_check.h"

#include <sys/stat.h>

#include <cstring>

#include "sqlite_statement.h"
#include "volume_header.h"
#include "xkrvolume.h"

namespace objectstore {

namespace {

// A larger file is not put together in memory only to be told about its unused parts.
constexpr uint32_t kMostPages = 65536;

// The pages as SQLite takes a file from memory: without a log.
std::vector<uint8_t> ImageOf(const VolumePages& pages) {
  std::vector<uint8_t> image(size_t{pages.last_page()} * kPageBytes);
  Page page;
  for (uint32_t number = 1; number <= pages.last_page(); ++number) {
    (void)pages.Read(number, page);  // a page that is not there was reported
    std::memcpy(image.data() + size_t{number - 1} * kPageBytes, page.data(), page.size());
  }
  image[18] = image[19] = 1;
  return image;
}

bool SchemaIsRight(sqlite3* connection) {
  Statement statement;
  if (statement.Prepare(connection, sql::kReadSchema) != Status::kOk) return false;
  StatementUse use(statement);
  bool has_row = false;
  for (const SchemaRow& expected : kSchema) {
    const char* texts[] = {expected.type, expected.name, expected.table, expected.sql};
    if (use.Step(has_row) != Status::kOk || !has_row) return false;
    for (int column = 0; column < 4; ++column) {
      const char* text = nullptr;
      if (!use.GetText(column, text) || std::strcmp(text, texts[column]) != 0) return false;
    }
  }
  return use.Step(has_row) == Status::kOk && !has_row;
}

void AddStructure(std::vector<Flaw>& flaws, std::string text) {
  for (char& character : text) {
    if (character == '\n') character = ' ';
  }
  flaws.push_back({true, XKRFindingStructure, 0, 0, 0, std::move(text)});
}

Status CheckStructure(const VolumePages& pages, std::vector<Flaw>& flaws) {
  if (pages.last_page() == 0 || pages.last_page() > kMostPages) return Status::kOk;
  std::vector<uint8_t> image = ImageOf(pages);
  sqlite3* opened = nullptr;
  const int result = sqlite3_open_v2(":memory:", &opened, SQLITE_OPEN_READWRITE, nullptr);
  const Connection connection(opened);
  STORE_TRY(StatusOfSqlite(result));
  const auto bytes = static_cast<sqlite3_int64>(image.size());
  STORE_TRY(
      StatusOfSqlite(sqlite3_deserialize(opened, "main", image.data(), bytes, bytes, SQLITE_DESERIALIZE_READONLY)));
  if (Execute(opened, sql::kCheckCellSizes) != Status::kOk || !SchemaIsRight(opened)) {
    AddStructure(flaws, "the table of tables is not that of a volume");
    return Status::kOk;
  }
  Statement statement;
  STORE_TRY(statement.Prepare(opened, sql::kCheckStructure));
  StatementUse use(statement);
  for (;;) {
    bool has_row = false;
    const Status status = use.Step(has_row);
    if (status == Status::kNotEnoughMemory) return status;
    if (status != Status::kOk) AddStructure(flaws, "the structure cannot be followed to its end");
    const char* text = nullptr;
    if (status != Status::kOk || !has_row || !use.GetText(0, text)) return Status::kOk;
    if (std::strcmp(text, "ok") != 0) AddStructure(flaws, text);
  }
}

}  // namespace

Status CheckWholeFile(const FilePath& path, const VolumePages& pages, std::vector<Flaw>& flaws) {
  struct stat found;
  if (lstat((path.full + kJournalSuffix).c_str(), &found) == 0) {
    flaws.push_back({true, XKRFindingJournal, 0, 0, 0, "a -journal stands beside the file, which no volume has"});
  }
  return flaws.empty() ? CheckStructure(pages, flaws) : Status::kOk;
}

}  // namespace objectstore
