// Reading a whole volume through the platform's calls, for comparison.
#include "volume_snapshot.h"

#include <algorithm>

#include "seam_state.h"

namespace seam {
namespace {

std::vector<std::string> RecordsOfHandle(HANDLE database) {
  std::vector<std::string> lines;
  for (DWORD position = 0;; ++position) {
    if (CeSeekDatabase(database, CEDB_SEEK_BEGINNING, position, nullptr) == 0) break;
    WORD count = 0;
    BYTE* block = nullptr;
    DWORD size = 0;
    if (CeReadRecordPropsEx(database, CEDB_ALLOWREALLOC, &count, nullptr, &block, &size, 0) == 0) {
      lines.push_back("unreadable, error " + std::to_string(GetLastError()));
    } else {
      Call call;
      Describer(call).Values(reinterpret_cast<const CEPROPVAL*>(block), count);
      lines.push_back(call.text.substr(1));
    }
    LocalFree(block);
  }
  return lines;
}

}  // namespace

std::vector<std::string> RecordsOf(const CEGUID& volume, const WCHAR* database) {
  const Unseen unseen;
  CEOID oid = 0;
  const HANDLE handle = CeOpenDatabaseEx(&volume, &oid, database, 0, 0, nullptr);
  if (handle == INVALID_HANDLE_VALUE) return {};
  std::vector<std::string> lines = RecordsOfHandle(handle);
  CloseHandle(handle);
  return lines;
}

std::vector<std::string> SnapshotOf(const CEGUID& volume) {
  const Unseen unseen;
  std::vector<std::string> lines;
  const HANDLE databases = CeFindFirstDatabaseEx(&volume, 0);
  if (databases == INVALID_HANDLE_VALUE) return {"databases cannot be listed"};
  while (const CEOID oid = CeFindNextDatabaseEx(databases, nullptr)) {
    CEOIDINFO info;
    if (!CeOidGetInfoEx(&volume, oid, &info)) return {"no information on a database"};
    const CEDBASEINFO& base = info.infDatabase;
    Call call;
    Describer(call)
        .Text("name", base.szDbaseName)
        .Field("type", base.dwDbaseType)
        .Sorts(base.rgSortSpecs, std::min<size_t>(base.wNumSortOrder, CEDB_MAXSORTORDER));
    const std::string database = ToUtf8(base.szDbaseName) + " ";
    lines.push_back(database + call.text.substr(1));
    for (const std::string& record : RecordsOf(volume, base.szDbaseName)) lines.push_back(database + record);
  }
  CloseHandle(databases);
  return lines;
}

std::vector<std::string> SnapshotOfFile(const std::u16string& path) {
  const Unseen unseen;
  CEGUID volume;
  if (!CeMountDBVol(&volume, path.c_str(), OPEN_EXISTING)) return {"cannot be mounted"};
  std::vector<std::string> lines = SnapshotOf(volume);
  if (!CeUnmountDBVol(&volume)) lines.push_back("cannot be unmounted");
  return lines;
}

}  // namespace seam
