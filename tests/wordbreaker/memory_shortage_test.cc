// Every allocation of every call fails once: C++'s and, since this program has put itself in between before ICU was
// first used, ICU's. After each failure the call said so and the module works on.
#include <gtest/gtest.h>

#include <string>

#include "failing_allocation.h"
#include "xkrwbrk.h"

namespace {

// Runs call with 0, 1, 2, ... allocations allowed until it gets through; check looks at the module after each failure.
template <typename Call, typename Check>
long FailEachAllocation(Call call, Check check) {
  for (long allowed = 0;; ++allowed) {
    AllowAllocations(allowed);
    const bool done = call();
    const bool used_up = AllowedAllocations() == 0;
    AllowAllocations(kAllAllocations);
    if (done && !used_up) return allowed;
    if (!done) check();
    if (allowed == 100000) {
      ADD_FAILURE() << "never got through";
      return allowed;
    }
  }
}

TEST(MemoryShortage, IcuAllocatesThroughThisProgram) { EXPECT_TRUE(IcuAllocationsMayFail()); }

TEST(MemoryShortage, ASessionThatCannotBeOpenedHasNoNumber) {
  uint32_t session = 0;
  const long failures = FailEachAllocation(
      [&] {
        const bool opened = FWOpenSession(u"\u00E4pfel und birnen", &session) == 0;
        EXPECT_EQ(session != 0, opened);
        if (opened) {
          EXPECT_EQ(FWCloseSession(session), 0);
        }
        return opened;
      },
      [] {});
  EXPECT_GT(failures, 3);
}

TEST(MemoryShortage, AStartThatFailsLeavesTheLanguage) {
  ASSERT_EQ(XKRWbrInit(0, "sv", 0), 0u);
  const long failures = FailEachAllocation([] { return XKRWbrInit(0, "de-DE", 0) == 0; },
                                           [] {
                                             uint32_t session = 0;
                                             ASSERT_EQ(FWOpenSession(u"b", &session), 0);
                                             EXPECT_NE(FWFindWord(session, u"a:b"), 0);
                                             EXPECT_EQ(FWCloseSession(session), 0);
                                           });
  EXPECT_GT(failures, 3);
  EXPECT_EQ(XKRWbrShutdown(1, 0, 0), 0u);
}

TEST(MemoryShortage, ASearchThatFailsIsNotFoundAndAnswersLater) {
  const std::u16string text = u"Ein langer Text ohne das Wort; \u0E20\u0E32\u0E29\u0E32\u0E44\u0E17\u0E22 \uA000\u00E4";
  uint32_t session = 0;
  ASSERT_EQ(FWOpenSession(u"\u0E44\u0E17\u0E22 wort", &session), 0);
  const long failures = FailEachAllocation([&] { return FWFindWord(session, text.c_str()) == 0; },
                                           [&] { EXPECT_EQ(FWFindWord(session, u"\u0E44\u0E17\u0E22 WORT"), 0); });
  EXPECT_GT(failures, 2);
  EXPECT_EQ(FWFindWord(session, text.c_str()), 0);
  EXPECT_EQ(FWCloseSession(session), 0);
}

}  // namespace
