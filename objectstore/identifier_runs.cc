// See identifier_runs.h.
#include "identifier_runs.h"

#include <algorithm>
#include <limits>

#include "growth.h"

namespace objectstore {

void IdentifierRuns::Reserve() { ReserveOneMore(runs_); }

CEOID IdentifierRuns::At(size_t position) const {
  const Run* run = runs_.data();
  for (; position >= run->count; ++run) position -= run->count;
  return run->first + static_cast<CEOID>(position);
}

bool IdentifierRuns::BeginWith(std::span<const RecordRef> records) const {
  size_t next = 0;
  for (const Run& run : runs_) {
    for (uint32_t i = 0; i < run.count; ++i, ++next) {
      if (next == records.size()) return true;
      if (records[next]->oid() != run.first + i) return false;
    }
  }
  return next == records.size();
}

// The first run that begins behind an identifier.
size_t IdentifierRuns::IndexBehind(CEOID oid) const {
  if (!runs_.empty() && runs_.back().first <= oid) return runs_.size();
  const auto found =
      std::partition_point(runs_.begin(), runs_.end(), [oid](const Run& run) { return run.first <= oid; });
  return static_cast<size_t>(found - runs_.begin());
}

bool IdentifierRuns::Has(CEOID oid) const {
  const size_t behind = IndexBehind(oid);
  return behind > 0 && oid - runs_[behind - 1].first < runs_[behind - 1].count;
}

void IdentifierRuns::Add(CEOID oid) {
  ++count_;
  const size_t behind = IndexBehind(oid);
  Run* before = behind > 0 ? &runs_[behind - 1] : nullptr;
  Run* after = behind < runs_.size() ? &runs_[behind] : nullptr;
  const bool extends_before = before != nullptr && before->first + before->count == oid;
  const bool extends_after = after != nullptr && oid + 1 == after->first;
  if (extends_before && extends_after) {
    before->count += 1 + after->count;
    runs_.erase(runs_.begin() + static_cast<ptrdiff_t>(behind));
  } else if (extends_before) {
    ++before->count;
  } else if (extends_after) {
    --after->first;
    ++after->count;
  } else {
    runs_.insert(runs_.begin() + static_cast<ptrdiff_t>(behind), {oid, 1});
  }
}

void IdentifierRuns::Remove(CEOID oid) {
  --count_;
  const size_t index = IndexBehind(oid) - 1;
  Run& run = runs_[index];
  const uint32_t ahead = oid - run.first;
  const uint32_t behind = run.count - ahead - 1;
  const auto place = runs_.begin() + static_cast<ptrdiff_t>(index);
  if (ahead == 0 && behind == 0) {
    runs_.erase(place);
  } else if (ahead == 0) {
    run = {oid + 1, behind};
  } else {
    run.count = ahead;
    if (behind != 0) runs_.insert(place + 1, {oid + 1, behind});
  }
}

// The number of runs, then for each how many identifiers lie between it and the one before, and how many it holds.
void IdentifierRuns::Encode(BodyWriter& writer) const {
  writer.PutCount(runs_.size());
  uint8_t* place = writer.Room(runs_.size() * 2 * BodyWriter::kLongestCount);
  CEOID next = 0;
  for (const Run& run : runs_) {
    place = BodyWriter::AppendCount(place, run.first - next);
    place = BodyWriter::AppendCount(place, run.count);
    next = run.first + run.count;
  }
  writer.TakeUpTo(place);
}

void IdentifierRuns::Decode(BodyReader& reader) {
  const uint64_t runs = reader.GetCount(CEDB_MAXNUMRECORDS);
  uint64_t next = 0;
  for (uint64_t i = 0; i < runs && reader.ok(); ++i) {
    const uint64_t gap = reader.GetCount(std::numeric_limits<CEOID>::max());
    const uint64_t count = reader.GetCount(CEDB_MAXNUMRECORDS);
    const uint64_t first = next + gap;
    next = first + count;
    if (gap == 0 || count == 0 || next > std::numeric_limits<CEOID>::max()) return reader.Reject();
    runs_.push_back({static_cast<CEOID>(first), static_cast<uint32_t>(count)});
    count_ += static_cast<uint32_t>(count);
  }
}

}  // namespace objectstore
