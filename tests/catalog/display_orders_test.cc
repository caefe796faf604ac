// Display orders: byte 6 of every field's extended option, as one array.
#include <array>

#include "engine_fixture.h"
#include "seam_lines.h"

namespace {

using seam::Find;
using seam::FindNext;
using seam::Lines;

constexpr int16_t kUnwritten = 0x7777;

class DisplayOrders : public enginetest::EngineTest {
 protected:
  DisplayOrders() { orders.fill(kUnwritten); }

  // A database whose options say the given orders, in a table opened with the flags.
  void Make(const std::vector<uint8_t>& stored, uint32_t flags) {
    ASSERT_EQ(MDbCreate(&env, path.c_str(), ref()), MDbStatusOk);
    auto pairs = enginetest::OptionPairs(stored.size());
    for (size_t i = 0; i < stored.size(); ++i) pairs[i].optionEx.displayOrder = stored[i];
    ASSERT_EQ(MDbFieldOpTblCreateEx(&env, ref(), pairs.data(), static_cast<int16_t>(pairs.size())), MDbStatusOk);
    ASSERT_EQ(MDbFieldOpTblOpen(&env, ref(), &env.fieldOpTbl, flags), MDbStatusOk);
  }
  MDbStatus Get(int16_t count) {
    return MDbFieldOpTblGetDisplayOrders(&env, ref(), &env.fieldOpTbl, orders.data(), count);
  }
  std::vector<int16_t> First(size_t count) const { return {orders.begin(), orders.begin() + static_cast<long>(count)}; }

  std::array<int16_t, 8> orders;
};

TEST_F(DisplayOrders, FieldsWithoutOptionsKeepTheirNaturalPosition) {
  for (const uint32_t flags : {0u, 1u}) {
    Make({2, 0, 200}, flags);
    EXPECT_EQ(Get(5), MDbStatusOk) << flags;
    EXPECT_EQ(First(6), (std::vector<int16_t>{2, 0, 200, 3, 4, kUnwritten})) << flags;
    EXPECT_EQ(MDbAgentCloseDb(&env), MDbStatusOk);
    EXPECT_EQ(MDbDelete(&env, path.c_str()), MDbStatusOk);
    orders.fill(kUnwritten);
  }
}

TEST_F(DisplayOrders, WithoutAnyOptionsEveryFieldKeepsItsPosition) {
  Make({}, 0);
  EXPECT_EQ(Get(3), MDbStatusOk);
  EXPECT_EQ(First(4), (std::vector<int16_t>{0, 1, 2, kUnwritten}));
}

TEST_F(DisplayOrders, TheOptionsThereAreBoundTheReadingAndNotTheCountAskedFor) {
  Make({7, 8, 9}, 0);
  EXPECT_EQ(Get(1), MDbStatusOk);
  EXPECT_EQ(First(4), (std::vector<int16_t>{7, 8, 9, kUnwritten}));
}

TEST_F(DisplayOrders, WithoutTheCacheTheOptionsAreCountedFirst) {
  Make({1, 0}, 0);
  seam::PlatformSeam seam;
  EXPECT_EQ(Get(2), MDbStatusOk);
  EXPECT_EQ(seam.Texts({"CeSeekDatabase"}), (Lines{Find(0), FindNext(1), FindNext(2), Find(0), Find(1)}));
}

TEST_F(DisplayOrders, AFilledCacheIsCountedByItsOwnSize) {
  Make({1, 0}, 1);
  EXPECT_EQ(Get(2), MDbStatusOk);
  seam::PlatformSeam seam;
  EXPECT_EQ(Get(2), MDbStatusOk);
  EXPECT_TRUE(seam.calls().empty());
  EXPECT_EQ(First(2), (std::vector<int16_t>{1, 0}));
}

TEST_F(DisplayOrders, AFailedReadEndsTheReadingAndTheRestKeepTheirPosition) {
  Make({5, 6, 7, 8}, 0);
  seam::PlatformSeam seam;
  seam.Fail("CeReadRecordPropsEx", 2);  // the probe of field 1
  EXPECT_EQ(Get(6), MDbStatusFailed);
  EXPECT_EQ(orders[0], 5);
  EXPECT_EQ(std::vector<int16_t>(orders.begin() + 2, orders.begin() + 7),
            (std::vector<int16_t>{2, 3, 4, 5, kUnwritten}));
}

TEST_F(DisplayOrders, WithoutACountNothingIsWritten) {
  Make({5, 6}, 0);
  const uint32_t open = std::exchange(env.agentRef.catalog.isOpen, 0);
  EXPECT_EQ(Get(2), MDbStatusFailed);
  EXPECT_EQ(First(2), (std::vector<int16_t>{kUnwritten, kUnwritten}));
  env.agentRef.catalog.isOpen = open;
}

TEST_F(DisplayOrders, AnOrderIsOneUnsignedByte) {
  Make({255}, 0);
  EXPECT_EQ(Get(1), MDbStatusOk);
  EXPECT_EQ(orders[0], 255);
}

}  // namespace
