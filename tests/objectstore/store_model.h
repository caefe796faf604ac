// A plain model of one volume, to hold the store's answers against: databases in maps, orders sorted anew for every
// question, text compared by the collation library itself. It shares nothing with the store and has no tricks.
//
// A call that the model refuses lists every last error that would be right; an empty list stands for success.
#pragma once

#include <map>
#include <set>
#include <string>
#include <vector>

#include "store_test.h"

using Refusals = std::set<DWORD>;
using ModelRecord = std::vector<Stored>;  // in the order of first writing

struct ModelDatabase {
  std::u16string name;
  DWORD type = 0;
  DWORD flags = 0;
  std::vector<SORTORDERSPEC> orders;
  std::map<CEOID, ModelRecord> records;
};

// Where a handle's pointer stands. In a gap, gone is the record that was there.
struct ModelHandle {
  enum Place { kAt, kGap, kEnd };

  CEOID database = 0;
  int order = -1;  // index of its sort order; -1 without any
  bool steps = false;
  Place place = kEnd;
  CEOID record = 0;  // the current one, or the one that is gone
  ModelRecord gone;
  bool reached_by_step = false;
};

struct ModelSeek {
  CEOID record = 0;
  DWORD index = 0;
  DWORD error = 0;
};

class StoreModel {
 public:
  const std::map<CEOID, ModelDatabase>& databases() const { return databases_; }
  const std::map<HANDLE, ModelHandle>& handles() const { return handles_; }
  bool IsOpen(CEOID database) const;

  // An order's records by position; order -1: by identifier.
  std::vector<CEOID> Order(CEOID database, int order) const;
  DWORD Size(CEOID database) const;

  // created is the identifier that the store gave, when it is to be created.
  Refusals CreateDatabase(const CEDBASEINFO& info, CEOID created);
  Refusals ChangeDatabase(CEOID database, const CEDBASEINFO& info);
  Refusals DeleteDatabase(CEOID database);
  Refusals Open(CEOID database, CEPROPID order, bool steps, HANDLE opened);
  void Close(HANDLE handle) { handles_.erase(handle); }

  ModelSeek SeekPosition(HANDLE handle, DWORD type, int32_t count);
  ModelSeek SeekRecord(HANDLE handle, CEOID record);
  ModelSeek SeekValue(HANDLE handle, DWORD type, const Stored& value);
  Reading Read(HANDLE handle, const std::vector<CEPROPID>* ids);
  Refusals Write(HANDLE handle, CEOID record, const std::vector<CEPROPVAL>& entries, CEOID created);
  Refusals DeleteRecord(HANDLE handle, CEOID record);

  void Flush() { flushed_ = databases_; }
  void CloseAll() { handles_.clear(); }

  // The whole volume as text; that of the last flush, too.
  std::string Text() const { return TextOf(databases_); }
  std::string FlushedText() const { return TextOf(flushed_); }

 private:
  using Databases = std::map<CEOID, ModelDatabase>;

  static std::vector<CEOID> OrderOf(const ModelDatabase& database, int order);
  static std::string TextOf(const Databases& databases);
  static void CheckOrders(const CEDBASEINFO& info, Refusals& refusals);
  static void CheckConstraints(const ModelDatabase& database, const std::vector<SORTORDERSPEC>& orders, CEOID record_id,
                               const ModelRecord& record, Refusals& refusals);
  void CheckName(const CEDBASEINFO& info, CEOID itself, Refusals& refusals) const;
  const SORTORDERSPEC* SpecOf(const ModelHandle& handle) const;
  ModelSeek Land(ModelHandle& handle, const std::vector<CEOID>& order, int64_t position);
  void StepTo(ModelHandle& handle, CEOID after, const ModelRecord& its_values);
  // The position of the first record that does not stand before the given one.
  size_t PlaceOf(const ModelHandle& handle, const std::vector<CEOID>& order, CEOID id, const ModelRecord& record) const;

  Databases databases_;
  Databases flushed_;
  std::map<HANDLE, ModelHandle> handles_;
};

// The same text for a mounted volume, out of the store's own answers.
std::string TextOfVolume(const CEGUID& volume);
