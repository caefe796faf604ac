// A full table and long lists: 5000 records for real, their deletion log and the view over them.
#include "recset_fixture.h"

namespace {

using enginetest::RecordSetTest;
using enginetest::Texts;

std::u16string Wide(const std::string& text) { return {text.begin(), text.end()}; }

class Limits : public RecordSetTest {
 protected:
  Limits() { Make({MDbFieldText, MDbFieldNumber}); }

  // Fills the table to a count with one flush at the end: through a reference of its own, durable at its close.
  void Fill(uint32_t count) {
    ASSERT_EQ(MDbStatusOk, MDbAgentCloseDb(&env));
    ASSERT_EQ(MDbStatusOk, MDbShutdown(&env, 0, 0));
    ASSERT_EQ(MDbStatusOk, MDbInit(&env, nullptr, 0));
    MDbRef own;
    MDbRefInitialize(&own);
    MDbDataTbl own_table;
    MDbDataTblInitialize(&own_table);
    ASSERT_EQ(MDbStatusOk, MDbOpen(&env, path.c_str(), &own));
    ASSERT_EQ(MDbStatusOk, MDbDataTblOpen(&env, &own, &own_table, nullptr));
    ASSERT_EQ(MDbStatusOk, StartCreationSeqCache(&env, &own, &own_table));
    for (uint32_t i = 0; i < count; ++i) {
      const std::u16string number = Wide(std::to_string((i * 7919) % count));
      const MDbChar* const texts[] = {i % 2 == 0 ? u"even" : u"odd", number.c_str()};
      ASSERT_EQ(MDbStatusOk, MDbDataTblAddRec(&env, &own, &own_table, &kInfo, texts, 2, 1, nullptr, nullptr));
    }
    ASSERT_EQ(MDbStatusOk, EndCreationSeqCache(&env, &own, &own_table));
    ASSERT_EQ(MDbStatusOk, MDbDataTblClose(&env, &own, &own_table));
    ASSERT_EQ(MDbStatusOk, MDbClose(&env, &own));
    ASSERT_NO_FATAL_FAILURE(OpenDatabase());
  }
};

TEST_F(Limits, TheFiveThousandthRecordIsAddedAndTheNextIsRefused) {
  ASSERT_NO_FATAL_FAILURE(Fill(4999));
  ASSERT_EQ(MDbStatusOk, QueryAll());
  uint16_t index = 77;
  EXPECT_EQ(MDbStatusOk, MDbRecsetNewRec(&env, &recset, &index));
  EXPECT_EQ(4999, index);
  EXPECT_EQ(5000u, SetCount());
  index = 77;
  EXPECT_EQ(MDbStatusRecordLimit, MDbRecsetNewRec(&env, &recset, &index));
  EXPECT_EQ(MDbStatusRecordLimit, MDBRecsetDupRec(&env, &recset, 0, &index));
  EXPECT_EQ(77, index);
  EXPECT_EQ(5000u, SetCount());
  EXPECT_EQ(MDbStatusOk, MDbRecsetDelRec(&env, &recset, 0, 1));
  EXPECT_EQ(MDbStatusOk, MDbRecsetNewRec(&env, &recset, &index)) << "room for one again";
  ASSERT_EQ(MDbStatusOk, Destroy());
  ASSERT_NO_FATAL_FAILURE(Reopen());
  EXPECT_EQ(5000u, Count());
}

TEST_F(Limits, AFullTableIsSortedFilteredAndDeletedThroughItsView) {
  constexpr uint32_t kRecords = 5000;
  ASSERT_NO_FATAL_FAILURE(Fill(kRecords));
  ASSERT_EQ(MDbStatusOk, QueryAll());
  ASSERT_EQ(MDbStatusOk, Sort(1));
  ASSERT_EQ(kRecords, SetCount());
  for (const int16_t index : {int16_t{0}, int16_t{1}, int16_t{2499}, int16_t{4999}}) {
    ASSERT_NO_FATAL_FAILURE(OpenAt(index));
    MDbChar text[8] = u"as was";
    EXPECT_EQ(MDbStatusOk, MDbRecsetGetField(&env, &recset, 1, text, sizeof text));
    EXPECT_EQ(Wide(std::to_string(index)), std::u16string(text));
    EXPECT_EQ(MDbStatusOk, CloseRecord());
  }
  ASSERT_EQ(MDbStatusOk, Destroy());
  ASSERT_EQ(MDbStatusOk, Query(0, MDbQueryByWords, u"odd"));
  EXPECT_EQ(kRecords / 2, SetCount());
  ASSERT_EQ(MDbStatusOk, Destroy());
  ASSERT_EQ(MDbStatusOk, Query(1, MDbQueryByValue, u"4,999"));
  EXPECT_EQ(Texts{u"4999"}, Contents(1));
}

TEST_F(Limits, TheLogTakesWhatTheTableHeld) {
  constexpr uint32_t kRecords = 300;
  ASSERT_NO_FATAL_FAILURE(Fill(kRecords));
  ASSERT_EQ(MDbStatusOk, Query(0, MDbQueryByWords, u"odd"));
  ASSERT_EQ(MDbStatusOk, MDbRecsetDelAllRec(&env, &recset, 0));
  ASSERT_EQ(MDbStatusOk, Destroy());
  EXPECT_EQ(kRecords / 2, LogCount());
  EXPECT_EQ(kRecords / 2, Count());
  EXPECT_EQ(kRecords / 2, Counter(1));
  ASSERT_NO_FATAL_FAILURE(Reopen());
  EXPECT_EQ(kRecords / 2, LogCount());
  EXPECT_EQ(kRecords / 2 - 1, StoredLog(kRecords / 2 - 1).at(4).number);
}

TEST_F(Limits, AFieldTakesTheLongestTextOfThePlatformAndNoLongerOne) {
  const std::u16string longest(32734, u'x');  // 65470 bytes with the terminator
  const uint32_t oid = Add({longest, u"1"});
  ASSERT_NO_FATAL_FAILURE(Reopen());
  enginetest::OpenedRecord record(&env, oid);
  uint32_t size = 0;
  EXPECT_EQ(MDbStatusOk, MDbDataRecGetFieldSize(&env, ref(), table(), record.get(), 0, &size));
  EXPECT_EQ(65470u, size);
  std::vector<MDbChar> text(size / 2);
  EXPECT_EQ(MDbStatusOk, MDbDataRecReadField(&env, ref(), table(), record.get(), 0, text.data(), size));
  EXPECT_EQ(longest, std::u16string(text.data()));
  const std::u16string too_long(40000, u'x');
  const MDbChar* const texts[] = {too_long.c_str(), u"2"};
  EXPECT_EQ(MDbStatusFailed, MDbDataTblAddRec(&env, ref(), table(), &kInfo, texts, 2, 1, nullptr, nullptr));
  EXPECT_EQ(1u, Count());
}

TEST_F(Limits, TheListOfKeptRecordsOutgrowsItsBlocksAcrossSorts) {
  Add({u"oak", u"0"});
  ASSERT_EQ(MDbStatusOk, Query(0, MDbQueryByWords, u"oak"));
  for (int round = 0; round < 3; ++round) {
    for (int i = 0; i < 260; ++i) {
      uint16_t index = 0;
      ASSERT_EQ(MDbStatusOk, MDbRecsetNewRec(&env, &recset, &index));
    }
    ASSERT_EQ(MDbStatusOk, Sort(1));
    ASSERT_EQ(261u + 260u * static_cast<uint32_t>(round), SetCount());
  }
}

}  // namespace
