// See fault_run.h.
#include "fault_run.h"

#include <dirent.h>

#include <fstream>
#include <stdexcept>

#include "failing_memory.h"
#include "faulty_files.h"

namespace fs = std::filesystem;

namespace {

constexpr char kNoVolume[] = "no volume";

std::string BytesOf(const fs::path& file) {
  std::string bytes(fs::file_size(file), '\0');
  std::ifstream(file, std::ios::binary).read(bytes.data(), static_cast<std::streamsize>(bytes.size()));
  return bytes;
}

// The last errors that a fault may come to.
std::set<DWORD> ErrorsOf(faults::Failure failure) {
  using enum faults::Failure;
  switch (failure) {
    case kNoMemory:
      return {ERROR_NOT_ENOUGH_MEMORY, ERROR_OUTOFMEMORY, ERROR_INSUFFICIENT_BUFFER};
    case kDevice:
      return {ERROR_IO_DEVICE, ERROR_WRITE_FAULT};
    case kFull:
    case kOverQuota:
      return {ERROR_DISK_FULL, ERROR_WRITE_FAULT};  // the latter from a sync or a truncation
    case kShort:
      return {ERROR_DISK_FULL, ERROR_FILE_CORRUPT, ERROR_IO_DEVICE};
    case kDenied:
    case kReadOnly:
      return {ERROR_ACCESS_DENIED};
    case kBusy:
    case kUnsupported:  // a folder that cannot be locked, with an old log in it
      return {ERROR_SHARING_VIOLATION};
    case kNoDescriptors:
      return {ERROR_NOT_ENOUGH_MEMORY};
    default:
      return {};
  }
}

std::string ContentOf(const std::u16string& path) {
  CEGUID volume;
  if (!CeMountDBVol(&volume, path.c_str(), OPEN_EXISTING)) {
    return GetLastError() == ERROR_FILE_NOT_FOUND ? kNoVolume
                                                  : "not mounted, last error " + std::to_string(GetLastError());
  }
  std::string content = TextOf(volume).content;
  if (!CeUnmountDBVol(&volume)) content += "not unmounted, last error " + std::to_string(GetLastError());
  return content;
}

}  // namespace

Sight Look(const World& world) {
  const faults::Shelter shelter;
  Sight sight;
  for (const size_t number : world.plain) sight.places += PlaceOf(world.handle(number)) + "; ";
  sight.text = TextOf(world.volume);
  return sight;
}

size_t OpenDescriptors() {
  DIR* folder = opendir("/proc/self/fd");
  size_t count = 0;
  while (folder != nullptr && readdir(folder) != nullptr) ++count;
  if (folder != nullptr) closedir(folder);
  return count;
}

FaultRun::FaultRun(const Workload& workload, fs::path folder) : workload_(workload), folder_(std::move(folder)) {
  if (!faults::MemoryMayFail() || !faults::FilesMayFail()) throw std::runtime_error("faults cannot be put in place");
  Rehearse();
}

void FaultRun::Begin() {
  fs::remove_all(folder_);
  fs::create_directory(folder_);
  for (const auto& [name, bytes] : start_files_) std::ofstream(folder_ / name, std::ios::binary) << bytes;
  world_ = start_world_;
  descriptors_ = OpenDescriptors();
  sqlite_bytes_ = faults::BytesOfSqlite();
  durable_ = {start_content_};
  poisoned_ = over_ = false;
  complaint_.clear();
  where_.clear();
}

void FaultRun::Rehearse() {
  Begin();
  start_world_.path = (folder_ / kVolumeName).u16string();
  if (workload_.prepare) workload_.prepare(folder_, start_world_);
  start_files_ = FilesNow();
  Begin();
  start_content_ = ContentOf(world_.path);
  Begin();
  std::string content = start_content_;
  for (const Step& step : workload_.steps) {
    if (!step.act(world_)) {
      throw std::runtime_error(std::string(workload_.name) + ": " + step.name + " fails without a fault, last error " +
                               std::to_string(GetLastError()));
    }
    sights_.emplace_back();
    if (step.Mounts() && content == kNoVolume) content.clear();
    if (world_.mounted && !step.unseen) {
      sights_.back() = Look(world_);
      content = sights_.back()->text.content;
    }
    contents_.push_back(content);
  }
}

FaultRun::Files FaultRun::FilesNow() const {
  Files files;
  for (const auto& entry : fs::directory_iterator(folder_)) {
    files.emplace(entry.path().filename().string(), BytesOf(entry.path()));
  }
  return files;
}

bool FaultRun::Complain(const std::string& what) {
  if (complaint_.empty()) {
    complaint_ = std::string(workload_.name) + ", step " + std::to_string(number_);
    if (number_ < workload_.steps.size()) complaint_ += " (" + workload_.steps[number_].name + ")";
    complaint_ += where_ + ": " + what;
  }
  return false;
}

std::string FaultRun::Run(const std::function<void()>& arm) {
  Begin();
  arm();
  for (number_ = 0; number_ < workload_.steps.size() && !over_; ++number_) {
    if (!Take(number_)) break;
  }
  outcome_ = faults::Disarm();
  if (complaint_.empty()) Finish();
  Release();
  return complaint_;
}

