// See random_history.h.
#include "random_history.h"

#include <cstring>
#include <vector>

#include "object_store.h"
#include "sample_volumes.h"

namespace damage {

namespace {

constexpr CEPROPID kNumber = 1u << 16 | CEVT_I4;
constexpr CEPROPID kBytes = 2u << 16 | CEVT_BLOB;

std::vector<CEOID> DatabasesOf(const CEGUID& volume) {
  std::vector<CEOID> oids;
  const HANDLE find = CeFindFirstDatabaseEx(&volume, 0);
  Require(find != INVALID_HANDLE_VALUE, "listing databases");
  while (const CEOID oid = CeFindNextDatabaseEx(find, nullptr)) oids.push_back(oid);
  CloseHandle(find);
  return oids;
}

void CreateOne(const CEGUID& volume, Random& random) {
  CEDBASEINFO info;
  std::memset(&info, 0, sizeof info);
  info.dwFlags = CEDB_VALIDNAME;
  for (size_t i = 0; i < 12; ++i) info.szDbaseName[i] = static_cast<WCHAR>(u'a' + Draw(random, 26));
  Require(CeCreateDatabaseEx(&volume, &info) != 0, "creating a database");
}

void WriteOne(HANDLE handle, CEOID oid, Random& random) {
  constexpr size_t kSizes[] = {0, 3, 40, 200, 900, 4000, 20000};
  std::string bytes(kSizes[Draw(random, 7)] + Draw(random, 20), static_cast<char>(random()));
  CEPROPVAL values[2];
  std::memset(values, 0, sizeof values);
  values[0].propid = kNumber;
  values[0].val.ulVal = static_cast<uint32_t>(random());
  values[1].propid = kBytes;
  values[1].val.blob.dwCount = static_cast<DWORD>(bytes.size());
  values[1].val.blob.lpb = reinterpret_cast<BYTE*>(bytes.data());
  Require(CeWriteRecordProps(handle, oid, 2, values) != 0, "writing a record");
}

// Gives every record another number: more than a few of them make a packed column.
void Renumber(HANDLE handle, Random& random) {
  for (DWORD position = 0;; ++position) {
    const CEOID oid = CeSeekDatabase(handle, CEDB_SEEK_BEGINNING, position, nullptr);
    if (oid == 0) return;
    CEPROPVAL value;
    std::memset(&value, 0, sizeof value);
    value.propid = kNumber;
    value.val.ulVal = static_cast<uint32_t>(random());
    Require(CeWriteRecordProps(handle, oid, 1, &value) != 0, "renumbering a record");
  }
}

void ChangeRecords(const CEGUID& volume, CEOID oid, Random& random) {
  const HANDLE handle = CeOpenDatabaseEx(&volume, &oid, nullptr, 0, 0, nullptr);
  Require(handle != INVALID_HANDLE_VALUE, "opening a database");
  for (uint64_t left = Draw(random, 60); left > 0; --left) {
    const CEOID record = CeSeekDatabase(handle, CEDB_SEEK_BEGINNING, Draw(random, 150), nullptr);
    const uint64_t what = Draw(random, 4);
    if (record != 0 && what == 0) {
      Require(CeDeleteRecord(handle, record), "deleting a record");
    } else {
      WriteOne(handle, what == 1 ? record : 0, random);
    }
  }
  if (Draw(random, 4) == 0) Renumber(handle, random);
  CloseHandle(handle);
}

}  // namespace

void AddToHistory(const std::u16string& path, Random& random) {
  CEGUID volume;
  Require(CeMountDBVol(&volume, path.c_str(), OPEN_ALWAYS), "mounting a volume");
  for (uint64_t flushes = 1 + Draw(random, 4); flushes > 0; --flushes) {
    if (DatabasesOf(volume).size() < 3) CreateOne(volume, random);
    for (const CEOID oid : DatabasesOf(volume)) {
      if (Draw(random, 12) == 0) {
        Require(CeDeleteDatabaseEx(&volume, oid), "deleting a database");
      } else {
        ChangeRecords(volume, oid, random);
      }
    }
    Require(CeFlushDBVol(&volume), "flushing");
  }
  Require(CeUnmountDBVol(&volume), "unmounting");
}

}  // namespace damage
