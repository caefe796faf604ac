// See open_database.h.
#include "open_database.h"

#include <algorithm>
#include <cstdlib>

#include "growth.h"
#include "volume.h"

namespace objectstore {

namespace {

constexpr uint64_t kNoProperty = ~uint64_t{0};

uint64_t UsualKey(const SortOrder* order) {
  return order != nullptr && TypeOf(order->spec().propid) == CEVT_UI4 ? order->spec().propid : kNoProperty;
}

}  // namespace

OpenDatabase::OpenDatabase(Volume& volume, Database& database, SortOrder* order, bool auto_increment)
    : volume_(volume),
      database_(database),
      order_(order),
      auto_increment_(auto_increment),
      usual_key_(UsualKey(order)) {
  static_cast<void>(MoveTo(0));  // an empty database: at the end
}

void OpenDatabase::Join() {
  ReserveOneMore(database_.handles());
  database_.handles().push_back(this);
}

OpenDatabase::~OpenDatabase() { std::erase(database_.handles(), this); }

Status OpenDatabase::LoadRest() { return volume_.Load(database_); }

Status OpenDatabase::Seek(DWORD type, DWORD_PTR value, CEOID& found, DWORD* index) {
  const bool among_first = type == CEDB_SEEK_BEGINNING && static_cast<uint32_t>(value) < database_.records().size();
  if (!among_first) STORE_TRY(Complete());
  STORE_TRY(Move(type, value));
  found = oid_;
  if (index != nullptr) *index = static_cast<DWORD>(Position());
  return Status::kOk;
}

Status OpenDatabase::Move(DWORD type, DWORD_PTR value) {
  const auto signed_count = static_cast<int32_t>(static_cast<uint32_t>(value));
  switch (type) {
    case CEDB_SEEK_CEOID:
      return SeekIdentifier(static_cast<CEOID>(value));
    case CEDB_SEEK_BEGINNING:
      return MoveTo(signed_count);
    case CEDB_SEEK_END:
      return MoveTo(static_cast<int64_t>(count()) - 1 - std::abs(int64_t{signed_count}));
    case CEDB_SEEK_CURRENT:
      return SeekFromCurrent(signed_count);
    case CEDB_SEEK_VALUESMALLER:
    case CEDB_SEEK_VALUEFIRSTEQUAL:
    case CEDB_SEEK_VALUEGREATER:
    case CEDB_SEEK_VALUENEXTEQUAL:
      return SeekValue(type, reinterpret_cast<const CEPROPVAL*>(value));
    default:
      return Status::kInvalidParameter;
  }
}

void OpenDatabase::StepAfterRead() {
  if (!auto_increment_) return;
  if (MoveTo(static_cast<int64_t>(Position()) + 1) == Status::kOk) automatic_ = true;
}

// A pointer that goes on by itself has nothing to report: it slides to what follows.
void OpenDatabase::RecordRemoved(const RecordRef& record, bool through_this_handle) {
  if (state_ != State::kAtRecord || oid_ != record->oid()) return;
  if (through_this_handle ? auto_increment_ : automatic_) {
    if (MoveTo(static_cast<int64_t>(PositionOf(*record))) == Status::kOk) automatic_ = true;
    return;
  }
  state_ = State::kInGap;
  generation_ = 0;
  gap_ = record;
}

size_t OpenDatabase::PositionOf(const Record& record) const {
  return order_ != nullptr ? SettledOrder().PositionOf(record) : database_.PositionByIdentifier(record.oid());
}

void OpenDatabase::FindPosition() {
  record_ = database_.Find(oid_);
  position_ = PositionOf(*record_);
  generation_ = database_.generation();
}

// Of the pointer that stands in a gap or at the end.
int64_t OpenDatabase::PositionBehindNoRecord() const {
  return static_cast<int64_t>(state_ == State::kAtEnd ? count() : PositionOf(*gap_));
}

Status OpenDatabase::LeaveOrder() {
  MoveToEnd();
  return Status::kSeek;
}

Status OpenDatabase::SeekIdentifier(CEOID oid) {
  if (database_.Find(oid) == nullptr) {
    MoveToEnd();
    return Status::kSeek;
  }
  MoveToRecord(oid);
  return Status::kOk;
}

// From a gap a step forward leads to what follows the gap and a step backward to what comes before it; the gap itself
// and the end hold no record.
Status OpenDatabase::SeekFromCurrent(int32_t steps) {
  const int64_t successor = SuccessorPosition();
  if (state_ == State::kAtRecord) return MoveTo(successor - 1 + steps);
  if (steps == 0) return MoveTo(-1);
  return MoveTo(steps > 0 ? successor - 1 + steps : successor + steps);
}

Status OpenDatabase::KeyOfClient(const CEPROPVAL& value, SortKey& key) {
  if (!IsText(value.propid)) {
    key = order_->KeyOfNumber(NumberOf(value));
    return Status::kOk;
  }
  Value measured;
  STORE_TRY(Measure(value, measured));
  key = order_->KeyOfValue(measured, scratch_);
  return Status::kOk;
}

// The policy of the value seeks. Greater is the first record that does not sort before the value; smaller is the last
// one that does: both look at the whole order, wherever the pointer stands, and follow the order's direction.
Status OpenDatabase::SeekValue(DWORD type, const CEPROPVAL* value) {
  if (value == nullptr || order_ == nullptr || value->propid != order_->spec().propid) return Status::kInvalidParameter;
  const SortOrder& order = SettledOrder();
  SortKey key;
  STORE_TRY(KeyOfClient(*value, key));
  if (type == CEDB_SEEK_VALUENEXTEQUAL) return SeekEqual(order, static_cast<size_t>(SuccessorPosition()), key);
  const size_t first = order.FirstNotBefore(key);
  switch (type) {
    case CEDB_SEEK_VALUEFIRSTEQUAL:
      first_equal_ = first;
      return SeekEqual(order, first, key);
    case CEDB_SEEK_VALUEGREATER:
      return MoveTo(first < order.present_end() ? static_cast<int64_t>(first) : -1);
    default:
      return MoveTo(first > order.present_begin() ? static_cast<int64_t>(first) - 1 : -1);
  }
}

}  // namespace objectstore
