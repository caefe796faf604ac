// The calls on volumes that need not be sound (include/xkrvolume.h).
#include "xkrvolume.h"

#include "entry.h"
#include "text_conversion.h"
#include "volume_check.h"
#include "volume_repair.h"

namespace objectstore {

namespace {

uint32_t ResultOf(Status status) {
  switch (status) {
    case Status::kOk:
      return XKRVolumeSound;
    case Status::kCorrupt:
      return XKRVolumeNone;
    case Status::kFileNotFound:
    case Status::kPathNotFound:
      return XKRVolumeMissing;
    case Status::kAccessDenied:
    case Status::kInvalidParameter:
      return XKRVolumeDenied;
    case Status::kSharingViolation:
      return XKRVolumeInUse;
    case Status::kAlreadyExists:
      return XKRVolumeExists;
    case Status::kNotEnoughMemory:
      return XKRVolumeNoMemory;
    default:
      return XKRVolumeFailed;
  }
}

// What the new file met; answers about the examined one would mislead.
uint32_t ResultOfWriting(Status status) {
  const bool told_apart = status == Status::kAlreadyExists || status == Status::kNotEnoughMemory ||
                          status == Status::kFileNotFound || status == Status::kPathNotFound;
  return told_apart ? ResultOf(status) : uint32_t{XKRVolumeFailed};
}

Status Resolve(const MDbChar* path, FilePath& resolved) {
  if (path == nullptr) return Status::kInvalidParameter;
  std::string text;
  STORE_TRY(PathFromText(path, text));
  return ResolvePath(text, resolved);
}

Status RequireNothingThere(const FilePath& path) {
  FileFacts facts;
  STORE_TRY(LookAt(path.full, facts));
  return facts.kind == FileKind::kMissing ? Status::kOk : Status::kAlreadyExists;
}

// A file that this process has mounted is not even opened.
Status RequireUnmounted(const Store& store, const FilePath& path) {
  FileFacts facts;
  STORE_TRY(LookAt(path.full, facts));
  if (facts.kind == FileKind::kMissing) return Status::kFileNotFound;
  if (facts.kind == FileKind::kOther) return Status::kAccessDenied;
  return store.HasMounted(facts.identity) ? Status::kSharingViolation : Status::kOk;
}

// Reads everything and lets go of the file. The store's lock is held meanwhile, so that no other thread mounts the file
// whose descriptors are closed at the end.
Status ExamineFile(const FilePath& path, bool whole_file, std::unique_ptr<Salvage>& examined) {
  return Enter([&](Store& store) {
    STORE_TRY(RequireUnmounted(store, path));
    VolumePages pages;
    STORE_TRY(pages.Open(path));
    auto salvage = std::make_unique<Salvage>(pages);
    STORE_TRY(salvage->Examine());
    if (whole_file) STORE_TRY(CheckWholeFile(path, pages, salvage->flaws()));
    salvage->ForgetPages();
    examined = std::move(salvage);
    return Status::kOk;
  });
}

// False when the sink wants no more.
bool Tell(Salvage& salvage, const RepairPlan* plan, XKRVolumeFindingSink sink, void* context) {
  if (sink == nullptr) return true;
  for (const Flaw& flaw : salvage.flaws()) {
    DatabaseName name;
    if (plan != nullptr && plan->databases().contains(flaw.database)) {
      name = plan->databases().at(flaw.database).description.name;
    } else if (salvage.databases().contains(flaw.database)) {
      name = salvage.databases()[flaw.database].head.description.name;
    }
    const XKRVolumeFinding finding = {flaw.damage ? 1u : 0u, flaw.code, name.terminated(), flaw.database,
                                      flaw.record,           flaw.page, flaw.text.c_str()};
    if (sink(context, &finding) != 0) return false;
  }
  return true;
}

bool TellSaved(const RepairPlan& plan, XKRVolumeSavedSink sink, void* context) {
  if (sink == nullptr) return true;
  for (const auto& [oid, database] : plan.databases()) {
    const FoundDatabase& found = database.found;
    const XKRVolumeSaved saved = {database.description.name.terminated(),
                                  oid,
                                  static_cast<uint32_t>(database.records.size()),
                                  found.lost,
                                  found.loose,
                                  found.description_lost ? 1u : 0u};
    if (sink(context, &saved) != 0) return false;
  }
  return true;
}

uint32_t Check(const MDbChar* path, XKRVolumeFindingSink sink, void* context) {
  FilePath resolved;
  std::unique_ptr<Salvage> salvage;
  Status status = Resolve(path, resolved);
  if (status == Status::kOk) status = ExamineFile(resolved, true, salvage);
  if (status != Status::kOk) return ResultOf(status);
  if (!Tell(*salvage, nullptr, sink, context)) return XKRVolumeStopped;
  return salvage->flaws().empty() ? XKRVolumeSound : XKRVolumeDamaged;
}

uint32_t Repair(const MDbChar* from, const MDbChar* to, const XKRVolumeRepairOptions& options) {
  FilePath source;
  FilePath target;
  std::unique_ptr<Salvage> salvage;
  Status status = Resolve(from, source);
  if (status == Status::kOk) status = Resolve(to, target);
  if (status == Status::kOk) status = RequireNothingThere(target);
  if (status == Status::kOk) status = ExamineFile(source, false, salvage);
  if (status != Status::kOk) return ResultOf(status);
  RepairPlan plan(*salvage, {options.known, options.knownCount});
  plan.Make();
  if (plan.empty()) return XKRVolumeNone;
  if (!Tell(*salvage, &plan, options.finding, options.context)) return XKRVolumeStopped;
  if (!TellSaved(plan, options.saved, options.context)) return XKRVolumeStopped;
  status = plan.Write(target);
  if (status != Status::kOk) return ResultOfWriting(status);
  return salvage->complete() ? XKRVolumeSound : XKRVolumeDamaged;
}

}  // namespace

}  // namespace objectstore

uint32_t XKRVolumeCheck(const MDbChar* path, XKRVolumeFindingSink sink, void* context) {
  try {
    return objectstore::Check(path, sink, context);
  } catch (...) {
    return XKRVolumeNoMemory;
  }
}

uint32_t XKRVolumeRepair(const MDbChar* from, const MDbChar* to, const XKRVolumeRepairOptions* options) {
  constexpr XKRVolumeRepairOptions kNone = {};
  try {
    return objectstore::Repair(from, to, options != nullptr ? *options : kNone);
  } catch (...) {
    return XKRVolumeNoMemory;
  }
}
