// The catalogue: keyed objects in one platform database.
#include "catalog_store.h"

#include "engine_fixture.h"
#include "seam_lines.h"
#include "volume_snapshot.h"

namespace {

using mdb::ObjectKind;
using seam::Find;
using seam::FindNext;
using seam::Lines;

const char* const kOpenCatalogue = "CeOpenDatabaseEx(vol1, oid=0, name=\"OBJG_0\", sort=0x10013, flags=0, null)";

class Catalogue : public enginetest::EngineTest {
 protected:
  Catalogue() {
    MDbRefInitialize(&volume);
    EXPECT_EQ(MDbCreate(&env, path.c_str(), &volume), MDbStatusOk);
  }
  ~Catalogue() override {
    volume.opened = 1;
    EXPECT_EQ(MDbClose(&env, &volume), MDbStatusOk);
  }

  void Put(ObjectKind kind, uint16_t index, uint32_t value) {
    EXPECT_EQ(mdb::CatalogWrite(volume, kind, index, {mdb::PropUi4(0x20013, value)}), MDbStatusOk);
  }
  void PutAll(ObjectKind kind, std::initializer_list<uint16_t> indexes) {
    for (const uint16_t index : indexes) Put(kind, index, index);
  }
  // The keys of all objects, in order, without the header's.
  std::vector<std::string> Keys() const {
    std::vector<std::string> keys;
    for (const std::string& record : seam::RecordsOf(volume.volume, u"OBJG_0")) {
      const size_t at = record.find("0x10013=") + 8;
      const std::string key = record.substr(at, record.find_first_of(",]", at) - at);
      if (key != "0x50000") keys.push_back(key);
    }
    return keys;
  }

