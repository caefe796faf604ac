// See description.h.
#include "description.h"

#include <algorithm>
#include <cstring>
#include <limits>

#include "case_folding.h"
#include "stored_property.h"

namespace objectstore {

namespace {

// What stands in the place of the first sort order of a database that has none.
constexpr SORTORDERSPEC kPlaceholder = {0, CEDB_SORT_GENERICORDER};

bool SameSpec(const SORTORDERSPEC& a, const SORTORDERSPEC& b) { return a.propid == b.propid && a.dwFlags == b.dwFlags; }

bool SameWithoutCase(WCHAR a, WCHAR b) { return a == b || FoldedCase(a) == FoldedCase(b); }

}  // namespace

DatabaseName DatabaseName::FromText(const WCHAR* text) {
  DatabaseName name;
  while (name.length_ < CEDB_MAXDBASENAMELEN - 1 && text[name.length_] != 0) {
    name.characters_[name.length_] = text[name.length_];
    ++name.length_;
  }
  return name;
}

bool DatabaseName::IsUsable() const { return length_ != 0 && characters_[length_ - 1] != u'\\'; }

bool DatabaseName::Matches(const DatabaseName& other) const {
  return std::equal(characters().begin(), characters().end(), other.characters().begin(), other.characters().end(),
                    SameWithoutCase);
}

Status SortSpecs::FromClient(const SORTORDERSPEC* specs, size_t count, SortSpecs& taken) {
  SortSpecs list;
  if (count == 1 && SameSpec(specs[0], kPlaceholder)) count = 0;
  for (size_t i = 0; i < count; ++i) {
    if (i == CEDB_MAXSORTORDER || !list.Append(specs[i])) return Status::kInvalidParameter;
  }
  taken = list;
  return Status::kOk;
}

bool SortSpecs::operator==(const SortSpecs& other) const {
  return std::equal(list().begin(), list().end(), other.list().begin(), other.list().end(), SameSpec);
}

// Blobs have no order, and a property has one order at most.
bool SortSpecs::Append(const SORTORDERSPEC& spec) {
  if (count_ == CEDB_MAXSORTORDER || !IsKnownType(spec.propid) || TypeOf(spec.propid) == CEVT_BLOB) return false;
  for (const SORTORDERSPEC& other : list()) {
    if (other.propid == spec.propid) return false;
  }
  specs_[count_++] = spec;
  return true;
}

Status ApplyInfo(const CEDBASEINFO& info, Description& description) {
  Description changed = description;
  if ((info.dwFlags & CEDB_VALIDNAME) != 0) {
    changed.name = DatabaseName::FromText(info.szDbaseName);
    if (!changed.name.IsUsable()) return Status::kInvalidParameter;
  }
  if ((info.dwFlags & CEDB_VALIDTYPE) != 0) changed.type = info.dwDbaseType;
  if ((info.dwFlags & CEDB_VALIDDBFLAGS) != 0) changed.flags = info.dwFlags & kDatabaseFlagsMask;
  if ((info.dwFlags & CEDB_VALIDSORTSPEC) != 0) {
    STORE_TRY(SortSpecs::FromClient(info.rgSortSpecs, info.wNumSortOrder, changed.sort_specs));
  }
  description = changed;
  return Status::kOk;
}

void FillInfo(const Description& description, CEDBASEINFO& info) {
  std::memset(&info, 0, sizeof info);
  info.dwFlags = CEDB_VALIDCREATE | CEDB_VALIDMODTIME | description.flags;
  std::memcpy(info.szDbaseName, description.name.terminated(), sizeof info.szDbaseName);
  info.dwDbaseType = description.type;
  info.wNumRecords = static_cast<WORD>(description.record_count);
  info.dwSize = static_cast<DWORD>(std::min<uint64_t>(description.record_bytes, std::numeric_limits<DWORD>::max()));
  info.ftLastModified.dwLowDateTime = static_cast<DWORD>(description.modified);
  info.ftLastModified.dwHighDateTime = static_cast<DWORD>(description.modified >> 32);
  const auto specs = description.sort_specs.list();
  info.wNumSortOrder = static_cast<WORD>(specs.size());
  std::copy(specs.begin(), specs.end(), info.rgSortSpecs);
  if (specs.empty()) info.rgSortSpecs[0] = kPlaceholder;
}

}  // namespace objectstore
