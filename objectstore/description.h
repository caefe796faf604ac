// What a volume's catalogue says of a database: what the client set (name, type, flags, sort orders), and what the
// store keeps up (record count, size, time of the last change).
#pragma once

#include <array>
#include <cstdint>
#include <span>

#include "object_store.h"
#include "status.h"

namespace objectstore {

// A name of at most 31 characters. Names are compared without regard to case, one character at a time.
class DatabaseName {
 public:
  DatabaseName() = default;

  // A zero-terminated text, of which no more than the first 31 characters count.
  static DatabaseName FromText(const WCHAR* text);

  bool IsUsable() const;  // not empty, no backslash at the end
  bool Matches(const DatabaseName& other) const;
  std::span<const WCHAR> characters() const { return {characters_.data(), length_}; }
  const WCHAR* terminated() const { return characters_.data(); }

 private:
  std::array<WCHAR, CEDB_MAXDBASENAMELEN> characters_{};
  size_t length_ = 0;
};

// Up to four sort orders.
class SortSpecs {
 public:
  // Takes a client's list. The list that holds the placeholder alone is the empty list.
  static Status FromClient(const SORTORDERSPEC* specs, size_t count, SortSpecs& taken);

  std::span<const SORTORDERSPEC> list() const { return {specs_.data(), count_}; }
  bool operator==(const SortSpecs& other) const;

  // For the decoder: false when the order may not stand in a list.
  bool Append(const SORTORDERSPEC& spec);

 private:
  std::array<SORTORDERSPEC, CEDB_MAXSORTORDER> specs_{};
  size_t count_ = 0;
};

struct Description {
  DatabaseName name;
  DWORD type = 0;
  DWORD flags = 0;  // CEDB_NOCOMPRESS and the like: the high word
  SortSpecs sort_specs;
  uint64_t modified = 0;  // 100-nanosecond steps since 1601
  uint32_t record_count = 0;
  uint64_t record_bytes = 0;  // of all records, as they are counted
};

inline constexpr DWORD kDatabaseFlagsMask = 0xFFFF0000;

// Sets what the valid bits of a client's info select. On failure the
// description is as it was.
Status ApplyInfo(const CEDBASEINFO& info, Description& description);

void FillInfo(const Description& description, CEDBASEINFO& info);

// The current time in 100-nanosecond steps since 1601.
uint64_t CurrentTime();

}  // namespace objectstore
