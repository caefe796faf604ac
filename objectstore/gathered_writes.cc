// See gathered_writes.h.
#include "gathered_writes.h"

#include <cstddef>
#include <cstring>
#include <type_traits>
#include <utility>

namespace objectstore {

namespace {

constexpr int kRoomBytes = 1 << 16;

}  // namespace

GatheredWrites::GatheredWrites() : bytes_(new uint8_t[kRoomBytes]) {}

void GatheredWrites::Begin(sqlite3_file* file) {
  count_ = 0;
  failure_ = SQLITE_OK;
  is_synced_ = false;
  real_ = file->pMethods;
  methods_ = {*real_, this};
  methods_.io.xClose = Close;
  methods_.io.xRead = Read;
  methods_.io.xWrite = Write;
  methods_.io.xTruncate = Truncate;
  methods_.io.xSync = Sync;
  methods_.io.xFileSize = FileSize;
  file->pMethods = &methods_.io;
}

// The file points to the first member of what its methods stand in.
GatheredWrites& GatheredWrites::Of(sqlite3_file* file) {
  static_assert(std::is_standard_layout_v<Methods> && offsetof(Methods, io) == 0);
  return *reinterpret_cast<const Methods*>(file->pMethods)->owner;
}

int GatheredWrites::WriteNow(sqlite3_file* file, const void* bytes, int count, sqlite3_int64 offset) {
  is_synced_ = false;
  return failure_ = real_->xWrite(file, bytes, count, offset);
}

int GatheredWrites::HandOver(sqlite3_file* file) {
  if (failure_ != SQLITE_OK || count_ == 0) return failure_;
  return WriteNow(file, bytes_.get(), std::exchange(count_, 0), start_);
}

// What nobody has synced need not be there.
int GatheredWrites::Close(sqlite3_file* file) {
  GatheredWrites& self = Of(file);
  static_cast<void>(self.HandOver(file));
  file->pMethods = self.real_;
  return file->pMethods->xClose(file);
}

// What was there before a write that failed is read all the same: the transaction of that write has been rolled back.
int GatheredWrites::Read(sqlite3_file* file, void* bytes, int count, sqlite3_int64 offset) {
  GatheredWrites& self = Of(file);
  const int result = self.count_ != 0 ? self.HandOver(file) : SQLITE_OK;
  return result == SQLITE_OK ? self.real_->xRead(file, bytes, count, offset) : result;
}

int GatheredWrites::Write(sqlite3_file* file, const void* bytes, int count, sqlite3_int64 offset) {
  GatheredWrites& self = Of(file);
  const bool goes_on = offset == self.start_ + self.count_ && count <= kRoomBytes - self.count_;
  const int result = goes_on ? self.failure_ : self.HandOver(file);
  if (result != SQLITE_OK) return result;
  if (count > kRoomBytes) return self.WriteNow(file, bytes, count, offset);
  if (!goes_on) self.start_ = offset;
  std::memcpy(self.bytes_.get() + self.count_, bytes, static_cast<size_t>(count));
  self.count_ += count;
  return SQLITE_OK;
}

int GatheredWrites::Truncate(sqlite3_file* file, sqlite3_int64 size) {
  GatheredWrites& self = Of(file);
  const int result = self.HandOver(file);
  self.is_synced_ = false;
  return result == SQLITE_OK ? self.real_->xTruncate(file, size) : result;
}

int GatheredWrites::Sync(sqlite3_file* file, int flags) {
  GatheredWrites& self = Of(file);
  int result = self.HandOver(file);
  if (result != SQLITE_OK || self.is_synced_) return result;
  result = self.real_->xSync(file, flags);
  self.is_synced_ = result == SQLITE_OK;
  return result;
}

int GatheredWrites::FileSize(sqlite3_file* file, sqlite3_int64* size) {
  GatheredWrites& self = Of(file);
  const int result = self.HandOver(file);
  return result == SQLITE_OK ? self.real_->xFileSize(file, size) : result;
}

}  // namespace objectstore
