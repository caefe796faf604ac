// The model's rules: see store_model.h.
#include "store_model.h"

#include <string.h>
#include <unicode/uchar.h>
#include <unicode/ucol.h>

#include <algorithm>
#include <sstream>

namespace {

int Sign(bool less, bool greater) { return less ? -1 : greater ? 1 : 0; }

template <class Number>
int CompareNumbers(const Stored& a, const Stored& b) {
  Number x, y;
  memcpy(&x, a.bytes.data(), sizeof(x));
  memcpy(&y, b.bytes.data(), sizeof(y));
  return Sign(x<y, x> y);
}

std::u16string Wide(const Stored& value) {
  std::u16string text(value.bytes.size() / 2, u'\0');
  memcpy(text.data(), value.bytes.data(), value.bytes.size());
  return text;
}

int CompareTexts(const Stored& a, const Stored& b, bool without_case) {
  static UCollator* collators[2] = {};
  UCollator*& collator = collators[without_case];
  UErrorCode error = U_ZERO_ERROR;
  if (collator == nullptr) {
    collator = ucol_open("", &error);
    ucol_setStrength(collator, without_case ? UCOL_SECONDARY : UCOL_TERTIARY);
  }
  return ucol_strcoll(collator, Wide(a).c_str(), -1, Wide(b).c_str(), -1);
}

// Ascending; both values are of the order's type.
int CompareValues(const SORTORDERSPEC& spec, const Stored& a, const Stored& b) {
  switch (TypeOf(spec.propid)) {
    case CEVT_I2:
      return CompareNumbers<int16_t>(a, b);
    case CEVT_UI2:
      return CompareNumbers<uint16_t>(a, b);
    case CEVT_I4:
      return CompareNumbers<int32_t>(a, b);
    case CEVT_UI4:
      return CompareNumbers<uint32_t>(a, b);
    case CEVT_BOOL:
      return Sign(a.bytes<b.bytes, a.bytes> b.bytes);  // the model's tests write 0 and 1 only
    case CEVT_R8:
      return CompareNumbers<double>(a, b);
    case CEVT_FILETIME:
      return CompareNumbers<uint64_t>(a, b);
    default:
      return CompareTexts(a, b, (spec.dwFlags & CEDB_SORT_CASEINSENSITIVE) != 0);
  }
}

const Stored* Find(const ModelRecord& record, CEPROPID propid) {
  for (const Stored& value : record) {
    if (value.propid == propid) return &value;
  }
  return nullptr;
}

// In the order's own direction; ties are ties.
int CompareRecords(const SORTORDERSPEC& spec, const ModelRecord& a, const ModelRecord& b) {
  const Stored* x = Find(a, spec.propid);
  const Stored* y = Find(b, spec.propid);
  if (x == nullptr || y == nullptr) {
    int absent_last = (x == nullptr ? 1 : 0) - (y == nullptr ? 1 : 0);
    return (spec.dwFlags & CEDB_SORT_UNKNOWNFIRST) != 0 ? -absent_last : absent_last;
  }
  int ascending = CompareValues(spec, *x, *y);
  return (spec.dwFlags & CEDB_SORT_DESCENDING) != 0 ? -ascending : ascending;
}

std::u16string Folded(const std::u16string& name) {
  std::u16string folded;
  for (char16_t unit : name) folded += static_cast<char16_t>(u_foldCase(unit, U_FOLD_CASE_DEFAULT));
  return folded;
}

std::vector<SORTORDERSPEC> OrdersOf(const CEDBASEINFO& info) {
  if (info.wNumSortOrder == 1 && info.rgSortSpecs[0].propid == 0) return {};
  return {info.rgSortSpecs, info.rgSortSpecs + info.wNumSortOrder};
}

bool SameOrders(const std::vector<SORTORDERSPEC>& a, const std::vector<SORTORDERSPEC>& b) {
  return std::equal(a.begin(), a.end(), b.begin(), b.end(), [](const SORTORDERSPEC& x, const SORTORDERSPEC& y) {
    return x.propid == y.propid && x.dwFlags == y.dwFlags;
  });
}

// False when an entry is not acceptable at all.
bool Merge(const std::vector<CEPROPVAL>& entries, ModelRecord& record) {
  for (const CEPROPVAL& entry : entries) {
    auto there = std::find_if(record.begin(), record.end(), [&](const Stored& v) { return v.propid == entry.propid; });
    if ((entry.wFlags & CEDB_PROPDELETE) != 0) {
      if (there != record.end()) record.erase(there);
      continue;
    }
    if (TypeOf(entry.propid) == CEVT_LPWSTR && entry.val.lpwstr == nullptr) return false;
    if (there != record.end()) {
      there->bytes = CopyOf(entry).bytes;
    } else {
      record.push_back(CopyOf(entry));
    }
  }
  return true;
}

void AppendRecord(std::ostream& out, CEOID record, const ModelRecord& values) {
  out << "  record " << record;
  for (const Stored& value : values) {
    out << ' ';
    PrintTo(value, &out);
  }
  out << '\n';
}

void AppendDatabase(std::ostream& out, CEOID database, const std::u16string& name, DWORD type, DWORD flags) {
  out << "database " << database << " type " << type << " flags " << flags << " name";
  for (char16_t unit : name) out << ' ' << static_cast<unsigned>(unit);
  out << '\n';
}

void AppendOrder(std::ostream& out, const SORTORDERSPEC& spec, const std::vector<CEOID>& records) {
  out << "  order " << spec.propid << " flags " << spec.dwFlags << ':';
  for (CEOID record : records) out << ' ' << record;
  out << '\n';
}

}  // namespace

