// One store under measurement: what a round asks of it, one call for each piece of work whose time is taken.
//
// Always holds: a call that changes something returns when the change is on stable storage. Records are named by their
// identifier, which counts from 1 in the order of adding, or by their position among the living; each store uses
// the one that its users have. A store throws when anything fails.
#pragma once

#include <cstdint>
#include <memory>
#include <span>
#include <string>

#include "field_takers.h"
#include "table_data.h"

namespace bench {

struct Place {
  size_t position;
  uint32_t id;
};

enum class SortBy { kNameByCollation, kNameByBytes, kNumber, kDate };

class Store {
 public:
  Store() = default;
  virtual ~Store() = default;
  Store(const Store&) = delete;
  Store& operator=(const Store&) = delete;

  virtual std::string Name() const = 0;
  virtual std::string Version() const = 0;

  // Once, before anything else: what a program does at its start, whichever file it will open.
  virtual void StartLibrary() {}

  // Makes the file or folder at path, which does not exist, fills it, and closes it.
  virtual void Load(const std::string& path, std::span<const Record> records) = 0;
  // The same with an index of the words of the notes, by which FindWord then searches, for a store that has one.
  virtual void LoadWithWordIndex(const std::string& path, std::span<const Record> records) { Load(path, records); }
  virtual void Open(const std::string& path) = 0;
  virtual void Close() = 0;

  // By position, all fields.
  virtual void ReadFirst(size_t count, Copies& copies) = 0;
  virtual void ReadAll(Copies& copies) = 0;
  virtual void ReadAt(std::span<const uint32_t> positions, Views& views) = 0;

  // Afterwards the store has the order, or the hits, in hand; equal keys stand in the order of adding. False: the
  // store does not sort in this way.
  virtual bool Sort(SortBy by) = 0;
  virtual void ReadSorted(Views& views) = 0;
  virtual void FindNumber(const Text& text, int32_t value) = 0;
  virtual void FindWord(const Text& word) = 0;
  virtual void ReadHits(Views& views) = 0;
  virtual void ForgetHits() = 0;

  virtual void Add(const Record& record) = 0;
  virtual void EditCity(const Place& place, const Text& city) = 0;
  // Edits the first record of the sorted order; the order itself becomes durable with the edit.
  virtual void EditFirstOfSorted(const Text& city) = 0;
  virtual void Delete(const Place& place) = 0;
  // With a copy of the record in a log of deletions.
  virtual void DeleteLogged(const Place& place) = 0;
  virtual void DeleteAll() = 0;
  virtual size_t LogCount() = 0;
};

// Each program has one.
std::unique_ptr<Store> MakeStore();

}  // namespace bench
