// The steps of workloads: see fault_workload.h.
#include <algorithm>
#include <cstring>
#include <utility>

#include "fault_workload.h"
#include "faults.h"
#include "local_heap.h"

using faults::Exposed;

namespace {

CEPROPVAL ValueOf(const Given& given) {
  CEPROPVAL value;
  std::memset(&value, 0, sizeof value);
  value.propid = given.property;
  value.wFlags = given.removed ? CEDB_PROPDELETE : 0;
  switch (static_cast<WORD>(given.property)) {
    case CEVT_I2:
    case CEVT_UI2:
      value.val.iVal = static_cast<int16_t>(given.number);
      break;
    case CEVT_R8:
      value.val.dblVal = static_cast<double>(given.number) / 4;
      break;
    case CEVT_LPWSTR:
      value.val.lpwstr = const_cast<WCHAR*>(given.text.c_str());
      break;
    case CEVT_BLOB:
      value.val.blob.dwCount = static_cast<DWORD>(given.text.size() * sizeof(WCHAR));
      value.val.blob.lpb = reinterpret_cast<BYTE*>(const_cast<WCHAR*>(given.text.data()));
      break;
    case CEVT_FILETIME:
      value.val.filetime = {static_cast<DWORD>(given.number), static_cast<DWORD>(given.number >> 32)};
      break;
    default:
      value.val.lVal = static_cast<int32_t>(given.number);
  }
  return value;
}

CEOID Write(HANDLE handle, CEOID record, const std::vector<Given>& givens) {
  std::vector<CEPROPVAL> values;
  for (const Given& given : givens) values.push_back(ValueOf(given));
  const auto count = static_cast<WORD>(values.size());
  return Exposed([&] { return CeWriteRecordProps(handle, record, count, values.data()); });
}

CEDBASEINFO InfoOf(const std::u16string& name, const std::vector<SORTORDERSPEC>& orders) {
  CEDBASEINFO info;
  std::memset(&info, 0, sizeof info);
  info.dwFlags = CEDB_VALIDNAME | CEDB_VALIDTYPE | CEDB_VALIDSORTSPEC;
  name.copy(info.szDbaseName, CEDB_MAXDBASENAMELEN - 1);
  info.dwDbaseType = 40 + static_cast<DWORD>(name.size());
  info.wNumSortOrder = static_cast<WORD>(orders.size());
  std::copy(orders.begin(), orders.end(), info.rgSortSpecs);
  return info;
}

// Keeps what an open gave.
bool Keep(World& world, HANDLE handle, bool steps_by_itself) {
  if (handle == INVALID_HANDLE_VALUE) return false;
  if (!steps_by_itself) world.plain.push_back(world.handles.size());
  world.handles.push_back(handle);
  return true;
}

bool Read(HANDLE handle, const std::vector<CEPROPID>* ids) {
  BYTE* block = nullptr;
  DWORD size = 0;
  WORD count = ids != nullptr ? static_cast<WORD>(ids->size()) : WORD{0};
  const CEPROPID* wanted = ids != nullptr ? ids->data() : nullptr;
  const CEOID read =
      Exposed([&] { return CeReadRecordPropsEx(handle, CEDB_ALLOWREALLOC, &count, wanted, &block, &size, 0); });
  const DWORD error = GetLastError();
  LocalFree(block);
  SetLastError(error);
  return read != 0;
}

Step Made(std::string name, StepKind kind, std::function<bool(World&)> act) {
  return {std::move(name), kind, std::move(act), false};
}

}  // namespace

Step MountStep(DWORD disposition, StepKind kind) {
  Step step = Made("mount", kind, [disposition](World& world) {
    world.mounted = Exposed([&] { return CeMountDBVol(&world.volume, world.path.c_str(), disposition) != 0; });
    return world.mounted;
  });
  step.unseen = disposition == OPEN_EXISTING || disposition == OPEN_ALWAYS;
  return step;
}

Step UnmountStep() {
  return Made("unmount", StepKind::kUnmount, [](World& world) {
    const bool done = Exposed([&] { return CeUnmountDBVol(&world.volume) != 0; });
    if (!done) return false;
    world.mounted = false;
    world.handles.clear();
    world.plain.clear();
    return true;
  });
}

Step FlushStep() {
  return Made("flush", StepKind::kFlush,
              [](World& world) { return Exposed([&] { return CeFlushDBVol(&world.volume) != 0; }); });
}

Step FlushAllStep() {
  return Made("flush of every volume", StepKind::kFlush,
              [](World&) { return Exposed([] { return CeFlushDBVol(nullptr) != 0; }); });
}

Step MountAgainStep() {
  return Made("second mount", StepKind::kLook, [](World& world) {
    CEGUID again;
    return Exposed([&] { return CeMountDBVol(&again, world.path.c_str(), OPEN_EXISTING) != 0; });
  });
}

Step UnmountOnceStep() {
  return Made("unmount of one mount of two", StepKind::kLook,
              [](World& world) { return Exposed([&] { return CeUnmountDBVol(&world.volume) != 0; }); });
}

Step CreateStep(const std::u16string& name, const std::vector<SORTORDERSPEC>& orders) {
  return Made("creation of a database", StepKind::kChange, [info = InfoOf(name, orders)](World& world) {
    const CEOID created = Exposed([&] { return CeCreateDatabaseEx(&world.volume, &info); });
    if (created != 0) world.databases.push_back(created);
    return created != 0;
  });
}