bool StoreModel::IsOpen(CEOID database) const {
  return std::any_of(handles_.begin(), handles_.end(), [&](const auto& h) { return h.second.database == database; });
}

std::vector<CEOID> StoreModel::OrderOf(const ModelDatabase& database, int order) {
  std::vector<CEOID> ids;
  for (const auto& [id, record] : database.records) ids.push_back(id);
  if (order < 0) return ids;
  const SORTORDERSPEC& spec = database.orders[static_cast<size_t>(order)];
  std::stable_sort(ids.begin(), ids.end(), [&](CEOID a, CEOID b) {
    return CompareRecords(spec, database.records.at(a), database.records.at(b)) < 0;
  });
  return ids;
}

std::vector<CEOID> StoreModel::Order(CEOID database, int order) const {
  return OrderOf(databases_.at(database), order);
}

DWORD StoreModel::Size(CEOID database) const {
  size_t size = 0;
  for (const auto& [id, record] : databases_.at(database).records) {
    size += 20;
    for (const Stored& value : record) {
      size += 4 + value.bytes.size() + (TypeOf(value.propid) == CEVT_LPWSTR ? sizeof(WCHAR) : 0);
    }
  }
  return static_cast<DWORD>(size);
}

void StoreModel::CheckName(const CEDBASEINFO& info, CEOID itself, Refusals& refusals) const {
  std::u16string name = NameOf(info);
  if (name.empty() || name.back() == u'\\') refusals.insert(ERROR_INVALID_PARAMETER);
  for (const auto& [id, database] : databases_) {
    if (id != itself && Folded(database.name) == Folded(name)) refusals.insert(ERROR_DUP_NAME);
  }
}

void StoreModel::CheckOrders(const CEDBASEINFO& info, Refusals& refusals) {
  std::set<CEPROPID> seen;
  for (const SORTORDERSPEC& spec : OrdersOf(info)) {
    bool usable = TypeOf(spec.propid) != CEVT_BLOB && seen.insert(spec.propid).second;
    if (!usable) refusals.insert(ERROR_INVALID_PARAMETER);
  }
}

