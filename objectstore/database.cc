// See database.h; flushes and loading are in database_flush.cc.
#include "database.h"

#include <algorithm>

#include "growth.h"

namespace objectstore {

namespace {

// Drops the text sort keys of all records, if there are any now and, unless the new ones are to be kept, at the end of the
// scope.
class DropTextKeys {
 public:
  DropTextKeys(std::span<const RecordRef> records, bool there_are_any) : records_(records) {
    if (there_are_any) Drop();
  }
  DropTextKeys(const DropTextKeys&) = delete;
  DropTextKeys& operator=(const DropTextKeys&) = delete;
  ~DropTextKeys() {
    if (!kept_) Drop();
  }
  void Keep() { kept_ = true; }

 private:
  void Drop() {
    for (const RecordRef& record : records_) record->text_keys = {};
  }
  std::span<const RecordRef> records_;
  bool kept_ = false;
};

}  // namespace

Database::Database(CEOID oid, const Description& description)
    : oid_(oid),
      head_{description, {}, true, {}, {}},
      orders_(OrdersOf(description)),
      loaded_(true),
      in_file_(false),
      changed_(true) {
  head_.description.modified = CurrentTime();
}

Database::Database(CEOID oid, DatabaseHead head)
    : oid_(oid),
      head_(std::move(head)),
      orders_(OrdersOf(head_.description)),
      loaded_(false),
      in_file_(true),
      changed_(false) {}

Record* Database::Find(CEOID oid) const {
  const size_t position = PositionByIdentifier(oid);
  return position < records_.size() && records_[position]->oid() == oid ? records_[position].get() : nullptr;
}

// Were there a record for each identifier between the first and the last, a record would stand as far behind the first as
// its identifier does. It stands at most so many places before that as identifiers have none.
size_t Database::PositionByIdentifier(CEOID oid) const {
  if (records_.empty() || oid > records_.back()->oid()) return records_.size();
  const CEOID first = records_.front()->oid();
  if (oid <= first) return 0;
  const size_t distance = oid - first;
  const size_t last = records_.size() - 1;
  const size_t missing = records_.back()->oid() - first - last;
  const auto begin = records_.begin() + static_cast<ptrdiff_t>(distance - std::min(missing, distance));
  const auto end = records_.begin() + static_cast<ptrdiff_t>(std::min(distance, last));
  const auto is_before = [oid](const RecordRef& record) { return record->oid() < oid; };
  return static_cast<size_t>(std::partition_point(begin, end, is_before) - records_.begin());
}

SortOrder* Database::OrderOn(CEPROPID property) {
  for (SortOrder& order : orders_) {
    if (order.spec().propid != property) continue;
    if (loaded_ && !order.built()) order.Build(records_);
    return &order;
  }
  return nullptr;
}

Status Database::PutRecord(RecordRef record) {
  const size_t position = PositionByIdentifier(record->oid());
  const bool is_new = position == records_.size() || records_[position]->oid() != record->oid();
  const Record* before = is_new ? nullptr : records_[position].get();
  if (is_new && records_.size() >= CEDB_MAXNUMRECORDS) return Status::kDiskFull;
  STORE_TRY(CheckConstraints(*record, before));
  for (SortOrder& order : orders_) {
    if (!order.built()) continue;
    order.PrepareKey(*record);
    order.Reserve(records_.size() + (is_new ? 1 : 0));
  }
  ReserveOneMore(whole_records_);
  if (is_new) {
    ReserveOneMore(records_);
    head_.identifiers.Reserve();
  } else {
    ReserveOneMore(number_records_);
  }
  // From here on nothing fails.
  if (is_new) {
    InsertRecord(std::move(record));
  } else {
    ReplaceRecord(records_[position], std::move(record));
  }
  Touch();
  return Status::kOk;
}

void Database::InsertRecord(RecordRef record) {
  for (SortOrder& order : orders_) {
    if (order.built()) order.Insert(*record);
  }
  NoteLack(*record, kUnchanged, kNotInFile);
  head_.identifiers.Add(record->oid());
  ++head_.description.record_count;
  head_.description.record_bytes += record->counted_bytes();
  ++generation_;
  const auto place = records_.begin() + static_cast<ptrdiff_t>(PositionByIdentifier(record->oid()));
  records_.insert(place, std::move(record));
}

void Database::ReplaceRecord(RecordRef& place, RecordRef record) {
  const RecordRef before = place;
  const CEPROPID lacks = before->LacksSince(time_);
  const CEPROPID change = ChangeBetween(*before, *record);
  const bool as_before = change == kUnchanged || lacks == kNotInFile;
  NoteLack(*record, lacks, as_before ? lacks : lacks == kUnchanged || lacks == change ? change : kChangedWhole);
  for (SortOrder& order : orders_) {
    if (order.built()) order.Replace(*before, *record);
  }
  ++generation_;
  head_.description.record_bytes += record->counted_bytes();
  head_.description.record_bytes -= before->counted_bytes();
  place = std::move(record);
}

bool Database::SortsOn(CEPROPID property) const {
  const auto specs = head_.description.sort_specs.list();
  return std::any_of(specs.begin(), specs.end(), [property](const auto& spec) { return spec.propid == property; });
}

// The lists have room for one more.
void Database::NoteLack(Record& record, CEPROPID before, CEPROPID now) {
  record.SetLacks(now, time_);
  if (now == before) return;
  if (IsNumber(before)) --lacking_number_;
  if (!IsNumber(now)) {
    whole_records_.push_back(record.oid());
    return;
  }
  number_ = number_records_.empty() || number_ == now ? now : kChangedWhole;
  number_records_.push_back(record.oid());
  ++lacking_number_;
}

void Database::SetNumber(Record& record, size_t index, uint32_t number) {
  if (record.NumberAt(index) != number) {
    const CEPROPID id = record.IdAt(index);
    const CEPROPID lacks = record.LacksSince(time_);
    if (lacks == kUnchanged) {
      ReserveOneMore(number_records_);
      NoteLack(record, lacks, id);
    } else if (IsNumber(lacks) && lacks != id) {
      ReserveOneMore(whole_records_);
      NoteLack(record, lacks, kChangedWhole);
    }
    record.SetNumberAt(index, number);
  }
  Touch();
}

void Database::ReserveForRemoval() {
  ReserveOneMore(deleted_records_);
  head_.identifiers.Reserve();
}

void Database::RemoveRecord(CEOID oid) {
  const RecordRef record = RecordRef::TakeOut(records_, PositionByIdentifier(oid));
  for (SortOrder& order : orders_) {
    if (order.built()) order.Erase(*record);
  }
  head_.identifiers.Remove(oid);
  const CEPROPID lacks = record->LacksSince(time_);
  if (lacks != kNotInFile) deleted_records_.push_back(oid);
  if (IsNumber(lacks)) --lacking_number_;
  --head_.description.record_count;
  head_.description.record_bytes -= record->counted_bytes();
  ++generation_;
  Touch();
}

Status Database::SetDescription(const Description& description, bool with_time) {
  if (!(description.sort_specs == head_.description.sort_specs)) STORE_TRY(ReplaceOrders(description));
  Description& own = head_.description;
  own.name = description.name;
  own.type = description.type;
  own.flags = description.flags;
  own.sort_specs = description.sort_specs;
  Touch();
  if (with_time) own.modified = description.modified;
  return Status::kOk;
}

Status Database::ReplaceOrders(const Description& description) {
  std::vector<SortOrder> orders = OrdersOf(description);
  std::vector<SortOrder> orders_of_before = OrdersOf(head_.description);
  const bool has_text_keys =
      std::any_of(orders_.begin(), orders_.end(), [](const SortOrder& order) { return order.has_text_keys(); });
  DropTextKeys keys(records_, has_text_keys);
  orders_.swap(orders_of_before);  // the keys in the records go: the orders are built again at their next use
  STORE_TRY(CheckOrders(orders, records_));
  keys.Keep();
  orders_.swap(orders);
  return Status::kOk;
}

Status Database::CheckOrders(std::vector<SortOrder>& orders, std::span<const RecordRef> records) {
  for (SortOrder& order : orders) {
    if (!order.ForbidsAbsence()) continue;
    order.Build(records);
    if (order.HasAbsent()) return Status::kAccessDenied;
    if (order.IsUnique() && order.HasEqualKeys()) return Status::kAlreadyExists;
  }
  return Status::kOk;
}

Status Database::CheckConstraints(const Record& record, const Record* before) {
  for (SortOrder& order : orders_) {
    if (order.ForbidsAbsence() && !record.Has(order.spec().propid)) return Status::kAccessDenied;
    if (order.IsUnique()) STORE_TRY(CheckUnique(order, record, before));
  }
  return Status::kOk;
}

Status Database::CheckUnique(SortOrder& order, const Record& record, const Record* before) {
  if (!order.built()) order.Build(records_);
  order.Settle(records_);
  std::vector<uint8_t> scratch;
  const SortKey key = order.KeyOfValue(record.At(record.IndexOf(order.spec().propid)), scratch);
  for (size_t position = order.FirstNotBefore(key); order.HoldsEqual(position, key); ++position) {
    if (order.At(position) != before) return Status::kAlreadyExists;
  }
  return Status::kOk;
}

// The time of the last change never goes backwards, whatever the clock does.
void Database::Touch() {
  changed_ = true;
  head_.description.modified = std::max(head_.description.modified, CurrentTime());
}

std::vector<SortOrder> Database::OrdersOf(const Description& description) {
  std::vector<SortOrder> orders;
  for (const SORTORDERSPEC& spec : description.sort_specs.list()) orders.emplace_back(spec, orders.size());
  return orders;
}

}  // namespace objectstore