Step DescribeStep(size_t database, const std::u16string& name, const std::vector<SORTORDERSPEC>& orders) {
  return Made("change of a description", StepKind::kChange, [database, info = InfoOf(name, orders)](World& world) {
    return Exposed([&] { return CeSetDatabaseInfoEx(&world.volume, world.databases[database], &info) != 0; });
  });
}

Step DeleteDatabaseStep(size_t database) {
  return Made("deletion of a database", StepKind::kChange, [database](World& world) {
    return Exposed([&] { return CeDeleteDatabaseEx(&world.volume, world.databases[database]) != 0; });
  });
}

Step OpenStep(size_t database, CEPROPID order, bool steps_by_itself) {
  return Made("open", StepKind::kLook, [=](World& world) {
    CEOID oid = world.databases[database];
    const DWORD flags = steps_by_itself ? CEDB_AUTOINCREMENT : 0;
    const HANDLE handle =
        Exposed([&] { return CeOpenDatabaseEx(&world.volume, &oid, nullptr, order, flags, nullptr); });
    return Keep(world, handle, steps_by_itself);
  });
}

Step OpenByNameStep(const std::u16string& name) {
  return Made("open by name", StepKind::kLook, [name](World& world) {
    CEOID oid = 0;
    const HANDLE handle = Exposed([&] { return CeOpenDatabaseEx(&world.volume, &oid, name.c_str(), 0, 0, nullptr); });
    return Keep(world, handle, false);
  });
}

Step CloseStep(size_t handle) {
  return Made("close", StepKind::kLook, [handle](World& world) {
    if (!Exposed([&] { return CloseHandle(world.handle(handle)) != 0; })) return false;
    std::erase(world.plain, handle);
    return true;
  });
}

Step AddStep(size_t handle, const std::vector<Given>& values) {
  return Made("new record", StepKind::kChange, [=](World& world) {
    const CEOID written = Write(world.handle(handle), 0, values);
    if (written != 0) world.records.push_back(written);
    return written != 0;
  });
}

Step EditStep(size_t handle, size_t record, const std::vector<Given>& values) {
  return Made("edit", StepKind::kChange, [=](World& world) {
    return Write(world.handle(handle), world.records[record], values) == world.records[record];
  });
}

Step DeleteStep(size_t handle, size_t record) {
  return Made("deletion", StepKind::kChange, [=](World& world) {
    return Exposed([&] { return CeDeleteRecord(world.handle(handle), world.records[record]) != 0; });
  });
}

Step SeekStep(size_t handle, DWORD type, int32_t value) {
  return Made("seek by position", StepKind::kLook, [=](World& world) {
    DWORD index = 0;
    const auto count = static_cast<DWORD>(value);
    return Exposed([&] { return CeSeekDatabase(world.handle(handle), type, count, &index) != 0; });
  });
}

Step SeekRecordStep(size_t handle, size_t record) {
  return Made("seek of a record", StepKind::kLook, [=](World& world) {
    DWORD index = 0;
    return Exposed(
        [&] { return CeSeekDatabase(world.handle(handle), CEDB_SEEK_CEOID, world.records[record], &index) != 0; });
  });
}

Step SeekValueStep(size_t handle, DWORD type, const Given& given) {
  return Made("seek of a value", StepKind::kLook, [=](World& world) {
    const CEPROPVAL value = ValueOf(given);
    const auto address = reinterpret_cast<DWORD_PTR>(&value);
    return Exposed([&] { return CeSeekDatabase(world.handle(handle), type, address, nullptr) != 0; });
  });
}

Step ReadStep(size_t handle) {
  return Made("read", StepKind::kLook, [=](World& world) { return Read(world.handle(handle), nullptr); });
}

Step ReadSelectedStep(size_t handle, const std::vector<CEPROPID>& ids) {
  return Made("read of some properties", StepKind::kLook,
              [=](World& world) { return Read(world.handle(handle), &ids); });
}

Step ListStep() {
  return Made("begin of a listing", StepKind::kLook, [](World& world) {
    world.find = Exposed([&] { return CeFindFirstDatabaseEx(&world.volume, 0); });
    return world.find != INVALID_HANDLE_VALUE;
  });
}

Step ListNextStep() {
  return Made("next of a listing", StepKind::kLook, [](World& world) {
    CEGUID volume;
    return Exposed([&] { return CeFindNextDatabaseEx(world.find, &volume) != 0; });
  });
}

Step ListEndStep() {
  return Made("end of a listing", StepKind::kLook,
              [](World& world) { return Exposed([&] { return CloseHandle(world.find) != 0; }); });
}

Step DescribeRecordStep(size_t record) {
  return Made("information on a record", StepKind::kLook, [=](World& world) {
    CEOIDINFO info;
    return Exposed([&] { return CeOidGetInfoEx(&world.volume, world.records[record], &info) != 0; }) &&
           info.wObjType == OBJTYPE_RECORD;
  });
}

Step DescribeDatabaseStep(size_t database) {
  return Made("information on a database", StepKind::kLook, [=](World& world) {
    CEOIDINFO info;
    return Exposed([&] { return CeOidGetInfoEx(&world.volume, world.databases[database], &info) != 0; }) &&
           info.wObjType == OBJTYPE_DATABASE;
  });
}