void StoreModel::CheckConstraints(const ModelDatabase& database, const std::vector<SORTORDERSPEC>& orders,
                                  CEOID record_id, const ModelRecord& record, Refusals& refusals) {
  for (const SORTORDERSPEC& spec : orders) {
    if ((spec.dwFlags & (CEDB_SORT_UNIQUE | CEDB_SORT_NONNULL)) == 0) continue;
    const Stored* value = Find(record, spec.propid);
    if (value == nullptr) {
      refusals.insert(ERROR_ACCESS_DENIED);
      continue;
    }
    if ((spec.dwFlags & CEDB_SORT_UNIQUE) == 0) continue;
    for (const auto& [id, other] : database.records) {
      const Stored* theirs = Find(other, spec.propid);
      bool equal = id != record_id && theirs != nullptr && CompareValues(spec, *value, *theirs) == 0;
      if (equal) refusals.insert(ERROR_ALREADY_EXISTS);
    }
  }
}

Refusals StoreModel::CreateDatabase(const CEDBASEINFO& info, CEOID created) {
  Refusals refusals;
  CheckName(info, 0, refusals);
  CheckOrders(info, refusals);
  if (!refusals.empty()) return refusals;
  databases_[created] = {NameOf(info), info.dwDbaseType, info.dwFlags & 0xFFFF0000u, OrdersOf(info), {}};
  return {};
}

Refusals StoreModel::ChangeDatabase(CEOID id, const CEDBASEINFO& info) {
  Refusals refusals;
  ModelDatabase& database = databases_.at(id);
  if ((info.dwFlags & CEDB_VALIDNAME) != 0) CheckName(info, id, refusals);
  if ((info.dwFlags & CEDB_VALIDSORTSPEC) != 0) {
    CheckOrders(info, refusals);
    std::vector<SORTORDERSPEC> orders = OrdersOf(info);
    if (refusals.empty() && !SameOrders(orders, database.orders)) {
      if (IsOpen(id)) refusals.insert(ERROR_SHARING_VIOLATION);
      for (const auto& [record_id, record] : database.records) {
        CheckConstraints(database, orders, record_id, record, refusals);
      }
    }
  }
  if (!refusals.empty()) return refusals;
  if ((info.dwFlags & CEDB_VALIDNAME) != 0) database.name = NameOf(info);
  if ((info.dwFlags & CEDB_VALIDTYPE) != 0) database.type = info.dwDbaseType;
  if ((info.dwFlags & CEDB_VALIDSORTSPEC) != 0) database.orders = OrdersOf(info);
  if ((info.dwFlags & CEDB_VALIDDBFLAGS) != 0) database.flags = info.dwFlags & 0xFFFF0000u;
  return {};
}

Refusals StoreModel::DeleteDatabase(CEOID database) {
  if (databases_.count(database) == 0) return {ERROR_INVALID_PARAMETER};
  if (IsOpen(database)) return {ERROR_SHARING_VIOLATION};
  databases_.erase(database);
  return {};
}

Refusals StoreModel::Open(CEOID database, CEPROPID order, bool steps, HANDLE opened) {
  if (databases_.count(database) == 0) return {ERROR_INVALID_PARAMETER};
  const std::vector<SORTORDERSPEC>& orders = databases_.at(database).orders;
  ModelHandle handle;
  handle.database = database;
  handle.steps = steps;
  auto spec = std::find_if(orders.begin(), orders.end(), [&](const auto& s) { return s.propid == order; });
  if (order != 0 && spec == orders.end()) return {ERROR_INVALID_PARAMETER};
  if (order != 0) handle.order = static_cast<int>(spec - orders.begin());
  if (order == 0 && !orders.empty()) handle.order = 0;
  Land(handle, Order(database, handle.order), 0);
  handles_[opened] = handle;
  return {};
}

const SORTORDERSPEC* StoreModel::SpecOf(const ModelHandle& handle) const {
  if (handle.order < 0) return nullptr;
  return &databases_.at(handle.database).orders[static_cast<size_t>(handle.order)];
}

size_t StoreModel::PlaceOf(const ModelHandle& handle, const std::vector<CEOID>& order, CEOID id,
                           const ModelRecord& record) const {
  const ModelDatabase& database = databases_.at(handle.database);
  const SORTORDERSPEC* spec = SpecOf(handle);
  size_t before = 0;
  for (CEOID other : order) {
    int compared = spec == nullptr ? 0 : CompareRecords(*spec, database.records.at(other), record);
    if (compared < 0 || (compared == 0 && other < id)) before++;
  }
  return before;
}

