// The lower limit: what each row would take if nothing were done but what has to be. Not a store, so there are no
// digests: a commit is one pwrite and one fdatasync into blocks that are allocated already, reading is one memcpy,
// sorting is a radix sort of keys that are there already, searching is a look through numbers or folded notes that lie
// in one piece.
#include <fcntl.h>
#include <fmt/format.h>
#include <unistd.h>

#include <CLI/CLI.hpp>
#include <algorithm>
#include <cstring>
#include <exception>
#include <functional>
#include <stdexcept>
#include <string>
#include <vector>

#include "packed_record.h"
#include "root_collation.h"
#include "round_report.h"
#include "steady_timer.h"

namespace {

using namespace bench;

constexpr int kRepeats = 8;
constexpr size_t kCommits = 100;
constexpr size_t kOrderBytesOfRecord = 4;
volatile uint64_t kept_from_being_optimised_away;

void Require(bool done, const char* what) {
  if (!done) throw std::runtime_error(fmt::format("{}: {}", what, std::strerror(errno)));
}

class File {
 public:
  File(const std::string& path, int flags) : descriptor_(open(path.c_str(), flags | O_CLOEXEC, 0644)) {
    Require(descriptor_ >= 0, "opening");
  }
  ~File() { close(descriptor_); }
  File(const File&) = delete;
  File& operator=(const File&) = delete;

  void Write(const std::string& bytes) {
    Require(write(descriptor_, bytes.data(), bytes.size()) == static_cast<ssize_t>(bytes.size()), "writing");
  }
  void Sync() { Require(fsync(descriptor_) == 0, "syncing"); }
  void Read(std::string& room) {
    Require(pread(descriptor_, room.data(), room.size(), 0) == static_cast<ssize_t>(room.size()), "reading");
  }
  void Commit(const char* bytes, size_t size, size_t offset) {
    Require(pwrite(descriptor_, bytes, size, static_cast<off_t>(offset)) == static_cast<ssize_t>(size), "writing");
    Require(fdatasync(descriptor_) == 0, "syncing");
  }

 private:
  int descriptor_;
};

struct KeyedId {
  uint64_t key;
  uint32_t id;
};

// By ascending key, eleven bits at a time; equal keys stay in their order.
void RadixSort(std::vector<KeyedId>& items, std::vector<KeyedId>& scratch, int key_bits) {
  constexpr int kDigitBits = 11;
  constexpr size_t kDigits = size_t{1} << kDigitBits;
  scratch.resize(items.size());
  for (int shift = 0; shift < key_bits; shift += kDigitBits) {
    std::array<uint32_t, kDigits> place{};
    for (const KeyedId& item : items) ++place[(item.key >> shift) % kDigits];
    uint32_t begin = 0;
    for (uint32_t& count : place) begin += std::exchange(count, begin);
    for (const KeyedId& item : items) scratch[place[(item.key >> shift) % kDigits]++] = item;
    items.swap(scratch);
  }
}

uint64_t FirstEightBytes(const std::string& key) {
  uint64_t value = 0;
  for (size_t i = 0; i < sizeof value; ++i) {
    value = value << 8 | (i < key.size() ? static_cast<unsigned char>(key[i]) : 0);
  }
  return value;
}

// By the first eight bytes, then by the rest where these are alike.
void SortTexts(const std::vector<std::string>& keys, std::vector<KeyedId>& items, std::vector<KeyedId>& scratch) {
  RadixSort(items, scratch, 64);
  for (size_t begin = 0; begin < items.size();) {
    size_t end = begin + 1;
    while (end < items.size() && items[end].key == items[begin].key) ++end;
    std::sort(items.begin() + static_cast<std::ptrdiff_t>(begin), items.begin() + static_cast<std::ptrdiff_t>(end),
              [&](const KeyedId& a, const KeyedId& b) {
                const int order = keys[a.id].compare(keys[b.id]);
                return order != 0 ? order < 0 : a.id < b.id;
              });
    begin = end;
  }
}

class Limit {
 public:
  Limit(std::vector<Record> table, const std::string& folder, RoundReport& report);
  void Files();
  void Commits();
  void Reads();
  void Sorts();
  void Searches();

