// See volume_pages.h.
#include "volume_pages.h"

#include <algorithm>
#include <cstring>
#include <vector>

#include "page_format.h"
#include "volume_header.h"

namespace objectstore {

namespace {

// As many bytes as there are; fewer at the end or at a part that cannot be read.
size_t BytesReadAt(const SystemFile& file, uint64_t offset, std::span<uint8_t> bytes) {
  size_t count = 0;
  static_cast<void>(file.Read(offset, bytes, count));
  return count;
}

Status OpenPlainFile(const std::string& path, SystemFile& file, uint64_t& bytes) {
  SystemFile opened;
  const Status status = opened.Open(path, FileAccess::kRead);
  if (status != Status::kOk) return status == Status::kCorrupt ? Status::kAccessDenied : status;
  FileFacts facts;
  STORE_TRY(opened.LookAt(facts));
  if (facts.kind != FileKind::kRegular) return Status::kAccessDenied;
  bytes = facts.bytes;
  file.Swap(opened);
  return Status::kOk;
}

// A log may claim terabytes of room that no disk holds.
constexpr uint64_t kMostFramesSearched = 1 << 20;

}  // namespace

Status VolumePages::Open(const FilePath& path) {
  STORE_TRY(OpenPlainFile(path.full, file_, file_bytes_));
  STORE_TRY(file_.LockAsMount(LockKind::kShared));
  if (file_bytes_ > kLargestFileBytes) return Status::kCorrupt;
  last_page_ = static_cast<uint32_t>((file_bytes_ + kPageBytes - 1) / kPageBytes);
  if (OpenPlainFile(path.full + kLogSuffix, log_, log_bytes_) == Status::kOk) ReadLog();
  return Status::kOk;
}

bool VolumePages::ReadFrame(uint64_t index, std::array<uint8_t, kFrameBytes>& frame) const {
  return BytesReadAt(log_, kLogHeaderBytes + index * kFrameBytes, frame) == kFrameBytes;
}

void VolumePages::ReadLog() {
  std::array<uint8_t, kLogHeaderBytes> header;
  if (BytesReadAt(log_, 0, header) != header.size()) return;
  const uint32_t magic = BigEndian32(header.data());
  if ((magic & ~1u) != kLogMagic || BigEndian32(header.data() + 4) != kLogVersion ||
      BigEndian32(header.data() + 8) != kPageBytes) {
    return;
  }
  LogChecksum checksum((magic & 1) != 0);
  checksum.Add(std::span<const uint8_t>(header).first(24));
  if (!checksum.Is(header.data() + 24)) return;
  std::copy_n(header.data() + 16, salts_.size(), salts_.data());
  std::vector<std::pair<uint32_t, uint64_t>> transaction;
  std::array<uint8_t, kFrameBytes> frame;
  uint32_t last_frame_page = 0;
  uint64_t index = 0;
  for (; ReadFrame(index, frame); ++index) {
    const uint32_t page = BigEndian32(frame.data());
    const uint32_t pages_after_commit = BigEndian32(frame.data() + 4);
    if (page == 0 || !std::equal(salts_.begin(), salts_.end(), frame.data() + 8)) break;
    checksum.Add(std::span<const uint8_t>(frame).first(8));
    checksum.Add(std::span<const uint8_t>(frame).subspan(kFrameHeaderBytes));
    if (!checksum.Is(frame.data() + 16)) break;
    transaction.emplace_back(page, index);
    last_frame_page = std::max(last_frame_page, page);
    if (pages_after_commit == 0) continue;
    for (const auto& [number, place] : transaction) frames_[number] = place;
    transaction.clear();
    last_page_ = pages_after_commit;
  }
  // What a log says of the file's length is not believed beyond the pages that there are.
  const auto file_pages = static_cast<uint32_t>((file_bytes_ + kPageBytes - 1) / kPageBytes);
  last_page_ = std::min({last_page_, std::max(file_pages, last_frame_page), kMostPages});
  CountLostFlushes(index);
}

// A flush is on the disk before the first frame of the next one is written. So one that is followed by frames of the same
// log was whole once; the last one may just not have been finished.
void VolumePages::CountLostFlushes(uint64_t first) {
  std::array<uint8_t, kFrameHeaderBytes> header;
  uint32_t commits = 0;
  for (uint64_t index = first; index - first < kMostFramesSearched; ++index) {
    const uint64_t offset = kLogHeaderBytes + index * kFrameBytes;
    if (offset >= log_bytes_ || BytesReadAt(log_, offset, header) != header.size()) return;
    if (!std::equal(salts_.begin(), salts_.end(), header.data() + 8)) continue;
    lost_flushes_ = commits;
    if (BigEndian32(header.data() + 4) != 0) ++commits;
  }
}

bool VolumePages::Read(uint32_t number, Page& page) const {
  page.fill(0);
  if (number == 0 || number > last_page_) return false;
  const auto found = frames_.find(number);
  if (found == frames_.end()) {
    return BytesReadAt(file_, uint64_t{number - 1} * kPageBytes, page) == kPageBytes;
  }
  return BytesReadAt(log_, kLogHeaderBytes + found->second * kFrameBytes + kFrameHeaderBytes, page) == kPageBytes;
}

bool VolumePages::ReadFirstOfFile(Page& page) const {
  page.fill(0);
  return BytesReadAt(file_, 0, page) >= kHeaderBytes;
}

}  // namespace objectstore
