// See disk_journal.h; the interposed calls stand at the end.
#include "disk_journal.h"

#include <dlfcn.h>
#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <cstdarg>

namespace powercut {

namespace {

DiskJournal* watching = nullptr;

constexpr int kNoFile = -2;

}  // namespace

std::string DescriptionOf(const Operation& operation) {
  const std::string file = "file " + std::to_string(operation.file);
  switch (operation.kind) {
    case Kind::kCreate:
      return "create " + operation.name + " as " + file;
    case Kind::kWrite:
      return "write " + std::to_string(operation.bytes.size()) + " bytes at " + std::to_string(operation.offset) +
             " of " + file;
    case Kind::kTruncate:
      return "truncate " + file + " to " + std::to_string(operation.offset);
    case Kind::kSyncFile:
      return "sync " + file;
    case Kind::kSyncDirectory:
      return "sync the directory";
    case Kind::kRename:
      return "rename " + operation.name + " to " + operation.new_name;
    case Kind::kLink:
      return "link " + operation.name + " as " + operation.new_name;
    case Kind::kUnlink:
      return "unlink " + operation.name;
  }
  return "";
}

DiskJournal::DiskJournal(std::string directory, const std::vector<std::string>& files, Forgotten forgotten)
    : directory_(std::move(directory)), forgotten_(forgotten) {
  for (const std::string& name : files) names_[name] = files_++;
  watching = this;
}

DiskJournal::~DiskJournal() { Stop(); }

void DiskJournal::Stop() {
  if (watching == this) watching = nullptr;
}

std::string DiskJournal::EntryOf(const std::string& path) const {
  const std::string start = directory_ + "/";
  return path.starts_with(start) ? path.substr(start.size()) : "";
}

int DiskJournal::FileOf(int descriptor) const {
  const auto found = descriptors_.find(descriptor);
  return found == descriptors_.end() ? kNoFile : found->second;
}

void DiskJournal::Opened(int descriptor, const std::string& path, int flags) {
  if (path == directory_) {
    descriptors_[descriptor] = kDirectory;
    return;
  }
  const std::string name = EntryOf(path);
  if (name.empty()) return;
  const auto known = names_.find(name);
  if (known != names_.end()) {
    descriptors_[descriptor] = known->second;
    if ((flags & O_TRUNC) != 0) operations_.push_back({Kind::kTruncate, known->second, "", "", 0});
    return;
  }
  names_[name] = files_;
  descriptors_[descriptor] = files_;
  operations_.push_back({Kind::kCreate, files_, name, "", 0});
  ++files_;
}

void DiskJournal::Closed(int descriptor) { descriptors_.erase(descriptor); }

void DiskJournal::Wrote(int descriptor, const void* bytes, size_t count, int64_t offset) {
  const int file = FileOf(descriptor);
  if (file < 0 || count == 0) return;
  const auto* first = static_cast<const uint8_t*>(bytes);
  const bool only_zeros = std::all_of(first, first + count, [](uint8_t byte) { return byte == 0; });
  operations_.push_back({Kind::kWrite, file, "", "", offset, {first, first + count}, only_zeros});
}

void DiskJournal::Appended(int descriptor, const void* bytes, size_t count) {
  if (FileOf(descriptor) < 0) return;
  Wrote(descriptor, bytes, count, lseek(descriptor, 0, SEEK_CUR) - static_cast<int64_t>(count));
}

void DiskJournal::Truncated(int descriptor, int64_t size) {
  const int file = FileOf(descriptor);
  if (file >= 0) operations_.push_back({Kind::kTruncate, file, "", "", size});
}

void DiskJournal::Synced(int descriptor) {
  const int file = FileOf(descriptor);
  if (file >= 0 && forgotten_ != Forgotten::kFileSyncs) {
    operations_.push_back({Kind::kSyncFile, file, "", "", 0});
  }
  if (file == kDirectory && forgotten_ != Forgotten::kDirectorySyncs) {
    operations_.push_back({Kind::kSyncDirectory, -1, "", "", 0});
  }
}

void DiskJournal::Renamed(const std::string& from, const std::string& to) {
  const auto known = names_.find(EntryOf(from));
  if (known == names_.end()) return;
  const int file = known->second;
  operations_.push_back({Kind::kRename, file, EntryOf(from), EntryOf(to), 0});
  names_.erase(known);
  names_[EntryOf(to)] = file;
}

void DiskJournal::Linked(const std::string& from, const std::string& to) {
  const auto known = names_.find(EntryOf(from));
  if (known == names_.end()) return;
  operations_.push_back({Kind::kLink, known->second, EntryOf(from), EntryOf(to), 0});
  names_[EntryOf(to)] = known->second;
}

void DiskJournal::Unlinked(const std::string& path) {
  const auto known = names_.find(EntryOf(path));
  if (known == names_.end()) return;
  operations_.push_back({Kind::kUnlink, known->second, known->first, "", 0});
  names_.erase(known);
}

}  // namespace powercut