 private:
  void TimeRepeats(const char* row, const std::function<void()>& work);
  // The median of many commits of so many bytes each, one behind the other.
  void TimeCommits(const char* row, size_t size);
  void TimeSort(const char* row, const std::vector<KeyedId>& items, const std::vector<std::string>* texts);
  void ScanNotes();

  std::vector<Record> table_;
  std::string path_;
  RoundReport& report_;
  std::string packed_;  // all records
  std::vector<size_t> begins_;
  std::string notes_;  // in small letters
  std::vector<uint32_t> hits_;
};

Limit::Limit(std::vector<Record> table, const std::string& folder, RoundReport& report)
    : table_(std::move(table)), path_(folder + "/limit"), report_(report) {
  begins_.reserve(table_.size());
  for (const Record& record : table_) {
    begins_.push_back(packed_.size());
    packed_ += PackedRecord::Pack(record);
    notes_ += record.texts[kNotes].bytes + '\n';
  }
  std::transform(notes_.begin(), notes_.end(), notes_.begin(),
                 [](char letter) { return static_cast<char>(letter >= 'A' && letter <= 'Z' ? letter + 32 : letter); });
}

void Limit::TimeRepeats(const char* row, const std::function<void()>& work) {
  std::vector<double> times(kRepeats);
  for (double& time : times) time = MicrosecondsOf(work);
  report_.AddRepeats(row, times, "");
}

void Limit::Files() {
  TimeRepeats("load", [&] {
    File file(path_, O_WRONLY | O_CREAT | O_TRUNC);
    file.Write(packed_);
    file.Sync();
  });
  std::string first(begins_.at(10), '\0');
  TimeRepeats("open", [&] { File(path_, O_RDONLY).Read(first); });
  report_.AddAmount("file_bytes", packed_.size());
}

void Limit::TimeCommits(const char* row, size_t size) {
  File file(path_, O_WRONLY);
  const size_t places = packed_.size() / size;
  std::vector<double> times;
  for (size_t i = 0; i <= kCommits; ++i) {
    const size_t offset = i % places * size;
    times.push_back(MicrosecondsOf([&] { file.Commit(packed_.data() + offset, size, offset); }));
  }
  report_.AddRepeats(row, times, "");
}

void Limit::Commits() {
  constexpr size_t kSmall = 16;
  TimeCommits("add", kAverageBytes);
  TimeCommits("edit", kAverageBytes);
  TimeCommits("delete_logged", kAverageBytes + kSmall);
  for (const char* row : {"edit_after_sort", "edit_after_sort_first"}) {
    TimeCommits(row, kAverageBytes + kOrderBytesOfRecord * table_.size());
  }
  TimeCommits("delete_all", kSmall);
  File file(path_, O_WRONLY);
  report_.AddRow("delete_fifth", MicrosecondsOf([&] {
                   for (size_t i = 0; i < table_.size() / 5; ++i) file.Commit(packed_.data(), kSmall, i * kSmall);
                 }),
                 "");
  report_.AddRow("add_10_find_word", MicrosecondsOf([&] {
                   for (size_t i = 0; i < 10; ++i) file.Commit(packed_.data(), kAverageBytes, i * kAverageBytes);
                   ScanNotes();
                 }),
                 "");
}

void Limit::Reads() {
  std::string copy(packed_.size(), '\0');
  const std::vector<uint32_t> positions = ShuffledPositions(table_.size());
  const auto copy_all = [&] {
    std::memcpy(copy.data(), packed_.data(), packed_.size());
    kept_from_being_optimised_away = static_cast<unsigned char>(copy[copy.size() / 2]);
  };
  report_.AddRow("read_all_first", MicrosecondsOf(copy_all), "");
  TimeRepeats("read_all", copy_all);
  TimeRepeats("read_random", [&] {
    uint64_t sum = 0;
    for (const uint32_t position : positions) {
      const PackedRecord record(std::string_view(packed_).substr(begins_[position]));
      for (size_t i = 0; i < kFieldCount; ++i) sum += static_cast<unsigned char>(record.Text(i)[0]);
    }
    kept_from_being_optimised_away = sum;
  });
}

void Limit::TimeSort(const char* row, const std::vector<KeyedId>& items, const std::vector<std::string>* texts) {
  std::vector<KeyedId> scratch(items.size());
  std::vector<double> times;
  for (int i = 0; i < kRepeats; ++i) {
    std::vector<KeyedId> sorted = items;
    times.push_back(MicrosecondsOf([&] {
      if (texts != nullptr) {
        SortTexts(*texts, sorted, scratch);
      } else {
        RadixSort(sorted, scratch, 32);
      }
    }));
    kept_from_being_optimised_away = sorted.front().id;
  }
  report_.AddRepeats(row, times, "");
}

void Limit::Sorts() {
  constexpr uint32_t kSignBit = 0x80000000u;
  std::vector<std::string> collation_keys;
  std::vector<std::string> names;
  std::vector<KeyedId> by_collation;
  std::vector<KeyedId> by_bytes;
  std::vector<KeyedId> by_number;
  std::vector<KeyedId> by_day;
  const RootCollation collation;
  for (uint32_t id = 0; id < table_.size(); ++id) {
    collation_keys.push_back(collation.Key(table_[id].texts[kName].wide));
    names.push_back(table_[id].texts[kName].bytes);
    by_collation.push_back({FirstEightBytes(collation_keys[id]), id});
    by_bytes.push_back({FirstEightBytes(names[id]), id});
    by_number.push_back({static_cast<uint32_t>(table_[id].number) ^ kSignBit, id});
    by_day.push_back({static_cast<uint32_t>(table_[id].day) ^ kSignBit, id});
  }
  TimeSort("sort_text", by_collation, &collation_keys);
  TimeSort("sort_text_binary", by_bytes, &names);
  TimeSort("sort_number", by_number, nullptr);
  TimeSort("sort_date", by_day, nullptr);
}

void Limit::ScanNotes() {
  hits_.clear();
  const std::string_view word = kWantedWord;
  const char* end = notes_.data() + notes_.size();
  const char* place = notes_.data();
  while ((place = static_cast<const char*>(
              memmem(place, static_cast<size_t>(end - place), word.data(), word.size()))) != nullptr) {
    hits_.push_back(static_cast<uint32_t>(place - notes_.data()));
    place += word.size();
  }
}

void Limit::Searches() {
  std::vector<int32_t> numbers;
  numbers.reserve(table_.size());
  for (const Record& record : table_) numbers.push_back(record.number);
  TimeRepeats("query_number", [&] {
    hits_.clear();
    for (uint32_t i = 0; i < numbers.size(); ++i) {
      if (numbers[i] == kWantedNumber) hits_.push_back(i);
    }
  });
  TimeRepeats("query_word", [&] { ScanNotes(); });
  kept_from_being_optimised_away = hits_.size();
}

}  // namespace

int main(int argc, char** argv) try {
  CLI::App app("The lower limit of the benchmark");
  std::string folder;
  size_t records = 5000;
  app.add_option("--dir", folder, "An empty folder for the files")->required()->check(CLI::ExistingDirectory);
  app.add_option("--records", records, "Records of the table")->check(CLI::Range(100, 5000));
  CLI11_PARSE(app, argc, argv);
  RoundReport report("limit", "pwrite, fdatasync, memcpy, radix sort", records);
  Limit limit(MakeTable(records), folder, report);
  limit.Files();
  limit.Commits();
  limit.Reads();
  limit.Sorts();
  limit.Searches();
  fmt::print("{}\n", report.Json());
  return 0;
} catch (const std::exception& failure) {
  fmt::print(stderr, "{}: {}\n", argv[0], failure.what());
  return 1;
}