ModelSeek StoreModel::Land(ModelHandle& handle, const std::vector<CEOID>& order, int64_t position) {
  handle.reached_by_step = false;
  handle.gone.clear();
  if (position < 0 || position >= static_cast<int64_t>(order.size())) {
    handle.place = ModelHandle::kEnd;
    handle.record = 0;
    return {0, 0, ERROR_SEEK};
  }
  handle.place = ModelHandle::kAt;
  handle.record = order[static_cast<size_t>(position)];
  return {handle.record, static_cast<DWORD>(position), 0};
}

ModelSeek StoreModel::SeekPosition(HANDLE number, DWORD type, int32_t count) {
  ModelHandle& handle = handles_.at(number);
  std::vector<CEOID> order = Order(handle.database, handle.order);
  int64_t size = static_cast<int64_t>(order.size());
  int64_t wanted = count;
  if (type == CEDB_SEEK_BEGINNING) return Land(handle, order, wanted);
  if (type == CEDB_SEEK_END) return Land(handle, order, size - 1 - std::abs(wanted));
  if (handle.place == ModelHandle::kEnd) return Land(handle, order, wanted < 0 ? size + wanted : -1);
  if (handle.place == ModelHandle::kAt) {
    auto here = std::find(order.begin(), order.end(), handle.record) - order.begin();
    return Land(handle, order, here + wanted);
  }
  int64_t successor = static_cast<int64_t>(PlaceOf(handle, order, handle.record, handle.gone));
  if (wanted == 0) return Land(handle, order, -1);
  return Land(handle, order, wanted > 0 ? successor + wanted - 1 : successor + wanted);
}

ModelSeek StoreModel::SeekRecord(HANDLE number, CEOID record) {
  ModelHandle& handle = handles_.at(number);
  std::vector<CEOID> order = Order(handle.database, handle.order);
  auto there = std::find(order.begin(), order.end(), record);
  return Land(handle, order, there == order.end() ? -1 : there - order.begin());
}

ModelSeek StoreModel::SeekValue(HANDLE number, DWORD type, const Stored& value) {
  ModelHandle& handle = handles_.at(number);
  const SORTORDERSPEC* spec = SpecOf(handle);
  if (spec == nullptr || spec->propid != value.propid) return {0, 0, ERROR_INVALID_PARAMETER};
  const ModelDatabase& database = databases_.at(handle.database);
  std::vector<CEOID> order = Order(handle.database, handle.order);
  int64_t smaller = -1, equal = -1, not_smaller = -1;
  for (int64_t i = 0; i < static_cast<int64_t>(order.size()); i++) {
    const ModelRecord& record = database.records.at(order[static_cast<size_t>(i)]);
    if (Find(record, spec->propid) == nullptr) continue;
    int compared = CompareRecords(*spec, record, {value});
    if (compared < 0) smaller = i;
    if (compared == 0 && equal < 0) equal = i;
    if (compared >= 0 && not_smaller < 0) not_smaller = i;
  }
  if (type == CEDB_SEEK_VALUESMALLER) return Land(handle, order, smaller);
  if (type == CEDB_SEEK_VALUEFIRSTEQUAL) return Land(handle, order, equal);
  if (type == CEDB_SEEK_VALUEGREATER) return Land(handle, order, not_smaller);
  ModelSeek next =
      handle.place == ModelHandle::kEnd ? Land(handle, order, -1) : SeekPosition(number, CEDB_SEEK_CURRENT, 1);
  if (next.record == 0) return next;
  const ModelRecord& record = database.records.at(next.record);
  bool matches = Find(record, spec->propid) != nullptr && CompareRecords(*spec, record, {value}) == 0;
  return matches ? next : Land(handle, order, -1);
}

void StoreModel::StepTo(ModelHandle& handle, CEOID after, const ModelRecord& its_values) {
  std::vector<CEOID> order = Order(handle.database, handle.order);
  size_t place = PlaceOf(handle, order, after, its_values);
  if (place < order.size() && order[place] == after) place++;
  Land(handle, order, static_cast<int64_t>(place));
  handle.reached_by_step = handle.place == ModelHandle::kAt;
}

