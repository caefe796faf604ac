// Collations that are opened while memory runs short: nothing half-built stays, and composing keys needs no memory.
#include <gtest/gtest.h>

#include <cstring>
#include <new>
#include <string>

#include "collation.h"
#include "failing_allocation.h"

namespace {

using objectstore::Collation;

constexpr long kMostAllocations = 20000;

TEST(CollationMemory, ACollationIsOpenedWholeOrNotAtAll) {
  ASSERT_TRUE(IcuAllocationsMayFail());
  // ICU reads its data once, and would remember for good that there was no memory for it.
  Collation::ForFlags(0);
  // Flags of no other test in this program, so that nothing has opened them.
  const DWORD kFlags[] = {
      CEDB_SORT_CASEINSENSITIVE | CEDB_SORT_IGNOREWIDTH,
      CEDB_SORT_CASEINSENSITIVE | CEDB_SORT_IGNOREKANATYPE,
  };
  for (DWORD flags : kFlags) {
    const Collation* collation = nullptr;
    long shortages = 0;
    for (long allowed = 0; collation == nullptr && allowed < kMostAllocations; allowed++) {
      AllowAllocations(allowed);
      try {
        collation = &Collation::ForFlags(flags);
      } catch (const std::bad_alloc&) {
        shortages++;
      }
      AllowAllocations(kAllAllocations);
    }
    ASSERT_NE(collation, nullptr) << flags;
    EXPECT_GT(shortages, 2) << flags;

    // ICU needs memory for so long a text: after all the failures the table composes it.
    const std::u16string text = std::u16string(300, u'\u00E9') + u"Z";
    uint8_t room[2048];
    const std::u16string for_icu = text + u"\u0301";
    AllowAllocations(0);
    const size_t size = collation->KeyOf(text.data(), text.size(), room, sizeof room);
    EXPECT_THROW(collation->KeyOf(for_icu.data(), for_icu.size(), room + size, sizeof room - size), std::bad_alloc);
    AllowAllocations(kAllAllocations);
    EXPECT_EQ(size, std::strlen(reinterpret_cast<const char*>(room)) + 1);
  }
}

TEST(CollationMemory, AKeyThatIcuHasNoMemoryForThrows) {
  const Collation& collation = Collation::ForFlags(0);
  const std::u16string text(3000, u'\u0E01');
  uint8_t room[512];
  AllowAllocations(0);
  EXPECT_THROW(collation.KeyOf(text.data(), text.size(), room, sizeof room), std::bad_alloc);
  AllowAllocations(kAllAllocations);
}

}  // namespace
