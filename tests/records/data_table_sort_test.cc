// Switching the order of the live records: what the platform is told, what is left when it refuses, and the orders that
// come out.
#include "data_table.h"

#include "record_fixture.h"

namespace {

using enginetest::Calls;
using enginetest::RecordTest;
using enginetest::Texts;

class DataTableSort : public RecordTest {
 protected:
  DataTableSort() {
    Make({MDbFieldText, MDbFieldText, MDbFieldText});
    Add({u"pear", u"a", u"x"});
    Add({u"Apple", u"b", u"x"});
    Add({u"apple", u"", u"y"});
    Add({u"éclair", u"a", u"y"});
  }
  MDbStatus ByField(uint16_t field, uint8_t ascending) {
    return mdb::SortDataTableByField(&env, ref(), table(), field, ascending);
  }
  MDbStatus ByCreation() { return mdb::SortDataTableByCreation(&env, ref(), table()); }
};

const Texts kByCreation = {u"pear", u"Apple", u"apple", u"éclair"};

TEST_F(DataTableSort, ByFieldReadsTheInformationClosesSetsASecondOrderAndReopensInIt) {
  seam::PlatformSeam seam;
  EXPECT_EQ(MDbStatusOk, ByField(0, 1));
  const Calls expected = {"CeOidGetInfoEx(vol1, oid=#1)",
                          "CloseHandle(DATA_0)",
                          "CloseHandle(DELT_0)",
                          "CeSetDatabaseInfoEx(vol1, oid=#1, flags=4, sorts=[0x40013:0, 0x5001F:0])",
                          R"(CeOpenDatabaseEx(vol1, oid=0, name="DATA_0", sort=0x5001F, flags=0, null))",
                          R"(CeOpenDatabaseEx(vol1, oid=0, name="DELT_0", sort=0, flags=0, null))"};
  EXPECT_EQ(expected, seam.StoreTexts());
  EXPECT_EQ((Texts{u"apple", u"Apple", u"éclair", u"pear"}), Column(0));
}

TEST_F(DataTableSort, TheFieldAndTheDirectionChooseTheSecondOrder) {
  const struct {
    const char* why;
    uint16_t field;
    uint8_t ascending;
    const char* order;
    const char* property;
  } rows[] = {{"field index FFFF sorts on the sort value", 0xFFFF, 1, "0x30003:0", "sort=0x30003,"},
              {"field index FFFF descending", 0xFFFF, 0, "0x30003:1", "sort=0x30003,"},
              {"field index 0 sorts on property 5", 0, 1, "0x5001F:0", "sort=0x5001F,"},
              {"field index 2 with ascending 0 sets flags 1", 2, 0, "0x7001F:1", "sort=0x7001F,"},
              {"any ascending flag but 0 is ascending", 1, 200, "0x6001F:0", "sort=0x6001F,"}};
  for (const auto& row : rows) {
    SCOPED_TRACE(row.why);
    seam::PlatformSeam seam;
    EXPECT_EQ(MDbStatusOk, ByField(row.field, row.ascending));
    EXPECT_NE(std::string::npos, seam.CallsOf("CeSetDatabaseInfoEx")
                                     .at(0)
                                     .text.find(std::string("flags=4, sorts=[0x40013:0, ") + row.order + "]"))
        << seam.CallsOf("CeSetDatabaseInfoEx").at(0).text;
    EXPECT_NE(std::string::npos, seam.CallsOf("CeOpenDatabaseEx").at(0).text.find(row.property));
  }
}

TEST_F(DataTableSort, BackToCreationOrderLeavesOneOrderAndReopensInIt) {
  ASSERT_EQ(MDbStatusOk, ByField(0, 0));
  EXPECT_EQ((Texts{u"pear", u"éclair", u"Apple", u"apple"}), Column(0));
  seam::PlatformSeam seam;
  EXPECT_EQ(MDbStatusOk, ByCreation());
  const Calls expected = {"CeOidGetInfoEx(vol1, oid=#1)",
                          "CloseHandle(DATA_0)",
                          "CloseHandle(DELT_0)",
                          "CeSetDatabaseInfoEx(vol1, oid=#1, flags=4, sorts=[0x40013:0])",
                          R"(CeOpenDatabaseEx(vol1, oid=0, name="DATA_0", sort=0x40013, flags=0, null))",
                          R"(CeOpenDatabaseEx(vol1, oid=0, name="DELT_0", sort=0, flags=0, null))"};
  EXPECT_EQ(expected, seam.StoreTexts());
  EXPECT_EQ(kByCreation, Column(0));
}

TEST_F(DataTableSort, EqualTextsStandInCreationOrderInBothDirections) {
  ASSERT_EQ(MDbStatusOk, ByField(2, 1));
  EXPECT_EQ((Texts{u"pear", u"Apple", u"apple", u"éclair"}), Column(0));
  ASSERT_EQ(MDbStatusOk, ByField(2, 0));
  EXPECT_EQ((Texts{u"apple", u"éclair", u"pear", u"Apple"}), Column(0));
}

TEST_F(DataTableSort, AClosedTableIsRefusedWithoutAPlatformCall) {
  ASSERT_EQ(MDbStatusOk, MDbDataTblClose(&env, ref(), table()));
  seam::PlatformSeam seam;
  EXPECT_EQ(MDbStatusFailed, ByField(0, 1));
  EXPECT_EQ(MDbStatusFailed, ByCreation());
  EXPECT_TRUE(seam.Texts().empty());
}

TEST_F(DataTableSort, AFailingCloseReturnsItsStatusAndChangesNothing) {
  seam::PlatformSeam seam;
  seam.Fail("CloseHandle", 0);
  EXPECT_EQ(MDbStatusFailed, ByField(0, 1));
  EXPECT_EQ(0u, seam.CountOf("CeSetDatabaseInfoEx"));
  EXPECT_EQ(1, MDbDataTblIsOpened(&env, ref(), table()));
  EXPECT_EQ(kByCreation, Column(0));
}

TEST_F(DataTableSort, AFailingSetInformationLeavesTheTableClosedAndAnswersSuccess) {
  {
    seam::PlatformSeam seam;
    seam.Fail("CeSetDatabaseInfoEx");
    EXPECT_EQ(MDbStatusOk, ByField(0, 1));
    EXPECT_EQ(0u, seam.CountOf("CeOpenDatabaseEx"));
  }
  EXPECT_EQ(0, MDbDataTblIsOpened(&env, ref(), table()));
  ASSERT_EQ(MDbStatusOk, MDbDataTblOpen(&env, ref(), table(), nullptr));
  EXPECT_EQ(kByCreation, Column(0));
  {
    seam::PlatformSeam seam;
    seam.Fail("CeSetDatabaseInfoEx");
    EXPECT_EQ(MDbStatusOk, ByCreation());
  }
  EXPECT_EQ(0, MDbDataTblIsOpened(&env, ref(), table()));
}

TEST_F(DataTableSort, SetInformationHasToAnswerExactlyOne) {
  seam::PlatformSeam seam;
  seam.AlterResult("CeSetDatabaseInfoEx", 0, 2);
  EXPECT_EQ(MDbStatusOk, ByField(0, 1));
  EXPECT_EQ(0, MDbDataTblIsOpened(&env, ref(), table()));
}

TEST_F(DataTableSort, WithoutTheOldInformationTheSecondOrderIsSetAllTheSame) {
  seam::PlatformSeam seam;
  seam.Fail("CeOidGetInfoEx");
  (void)ByField(1, 0);  // what stands in the first order then is nobody's; the platform may refuse it
  ASSERT_EQ(1u, seam.CountOf("CeSetDatabaseInfoEx"));
  const std::string text = seam.CallsOf("CeSetDatabaseInfoEx").at(0).text;
  EXPECT_NE(std::string::npos, text.find("flags=4, ")) << text;
  EXPECT_NE(std::string::npos, text.find(", 0x6001F:1])")) << text;
}

TEST_F(DataTableSort, AnOrderThatExistsCanBeOpenedByItsProperty) {
  ASSERT_EQ(MDbStatusOk, ByField(0xFFFF, 1));
  ASSERT_EQ(MDbStatusOk, MDbDataTblClose(&env, ref(), table()));
  const uint32_t sort_value = 0x00030003;
  EXPECT_EQ(MDbStatusOk, MDbDataTblOpen(&env, ref(), table(), &sort_value));
  EXPECT_EQ(kByCreation, Column(0)) << "all sort values are 0";
}

TEST_F(DataTableSort, TheCacheAndTheCursorAreResetByASwitch) {
  ASSERT_EQ(MDbStatusOk, StartCreationSeqCache(&env, ref(), table()));
  ASSERT_EQ(MDbStatusOk, MDbDataTblCursSetInx(&env, ref(), table(), 2));
  ASSERT_EQ(MDbStatusOk, ByField(0, 1));
  EXPECT_EQ(0xFFFFFFFFu, table()->creationSeqCache);
  EXPECT_EQ(-1, table()->cursor);
}

}  // namespace
