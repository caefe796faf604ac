// The view: how it is made, filled, read and cut, as the platform sees it; what is in its way; two record sets.
#include "recset_fixture.h"

namespace {

using enginetest::Calls;
using enginetest::RecordSetTest;
using enginetest::Texts;

class View : public RecordSetTest {
 protected:
  View() {
    Make({MDbFieldText, MDbFieldText});
    first_ = Add({u"oak", u"1"});
    Add({u"elm", u"2"});
    third_ = Add({u"oak", u"3"});
  }
  // The view record at an index, straight from the store.
  std::vector<uint32_t> Stored(int16_t index) {
    const seam::Unseen unseen;
    const CEOID oid = CeSeekDatabase(recset.view.handle, CEDB_SEEK_BEGINNING, static_cast<DWORD_PTR>(index), nullptr);
    std::vector<uint32_t> values;
    for (const seam::Property& property : RecordTest::Stored(recset.view.handle, oid)) {
      values.push_back(property.id);
      values.push_back(static_cast<uint32_t>(property.number));
    }
    return values;
  }
  // A database of the view's type and this name, made behind the engine's back.
  CEOID MakeLeftover(const char16_t* name, DWORD type) {
    const seam::Unseen unseen;
    CEDBASEINFO info{};
    info.dwFlags = CEDB_VALIDNAME | CEDB_VALIDTYPE;
    for (size_t i = 0; name[i] != 0; ++i) info.szDbaseName[i] = name[i];
    info.dwDbaseType = type;
    return CeCreateDatabaseEx(&ref()->volume, &info);
  }