// ---- what stands in front of the C library

namespace {

template <typename Function>
Function Next(const char* name) {
  return reinterpret_cast<Function>(dlsym(RTLD_NEXT, name));
}

int OpenAndTell(const char* name, const char* path, int flags, mode_t mode) {
  const int descriptor = Next<int (*)(const char*, int, ...)>(name)(path, flags, mode);
  if (descriptor >= 0 && powercut::watching != nullptr) powercut::watching->Opened(descriptor, path, flags);
  return descriptor;
}

ssize_t WriteAndTell(const char* name, int descriptor, const void* bytes, size_t count, off64_t offset) {
  static const auto next = Next<ssize_t (*)(int, const void*, size_t, off64_t)>(name);
  const ssize_t written = next(descriptor, bytes, count, offset);
  if (written > 0 && powercut::watching != nullptr) {
    powercut::watching->Wrote(descriptor, bytes, static_cast<size_t>(written), offset);
  }
  return written;
}

int SyncAndTell(const char* name, int descriptor) {
  const int result = Next<int (*)(int)>(name)(descriptor);
  if (result == 0 && powercut::watching != nullptr) powercut::watching->Synced(descriptor);
  return result;
}

}  // namespace

#define XKRDB_IN_FRONT extern "C" __attribute__((visibility("default")))

XKRDB_IN_FRONT int open(const char* path, int flags, ...) {
  va_list arguments;
  va_start(arguments, flags);
  const mode_t mode = (flags & O_CREAT) != 0 ? va_arg(arguments, mode_t) : 0;
  va_end(arguments);
  return OpenAndTell("open", path, flags, mode);
}

XKRDB_IN_FRONT int open64(const char* path, int flags, ...) {
  va_list arguments;
  va_start(arguments, flags);
  const mode_t mode = (flags & O_CREAT) != 0 ? va_arg(arguments, mode_t) : 0;
  va_end(arguments);
  return OpenAndTell("open64", path, flags, mode);
}

XKRDB_IN_FRONT int close(int descriptor) {
  if (powercut::watching != nullptr) powercut::watching->Closed(descriptor);
  static const auto next = Next<int (*)(int)>("close");
  return next(descriptor);
}

XKRDB_IN_FRONT ssize_t write(int descriptor, const void* bytes, size_t count) {
  static const auto next = Next<ssize_t (*)(int, const void*, size_t)>("write");
  const ssize_t written = next(descriptor, bytes, count);
  if (written > 0 && powercut::watching != nullptr) {
    powercut::watching->Appended(descriptor, bytes, static_cast<size_t>(written));
  }
  return written;
}

XKRDB_IN_FRONT ssize_t pwrite(int descriptor, const void* bytes, size_t count, off_t offset) {
  return WriteAndTell("pwrite64", descriptor, bytes, count, offset);
}

XKRDB_IN_FRONT ssize_t pwrite64(int descriptor, const void* bytes, size_t count, off64_t offset) {
  return WriteAndTell("pwrite64", descriptor, bytes, count, offset);
}

XKRDB_IN_FRONT int ftruncate64(int descriptor, off64_t size) noexcept {
  static const auto next = Next<int (*)(int, off64_t)>("ftruncate64");
  const int result = next(descriptor, size);
  if (result == 0 && powercut::watching != nullptr) powercut::watching->Truncated(descriptor, size);
  return result;
}

XKRDB_IN_FRONT int fsync(int descriptor) { return SyncAndTell("fsync", descriptor); }

XKRDB_IN_FRONT int fdatasync(int descriptor) { return SyncAndTell("fdatasync", descriptor); }

XKRDB_IN_FRONT int rename(const char* from, const char* to) noexcept {
  const int result = Next<int (*)(const char*, const char*)>("rename")(from, to);
  if (result == 0 && powercut::watching != nullptr) powercut::watching->Renamed(from, to);
  return result;
}

XKRDB_IN_FRONT int renameat2(int from_folder, const char* from, int to_folder, const char* to,
                             unsigned flags) noexcept {
  using Function = int (*)(int, const char*, int, const char*, unsigned);
  const int result = Next<Function>("renameat2")(from_folder, from, to_folder, to, flags);
  if (result == 0 && powercut::watching != nullptr) powercut::watching->Renamed(from, to);
  return result;
}

XKRDB_IN_FRONT int link(const char* from, const char* to) noexcept {
  const int result = Next<int (*)(const char*, const char*)>("link")(from, to);
  if (result == 0 && powercut::watching != nullptr) powercut::watching->Linked(from, to);
  return result;
}

XKRDB_IN_FRONT int unlink(const char* path) noexcept {
  const int result = Next<int (*)(const char*)>("unlink")(path);
  if (result == 0 && powercut::watching != nullptr) powercut::watching->Unlinked(path);
  return result;
}
