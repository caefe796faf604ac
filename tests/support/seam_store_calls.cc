// The __wrap_ functions of the object store's calls. Each says how its call reads and which names its answer changes.
#include <algorithm>

#include "seam_state.h"

namespace {

using seam::Describer;
using seam::Pass;
using seam::ResultIs;

constexpr auto kNoNote = [](auto) {};

const char* DispositionWord(DWORD disposition) {
  switch (disposition) {
    case CREATE_NEW:
      return "CREATE_NEW";
    case CREATE_ALWAYS:
      return "CREATE_ALWAYS";
    case OPEN_EXISTING:
      return "OPEN_EXISTING";
    case OPEN_ALWAYS:
      return "OPEN_ALWAYS";
    case TRUNCATE_EXISTING:
      return "TRUNCATE_EXISTING";
    default:
      return "unknown disposition";
  }
}

const char* SeekWord(DWORD type) {
  switch (type) {
    case CEDB_SEEK_CEOID:
      return "CEOID";
    case CEDB_SEEK_BEGINNING:
      return "BEGINNING";
    case CEDB_SEEK_END:
      return "END";
    case CEDB_SEEK_CURRENT:
      return "CURRENT";
    case CEDB_SEEK_VALUESMALLER:
      return "VALUESMALLER";
    case CEDB_SEEK_VALUEFIRSTEQUAL:
      return "VALUEFIRSTEQUAL";
    case CEDB_SEEK_VALUEGREATER:
      return "VALUEGREATER";
    case CEDB_SEEK_VALUENEXTEQUAL:
      return "VALUENEXTEQUAL";
    default:
      return "unknown seek";
  }
}

// What a CEDBASEINFO says, as far as its validity flags let it.
void DescribeInfo(Describer& describer, const CEDBASEINFO* info) {
  describer.Field("flags", info->dwFlags);
  if (info->dwFlags & CEDB_VALIDNAME) describer.Text("name", info->szDbaseName);
  if (info->dwFlags & CEDB_VALIDTYPE) describer.Field("type", info->dwDbaseType);
  if (info->dwFlags & CEDB_VALIDSORTSPEC) {
    describer.Sorts(info->rgSortSpecs, std::min<size_t>(info->wNumSortOrder, CEDB_MAXSORTORDER));
  }
}

void DescribeSeek(Describer& describer, HANDLE database, DWORD type, DWORD_PTR value) {
  describer.Handle(database).Word(SeekWord(type), type);
  switch (type) {
    case CEDB_SEEK_CEOID:
      describer.Oid(static_cast<CEOID>(value));
      break;
    case CEDB_SEEK_BEGINNING:
    case CEDB_SEEK_END:
    case CEDB_SEEK_CURRENT:
      describer.Word(std::to_string(static_cast<int32_t>(value)), value);
      break;
    default:
      describer.Value(reinterpret_cast<const CEPROPVAL*>(value));
      break;
  }
}

}  // namespace

