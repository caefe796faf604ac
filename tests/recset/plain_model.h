// The plain model of a database and its record sets: what a client may rely on, kept in vectors and searched from front
// to back. It shares no code with the engine; the stream of model_test.cc compares the two after every call.
//
// (M1) Records stand in creation order, which is also the order of their identifiers.
// (M2) A view is a list of record numbers; it may name records that another record set has deleted since.
#pragma once

#include <array>
#include <cstdint>
#include <map>
#include <optional>
#include <set>
#include <string>
#include <vector>

#include "plain_values.h"

namespace plain {

using Info = std::array<uint8_t, 10>;

struct Record {
  uint32_t number = 0;  // the model's own; grows with every record
  uint8_t state = 0;
  Info info{};
  std::vector<Text> fields;
};

struct Criteria {
  int16_t field = 0;
  int16_t mode = 0;
  Text text;
};

class Database {
 public:
  explicit Database(std::vector<uint8_t> types) : types_(std::move(types)) {}

  const std::vector<uint8_t>& types() const { return types_; }
  const std::vector<Record>& live() const { return live_; }
  const std::vector<Record>& log() const { return log_; }

  const Record* Find(uint32_t number) const;
  uint32_t Add(const std::vector<Text>& fields, const Info& info, uint8_t state);
  bool Delete(uint32_t number, bool no_log);
  void DeleteAll() { live_.clear(); }
  void Write(uint32_t number, int16_t field, const Text& text);

  // Record numbers in the order of a sort.
  std::vector<uint32_t> Sorted(int16_t field, bool ascending) const;
  bool Matches(const Record& record, const Criteria& criteria) const;

 private:
  std::vector<uint8_t> types_;
  std::vector<Record> live_;
  std::vector<Record> log_;
  uint32_t next_number_ = 0;
};

// Statuses as plain numbers, so that not even the names are shared.
constexpr uint32_t kOk = 0;
constexpr uint32_t kFailed = 1;
constexpr uint32_t kOutOfRange = 9;

class RecordSet {
 public:
  explicit RecordSet(Database& database) : database_(&database) {}

  uint32_t Query(const std::optional<Criteria>& criteria, bool view_taken);
  uint32_t Sort(int16_t field, uint32_t mode);
  void Destroy();

  uint32_t New(uint16_t& index);
  uint32_t Duplicate(int16_t source, uint16_t& index);
  uint32_t Delete(int16_t index, bool no_log);
  uint32_t DeleteAll(bool no_log);
  // Writes into the record at the cursor.
  uint32_t Write(int16_t field, const Text& text);

  void SetCursor(int16_t index) { cursor_ = index; }
  // Unknown after a view was built over the data table: the scan moves the table's cursor.
  void ForgetCursor() { cursor_.reset(); }

  bool valid() const { return valid_; }
  bool has_view() const { return has_view_; }
  bool filtered() const { return filter_field_ != -1; }
  bool dirty() const { return dirty_ && filtered(); }
  int16_t sort_field() const { return sort_field_; }
  bool ascending() const { return ascending_; }
  std::optional<int16_t> cursor() const { return cursor_; }
  std::vector<uint32_t> Contents() const;
  // The record at an index; null when there is none, or it was deleted meanwhile.
  const Record* At(int16_t index) const;

 private:
  bool Accepts(const Record& record) const;
  void BuildView(const std::vector<uint32_t>& order);
  void Appended(uint32_t number, uint16_t& index);

  Database* database_;
  bool valid_ = false;
  bool has_view_ = false;
  int16_t filter_field_ = -1;
  bool dirty_ = false;
  int16_t sort_field_ = -1;
  bool ascending_ = true;
  std::optional<int16_t> cursor_ = -1;
  std::optional<Criteria> criteria_;
  std::vector<uint32_t> view_;
  std::set<uint32_t> kept_;
};

}  // namespace plain
