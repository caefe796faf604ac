// See operations.h.
#include "operations.h"

#include <fmt/format.h>

#include <algorithm>
#include <stdexcept>

#include "root_collation.h"

namespace bench {
namespace {

constexpr size_t kFirstScreen = 10;

// ---- what was read

void Require(const Digest& read, std::span<const Record> wanted) {
  Digest digest;
  for (const Record& record : wanted) {
    for (const Text& text : record.texts) digest.Add(std::string_view(text.bytes));
  }
  if (read.Hex() != digest.Hex()) throw std::runtime_error("what was read is not what was wanted");
}

void CheckOpened(Stage& stage) {
  Digest read;
  stage.copies.set_digest(&read);
  stage.store.ReadAll(stage.copies);
  Require(read, stage.wanted);
  stage.store.Close();
}

void CheckClosed(Stage& stage) {
  stage.store.Open(stage.path);
  CheckOpened(stage);
}

void CheckReopened(Stage& stage) {
  stage.store.Close();
  CheckClosed(stage);
}

template <typename Reading>
void CheckViews(Stage& stage, Reading&& reading) {
  if (stage.wanted.empty()) throw std::logic_error("too few records: nothing is wanted");
  Digest read;
  stage.views.set_digest(&read);
  reading();
  Require(read, stage.wanted);
  stage.store.Close();
}

// ---- opening, loading, reading

// Everything is in memory afterwards.
void Reopen(Stage& stage) {
  stage.store.Open(stage.path);
  stage.store.ReadFirst(kFirstScreen, stage.copies);
  stage.store.ReadAll(stage.copies);
}

void OpenAndReadFirst(Stage& stage) {
  stage.store.Open(stage.path);
  stage.store.ReadFirst(kFirstScreen, stage.copies);
}

void PrepareOpen(Stage& stage) {
  OpenAndReadFirst(stage);
  stage.store.Close();
}

void PrepareLoad(Stage& stage) { stage.path += "_again"; }
void Load(Stage& stage) { stage.store.Load(stage.path, stage.Loaded()); }

void ReadCopied(Stage& stage) { stage.store.ReadAll(stage.copies); }

void PreparePointers(Stage& stage) {
  Reopen(stage);
  stage.positions = ShuffledPositions(stage.loaded);
  stage.store.ReadAt(stage.positions, stage.views);
  for (size_t i = 0; i < stage.loaded; ++i) stage.wanted[i] = stage.table[stage.positions[i]];
}

void ReadPointers(Stage& stage) { stage.store.ReadAt(stage.positions, stage.views); }
void CheckPointers(Stage& stage) {
  CheckViews(stage, [&] { ReadPointers(stage); });
}

// ---- commits

void PrepareAdd(Stage& stage) {
  stage.wanted = stage.table;
  Reopen(stage);
  stage.store.Add(stage.table[stage.loaded]);
}

void Add(Stage& stage) {
  for (size_t i = 1; i <= kCountedCommits; ++i) stage.store.Add(stage.table[stage.loaded + i]);
}

void EditOne(Stage& stage, size_t index) {
  const uint32_t position = stage.positions[index];
  stage.store.EditCity({position, position + 1}, stage.cities[index]);
}

void PrepareEdit(Stage& stage) {
  for (size_t i = 0; i <= kCountedCommits; ++i) {
    stage.positions.push_back(static_cast<uint32_t>(i * 37 % stage.loaded));
    stage.cities.push_back(MakeText(fmt::format("New city {}", i)));
    stage.wanted[stage.positions.back()].texts[kCity] = stage.cities.back();
  }
  Reopen(stage);
  EditOne(stage, 0);
}

void Edit(Stage& stage) {
  for (size_t i = 1; i <= kCountedCommits; ++i) EditOne(stage, i);
}

void DeleteOne(Stage& stage, size_t index) { stage.store.DeleteLogged({stage.positions[index], 0}); }

void PrepareDelete(Stage& stage) {
  for (size_t i = 0; i <= kCountedCommits; ++i) {
    const size_t position = i * 53 % stage.wanted.size();
    stage.positions.push_back(static_cast<uint32_t>(position));
    stage.wanted.erase(stage.wanted.begin() + static_cast<std::ptrdiff_t>(position));
  }
  Reopen(stage);
  DeleteOne(stage, 0);
}

void Delete(Stage& stage) {
  for (size_t i = 1; i <= kCountedCommits; ++i) DeleteOne(stage, i);
}

void CheckDelete(Stage& stage) {
  if (stage.store.LogCount() != kCountedCommits + 1) throw std::runtime_error("not every deletion is in the log");
  CheckReopened(stage);
}

void PrepareDeleteAll(Stage& stage) {
  stage.wanted.clear();
  Reopen(stage);
}

void DeleteAll(Stage& stage) { stage.store.DeleteAll(); }

// ---- sorts

void SortBefore(Stage& stage, SortBy by) {
  if (!stage.store.Sort(by)) throw std::logic_error("the store does not sort in this way");
}

// The sort is the first one of an opened file, and follows one by something else.
template <SortBy by, SortBy other>
void PrepareSort(Stage& stage) {
  Reopen(stage);
  SortBefore(stage, by);
  SortBefore(stage, other);
  stage.store.Close();
  Reopen(stage);
  const RootCollation collation;
  std::stable_sort(stage.wanted.begin(), stage.wanted.end(), [&](const Record& a, const Record& b) {
    if (by == SortBy::kNumber) return a.number < b.number;
    if (by == SortBy::kDate) return a.day < b.day;
    return collation.Compare(a.texts[kName].bytes, b.texts[kName].bytes) < 0;
  });
}

template <SortBy by>
void Sort(Stage& stage) {
  stage.store.Sort(by);
}

void CheckSort(Stage& stage) {
  CheckViews(stage, [&] { stage.store.ReadSorted(stage.views); });
}

void EditFirstOfSorted(Stage& stage) { stage.store.EditFirstOfSorted(stage.cities.back()); }

void PrepareEditAfterSort(Stage& stage) {
  stage.cities.push_back(MakeText("New city"));
  stage.wanted.front().texts[kCity] = stage.cities.back();
  const auto smaller = [](const Record& a, const Record& b) { return a.number < b.number; };
  std::min_element(stage.wanted.begin(), stage.wanted.end(), smaller)->texts[kCity] = stage.cities.back();
  for (int i = 0; i < 2; ++i) {
    Reopen(stage);
    for (int j = 0; j < 2; ++j) EditFirstOfSorted(stage);  // the first commits of an opened file are another matter
    SortBefore(stage, SortBy::kDate);
    SortBefore(stage, SortBy::kNumber);
    if (i == 1) break;
    EditFirstOfSorted(stage);
    stage.store.Close();
  }
}

// ---- searches

void FindNumber(Stage& stage) { stage.store.FindNumber(stage.number, kWantedNumber); }
void FindWord(Stage& stage) { stage.store.FindWord(stage.word); }

bool HasWantedNumber(const Record& record) { return record.number == kWantedNumber; }

// Its first letter may be a capital.
bool HasWantedWord(const Record& record) {
  return record.texts[kNotes].bytes.find(kWantedWord + 1) != std::string::npos;
}

template <void (*find)(Stage&), bool (*is_hit)(const Record&)>
void PrepareFind(Stage& stage) {
  std::erase_if(stage.wanted, [](const Record& record) { return !is_hit(record); });
  Reopen(stage);
  find(stage);
  stage.store.ForgetHits();
}

void CheckFind(Stage& stage) {
  CheckViews(stage, [&] {
    stage.store.ReadHits(stage.views);
    stage.store.ForgetHits();
  });
}

constexpr auto kByName = SortBy::kNameByCollation;
constexpr auto kByNumber = SortBy::kNumber;
constexpr auto kByDate = SortBy::kDate;

constexpr Operation kOperations[] = {
    {"open", Unit::kOperation, PrepareOpen, OpenAndReadFirst, CheckOpened},
    {"load", Unit::kRecord, PrepareLoad, Load, CheckClosed},
    {"add", Unit::kCommit, PrepareAdd, Add, CheckReopened},
    {"edit", Unit::kCommit, PrepareEdit, Edit, CheckReopened},
    {"delete", Unit::kCommit, PrepareDelete, Delete, CheckDelete},
    {"read-copied", Unit::kRecord, Reopen, ReadCopied, CheckOpened},
    {"read-pointers", Unit::kRecord, PreparePointers, ReadPointers, CheckPointers},
    {"sort-text", Unit::kRecord, PrepareSort<kByName, kByNumber>, Sort<kByName>, CheckSort},
    {"sort-number", Unit::kRecord, PrepareSort<kByNumber, kByDate>, Sort<kByNumber>, CheckSort},
    {"sort-date", Unit::kRecord, PrepareSort<kByDate, kByNumber>, Sort<kByDate>, CheckSort},
    {"edit-after-sort", Unit::kOperation, PrepareEditAfterSort, EditFirstOfSorted, CheckReopened},
    {"find-number", Unit::kRecord, PrepareFind<FindNumber, HasWantedNumber>, FindNumber, CheckFind},
    {"find-word", Unit::kRecord, PrepareFind<FindWord, HasWantedWord>, FindWord, CheckFind},
    {"delete-all", Unit::kRecord, PrepareDeleteAll, DeleteAll, CheckReopened},
};

}  // namespace

Stage::Stage(Store& measured, size_t records, const std::string& folder)
    : store(measured),
      table(MakeTable(records + kCountedCommits + 1)),
      loaded(records),
      path(folder + "/file"),
      number(MakeText(fmt::format("{}", kWantedNumber))),
      word(MakeText(kWantedWord)) {
  wanted.assign(Loaded().begin(), Loaded().end());
  store.StartLibrary();
  store.Load(path, Loaded());
}

std::span<const Operation> Operations() { return kOperations; }

const char* NameOf(Unit unit) {
  return unit == Unit::kRecord ? "record" : unit == Unit::kCommit ? "commit" : "operation";
}

size_t UnitsOf(const Operation& operation, const Stage& stage) {
  return operation.unit == Unit::kRecord ? stage.loaded : operation.unit == Unit::kCommit ? kCountedCommits : 1;
}

}  // namespace bench