bool FaultRun::Take(size_t number) {
  const Step& step = workload_.steps[number];
  const Files files = step.Mounts() ? FilesNow() : Files();
  const long strikes = faults::Seen().strikes;
  SetLastError(0);
  const bool done = step.act(world_);
  const DWORD error = GetLastError();
  return done ? TakeSucceeded(step, faults::Seen().strikes != strikes) : TakeFailed(step, error, files);
}

bool FaultRun::TakeSucceeded(const Step& step, bool struck) {
  if (step.kind == StepKind::kFlush || step.kind == StepKind::kUnmount) {
    if (poisoned_) return Complain("a poisoned volume calls something durable");
    durable_ = {contents_[number_]};
  }
  if (step.kind == StepKind::kReplace) durable_ = {contents_[number_]};
  if (step.kind == StepKind::kMount && durable_.contains(kNoVolume)) durable_ = {contents_[number_]};
  return !struck || ExpectAsPlanned();
}

bool FaultRun::TakeFailed(const Step& step, DWORD error, const Files& files) {
  const bool flushes = step.kind == StepKind::kFlush || step.kind == StepKind::kUnmount;
  if (faults::Seen().strikes == 0) return Complain("fails without a fault, last error " + std::to_string(error));
  if (poisoned_ && flushes) {
    if (error != poison_) return Complain("a poisoned flush changes its mind, last error " + std::to_string(error));
  } else if (!ExpectError(error)) {
    return false;
  }
  switch (step.kind) {
    case StepKind::kMount:
    case StepKind::kReplace:
      return MountFailed(step, files);
    case StepKind::kFlush:
    case StepKind::kUnmount:
      return FlushFailed(step, error);
    default:
      return ExpectAsBefore() && Again(step);
  }
}

// The last error belongs to a fault that has happened.
bool FaultRun::ExpectError(DWORD error) {
  for (unsigned i = 0; i < static_cast<unsigned>(faults::Failure::kCount); ++i) {
    const auto failure = static_cast<faults::Failure>(i);
    if ((faults::Seen().failures & faults::BitOf(failure)) != 0 && ErrorsOf(failure).contains(error)) return true;
  }
  return Complain("last error " + std::to_string(error) + " does not fit the fault");
}

bool FaultRun::Again(const Step& step) {
  const faults::Shelter shelter;
  if (!step.act(world_)) {
    return Complain("still fails when the fault is over, last error " + std::to_string(GetLastError()));
  }
  return ExpectAsPlanned();
}

bool FaultRun::ExpectAsBefore() {
  if (number_ == 0 || !sights_[number_ - 1] || !world_.mounted) return true;
  return Look(world_).SameContent(*sights_[number_ - 1]) || Complain("a call that failed has changed something");
}

bool FaultRun::ExpectAsPlanned() {
  if (!sights_[number_] || !world_.mounted) return true;
  return Look(world_).SameContent(*sights_[number_]) || Complain("the volume is not what it should be now");
}

bool FaultRun::MountFailed(const Step& step, const Files& files) {
  const faults::Shelter shelter;
  if (OpenDescriptors() != descriptors_) return Complain("a failed mount leaves a descriptor");
  if (faults::BytesOfSqlite() != sqlite_bytes_) return Complain("a failed mount leaves memory");
  if (step.kind == StepKind::kReplace) {
    const std::string content = ContentOf(world_.path);
    if (!durable_.contains(content) && content != contents_[number_]) {
      return Complain("a replacement that failed leaves neither the old volume nor the new one:\n" + content);
    }
  } else if (!ExpectFilesKept(files)) {
    return false;
  }
  return Again(step) && TakeSucceeded(step, false);
}

// Where there was no volume, what an earlier one left beside its place may be gone. A file that could not be removed
// stays, and so does a new one that somebody else seems to have mounted; they are removed here.
bool FaultRun::ExpectFilesKept(const Files& before) {
  const Files now = FilesNow();
  constexpr uint32_t kRemoval = faults::BitOf(faults::Operation::kDelete) | faults::BitOf(faults::Operation::kStatus);
  const bool could_remove = (faults::Seen().operations & kRemoval) == 0;
  const bool taken_for_mounted = (faults::Seen().failures & faults::BitOf(faults::Failure::kBusy)) != 0;
  for (const auto& [name, bytes] : now) {
    const auto found = before.find(name);
    if (found != before.end() && found->second == bytes) continue;
    const bool is_new = found == before.end();
    const bool unfinished = is_new && (name == kVolumeName || name.find(".new-") != std::string::npos);
    const bool allowed =
        could_remove ? name == kVolumeName && is_new && taken_for_mounted : unfinished || bytes.empty();
    if (!allowed) return Complain("a failed mount has made or changed " + name);
    fs::remove(folder_ / name);
  }
  if (!before.contains(kVolumeName)) return true;
  for (const auto& [name, bytes] : before) {
    if (!now.contains(name)) return Complain("a failed mount has removed " + name);
  }
  return true;
}

