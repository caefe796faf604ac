// See store.h.
#include "store.h"

#include <algorithm>

#include "growth.h"
#include "new_volume_file.h"
#include "text_conversion.h"

namespace objectstore {

bool SameGuid(const CEGUID& a, const CEGUID& b) {
  return a.Data1 == b.Data1 && a.Data2 == b.Data2 && a.Data3 == b.Data3 && a.Data4 == b.Data4;
}

Store::Store() { volumes_.push_back(std::make_unique<Volume>()); }

Status Store::Mount(const WCHAR* path, DWORD disposition, CEGUID& guid, bool& existed) {
  if (disposition < CREATE_NEW || disposition > TRUNCATE_EXISTING) return Status::kInvalidParameter;
  std::string text;
  STORE_TRY(PathFromText(path, text));
  FilePath resolved;
  STORE_TRY(ResolvePath(text, resolved));
  FileFacts facts;
  STORE_TRY(LookAt(resolved.full, facts));
  const bool exists = facts.kind != FileKind::kMissing;
  if (facts.kind == FileKind::kOther) return disposition == CREATE_NEW ? Status::kAlreadyExists : Status::kCorrupt;
  if (exists && disposition == CREATE_NEW) return Status::kAlreadyExists;
  Volume* mounted = exists ? FindMounted(facts.identity) : nullptr;
  STORE_TRY(mounted != nullptr ? MountAgain(*mounted, disposition, guid)
                               : MountFile(resolved, disposition, exists, guid));
  existed = exists && (disposition == OPEN_ALWAYS || disposition == CREATE_ALWAYS);
  return Status::kOk;
}

Status Store::MountAgain(Volume& volume, DWORD disposition, CEGUID& guid) {
  if (disposition == CREATE_ALWAYS || disposition == TRUNCATE_EXISTING) return Status::kAccessDenied;
  if (!volume.IsOfThisProcess()) return Status::kSharingViolation;
  ++volume.references;
  guid = volume.guid();
  return Status::kOk;
}

// The number of the mount is part of the volume's name and may not be that of no volume.
Status Store::MountFile(const FilePath& path, DWORD disposition, bool exists, CEGUID& guid) {
  if (!exists && (disposition == OPEN_EXISTING || disposition == TRUNCATE_EXISTING)) return Status::kFileNotFound;
  const bool replace = exists && (disposition == CREATE_ALWAYS || disposition == TRUNCATE_EXISTING);
  const bool create = !exists || replace;
  ReserveOneMore(volumes_);
  NewFile new_file(path);
  if (create) STORE_TRY(CreateVolumeFile(path, replace ? Existing::kReplace : Existing::kRefuse, new_file));
  FileFacts facts;
  STORE_TRY(LookAt(path.full, facts));
  if (facts.kind == FileKind::kMissing) return Status::kFileNotFound;
  if (mounts_ + 1 == kInvalidGuid.Data4) return Status::kNotEnoughMemory;
  std::unique_ptr<Volume> volume;
  const Status status = Volume::Mount(path, facts.identity, create, mounts_ + 1, volume);
  if (status == Status::kOk || status == Status::kSharingViolation) new_file.Keep();
  STORE_TRY(status);
  ++mounts_;
  guid = volume->guid();
  volumes_.push_back(std::move(volume));
  return Status::kOk;
}

// The last reference writes what was not flushed and lets go of everything. While that fails the volume stays mounted,
// so that the client learns of it; one that can never be written again goes at the second attempt.
Status Store::Unmount(const CEGUID* guid) {
  Volume* volume = FindVolume(guid);
  if (volume == nullptr || volume->IsSystemStore()) return Status::kInvalidParameter;
  if (volume->references > 1) {
    --volume->references;
    return Status::kOk;
  }
  if (!(volume->poisoned() && volume->unmount_has_failed)) {
    Status status = volume->Flush();
    if (status == Status::kOk) status = volume->Settle(IfGone::kLeave);
    volume->unmount_has_failed = status != Status::kOk;
    if (status != Status::kOk) return status;
  }
  handles_.TakeAway(*volume);
  std::erase_if(volumes_, [volume](const auto& held) { return held.get() == volume; });
  return Status::kOk;
}

// Without a name: every volume; one that fails does not keep the others from their flush.
Status Store::Flush(const CEGUID* guid) {
  if (guid != nullptr) {
    Volume* volume = FindVolume(guid);
    return volume != nullptr ? volume->Flush() : Status::kInvalidParameter;
  }
  Status first_failure = Status::kOk;
  for (const auto& volume : volumes_) {
    const Status status = volume->Flush();
    if (first_failure == Status::kOk) first_failure = status;
  }
  return first_failure;
}

Volume* Store::FindVolume(const CEGUID* guid) const {
  if (guid == nullptr) return nullptr;
  const auto found = std::find_if(volumes_.begin(), volumes_.end(),
                                  [guid](const auto& volume) { return SameGuid(volume->guid(), *guid); });
  return found == volumes_.end() ? nullptr : found->get();
}

Volume* Store::FindMounted(const FileIdentity& identity) const {
  const auto found = std::find_if(volumes_.begin(), volumes_.end(),
                                  [&identity](const auto& volume) { return volume->IsOnFile(identity); });
  return found == volumes_.end() ? nullptr : found->get();
}

Status Store::Open(const CEGUID* guid, CEOID* oid, const WCHAR* name, CEPROPID sort_property, bool auto_increment,
                   HANDLE& handle) {
  if (guid == nullptr || oid == nullptr) return Status::kInvalidParameter;
  Volume* volume = nullptr;
  Database* database = nullptr;
  if (*oid != 0 && !SameGuid(*guid, kInvalidGuid)) {
    volume = FindVolume(guid);
    database = volume != nullptr ? volume->Find(*oid) : nullptr;
    if (database == nullptr) return Status::kInvalidParameter;
  } else {
    STORE_TRY(FindByName(*guid, name, volume, database));
  }
  // Without a property: the database's first order, or that of the identifiers.
  const auto specs = database->description().sort_specs.list();
  if (sort_property == 0 && !specs.empty()) sort_property = specs[0].propid;
  const auto spec =
      std::find_if(specs.begin(), specs.end(), [=](const auto& one) { return one.propid == sort_property; });
  if (sort_property != 0 && spec == specs.end()) return Status::kInvalidParameter;
  // A pointer that goes on by itself may reach what is not there yet in the middle of a read.
  STORE_TRY(auto_increment ? volume->Load(*database)
                           : volume->LoadFirst(*database, sort_property != 0 ? &*spec : nullptr));
  SortOrder* order = sort_property != 0 ? database->OrderOn(sort_property) : nullptr;
  handle = handles_.Add(std::make_unique<OpenDatabase>(*volume, *database, order, auto_increment));
  *oid = database->oid();
  return Status::kOk;
}

// In one volume, or, under the name of no volume, in all of them: the first that has such a database.
Status Store::FindByName(const CEGUID& guid, const WCHAR* text, Volume*& volume, Database*& database) const {
  if (text == nullptr) return Status::kInvalidParameter;
  const DatabaseName name = DatabaseName::FromText(text);
  const bool everywhere = SameGuid(guid, kInvalidGuid);
  if (!everywhere && FindVolume(&guid) == nullptr) return Status::kInvalidParameter;
  for (const auto& candidate : volumes_) {
    if (!everywhere && !SameGuid(candidate->guid(), guid)) continue;
    database = candidate->FindByName(name);
    volume = candidate.get();
    if (database != nullptr) return Status::kOk;
  }
  return Status::kFileNotFound;
}

Status Store::DeleteDatabase(const CEGUID* guid, CEOID oid) {
  Volume* volume = FindVolume(guid);
  if (volume == nullptr) return Status::kInvalidParameter;
  STORE_TRY(volume->DeleteDatabase(oid));
  handles_.BreakEnumerations(*volume);
  return Status::kOk;
}

Status Store::FindFirst(const CEGUID* guid, DWORD type, HANDLE& handle) {
  auto enumeration = std::make_unique<Enumeration>();
  enumeration->type = type;
  if (guid != nullptr && !SameGuid(*guid, kInvalidGuid)) {
    enumeration->only_volume = FindVolume(guid);
    if (enumeration->only_volume == nullptr) return Status::kInvalidParameter;
    enumeration->sequence = enumeration->only_volume->sequence();
  }
  handle = handles_.Add(std::move(enumeration));
  return Status::kOk;
}

Status Store::FindNext(HANDLE handle, CEGUID* guid, CEOID& oid) {
  Enumeration* enumeration = handles_.FindEnumeration(handle);
  if (enumeration == nullptr) return Status::kInvalidHandle;
  if (enumeration->broken) return Status::kKeyDeleted;
  for (const auto& volume : volumes_) {
    if (volume->sequence() < enumeration->sequence) continue;
    if (enumeration->only_volume != nullptr && enumeration->only_volume != volume.get()) continue;
    CEOID last = volume->sequence() == enumeration->sequence ? enumeration->last : 0;
    for (const Database* database = volume->FirstAfter(last); database != nullptr;
         database = volume->FirstAfter(database->oid())) {
      if (enumeration->type != 0 && database->description().type != enumeration->type) continue;
      enumeration->sequence = volume->sequence();
      enumeration->last = oid = database->oid();
      if (guid != nullptr) *guid = volume->guid();
      return Status::kOk;
    }
  }
  return Status::kNoMoreItems;
}

}  // namespace objectstore
