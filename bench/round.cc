// See round.h. Three files: the main one, which is read, sorted, edited and at last emptied; one with room for records
// to be added; and one like that with an index of words, for stores that have one. State changes alike for all.
#include "round.h"

#include <fmt/format.h>
#include <unistd.h>

#include <array>
#include <cstdio>
#include <filesystem>
#include <numeric>
#include <stdexcept>

#include "steady_timer.h"

namespace bench {
namespace {

constexpr int kRepeats = 7;       // of work that changes nothing
constexpr int kLoads = 3;         // of a whole file
constexpr int kSorts = 5;         // of each kind, each in a file opened afresh
constexpr size_t kCommits = 100;  // after the first one
constexpr size_t kFirstScreen = 10;
constexpr size_t kRoomForAdds = 150;
constexpr size_t kWordAdds = 10;

// Small tables, as in a trial run, are not emptied by the first rows.
size_t Commits(size_t records) { return std::min(kCommits, records / 5); }

uint64_t BytesAt(const std::filesystem::path& path) {
  if (!std::filesystem::is_directory(path)) return std::filesystem::file_size(path);
  uint64_t bytes = 0;
  for (const auto& entry : std::filesystem::recursive_directory_iterator(path)) {
    if (entry.is_regular_file()) bytes += entry.file_size();
  }
  return bytes;
}

Text NewCity(size_t number) { return MakeText(fmt::format("New city {}", number)); }

}  // namespace

Round::Round(Store& store, const std::vector<Record>& table, std::string folder)
    : store_(store),
      table_(table),
      folder_(std::move(folder)),
      living_(table.size()),
      wanted_number_(MakeText(fmt::format("{}", kWantedNumber))),
      wanted_word_(MakeText(kWantedWord)) {
  std::iota(living_.begin(), living_.end(), 1u);
}

void Round::Run(RoundReport& report) {
  Load(report);
  MeasureMemory(report);
  OpenAndReadFirst(report);
  Read(report);
  Query(report);
  Sort(report);
  EditAfterSort(report);
  Edit(report);
  Delete(report);
  Add(report);
  AddWithWordIndex(report);
  if (views_.seen() == 0) throw std::logic_error("nothing was looked at");
}

void Round::Load(RoundReport& report) {
  std::vector<double> times;
  for (int i = 0; i < kLoads; ++i) {
    std::filesystem::remove_all(MainPath());
    times.push_back(MicrosecondsOf([&] { store_.Load(MainPath(), table_); }));
  }
  report.AddAmount("file_bytes", BytesAt(MainPath()));
  Reopen(MainPath());
  report.AddRow("load", Median(times), DigestOfAll());
  store_.Close();
}

// A process of its own, since the table itself and what loading took are in this one's memory.
void Round::MeasureMemory(RoundReport& report) {
  const std::string self = std::filesystem::read_symlink("/proc/self/exe").string();
  const std::string command = fmt::format("'{}' --read-only --dir '{}'", self, folder_);
  FILE* reader = popen(command.c_str(), "r");
  if (reader == nullptr) throw std::runtime_error("no reader process");
  unsigned long before_kib = 0;
  unsigned long peak_kib = 0;
  const int read = fscanf(reader, "%lu %lu", &before_kib, &peak_kib);
  if (pclose(reader) != 0 || read != 2) throw std::runtime_error("the reader process failed");
  report.AddAmount("memory_at_start_kib", before_kib);
  report.AddAmount("memory_peak_kib", peak_kib);
}

void Round::OpenAndReadFirst(RoundReport& report) {
  std::vector<double> times;
  Digest digest;
  for (int i = 0; i <= kRepeats; ++i) {
    copies_.set_digest(i == kRepeats ? &digest : nullptr);  // off the record
    const double time = MicrosecondsOf([&] {
      store_.Open(MainPath());
      store_.ReadFirst(kFirstScreen, copies_);
    });
    store_.Close();
    if (i < kRepeats) times.push_back(time);
  }
  copies_.set_digest(nullptr);
  report.AddRepeats("open", times, digest.Hex());
}

void Round::Read(RoundReport& report) {
  const std::vector<uint32_t> positions = ShuffledPositions(table_.size());
  std::vector<double> all;
  std::vector<double> random;
  store_.Open(MainPath());
  store_.ReadFirst(kFirstScreen, copies_);
  for (int i = 0; i <= kRepeats; ++i) all.push_back(MicrosecondsOf([&] { store_.ReadAll(copies_); }));
  report.AddRow("read_all_first", all[0], "");
  report.AddRepeats("read_all", all, DigestOfAll());
  for (int i = 0; i <= kRepeats; ++i) random.push_back(MicrosecondsOf([&] { store_.ReadAt(positions, views_); }));
  Digest digest;
  views_.set_digest(&digest);
  store_.ReadAt(positions, views_);
  views_.set_digest(nullptr);
  report.AddRepeats("read_random", random, digest.Hex());
  store_.Close();
}

void Round::FindNumber() { store_.FindNumber(wanted_number_, kWantedNumber); }
void Round::FindWord() { store_.FindWord(wanted_word_); }

void Round::TimeQuery(RoundReport& report, const std::string& row, void (Round::*find)()) {
  std::vector<double> times;
  for (int i = 0; i <= kRepeats; ++i) {
    store_.ForgetHits();
    times.push_back(MicrosecondsOf([&] { (this->*find)(); }));
  }
  report.AddRepeats(row, times, DigestOfHits());
  store_.ForgetHits();
}

void Round::Query(RoundReport& report) {
  Reopen(MainPath());
  TimeQuery(report, "query_number", &Round::FindNumber);
  TimeQuery(report, "query_word", &Round::FindWord);
  store_.Close();
}

// Each sort is the first one of an opened file, and follows one by something else: no store finds its keys as they are
// to be.
void Round::Sort(RoundReport& report) {
  struct Kind {
    const char* row;
    SortBy by;
    std::vector<double> times;
    std::string digest;
  };
  std::array<Kind, 4> kinds = {{{"sort_text", SortBy::kNameByCollation, {}, {}},
                                {"sort_text_binary", SortBy::kNameByBytes, {}, {}},
                                {"sort_number", SortBy::kNumber, {}, {}},
                                {"sort_date", SortBy::kDate, {}, {}}}};
  for (int i = 0; i < kSorts; ++i) {
    for (Kind& kind : kinds) {
      Reopen(MainPath());
      bool sorted = false;
      const double time = MicrosecondsOf([&] { sorted = store_.Sort(kind.by); });
      if (sorted) kind.times.push_back(time);
      if (sorted && i == 0) kind.digest = DigestOfSorted();
      store_.Close();
    }
  }
  for (const Kind& kind : kinds) {
    if (!kind.times.empty()) report.AddRow(kind.row, Median(kind.times), kind.digest);
  }
}

// In a file opened afresh, after so many commits; again and again, by number and by date in turns.
double Round::TimeEditAfterSort(size_t commits) {
  std::vector<double> times;
  for (size_t i = 0; i < kSorts; ++i) {
    Reopen(MainPath());
    for (size_t j = 0; j < commits; ++j) store_.EditCity({j, living_[j]}, NewCity(10 * i + j));
    if (!store_.Sort(i % 2 == 0 ? SortBy::kNumber : SortBy::kDate)) throw std::logic_error("no sort by value");
    const Text city = NewCity(10 * i + commits);
    times.push_back(MicrosecondsOf([&] { store_.EditFirstOfSorted(city); }));
    store_.Close();
  }
  return Median(times);
}

// Among an opened file's commits, as with the other commits that are timed; and as the first.
void Round::EditAfterSort(RoundReport& report) {
  constexpr size_t kCommitsBefore = 2;
  for (const auto& [row, commits] : {std::pair("edit_after_sort", kCommitsBefore), {"edit_after_sort_first", 0}}) {
    const double time = TimeEditAfterSort(commits);
    Reopen(MainPath());
    report.AddRow(row, time, DigestOfAll());
    store_.Close();
  }
}

// The record at a position, which is about to go.
Place Round::TakePlace(size_t position) {
  const Place place = {position, living_[position]};
  living_.erase(living_.begin() + static_cast<std::ptrdiff_t>(position));
  return place;
}

void Round::Edit(RoundReport& report) {
  std::vector<double> times;
  Reopen(MainPath());
  for (size_t i = 0; i <= Commits(table_.size()); ++i) {
    const size_t position = i * 37 % living_.size();
    const Text city = NewCity(1000 + i);
    times.push_back(MicrosecondsOf([&] { store_.EditCity({position, living_[position]}, city); }));
  }
  report.AddRepeats("edit", times, DigestOfAll());
  store_.Close();
}

void Round::Delete(RoundReport& report) {
  std::vector<double> times;
  Reopen(MainPath());
  for (size_t i = 0; i <= Commits(table_.size()); ++i) {
    const Place place = TakePlace(i * 53 % living_.size());
    times.push_back(MicrosecondsOf([&] { store_.DeleteLogged(place); }));
  }
  if (store_.LogCount() != times.size())
    throw std::runtime_error("the log of deletions is not as long as it should be");
  report.AddRepeats("delete_logged", times, DigestOfAll());
  store_.Close();

  Reopen(MainPath());
  const size_t deletions = table_.size() / 5;
  std::vector<Place> places;
  for (size_t i = 0; i < deletions; ++i) places.push_back(TakePlace(i * 61 % living_.size()));
  const double one_by_one = MicrosecondsOf([&] {
    for (const Place& place : places) store_.Delete(place);
  });
  report.AddRow("delete_fifth", one_by_one, DigestOfAll());
  store_.Close();

  Reopen(MainPath());
  const double all = MicrosecondsOf([&] { store_.DeleteAll(); });
  store_.Close();
  store_.Open(MainPath());
  report.AddRow("delete_all", all, DigestOfAll());
  store_.Close();
}

void Round::Add(RoundReport& report) {
  const size_t adds = Commits(table_.size()) + 1;
  const size_t loaded = table_.size() - std::min(kRoomForAdds, table_.size() / 2);
  const std::string path = folder_ + "/adds";
  store_.Load(path, std::span(table_).first(loaded));
  Reopen(path);
  std::vector<double> times;
  for (size_t i = 0; i < adds; ++i) {
    times.push_back(MicrosecondsOf([&] { store_.Add(table_[loaded + i]); }));
  }
  report.AddRepeats("add", times, DigestOfAll());
  store_.Close();
}

void Round::AddWithWordIndex(RoundReport& report) {
  const size_t loaded = table_.size() - std::min(kRoomForAdds, table_.size() / 2);
  const std::string path = folder_ + "/words";
  store_.LoadWithWordIndex(path, std::span(table_).first(loaded));
  Reopen(path);
  store_.Add(table_[loaded]);  // the first commit of an opened file is another matter, as in the row of adds
  const double time = MicrosecondsOf([&] {
    for (size_t i = 1; i <= kWordAdds; ++i) store_.Add(table_[loaded + i]);
    FindWord();
  });
  report.AddRow("add_10_find_word", time, DigestOfHits());
  store_.ForgetHits();
  store_.Close();
}

void Round::Reopen(const std::string& path) {
  store_.Open(path);
  store_.ReadFirst(kFirstScreen, copies_);
  store_.ReadAll(copies_);
}

std::string Round::DigestOfAll() {
  Digest digest;
  copies_.set_digest(&digest);
  store_.ReadAll(copies_);
  copies_.set_digest(nullptr);
  return digest.Hex();
}

std::string Round::DigestOfHits() {
  const uint64_t seen_before = views_.seen();
  Digest digest;
  views_.set_digest(&digest);
  store_.ReadHits(views_);
  views_.set_digest(nullptr);
  if (views_.seen() == seen_before) throw std::runtime_error("a search found nothing");
  return digest.Hex();
}

std::string Round::DigestOfSorted() {
  Digest digest;
  views_.set_digest(&digest);
  store_.ReadSorted(views_);
  views_.set_digest(nullptr);
  return digest.Hex();
}

}  // namespace bench