bool FaultRun::FlushFailed(const Step& step, DWORD error) {
  const faults::Shelter shelter;
  if (!world_.mounted) return Complain("a failed unmount has unmounted");
  durable_.insert(contents_[number_]);
  if (!ExpectAsBefore()) return false;
  if (!poisoned_ && error == ERROR_NOT_ENOUGH_MEMORY) {
    if (!Again(step)) return false;
    durable_ = {contents_[number_]};
    return true;
  }
  poisoned_ = true;
  poison_ = error;
  if (!ExpectFlushesRefused()) return false;
  return step.kind == StepKind::kFlush || LetGo();
}

bool FaultRun::ExpectFlushesRefused() {
  if (CeFlushDBVol(&world_.volume)) return Complain("a flush after the failed one says that it is durable");
  if (GetLastError() != poison_) {
    return Complain("a flush after the failed one gives last error " + std::to_string(GetLastError()));
  }
  return true;
}

// The second unmount of a volume that cannot be written any more.
bool FaultRun::LetGo() {
  if (!CeUnmountDBVol(&world_.volume)) {
    return Complain("a poisoned volume cannot be let go of, last error " + std::to_string(GetLastError()));
  }
  world_.mounted = false;
  over_ = true;
  return true;
}

void FaultRun::Finish() {
  if (world_.mounted) return void(Complain("the workload leaves the volume mounted"));
  if (OpenDescriptors() != descriptors_) return void(Complain("a descriptor is left"));
  if (faults::BytesOfSqlite() != sqlite_bytes_) return void(Complain("memory of SQLite's is left"));
  FinishFile();
}

// What the next mount finds, and that the volume can be worked with.
void FaultRun::FinishFile() {
  const auto works = [this](const Step& step) {
    return step.act(world_) ||
           Complain("afterwards " + step.name + " fails, last error " + std::to_string(GetLastError()));
  };
  if (!works(MountStep(OPEN_EXISTING))) return;
  const std::string content = TextOf(world_.volume).content;
  if (!durable_.contains(content)) {
    std::string expected;
    for (const std::string& one : durable_) expected += "---- expected\n" + one;
    return void(Complain("the file holds what was never flushed, or lacks what was:\n" + content + expected));
  }
  if (!works(CreateStep(u"afterwards", {})) || !works(FlushStep()) || !works(UnmountStep())) return;
  if ((outcome_.operations & faults::BitOf(faults::Operation::kDelete)) != 0) return;
  if (FilesNow().size() != 1) Complain("more than the volume's file is left");
}

// Whatever the run has come to: the second unmount lets go of a poisoned volume.
void FaultRun::Release() {
  for (int attempt = 0; attempt < 3 && world_.mounted; ++attempt) world_.mounted = !CeUnmountDBVol(&world_.volume);
}

bool FaultRun::PlayTo(size_t number) {
  Begin();
  for (number_ = 0; number_ < number; ++number_) {
    if (!workload_.steps[number_].act(world_)) return Complain("fails without a fault");
  }
  return true;
}

std::string FaultRun::SweepMemory(bool lasting, long& failed) {
  if (!PlayTo(0)) return complaint_;
  for (number_ = 0; number_ < workload_.steps.size(); ++number_) {
    if (!SweepStep(number_, lasting, failed)) break;
  }
  outcome_ = {};
  durable_ = {contents_.back()};
  if (complaint_.empty()) Finish();
  Release();
  return complaint_;
}

bool FaultRun::SweepStep(size_t number, bool lasting, long& failed) {
  const Step& step = workload_.steps[number];
  for (long at = 0;; ++at) {
    const bool seen = number > 0 && sights_[number - 1] && world_.mounted;
    const Sight before = seen ? Look(world_) : Sight();
    const Files files = step.Mounts() ? FilesNow() : Files();
    faults::Arm({faults::Failure::kNoMemory, at, lasting});
    SetLastError(0);
    const bool done = step.act(world_);
    const DWORD error = GetLastError();
    const bool struck = faults::Disarm().struck();
    where_ = " with allocation " + std::to_string(at) + (lasting ? " and all later ones" : "") + " failing";
    if (!struck) return done ? ExpectAsPlanned() : Complain("fails without a fault");
    ++failed;
    if (done ? !BackTo(number) : !ShortageChangedNothing(step, error, seen ? &before : nullptr, files)) return false;
  }
}

bool FaultRun::ShortageChangedNothing(const Step& step, DWORD error, const Sight* before, const Files& files) {
  if (!ExpectError(error)) return false;
  if (before != nullptr) {
    const Sight now = Look(world_);
    if (!now.SameContent(*before) || now.text.times != before->text.times) return Complain("something has changed");
  }
  if (!step.Mounts()) return true;
  if (step.kind == StepKind::kMount && !ExpectFilesKept(files)) return false;
  if (OpenDescriptors() != descriptors_) return Complain("a descriptor is left");
  return faults::BytesOfSqlite() == sqlite_bytes_ || Complain("memory of SQLite's is left");
}

// A call that succeeded in spite of the fault has happened; the next number needs a volume where it has not.
bool FaultRun::BackTo(size_t number) {
  if (!ExpectAsPlanned()) return false;
  Release();
  return PlayTo(number);
}