  uint32_t first_ = 0;
  uint32_t third_ = 0;
};

constexpr DWORD kViewType = 0x5654424C;

const Calls kLookForOne = {"CeFindFirstDatabaseEx(vol1, type=0x5654424C)", "CeFindNextDatabaseEx(enum1)",
                           "CloseHandle(enum1)"};
const char* const kCreate = R"(CeCreateDatabaseEx(vol1, flags=7, name="VTBL_0", type=0x5654424C, sorts=[19:0]))";
const char* const kOpen = R"(CeOpenDatabaseEx(vol1, oid=0, name="VTBL_0", sort=19, flags=0, null))";

TEST_F(View, IsLookedForTwiceThenCreatedAndOpenedOnItsNumbers) {
  seam::PlatformSeam seam;
  ASSERT_EQ(MDbStatusOk, Query(0, MDbQueryByWords, u"oak"));
  Calls expected = kLookForOne;
  expected.insert(expected.end(), kLookForOne.begin(), kLookForOne.end());
  expected.insert(expected.end(), {kCreate, kOpen});
  const Calls made = seam.StoreTexts();
  ASSERT_GE(made.size(), expected.size());
  EXPECT_EQ(expected, Calls(made.begin(), made.begin() + static_cast<ptrdiff_t>(expected.size())));
  EXPECT_EQ(1, recset.valid);
  EXPECT_EQ(1, recset.hasView);
  EXPECT_EQ(1, recset.view.open);
  EXPECT_EQ(1u, recset.view.flagFilter);
  EXPECT_NE(0u, recset.view.viewOid);
}

TEST_F(View, HoldsANumberAndADataRecordsIdentifierPerRecord) {
  ASSERT_EQ(MDbStatusOk, Query(0, MDbQueryByWords, u"oak"));
  EXPECT_EQ((std::vector<uint32_t>{19, 0, 0x10013, first_}), Stored(0));
  EXPECT_EQ((std::vector<uint32_t>{19, 1, 0x10013, third_}), Stored(1));
  EXPECT_EQ(2u, recset.view.nextSeq);
  EXPECT_EQ(2u, SetCount());
}

TEST_F(View, EveryAppendIsAWriteOfTwoPropertiesAndASeekOfWhatWasWritten) {
  seam::PlatformSeam seam;
  ASSERT_EQ(MDbStatusOk, Query(0, MDbQueryByWords, u"oak"));
  Calls appends;
  for (const seam::Call& call : seam.calls()) {
    if (call.name != "CeWriteRecordProps" && call.name != "CeSeekDatabase") continue;
    if (call.text.find("(VTBL_0") != std::string::npos) appends.push_back(call.text);
  }
  ASSERT_EQ(4u, appends.size());
  EXPECT_EQ("CeWriteRecordProps(VTBL_0, oid=0, [19=0, 0x10013=" + std::to_string(first_) + "])", appends.at(0));
  EXPECT_EQ(0u, appends.at(1).find("CeSeekDatabase(VTBL_0, CEOID, oid=#"));
  EXPECT_EQ("CeWriteRecordProps(VTBL_0, oid=0, [19=1, 0x10013=" + std::to_string(third_) + "])", appends.at(2));
  EXPECT_EQ(0u, appends.at(3).find("CeSeekDatabase(VTBL_0, CEOID, oid=#"));
}

TEST_F(View, TheScanCountsThenOpensEachRecordAtTheCursor) {
  seam::PlatformSeam seam;
  ASSERT_EQ(MDbStatusOk, Query(0, MDbQueryByWords, u"elm"));
  Calls scan;
  for (const seam::Call& call : seam.calls()) {
    if (call.name == "CeOidGetInfoEx" || call.text.find("(DATA_0, BEGINNING") != std::string::npos) {
      scan.push_back(call.text.substr(0, call.text.find(", oid")));
    }
  }
  EXPECT_EQ((Calls{"CeOidGetInfoEx(vol1", "CeSeekDatabase(DATA_0, BEGINNING, 0)",
                   "CeSeekDatabase(DATA_0, BEGINNING, 1)", "CeSeekDatabase(DATA_0, BEGINNING, 2)"}),
            scan);
}

TEST_F(View, OfAnEmptyDataTableHasNoRecordAndNoCursor) {
  ASSERT_EQ(MDbStatusOk, QueryAll());
  ASSERT_EQ(MDbStatusOk, MDbRecsetDelAllRec(&env, &recset, 1));
  ASSERT_EQ(MDbStatusOk, Destroy());
  ASSERT_EQ(MDbStatusOk, Query(0, MDbQueryByWords, u"oak"));
  EXPECT_EQ(0u, SetCount());
  EXPECT_EQ(0xFFFF, Cursor());
}

TEST_F(View, ItsCountIsTheDatabasesRecordCount) {
  ASSERT_EQ(MDbStatusOk, Query(0, MDbQueryByWords, u"oak"));
  seam::PlatformSeam seam;
  EXPECT_EQ(2u, SetCount());
  ASSERT_EQ(1u, seam.StoreTexts().size());
  EXPECT_EQ(recset.view.viewOid, seam.CallsOf("CeOidGetInfoEx").at(0).arguments.at(1));
  uint32_t count = 77;
  seam.Alter("CeOidGetInfoEx", 0, [](void* info) { static_cast<CEOIDINFO*>(info)->wObjType = OBJTYPE_RECORD; });
  EXPECT_EQ(MDbStatusFailed, MDbRecsetGetRecCount(&env, &recset, &count));
  seam.Fail("CeOidGetInfoEx");
  EXPECT_EQ(MDbStatusFailed, MDbRecsetGetRecCount(&env, &recset, &count));
  EXPECT_EQ(77u, count);
}

// ---- opening through the view

TEST_F(View, ARecordIsOpenedBySeekingReadingBothPropertiesAndSeekingTheDataRecord) {
  ASSERT_EQ(MDbStatusOk, Query(0, MDbQueryByWords, u"oak"));
  ASSERT_EQ(MDbStatusOk, MDbRecsetSetInx(&env, &recset, 1));
  seam::PlatformSeam seam;
  ASSERT_EQ(MDbStatusOk, MDbRecsetOpenRec(&env, &recset));
  const std::string size = std::to_string(2 * sizeof(CEPROPVAL));
  EXPECT_EQ((Calls{"CeSeekDatabase(VTBL_0, BEGINNING, 1)", "CeReadRecordPropsEx(VTBL_0, flags=0, [19, 0x10013], probe)",
                   "GetLastError()", "LocalAlloc(flags=64, " + size + ")",
                   "CeReadRecordPropsEx(VTBL_0, flags=0, [19, 0x10013], size=" + size + ")", "LocalFree(" + size + ")",
                   "CeSeekDatabase(DATA_0, CEOID, oid=#2)"}),
            seam.Texts());
  EXPECT_EQ(third_, recset.record.oid);
}

TEST_F(View, AViewRecordWithoutAnIdentifierOpensNothing) {
  ASSERT_EQ(MDbStatusOk, Query(0, MDbQueryByWords, u"oak"));
  {
    const seam::Unseen unseen;
    const CEOID oid = CeSeekDatabase(recset.view.handle, CEDB_SEEK_BEGINNING, 0, nullptr);
    CEPROPVAL property{};
    property.propid = 0x10013;
    property.wFlags = CEDB_PROPDELETE;
    ASSERT_EQ(oid, CeWriteRecordProps(recset.view.handle, oid, 1, &property));
  }
  ASSERT_EQ(MDbStatusOk, MDbRecsetSetInx(&env, &recset, 0));
  EXPECT_EQ(MDbStatusFailed, MDbRecsetOpenRec(&env, &recset));
  EXPECT_EQ(MDbStatusFailed, MDbRecsetDelRec(&env, &recset, 0, 1));
  EXPECT_EQ(2u, SetCount());
}

TEST_F(View, ADataRecordDeletedMeanwhileCannotBeOpened) {
  ASSERT_EQ(MDbStatusOk, Query(0, MDbQueryByWords, u"oak"));
  MDbRecset other;
  MDbRecsetInitialize(&other);
  ASSERT_EQ(MDbStatusOk, MDbAgentQuery(&env, &other, nullptr));
  ASSERT_EQ(MDbStatusOk, MDbRecsetDelRec(&env, &other, 0, 1));
  ASSERT_EQ(MDbStatusOk, MDbRecsetDestroy(&env, &other));
  ASSERT_EQ(MDbStatusOk, MDbRecsetSetInx(&env, &recset, 0));
  EXPECT_EQ(MDbStatusFailed, MDbRecsetOpenRec(&env, &recset));
  EXPECT_EQ(2u, SetCount());
}

// ---- removing

TEST_F(View, RemovingReadsTheRecordAtTheIndexDeletesItAndRestoresTheCursor) {
  ASSERT_EQ(MDbStatusOk, Query(0, MDbQueryByWords, u"oak"));
  ASSERT_EQ(MDbStatusOk, MDbRecsetSetInx(&env, &recset, 1));
  seam::PlatformSeam seam;
  seam.Fail("CeDeleteRecord", 1);  // the data record's own; the view record's goes through
  EXPECT_EQ(MDbStatusFailed, MDbRecsetDelRec(&env, &recset, 0, 1));
  const Calls seeks = seam.Texts({"CeSeekDatabase", "CeDeleteRecord"});
  ASSERT_EQ(4u, seeks.size());
  EXPECT_EQ("CeSeekDatabase(VTBL_0, BEGINNING, 0)", seeks.at(0));
  EXPECT_EQ("CeDeleteRecord(VTBL_0, oid=#1)", seeks.at(1));
  EXPECT_EQ("CeSeekDatabase(DATA_0, CEOID, oid=#2)", seeks.at(2));
  EXPECT_EQ("CeDeleteRecord(DATA_0, oid=#2)", seeks.at(3));
  EXPECT_EQ(1, recset.view.index);
  EXPECT_EQ(1u, SetCount());
}

TEST_F(View, AFailingRemovalRestoresTheCursorAndDeletesNothing) {
  ASSERT_EQ(MDbStatusOk, Query(0, MDbQueryByWords, u"oak"));
  ASSERT_EQ(MDbStatusOk, MDbRecsetSetInx(&env, &recset, 1));
  for (const char* call : {"CeSeekDatabase", "CeReadRecordPropsEx", "CeDeleteRecord", "LocalAlloc"}) {
    SCOPED_TRACE(call);
    seam::PlatformSeam seam;
    seam.Fail(call);
    EXPECT_EQ(MDbStatusFailed, MDbRecsetDelRec(&env, &recset, 0, 1));
    EXPECT_EQ(1, recset.view.index);
    EXPECT_EQ(2u, SetCount());
    EXPECT_EQ(3u, Count());
  }
}

// ---- what is in the way

TEST_F(View, ALeftoverIsDeletedWhateverTheCaseOfItsName) {
  for (const char16_t* name : {u"VTBL_0", u"vtbl_0"}) {
    const CEOID leftover = MakeLeftover(name, kViewType);
    ASSERT_NE(0u, leftover);
    seam::PlatformSeam seam;
    ASSERT_EQ(MDbStatusOk, Query(0, MDbQueryByWords, u"oak"));
    const Calls made = seam.Texts({"CeDeleteDatabaseEx", "CeFindFirstDatabaseEx", "CeCreateDatabaseEx"});
    EXPECT_EQ((Calls{kLookForOne.at(0), "CeDeleteDatabaseEx(vol1, oid=#1)", kLookForOne.at(0), kCreate}), made);
    EXPECT_EQ(leftover, seam.CallsOf("CeDeleteDatabaseEx").at(0).arguments.at(1));
    EXPECT_EQ((Texts{u"1", u"3"}), Contents(1));
    ASSERT_EQ(MDbStatusOk, Destroy());
  }
}

TEST_F(View, ADatabaseOfAnotherTypeWithItsNameStopsTheCreation) {
  ASSERT_NE(0u, MakeLeftover(u"VTBL_0", 7));
  EXPECT_EQ(MDbStatusFailed, Query(0, MDbQueryByWords, u"oak"));
  EXPECT_EQ(0, recset.valid);
}

TEST_F(View, ADatabaseOfItsTypeWithAnotherNameIsLeftAlone) {
  ASSERT_NE(0u, MakeLeftover(u"VTBL_1", kViewType));
  seam::PlatformSeam seam;
  EXPECT_EQ(MDbStatusOk, Query(0, MDbQueryByWords, u"oak"));
  EXPECT_EQ(0u, seam.CountOf("CeDeleteDatabaseEx"));
}

TEST_F(View, ALeftoverThatCannotBeDeletedStopsTheBuilding) {
  ASSERT_NE(0u, MakeLeftover(u"VTBL_0", kViewType));
  seam::PlatformSeam seam;
  seam.Fail("CeDeleteDatabaseEx");
  EXPECT_EQ(MDbStatusFailed, Query(0, MDbQueryByWords, u"oak"));
  EXPECT_EQ(0u, seam.CountOf("CeCreateDatabaseEx"));
  EXPECT_EQ(0, recset.valid);
}

TEST_F(View, FailuresOfTheCreationLeaveTheRecordSetInvalidAndItsViewClosed) {
  for (const char* call : {"CeFindFirstDatabaseEx", "CeCreateDatabaseEx", "CeOpenDatabaseEx"}) {
    SCOPED_TRACE(call);
    seam::PlatformSeam seam;
    seam.Fail(call);
    EXPECT_EQ(MDbStatusFailed, Query(0, MDbQueryByWords, u"oak"));
    EXPECT_EQ(0, recset.valid);
    EXPECT_EQ(0, recset.view.open);
    EXPECT_EQ(1, recset.hasQuery) << "the criteria are stored also when the view could not be built";
    EXPECT_EQ(0, recset.filterField);
  }
  EXPECT_EQ(MDbStatusOk, Query(0, MDbQueryByWords, u"oak"));
}

// ---- two record sets

TEST_F(View, ASecondRecordSetsViewIsRefusedAndTheFirstStaysWhole) {
  ASSERT_EQ(MDbStatusOk, Query(0, MDbQueryByWords, u"oak"));
  ASSERT_EQ(MDbStatusOk, MDbRecsetSetInx(&env, &recset, 1));
  MDbRecset second;
  MDbRecsetInitialize(&second);
  const MDbQuery elm = {0, MDbQueryByWords, u"elm"};
  EXPECT_EQ(MDbStatusFailed, MDbAgentQuery(&env, &second, &elm));
  EXPECT_EQ(0, second.valid);
  EXPECT_EQ(1, Cursor());
  EXPECT_EQ((Texts{u"1", u"3"}), Contents(1));
  EXPECT_EQ(MDbStatusOk, MDbAgentQuery(&env, &second, nullptr)) << "direct mode needs no view";
  EXPECT_EQ(MDbStatusFailed, MDbRecsetSort(&env, &second, 0, 0)) << "and a sort does";
  EXPECT_EQ((Texts{u"1", u"3"}), Contents(1));
  EXPECT_EQ(MDbStatusOk, MDbRecsetDestroy(&env, &second));
  ASSERT_EQ(MDbStatusOk, Destroy());
  EXPECT_EQ(MDbStatusOk, MDbAgentQuery(&env, &second, &elm)) << "once the first is gone";
  EXPECT_EQ(MDbStatusOk, MDbRecsetDestroy(&env, &second));
}

TEST_F(View, MakingAndDestroyingItFlushesNothing) {
  ASSERT_EQ(MDbStatusOk, Query(0, MDbQueryByWords, u"oak"));
  seam::PlatformSeam seam;
  ASSERT_EQ(MDbStatusOk, Destroy());
  ASSERT_EQ(MDbStatusOk, Query(0, MDbQueryByWords, u"elm"));
  EXPECT_EQ(0u, seam.CountOf("CeFlushDBVol"));
}

}  // namespace
