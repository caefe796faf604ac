// The first flush of a volume that this mount has made, and what follows it (see volume_file.h and first_flush.h).
#include <algorithm>
#include <vector>

#include "database_body.h"
#include "volume_file.h"

namespace objectstore {

// Between the time when the file got its name and that when it was locked, another process may have had it.
Status VolumeFile::MarkNew() {
  directory_synced_ = false;
  if (!resting_) return Status::kOk;
  const auto empty = std::make_unique<EmptyVolume>();
  STORE_TRY(MakeEmptyVolume(*empty));
  const auto found = resting_->first_pages();
  is_empty_ = known_bytes_ == sizeof *empty && std::equal(found.begin(), found.end(), empty->begin(), empty->end());
  return Status::kOk;
}

// With something under the log's name, or behind the empty volume's pages, there is none of this kind: the rest ends as
// another's does.
Status VolumeFile::BeginFirstFlush() {
  FileFacts log;
  STORE_TRY(LookAt(side_file_, log));
  sqlite3_int64 bytes = 0;
  STORE_TRY(StatusOfSqlite(held_.file()->pMethods->xFileSize(held_.file(), &bytes)));
  is_empty_ = log.kind == FileKind::kMissing && static_cast<uint64_t>(bytes) == known_bytes_;
  if (is_empty_) first_flush_ = std::make_unique<FirstFlush>(held_, path_.full, side_file_);
  return Status::kOk;
}

// The log gets its name beside the file, which must still be there. Its name is a new one in the directory.
Status VolumeFile::EndFirstFlush() {
  STORE_TRY(CheckStillThere());
  room_for_log_.GiveUp();
  STORE_TRY(first_flush_->End());
  is_empty_ = false;
  log_is_ours_ = true;
  directory_synced_ = false;
  known_bytes_ = first_flush_->file_bytes();
  resting_->Renew(first_flush_->roots());
  static_cast<void>(room_for_log_.Keep(path_.directory));  // without it the next flush may find none, and says so
  return Status::kOk;
}

// A third party in this process may have closed the file, and with that given up the lock: then another process may have
// had it. Every flush changes the volume's row.
Status VolumeFile::CheckSeesFirstFlush() {
  std::vector<uint8_t> written;
  std::vector<uint8_t> seen;
  const auto take_into = [](std::vector<uint8_t>& row) {
    return [&row](int64_t, std::span<const uint8_t> body) {
      row.assign(body.begin(), body.end());
      return Status::kOk;
    };
  };
  STORE_TRY(ForEachRow(Table::kVolume, kVolumeRowKey, kVolumeRowKey, take_into(written)));
  STORE_TRY(ForEachSqlRow(Table::kVolume, kVolumeRowKey, kVolumeRowKey, take_into(seen)));
  return written == seen ? Status::kOk : Status::kFileNotFound;
}

// What the log of the first flush holds is known without reading it. Another log there is none.
Status VolumeFile::SettleAtRest() {
  room_for_log_.GiveUp();
  if (first_flush_ != nullptr) STORE_TRY(first_flush_->TakeUpLog());
  first_flush_.reset();
  settled_ = true;
  return Status::kOk;
}

}  // namespace objectstore