extern "C" {

BOOL __real_CeMountDBVol(CEGUID* guid, const WCHAR* path, DWORD disposition);
BOOL __wrap_CeMountDBVol(CEGUID* guid, const WCHAR* path, DWORD disposition) {
  return Pass<BOOL>(
      "CeMountDBVol", ResultIs::kPlain, guid,
      [&](Describer& d) { d.Text("", path).Word(DispositionWord(disposition), disposition); },
      [&] { return __real_CeMountDBVol(guid, path, disposition); },
      [&](BOOL done) {
        if (done) seam::NoteMounted(*guid);
      });
}

BOOL __real_CeUnmountDBVol(const CEGUID* guid);
BOOL __wrap_CeUnmountDBVol(const CEGUID* guid) {
  return Pass<BOOL>(
      "CeUnmountDBVol", ResultIs::kPlain, nullptr, [&](Describer& d) { d.Volume(guid); },
      [&] { return __real_CeUnmountDBVol(guid); },
      [&](BOOL done) {
        if (done && guid != nullptr) seam::NoteUnmounted(*guid);
      });
}

BOOL __real_CeFlushDBVol(const CEGUID* guid);
BOOL __wrap_CeFlushDBVol(const CEGUID* guid) {
  return Pass<BOOL>(
      "CeFlushDBVol", ResultIs::kPlain, nullptr, [&](Describer& d) { d.Volume(guid); },
      [&] { return __real_CeFlushDBVol(guid); }, kNoNote);
}

CEOID __real_CeCreateDatabaseEx(const CEGUID* guid, const CEDBASEINFO* info);
CEOID __wrap_CeCreateDatabaseEx(const CEGUID* guid, const CEDBASEINFO* info) {
  return Pass<CEOID>(
      "CeCreateDatabaseEx", ResultIs::kOid, nullptr,
      [&](Describer& d) {
        d.Volume(guid);
        DescribeInfo(d, info);
      },
      [&] { return __real_CeCreateDatabaseEx(guid, info); }, kNoNote);
}

HANDLE __real_CeOpenDatabaseEx(const CEGUID* guid, CEOID* oid, const WCHAR* name, CEPROPID sort_property, DWORD flags,
                               const CENOTIFYREQUEST* notify);
HANDLE __wrap_CeOpenDatabaseEx(const CEGUID* guid, CEOID* oid, const WCHAR* name, CEPROPID sort_property, DWORD flags,
                               const CENOTIFYREQUEST* notify) {
  const bool by_name = oid != nullptr && *oid == 0 && name != nullptr;
  return Pass<HANDLE>(
      "CeOpenDatabaseEx", ResultIs::kPlain, oid,
      [&](Describer& d) {
        d.Volume(guid).Oid(*oid).Text("name", name).Field("sort", sort_property).Field("flags", flags);
        d.Pointer(notify);
      },
      [&] { return __real_CeOpenDatabaseEx(guid, oid, name, sort_property, flags, notify); },
      [&](HANDLE handle) {
        if (handle == 0 || handle == INVALID_HANDLE_VALUE) return;
        if (by_name) seam::NoteDatabase(*guid, *oid, seam::ToUtf8(name));
        seam::NoteDatabaseOpened(handle, *guid, *oid);
      });
}

BOOL __real_CeDeleteDatabaseEx(const CEGUID* guid, CEOID oid);
BOOL __wrap_CeDeleteDatabaseEx(const CEGUID* guid, CEOID oid) {
  return Pass<BOOL>(
      "CeDeleteDatabaseEx", ResultIs::kPlain, nullptr, [&](Describer& d) { d.Volume(guid).Oid(oid); },
      [&] { return __real_CeDeleteDatabaseEx(guid, oid); }, kNoNote);
}

HANDLE __real_CeFindFirstDatabaseEx(const CEGUID* guid, DWORD type);
HANDLE __wrap_CeFindFirstDatabaseEx(const CEGUID* guid, DWORD type) {
  return Pass<HANDLE>(
      "CeFindFirstDatabaseEx", ResultIs::kPlain, nullptr, [&](Describer& d) { d.Volume(guid).Field("type", type); },
      [&] { return __real_CeFindFirstDatabaseEx(guid, type); },
      [&](HANDLE handle) {
        if (handle != INVALID_HANDLE_VALUE) {
          seam::NoteNumberedOpened(handle, seam::HandleKind::kStore, "enum", guid);
        }
      });
}

CEOID __real_CeFindNextDatabaseEx(HANDLE find, CEGUID* guid);
CEOID __wrap_CeFindNextDatabaseEx(HANDLE find, CEGUID* guid) {
  return Pass<CEOID>(
      "CeFindNextDatabaseEx", ResultIs::kOid, guid, [&](Describer& d) { d.Handle(find); },
      [&] { return __real_CeFindNextDatabaseEx(find, guid); }, kNoNote);
}

BOOL __real_CeOidGetInfoEx(const CEGUID* guid, CEOID oid, CEOIDINFO* info);
BOOL __wrap_CeOidGetInfoEx(const CEGUID* guid, CEOID oid, CEOIDINFO* info) {
  return Pass<BOOL>(
      "CeOidGetInfoEx", ResultIs::kPlain, info, [&](Describer& d) { d.Volume(guid).Oid(oid); },
      [&] { return __real_CeOidGetInfoEx(guid, oid, info); }, kNoNote);
}

BOOL __real_CeSetDatabaseInfoEx(const CEGUID* guid, CEOID oid, const CEDBASEINFO* info);
BOOL __wrap_CeSetDatabaseInfoEx(const CEGUID* guid, CEOID oid, const CEDBASEINFO* info) {
  return Pass<BOOL>(
      "CeSetDatabaseInfoEx", ResultIs::kPlain, nullptr,
      [&](Describer& d) {
        d.Volume(guid).Oid(oid);
        DescribeInfo(d, info);
      },
      [&] { return __real_CeSetDatabaseInfoEx(guid, oid, info); }, kNoNote);
}

CEOID __real_CeSeekDatabase(HANDLE database, DWORD type, DWORD_PTR value, DWORD* index);
CEOID __wrap_CeSeekDatabase(HANDLE database, DWORD type, DWORD_PTR value, DWORD* index) {
  return Pass<CEOID>(
      "CeSeekDatabase", ResultIs::kOid, index, [&](Describer& d) { DescribeSeek(d, database, type, value); },
      [&] { return __real_CeSeekDatabase(database, type, value, index); }, kNoNote);
}

CEOID __real_CeReadRecordPropsEx(HANDLE database, DWORD flags, WORD* count, const CEPROPID* ids, BYTE** buffer,
                                 DWORD* size, HANDLE heap);
CEOID __wrap_CeReadRecordPropsEx(HANDLE database, DWORD flags, WORD* count, const CEPROPID* ids, BYTE** buffer,
                                 DWORD* size, HANDLE heap) {
  const bool probe = buffer == nullptr || *buffer == nullptr;
  return Pass<CEOID>(
      "CeReadRecordPropsEx", ResultIs::kOid, probe ? nullptr : *buffer,
      [&](Describer& d) {
        d.Handle(database).Field("flags", flags).Ids(ids, ids == nullptr ? 0 : *count);
        probe ? d.Word("probe", 0) : d.Field("size", *size);
        if (heap != 0) d.Field("heap", heap);
      },
      [&] { return __real_CeReadRecordPropsEx(database, flags, count, ids, buffer, size, heap); }, kNoNote);
}

CEOID __real_CeWriteRecordProps(HANDLE database, CEOID oid, WORD count, const CEPROPVAL* values);
CEOID __wrap_CeWriteRecordProps(HANDLE database, CEOID oid, WORD count, const CEPROPVAL* values) {
  return Pass<CEOID>(
      "CeWriteRecordProps", ResultIs::kOid, nullptr,
      [&](Describer& d) { d.Handle(database).Oid(oid).Values(values, count); },
      [&] { return __real_CeWriteRecordProps(database, oid, count, values); }, kNoNote);
}

BOOL __real_CeDeleteRecord(HANDLE database, CEOID oid);
BOOL __wrap_CeDeleteRecord(HANDLE database, CEOID oid) {
  return Pass<BOOL>(
      "CeDeleteRecord", ResultIs::kPlain, nullptr, [&](Describer& d) { d.Handle(database).Oid(oid); },
      [&] { return __real_CeDeleteRecord(database, oid); }, kNoNote);
}

BOOL __real_CloseHandle(HANDLE handle);
BOOL __wrap_CloseHandle(HANDLE handle) {
  return Pass<BOOL>(
      "CloseHandle", ResultIs::kPlain, nullptr, [&](Describer& d) { d.Handle(handle); },
      [&] { return __real_CloseHandle(handle); },
      [&](BOOL done) {
        if (done) seam::NoteClosed(handle);
      });
}

DWORD __real_GetLastError(void);
DWORD __wrap_GetLastError(void) {
  return Pass<DWORD>(
      "GetLastError", ResultIs::kPlain, nullptr, [](Describer&) {}, [] { return __real_GetLastError(); }, kNoNote);
}

}  // extern "C"
