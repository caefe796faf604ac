// What a volume holds, copied deeply, so that two moments can be compared: every database with its type and its sort
// orders, every record with its properties in the order in which they were first written. Identifiers and times of
// change are left out.
#pragma once

#include <compare>
#include <cstdint>
#include <map>
#include <string>
#include <vector>

#include "object_store.h"

namespace kills {

struct Property {
  CEPROPID id = 0;
  uint64_t number = 0;
  std::string bytes;  // of a text or a blob
  bool operator==(const Property&) const = default;
};

using Record = std::vector<Property>;

struct StoredDatabase {
  DWORD type = 0;
  std::vector<std::pair<CEPROPID, DWORD>> sorts;
  std::vector<Record> records;  // in the first order
  bool operator==(const StoredDatabase&) const = default;
};

struct DurableState {
  bool exists = false;
  std::map<std::u16string, StoredDatabase> databases;
  bool operator==(const DurableState&) const = default;
};

// A mounted volume.
DurableState StateOfVolume(const CEGUID& volume);

// A file that is not mounted; an absent one is a state too. Throws BrokenPromise when a file that exists cannot be
// mounted, read and unmounted.
DurableState StateOfFile(const std::u16string& path);

// A number of a record; missing ones are 0xFFFFFFFFFFFFFFFF.
uint64_t NumberOf(const Record& record, CEPROPID id);

// The first difference in words; empty when the two are equal.
std::string Difference(const DurableState& expected, const DurableState& found);

}  // namespace kills
