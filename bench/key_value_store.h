// What all stores of keys and values share: records packed into values, under keys whose order is that of adding;
// sorting and searching by the client, over everything. A store itself adds how it opens, reads and commits.
//
// Always holds: one key space. A key is a letter for what it names and a big-endian number: 'r' a record, 'l' a logged
// deletion, 'o' the sorted order.
#pragma once

#include <functional>
#include <string_view>
#include <vector>

#include "measured_store.h"
#include "packed_record.h"
#include "root_collation.h"

namespace bench {

class Key {
 public:
  Key(char kind, uint32_t number) {
    bytes_[0] = kind;
    for (size_t i = 1; i < bytes_.size(); ++i) {
      bytes_[i] = static_cast<char>(number >> (8 * (bytes_.size() - 1 - i)));
    }
  }
  std::string_view bytes() const { return {bytes_.data(), bytes_.size()}; }
  static uint32_t NumberOf(std::string_view key) {
    uint32_t number = 0;
    for (const char byte : key.substr(1)) number = number << 8 | static_cast<unsigned char>(byte);
    return number;
  }

 private:
  std::array<char, 5> bytes_{};
};

class KeyValueStore : public Store {
 public:
  void Load(const std::string& path, std::span<const Record> records) override;
  void Open(const std::string& path) override;
  void Close() override;

  void ReadFirst(size_t count, Copies& copies) override { CopyUpTo(count, copies); }
  void ReadAll(Copies& copies) override { CopyUpTo(SIZE_MAX, copies); }
  void ReadAt(std::span<const uint32_t> positions, Views& views) override;

  bool Sort(SortBy by) override;
  void ReadSorted(Views& views) override { ViewAll(sorted_, views); }
  void FindNumber(const Text& text, int32_t value) override;
  void FindWord(const Text& word) override;
  void ReadHits(Views& views) override { ViewAll(hits_, views); }
  void ForgetHits() override { hits_.clear(); }

  void Add(const Record& record) override;
  void EditCity(const Place& place, const Text& city) override;
  void EditFirstOfSorted(const Text& city) override;
  void Delete(const Place& place) override;
  void DeleteLogged(const Place& place) override;
  void DeleteAll() override;
  size_t LogCount() override;

 protected:
  // Called with key and value, which are gone after the call; false ends a scan.
  using Visitor = std::function<bool(std::string_view key, std::string_view value)>;

  virtual void OpenFile(const std::string& path, bool create) = 0;
  virtual void CloseFile() = 0;

  // A transaction. Reading between BeginWriting and Commit sees the state before.
  virtual void BeginWriting() = 0;
  // Keys of a load come in ascending order into an empty store.
  virtual void Put(std::string_view key, std::string_view value, bool load) = 0;
  virtual void Remove(std::string_view key) = 0;
  virtual void Commit() = 0;

  // Around reads that belong together, for stores that have read transactions.
  virtual void BeginReading() {}
  virtual void EndReading() {}
  // False: no such key.
  virtual bool Get(std::string_view key, const Visitor& visit) = 0;
  // All keys of a kind, ascending.
  virtual void Scan(char kind, const Visitor& visit) = 0;

 private:
  void CopyUpTo(size_t count, Copies& copies);
  void View(uint32_t id, Views& views);
  void ViewAll(const std::vector<uint32_t>& ids, Views& views);
  // Scans the records within one reading.
  void ScanRecords(const std::function<bool(uint32_t, const PackedRecord&)>& visit);
  std::string ValueOf(uint32_t id);
  void SortNames(bool by_collation);
  void SortValues(bool by_number);

  RootCollation collation_;
  uint32_t next_id_ = 0;  // 0 until it is needed
  std::vector<uint32_t> sorted_;
  std::vector<uint32_t> hits_;
};

}  // namespace bench
