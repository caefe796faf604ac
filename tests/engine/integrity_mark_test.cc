// The integrity mark: one value that the client writes and that has to be 1 for the database to open.
#include "engine_fixture.h"
#include "seam_lines.h"
#include "volume_snapshot.h"

namespace {

using seam::Find;
using seam::Lines;

class IntegrityMark : public enginetest::EngineTest {
 protected:
  IntegrityMark() {
    MDbRefInitialize(&volume);
    EXPECT_EQ(MDbCreate(&env, path.c_str(), &volume), MDbStatusOk);
  }
  ~IntegrityMark() override {
    if (volume.opened != 0) {
      EXPECT_EQ(MDbClose(&env, &volume), MDbStatusOk);
    }
  }

  size_t Objects() const {
    size_t count = 0;
    for (const std::string& record : seam::RecordsOf(volume.volume, u"OBJG_0")) {
      count += record.find("0x10013=0x60000") != std::string::npos;
    }
    return count;
  }

  MDbRef volume;
};

TEST_F(IntegrityMark, OneIsAcceptedAndEveryOtherValueIsAMismatch) {
  const struct {
    uint32_t value;
    MDbStatus status;
  } kRows[] = {{1, MDbStatusOk},
               {0, MDbStatusChecksumMismatch},
               {2, MDbStatusChecksumMismatch},
               {0xFFFFFFFF, MDbStatusChecksumMismatch},
               {0x10001, MDbStatusChecksumMismatch}};
  for (const auto& row : kRows) {
    EXPECT_EQ(MDbWriteChecksome(&env, &volume, row.value), MDbStatusOk) << row.value;
    EXPECT_EQ(MDbVerifyChecksome(&env, &volume), row.status) << row.value;
  }
}

TEST_F(IntegrityMark, ASecondWriteReplacesTheValueAndAddsNoObject) {
  EXPECT_EQ(Objects(), 0u);
  EXPECT_EQ(MDbWriteChecksome(&env, &volume, 0), MDbStatusOk);
  EXPECT_EQ(Objects(), 1u);
  EXPECT_EQ(MDbWriteChecksome(&env, &volume, 1), MDbStatusOk);
  EXPECT_EQ(Objects(), 1u);
  EXPECT_EQ(MDbVerifyChecksome(&env, &volume), MDbStatusOk);
}

TEST_F(IntegrityMark, ANewDatabaseHasNone) { EXPECT_EQ(MDbVerifyChecksome(&env, &volume), MDbStatusFailed); }

TEST_F(IntegrityMark, TheFirstWriteAddsARecordOfValueThenKeyAndTheNextOneFindsIt) {
  seam::PlatformSeam seam;
  EXPECT_EQ(MDbWriteChecksome(&env, &volume, 1), MDbStatusOk);
  EXPECT_EQ(MDbWriteChecksome(&env, &volume, 2), MDbStatusOk);
  EXPECT_EQ(seam.Texts(), (Lines{Find(0x60000), seam::Write("0", "0x40013=1, 0x10013=0x60000"), Find(0x60000),
                                 seam::Write("#1", "0x40013=2, 0x10013=0x60000")}));
}

TEST_F(IntegrityMark, VerifyingFindsTheObjectAndReadsItOnceWithoutAProbe) {
  EXPECT_EQ(MDbWriteChecksome(&env, &volume, 1), MDbStatusOk);
  seam::PlatformSeam seam;
  EXPECT_EQ(MDbVerifyChecksome(&env, &volume), MDbStatusOk);
  EXPECT_EQ(seam.Texts(), (Lines{Find(0x60000), seam::Read("0x40013", seam::kPropertyHeader)}));
}

TEST_F(IntegrityMark, AMissingObjectIsNotRead) {
  seam::PlatformSeam seam;
  EXPECT_EQ(MDbVerifyChecksome(&env, &volume), MDbStatusFailed);
  EXPECT_EQ(seam.Texts(), (Lines{Find(0x60000)}));
}

TEST_F(IntegrityMark, AFailedReadIsAFailureAndNoMismatch) {
  EXPECT_EQ(MDbWriteChecksome(&env, &volume, 2), MDbStatusOk);
  seam::PlatformSeam seam;
  seam.Fail("CeReadRecordPropsEx");
  EXPECT_EQ(MDbVerifyChecksome(&env, &volume), MDbStatusFailed);
}

TEST_F(IntegrityMark, AFailedWriteIsAFailure) {
  seam::PlatformSeam seam;
  seam.Fail("CeWriteRecordProps");
  EXPECT_EQ(MDbWriteChecksome(&env, &volume, 1), MDbStatusFailed);
}

TEST_F(IntegrityMark, AClosedReferenceIsRefusedWithoutAPlatformCall) {
  EXPECT_EQ(MDbClose(&env, &volume), MDbStatusOk);
  seam::PlatformSeam seam;
  EXPECT_EQ(MDbVerifyChecksome(&env, &volume), MDbStatusFailed);
  EXPECT_EQ(MDbWriteChecksome(&env, &volume, 1), MDbStatusFailed);
  EXPECT_TRUE(seam.calls().empty());
}

TEST_F(IntegrityMark, AnOpenReferenceWithAClosedCatalogueIsRefusedWithoutAPlatformCall) {
  const uint32_t open = std::exchange(volume.catalog.isOpen, 0);
  {
    seam::PlatformSeam seam;
    EXPECT_EQ(MDbVerifyChecksome(&env, &volume), MDbStatusFailed);
    EXPECT_EQ(MDbWriteChecksome(&env, &volume, 1), MDbStatusFailed);
    EXPECT_TRUE(seam.calls().empty());
  }
  volume.catalog.isOpen = open;
}

TEST_F(IntegrityMark, AReferenceNotYetOpenedIsRefusedThoughItsCatalogueIsOpen) {
  volume.opened = 0;
  {
    seam::PlatformSeam seam;
    EXPECT_EQ(MDbVerifyChecksome(&env, &volume), MDbStatusFailed);
    EXPECT_EQ(MDbWriteChecksome(&env, &volume, 1), MDbStatusFailed);
    EXPECT_TRUE(seam.calls().empty());
  }
  volume.opened = 1;
}

}  // namespace
