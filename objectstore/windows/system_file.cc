// See file_system.h: an open file. Its lock is a lock of the handle's: nobody else has it, this process least of all.
#include <algorithm>
#include <limits>

#include "file_system.h"
#include "handle_facts.h"
#include "system_calls.h"

namespace objectstore {

namespace {

Status StatusOf(windows::ErrorNumber error) {
  return error == 0 ? Status::kOk : StatusOfSystemError(static_cast<int>(error));
}

// What one call may be asked for.
uint32_t PieceOf(size_t bytes) { return static_cast<uint32_t>(std::min<size_t>(bytes, size_t{1} << 30)); }

}  // namespace

SystemFile::~SystemFile() {
  if (handle_ != kNone) windows::Close(handle_);
}

Status SystemFile::Open(const std::string& path, FileAccess access) {
  using windows::Opening;
  const Opening opening = access == FileAccess::kRead    ? Opening::kRead
                          : access == FileAccess::kWrite ? Opening::kWrite
                                                         : Opening::kReadAndWrite;
  return StatusOf(windows::OpenFile(path, opening, handle_));
}

Status SystemFile::Create(const std::string& path) {
  return StatusOf(windows::OpenFile(path, windows::Opening::kNew, handle_));
}

Status SystemFile::LookAt(FileFacts& facts) const {
  windows::Facts found;
  STORE_TRY(StatusOf(windows::FactsOf(handle_, found)));
  facts = FactsOf(found);
  return Status::kOk;
}

Status SystemFile::Read(uint64_t start, std::span<uint8_t> bytes, size_t& count) const {
  for (count = 0; count < bytes.size();) {
    uint32_t got = 0;
    const auto rest = bytes.subspan(count);
    STORE_TRY(StatusOf(windows::ReadBytes(handle_, start + count, rest.data(), PieceOf(rest.size()), got)));
    if (got == 0) break;
    count += got;
  }
  return Status::kOk;
}

Status SystemFile::Write(std::span<const uint8_t> bytes, uint64_t start) const {
  while (!bytes.empty()) {
    uint32_t written = 0;
    STORE_TRY(StatusOf(windows::WriteBytes(handle_, start, bytes.data(), PieceOf(bytes.size()), written)));
    if (written == 0) return Status::kDiskFull;
    bytes = bytes.subspan(written);
    start += written;
  }
  return Status::kOk;
}

Status SystemFile::Truncate(uint64_t bytes) const { return StatusOf(windows::SetFileBytes(handle_, bytes)); }

Status SystemFile::Sync() const { return StatusOf(windows::FlushFile(handle_)); }

Status SystemFile::SyncBytes() const { return Sync(); }

// SQLite's bytes, in the second gigabyte.
Status SystemFile::LockAsMount(LockKind kind) const {
  return StatusOf(windows::LockBytes(handle_, 0x40000000, 512, kind == LockKind::kAlone));
}

// A new file has the access that its folder gives to files.
Status SystemFile::GiveAccessOf(const std::string& /*path*/) const { return Status::kOk; }

bool SystemFile::HasAmpleRoom(uint64_t bytes) const {
  constexpr uint64_t kMultiple = 16;
  uint64_t free = 0;
  return windows::FreeDiskBytes(handle_, free) == 0 && free >= kMultiple * bytes;
}

}  // namespace objectstore
