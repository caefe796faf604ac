// The identifiers of a database's records, in ascending order, as runs without gaps. Records are mostly created one
// after the other, so that a few runs name thousands of them.
#pragma once

#include <cstdint>
#include <span>
#include <vector>

#include "body_codec.h"
#include "record.h"

namespace objectstore {

class IdentifierRuns {
 public:
  struct Run {
    CEOID first;
    uint32_t count;
  };

  uint32_t count() const { return count_; }
  std::span<const Run> runs() const { return runs_; }

  // The identifier at a position, which is below count.
  CEOID At(size_t position) const;

  bool Has(CEOID oid) const;

  // Whether these records, in ascending order, are the first ones, or all.
  bool BeginWith(std::span<const RecordRef> records) const;
  bool Name(std::span<const RecordRef> records) const { return records.size() == count_ && BeginWith(records); }

  // Memory for one more run, which is all that Add and Remove can need. May throw bad_alloc; the two do not, then.
  void Reserve();
  void Add(CEOID oid);
  void Remove(CEOID oid);

  void Encode(BodyWriter& writer) const;
  void Decode(BodyReader& reader);

 private:
  size_t IndexBehind(CEOID oid) const;

  std::vector<Run> runs_;
  uint32_t count_ = 0;
};

}  // namespace objectstore