  MDbRef volume{};  // zeroed, since one test compares all of its bytes
};

// ---- the handle record

TEST_F(Catalogue, ResettingLeavesTheHandleFieldAsItWas) {
  CatalogStore catalog;
  std::memset(&catalog, 0xEE, sizeof catalog);
  mdb::CatalogReset(&catalog);
  EXPECT_EQ(std::u16string(catalog.name), u"OBJG_0");
  EXPECT_EQ(catalog.oid, 0u);
  EXPECT_EQ(catalog.isOpen, 0u);
  EXPECT_EQ(catalog.handle, 0xEEEEEEEEu);
}

TEST_F(Catalogue, ClosingResetsTheRecordAndOpeningFillsIt) {
  const CEOID oid = volume.catalog.oid;
  EXPECT_EQ(mdb::CatalogClose(&volume), MDbStatusOk);
  EXPECT_EQ(volume.catalog.oid, 0u);
  EXPECT_EQ(volume.catalog.isOpen, 0u);
  EXPECT_EQ(mdb::CatalogClose(&volume), MDbStatusFailed) << "it is closed";
  seam::PlatformSeam seam;
  EXPECT_EQ(mdb::CatalogOpen(&volume), MDbStatusOk);
  EXPECT_EQ(volume.catalog.oid, oid);
  EXPECT_EQ(volume.catalog.isOpen, 1u);
  EXPECT_EQ(seam.Texts(), (Lines{kOpenCatalogue}));
}

TEST_F(Catalogue, OpeningStartsFromNoIdentifierWhateverTheRecordHolds) {
  EXPECT_EQ(mdb::CatalogClose(&volume), MDbStatusOk);
  volume.catalog.oid = 12345;
  seam::PlatformSeam seam;
  EXPECT_EQ(mdb::CatalogOpen(&volume), MDbStatusOk);
  EXPECT_EQ(seam.Texts(), (Lines{kOpenCatalogue}));
}

TEST_F(Catalogue, AnOpenCatalogueIsNotOpenedASecondTime) {
  const MDbHandle handle = volume.catalog.handle;
  seam::PlatformSeam seam;
  EXPECT_EQ(mdb::CatalogOpen(&volume), MDbStatusFailed);
  EXPECT_TRUE(seam.calls().empty());
  EXPECT_EQ(volume.catalog.handle, handle);
}

TEST_F(Catalogue, AHandleOfZeroIsAFailedOpen) {
  EXPECT_EQ(mdb::CatalogClose(&volume), MDbStatusOk);
  seam::PlatformSeam seam;
  seam.Replace("CeOpenDatabaseEx", 0, {0, ERROR_OUTOFMEMORY});
  EXPECT_EQ(mdb::CatalogOpen(&volume), MDbStatusFailed);
  EXPECT_EQ(volume.catalog.isOpen, 0u);
}

TEST_F(Catalogue, AFailedCloseLeavesTheRecordAsItWas) {
  const CatalogStore before = volume.catalog;
  seam::PlatformSeam seam;
  seam.Fail("CloseHandle");
  EXPECT_EQ(mdb::CatalogClose(&volume), MDbStatusFailed);
  EXPECT_EQ(std::memcmp(&volume.catalog, &before, sizeof before), 0);
}

TEST_F(Catalogue, ASecondCatalogueIsNotCreated) {
  seam::PlatformSeam seam;
  EXPECT_EQ(mdb::CatalogCreateDb(volume), MDbStatusFailed);
  EXPECT_EQ(seam.StoreTexts(),
            (Lines{"CeCreateDatabaseEx(vol1, flags=7, name=\"OBJG_0\", type=0x4F424A47, sorts=[0x10013:0])"}));
}

TEST_F(Catalogue, DeletingIsByName) {
  EXPECT_EQ(mdb::CatalogClose(&volume), MDbStatusOk);
  seam::PlatformSeam seam;
  EXPECT_EQ(mdb::CatalogDelete(&env, &volume), MDbStatusOk);
  EXPECT_EQ(seam.Texts(), (Lines{"CeOpenDatabaseEx(vol1, oid=0, name=\"OBJG_0\", sort=0, flags=0, null)",
                                 "CloseHandle(OBJG_0)", "CeDeleteDatabaseEx(vol1, oid=#1)"}));
}

// ---- finding

TEST_F(Catalogue, FindingSeeksTheKeyOfKindAndIndex) {
  const struct {
    ObjectKind kind;
    uint16_t index;
    uint32_t key;
  } kRows[] = {
      {ObjectKind::FieldOption, 0, 0x00000}, {ObjectKind::ValueList, 0, 0x10000},
      {ObjectKind::Attributes, 0, 0x20000},  {ObjectKind::Schema, 7, 0x30007},
      {ObjectKind::CreationSeq, 1, 0x40001}, {ObjectKind::Header, 0, 0x50000},
      {ObjectKind::Integrity, 0, 0x60000},   {ObjectKind::Schema, 0xFFFF, 0x3FFFF},
  };
  for (const auto& row : kRows) {
    seam::PlatformSeam seam;
    CEOID oid = 99;
    const MDbStatus status = mdb::CatalogFind(volume, row.kind, row.index, &oid);
    EXPECT_EQ(seam.StoreTexts(), (Lines{Find(row.key)}));
    EXPECT_EQ(status, row.key == 0x50000 ? MDbStatusOk : MDbStatusFailed) << row.key;
    EXPECT_EQ(oid != 0, row.key == 0x50000) << row.key;
  }
}

TEST_F(Catalogue, NothingIsFoundInAClosedCatalogueAndNothingAsked) {
  EXPECT_EQ(mdb::CatalogClose(&volume), MDbStatusOk);
  seam::PlatformSeam seam;
  CEOID oid = 99;
  EXPECT_EQ(mdb::CatalogFind(volume, ObjectKind::Header, 0, &oid), MDbStatusFailed);
  EXPECT_EQ(oid, 0u);
  EXPECT_TRUE(seam.calls().empty());
}

// ---- counting and deleting

TEST_F(Catalogue, CountingStopsAtTheFirstGap) {
  PutAll(ObjectKind::Schema, {0, 1, 3});
  Put(ObjectKind::CreationSeq, 0, 1);
  seam::PlatformSeam seam;
  uint16_t count = 99;
  EXPECT_EQ(mdb::CatalogCount(volume, ObjectKind::Schema, &count), MDbStatusOk);
  EXPECT_EQ(count, 2);
  EXPECT_EQ(seam.StoreTexts(), (Lines{Find(0x30000), FindNext(0x30001), FindNext(0x30002)}));
}

TEST_F(Catalogue, CountingStopsAtTheNextKind) {
  PutAll(ObjectKind::ValueList, {0, 1, 2});
  PutAll(ObjectKind::Attributes, {0, 1});
  uint16_t count = 99;
  EXPECT_EQ(mdb::CatalogCount(volume, ObjectKind::ValueList, &count), MDbStatusOk);
  EXPECT_EQ(count, 3);
}

TEST_F(Catalogue, AKindWithoutIndexZeroCountsNone) {
  Put(ObjectKind::Schema, 1, 1);
  seam::PlatformSeam seam;
  uint16_t count = 99;
  EXPECT_EQ(mdb::CatalogCount(volume, ObjectKind::Schema, &count), MDbStatusOk);
  EXPECT_EQ(count, 0);
  EXPECT_EQ(seam.StoreTexts(), (Lines{Find(0x30000)}));
}

TEST_F(Catalogue, DeletingAKindStopsAtTheFirstGapAndLeavesTheRest) {
  PutAll(ObjectKind::Schema, {0, 1, 3});
  Put(ObjectKind::Attributes, 0, 1);
  seam::PlatformSeam seam;
  EXPECT_EQ(mdb::CatalogDeleteAll(volume, ObjectKind::Schema), MDbStatusOk);
  EXPECT_EQ(seam.StoreTexts(), (Lines{Find(0x30000), "CeDeleteRecord(OBJG_0, oid=#1)", Find(0x30001),
                                      "CeDeleteRecord(OBJG_0, oid=#2)", Find(0x30002)}));
  EXPECT_EQ(Keys(), (Lines{"0x20000", "0x30003"}));
}

TEST_F(Catalogue, AFailedDeletionEndsItAtOnce) {
  PutAll(ObjectKind::Schema, {0, 1, 2});
  seam::PlatformSeam seam;
  seam.Fail("CeDeleteRecord", 1);
  EXPECT_EQ(mdb::CatalogDeleteAll(volume, ObjectKind::Schema), MDbStatusFailed);
  EXPECT_EQ(seam.CountOf("CeDeleteRecord"), 2u);
  EXPECT_EQ(Keys(), (Lines{"0x30001", "0x30002"}));
}

TEST_F(Catalogue, AClosedCatalogueCannotBeCountedButHasNothingToDelete) {
  EXPECT_EQ(mdb::CatalogClose(&volume), MDbStatusOk);
  seam::PlatformSeam seam;
  uint16_t count = 99;
  EXPECT_EQ(mdb::CatalogCount(volume, ObjectKind::Schema, &count), MDbStatusFailed);
  EXPECT_EQ(mdb::CatalogDeleteAll(volume, ObjectKind::Schema), MDbStatusOk);
  EXPECT_TRUE(seam.calls().empty());
}

// ---- writing

TEST_F(Catalogue, AWriteIsThePayloadThenTheKeyAndAnExistingKeyIsOverwritten) {
  seam::PlatformSeam seam;
  Put(ObjectKind::Schema, 2, 5);
  Put(ObjectKind::Schema, 2, 6);
  EXPECT_EQ(seam.StoreTexts(), (Lines{Find(0x30002), seam::Write("0", "0x20013=5, 0x10013=0x30002"), Find(0x30002),
                                      seam::Write("#1", "0x20013=6, 0x10013=0x30002")}));
  EXPECT_EQ(Keys(), (Lines{"0x30002"}));
}

TEST_F(Catalogue, ObjectsLieInKeyOrderWhateverTheOrderOfWriting) {
  Put(ObjectKind::Integrity, 0, 1);
  Put(ObjectKind::FieldOption, 1, 1);
  Put(ObjectKind::Schema, 0xFFFF, 1);
  Put(ObjectKind::Schema, 0, 1);
  Put(ObjectKind::FieldOption, 0, 1);
  EXPECT_EQ(Keys(), (Lines{"0", "1", "0x30000", "0x3FFFF", "0x60000"}));
}

// ---- counters and header

TEST_F(Catalogue, ACounterIsWrittenAsValueThenKeyAndReadWithoutAProbe) {
  seam::PlatformSeam seam;
  EXPECT_EQ(mdb::CatalogWriteSeq(volume, 1, 5), MDbStatusOk);
  uint32_t value = 0;
  EXPECT_EQ(mdb::CatalogReadSeq(volume, 1, &value), MDbStatusOk);
  EXPECT_EQ(value, 5u);
  EXPECT_EQ(seam.Texts(), (Lines{Find(0x40001), seam::Write("0", "0x20013=5, 0x10013=0x40001"), Find(0x40001),
                                 seam::Read("0x20013", seam::kPropertyHeader)}));
}

TEST_F(Catalogue, ACounterThatIsMissingOrCannotBeReadIsAFailure) {
  uint32_t value = 77;
  EXPECT_EQ(mdb::CatalogReadSeq(volume, 0, &value), MDbStatusFailed);
  EXPECT_EQ(mdb::CatalogWriteSeq(volume, 0, 1), MDbStatusOk);
  seam::PlatformSeam seam;
  seam.Fail("CeReadRecordPropsEx");
  EXPECT_EQ(mdb::CatalogReadSeq(volume, 0, &value), MDbStatusFailed);
  EXPECT_EQ(value, 77u);
}

TEST_F(Catalogue, CountersAndHeaderNeedAnOpenCatalogue) {
  EXPECT_EQ(mdb::CatalogClose(&volume), MDbStatusOk);
  seam::PlatformSeam seam;
  uint32_t value = 77;
  mdb::VolumeHeader header{};
  EXPECT_EQ(mdb::CatalogReadSeq(volume, 0, &value), MDbStatusFailed);
  EXPECT_EQ(mdb::CatalogWriteSeq(volume, 0, 1), MDbStatusFailed);
  EXPECT_EQ(mdb::CatalogReadHeader(volume, &header), MDbStatusFailed);
  EXPECT_EQ(mdb::CatalogWriteHeader(volume, header), MDbStatusFailed);
  EXPECT_TRUE(seam.calls().empty());
}

TEST_F(Catalogue, TheHeaderIsOneBlobOfEightBytes) {
  seam::PlatformSeam seam;
  EXPECT_EQ(mdb::CatalogWriteHeader(volume, {0x04030201, 0x0605, 0x0807}), MDbStatusOk);
  EXPECT_EQ(seam.Texts(),
            (Lines{Find(0x50000), seam::Write("#1", "0x30041={01 02 03 04 05 06 07 08}, 0x10013=0x50000")}));
  seam.Clear();
  mdb::VolumeHeader header{};
  EXPECT_EQ(mdb::CatalogReadHeader(volume, &header), MDbStatusOk);
  EXPECT_EQ(header.magic, 0x04030201u);
  EXPECT_EQ(header.major_version, 0x0605);
  EXPECT_EQ(header.minor_version, 0x0807);
  EXPECT_EQ(seam.Texts(), seam::Join({{Find(0x50000)}, seam::ProbedRead("0x30041", seam::kPropertyHeader + 8)}));
}

// ---- the probe

TEST_F(Catalogue, AProbeMustFailForWantOfABuffer) {
  const CEPROPID ids[] = {0x30041};
  const struct {
    const char* why;
    seam::Answer answer;
  } kRows[] = {
      {"it fails for another reason", {0, ERROR_KEY_DELETED}},
      {"none of the properties is there", {0, ERROR_NO_DATA}},
      {"it succeeds", {1, 0}},
  };
  for (const auto& row : kRows) {
    CEOID oid = 0;
    ASSERT_EQ(mdb::CatalogFind(volume, ObjectKind::Header, 0, &oid), MDbStatusOk);
    seam::PlatformSeam seam;
    seam.Replace("CeReadRecordPropsEx", 0, row.answer);
    uint32_t size = 77;
    EXPECT_EQ(mdb::ProbePropSize(volume.catalog.handle, ids, &size), MDbStatusFailed) << row.why;
  }
  CEOID oid = 0;
  ASSERT_EQ(mdb::CatalogFind(volume, ObjectKind::Header, 0, &oid), MDbStatusOk);
  uint32_t size = 0;
  EXPECT_EQ(mdb::ProbePropSize(volume.catalog.handle, ids, &size), MDbStatusOk);
  EXPECT_EQ(size, seam::kPropertyHeader + 8);
}

}  // namespace
