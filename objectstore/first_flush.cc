// See first_flush.h.
#include "first_flush.h"

#include <algorithm>

#include "database_body.h"
#include "file_system.h"
#include "log_format.h"

namespace objectstore {

namespace {

// A log of one transaction that changes some of a file's first pages, which are in place, and gives it so many pages.
class LogWriter {
 public:
  Status Begin() {
    bytes_.resize(kLogHeaderBytes);
    PutBigEndian32(bytes_.data(), kLogMagic);
    PutBigEndian32(bytes_.data() + 4, kLogVersion);
    PutBigEndian32(bytes_.data() + 8, kPageBytes);
    STORE_TRY(FillWithChance(salts_));
    std::copy(salts_.begin(), salts_.end(), bytes_.data() + 16);
    checksum_.Add({bytes_.data(), kLogHeaderBytes - 8});
    checksum_.Store(bytes_.data() + kLogHeaderBytes - 8);
    return Status::kOk;
  }

  // The last page says how many pages the file has from now on; the others say 0.
  void Add(uint32_t number, const Page& page, uint32_t pages_after_commit) {
    std::array<uint8_t, kFrameHeaderBytes> header;
    PutBigEndian32(header.data(), number);
    PutBigEndian32(header.data() + 4, pages_after_commit);
    std::copy(salts_.begin(), salts_.end(), header.data() + 8);
    checksum_.Add(std::span<const uint8_t>(header).first(8));
    checksum_.Add(page);
    checksum_.Store(header.data() + 16);
    bytes_.insert(bytes_.end(), header.begin(), header.end());
    bytes_.insert(bytes_.end(), page.begin(), page.end());
  }

  std::span<const uint8_t> header() const { return std::span<const uint8_t>(bytes_).first(kLogHeaderBytes); }
  std::span<const uint8_t> frames() const { return std::span<const uint8_t>(bytes_).subspan(kLogHeaderBytes); }

 private:
  std::vector<uint8_t> bytes_;
  std::array<uint8_t, kSaltBytes> salts_;
  LogChecksum checksum_{(kLogMagic & 1) != 0};
};

}  // namespace

FirstFlush::FirstFlush(const HeldFile& file, std::string name, std::string log)
    : file_(file),
      name_(std::move(name)),
      log_name_(std::move(log)),
      pages_([&file](std::span<const uint8_t> bytes, uint64_t offset) { return file.Write(bytes, offset); },
             kRootPages + 1),
      tables_{TableBuilder(pages_), TableBuilder(pages_), TableBuilder(pages_), TableBuilder(pages_)} {}

FirstFlush::~FirstFlush() {
  if (!ended_) GiveBack();
}

Status FirstFlush::Put(Table table, int64_t key, std::span<const uint8_t> body) {
  return tables_[static_cast<size_t>(table)].Add(key, body);
}

Status FirstFlush::End() {
  for (size_t i = 0; i < tables_.size(); ++i) STORE_TRY(tables_[i].End(roots_[i + 1]));
  STORE_TRY(pages_.End());
  constexpr uint32_t kFirstChange = 1;
  MakeFirstPage(pages_.next_page() - 1, kFirstChange, roots_[0]);
  EmptyVolume empty;
  STORE_TRY(MakeEmptyVolume(empty));
  for (size_t i = 0; i < kRootPages; ++i) changed_[i] = roots_[i] != empty[i];
  STORE_TRY(file_.Sync());
  STORE_TRY(WriteLog());
  ended_ = true;
  return Status::kOk;
}

// Once the log is whole it may count after a power cut, whatever is done about it: nothing that it refers to may change.
// So a failure from then on is none that could pass.
Status FirstFlush::WriteLog() {
  LogWriter content;
  STORE_TRY(content.Begin());
  for (uint32_t i = kRootPages; i-- > 0;) {
    if (changed_[i]) content.Add(i + 1, roots_[i], i == 0 ? pages_.next_page() - 1 : 0);
  }
  SystemFile log;
  STORE_TRY(log.Create(log_name_));
  made_log_ = true;
  STORE_TRY(log.GiveAccessOf(name_));
  STORE_TRY(log.Write(content.header(), 0));
  STORE_TRY(log.SyncBytes());
  STORE_TRY(log.Write(content.frames(), kLogHeaderBytes));
  std::copy_n(content.header().begin(), kLogHeaderBytes, log_header_.begin());
  log_bytes_ = kLogHeaderBytes + content.frames().size();
  const Status status = log.SyncBytes();
  return status == Status::kNotEnoughMemory ? Status::kDeviceFailed : status;
}

Status FirstFlush::CheckLog() const {
  SystemFile log;
  STORE_TRY(log.Open(log_name_, FileAccess::kRead));
  FileFacts facts;
  STORE_TRY(log.LookAt(facts));
  std::array<uint8_t, kLogHeaderBytes> header{};
  size_t count = 0;
  STORE_TRY(log.Read(0, header, count));
  if (facts.bytes != log_bytes_) return Status::kFileNotFound;
  if (count != header.size()) return Status::kDeviceFailed;
  return header == log_header_ ? Status::kOk : Status::kFileNotFound;
}

Status FirstFlush::TakeUpLog() {
  STORE_TRY(CheckLog());
  for (size_t i = 0; i < kRootPages; ++i) {
    if (changed_[i]) STORE_TRY(file_.Write(roots_[i], i * kPageBytes));
  }
  STORE_TRY(file_.Sync());
  return Remove(log_name_);
}

// The removal of a log may be undone by a power cut: then what it refers to must be there. Pages that nothing refers to are
// no harm, nor are a log without its end, or one that stays.
void FirstFlush::GiveBack() const {
  if (made_log_) {
    static_cast<void>(Remove(log_name_));
  } else {
    static_cast<void>(file_.Truncate(uint64_t{kRootPages} * kPageBytes));
  }
}

Status MakeEmptyVolume(EmptyVolume& pages) {
  constexpr uint32_t kNoChange = 0;
  MakeFirstPage(kRootPages, kNoChange, pages[0]);
  AppendedPages none([](std::span<const uint8_t>, uint64_t) { return Status::kOk; }, kRootPages + 1);
  for (size_t i = 0; i < std::size(kSchema); ++i) {
    TableBuilder table(none);
    BodyWriter writer;
    if (i == static_cast<size_t>(Table::kVolume)) {
      STORE_TRY(table.Add(kVolumeRowKey, EncodeVolumeHead(VolumeHead(), writer)));
    }
    STORE_TRY(table.End(pages[i + 1]));
  }
  return Status::kOk;
}

}  // namespace objectstore