Reading StoreModel::Read(HANDLE number, const std::vector<CEPROPID>* ids) {
  ModelHandle& handle = handles_.at(number);
  if (handle.place == ModelHandle::kEnd) return {0, ERROR_NO_MORE_ITEMS, {}};
  if (handle.place == ModelHandle::kGap) return {0, ERROR_KEY_DELETED, {}};
  CEOID id = handle.record;
  ModelRecord record = databases_.at(handle.database).records.at(id);
  if (handle.steps) StepTo(handle, id, record);
  if (ids == nullptr) return {id, 0, record};
  Reading reading{id, 0, {}};
  bool any = false;
  for (CEPROPID wanted : *ids) {
    const Stored* value = Find(record, wanted);
    any = any || value != nullptr;
    reading.values.push_back(value != nullptr ? *value : Stored{wanted, CEDB_PROPNOTFOUND, {}});
  }
  if (!any) reading.oid = 0;
  if (!any) reading.error = ERROR_NO_DATA;
  return reading;
}

Refusals StoreModel::Write(HANDLE number, CEOID id, const std::vector<CEPROPVAL>& entries, CEOID created) {
  ModelDatabase& database = databases_.at(handles_.at(number).database);
  if (entries.empty() || (id != 0 && database.records.count(id) == 0)) return {ERROR_INVALID_PARAMETER};
  ModelRecord record = id != 0 ? database.records.at(id) : ModelRecord();
  if (!Merge(entries, record)) return {ERROR_INVALID_PARAMETER};
  Refusals refusals;
  CheckConstraints(database, database.orders, id, record, refusals);
  if (refusals.empty()) database.records[id != 0 ? id : created] = record;
  return refusals;
}

Refusals StoreModel::DeleteRecord(HANDLE number, CEOID id) {
  CEOID database_id = handles_.at(number).database;
  ModelDatabase& database = databases_.at(database_id);
  if (database.records.count(id) == 0) return {ERROR_INVALID_PARAMETER};
  ModelRecord record = database.records.at(id);
  database.records.erase(id);
  for (auto& [other, handle] : handles_) {
    if (handle.database != database_id || handle.place != ModelHandle::kAt || handle.record != id) continue;
    bool slides = other == number ? handle.steps : handle.reached_by_step;
    if (slides) {
      StepTo(handle, id, record);
    } else {
      handle.place = ModelHandle::kGap;
      handle.gone = record;
    }
  }
  return {};
}

std::string StoreModel::TextOf(const Databases& databases) {
  std::ostringstream out;
  for (const auto& [id, database] : databases) {
    AppendDatabase(out, id, database.name, database.type, database.flags);
    for (size_t i = 0; i < database.orders.size(); i++) {
      AppendOrder(out, database.orders[i], OrderOf(database, static_cast<int>(i)));
    }
    std::vector<CEOID> first = OrderOf(database, database.orders.empty() ? -1 : 0);
    for (CEOID record : first) AppendRecord(out, record, database.records.at(record));
  }
  return out.str();
}

std::string TextOfVolume(const CEGUID& volume) {
  std::ostringstream out;
  HANDLE find = CeFindFirstDatabaseEx(&volume, 0);
  while (CEOID id = CeFindNextDatabaseEx(find, nullptr)) {
    CEDBASEINFO info = Describe(volume, id);
    AppendDatabase(out, id, NameOf(info), info.dwDbaseType, info.dwFlags & 0xFFFF0000u);
    for (WORD i = 0; i < info.wNumSortOrder; i++) {
      HANDLE handle = OpenDatabase(volume, id, info.rgSortSpecs[i].propid);
      AppendOrder(out, info.rgSortSpecs[i], Order(handle));
      CloseHandle(handle);
    }
    HANDLE handle = OpenDatabase(volume, id, 0, CEDB_AUTOINCREMENT);
    for (Reading reading = ReadAll(handle); reading.oid != 0; reading = ReadAll(handle)) {
      AppendRecord(out, reading.oid, reading.values);
    }
    CloseHandle(handle);
  }
  CloseHandle(find);
  return out.str();
}
