// See volume_check.h.
#include "volume_check.h"

#include <cstring>
#include <string_view>

#include "schema_check.h"
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
  if (Execute(opened, sql::kCheckCellSizes) != Status::kOk || CheckTableOfTables(opened) != Status::kOk) {
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
    std::string_view text;
    if (status != Status::kOk || !has_row || !use.GetText(0, text)) return Status::kOk;
    if (text != "ok") AddStructure(flaws, std::string(text));
  }
}

void AddNeighbour(std::vector<Flaw>& flaws, std::string text) {
  flaws.push_back({true, XKRFindingJournal, 0, 0, 0, std::move(text)});
}

}  // namespace

Status CheckWholeFile(const FilePath& path, const VolumePages& pages, std::vector<Flaw>& flaws) {
  FileFacts facts;
  static_cast<void>(LookAt(path.full + kJournalSuffix, facts));
  if (facts.kind != FileKind::kMissing) AddNeighbour(flaws, "a -journal stands beside the file, which no volume has");
  static_cast<void>(LookAt(path.full + kLogSuffix, facts));
  if (facts.kind == FileKind::kOther) {
    AddNeighbour(flaws, "what stands in the place of the log is no file");
  }
  return flaws.empty() ? CheckStructure(pages, flaws) : Status::kOk;
}

}  // namespace objectstore
