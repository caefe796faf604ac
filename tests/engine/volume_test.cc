// One database file: created, opened, closed and deleted.
#include <array>
#include <fstream>

#include "engine_fixture.h"
#include "seam_lines.h"
#include "volume_snapshot.h"

namespace {

using seam::Find;
using seam::Lines;

constexpr size_t kHeaderRead = seam::kPropertyHeader + 8;
const char* const kWriteHeader = "0x30041={54 52 46 43 02 00 01 00}, 0x10013=0x50000";
const char* const kCreateCatalogue =
    "CeCreateDatabaseEx(vol1, flags=7, name=\"OBJG_0\", type=0x4F424A47, sorts=[0x10013:0])";
const char* const kOpenCatalogue = "CeOpenDatabaseEx(vol1, oid=0, name=\"OBJG_0\", sort=0x10013, flags=0, null)";

class Volume : public enginetest::EngineTest {
 protected:
  Volume() { MDbRefInitialize(&volume); }

  std::string Mount(const char* disposition) const {
    return "CeMountDBVol(\"" + seam::ToUtf8Path(path) + "\", " + disposition + ")";
  }
  void Create() {
    ASSERT_EQ(MDbCreate(&env, path.c_str(), &volume), MDbStatusOk);
    ASSERT_EQ(MDbClose(&env, &volume), MDbStatusOk);
  }
  // Puts other bytes in place of the header's eight; an empty array takes the header away.
  void ReplaceHeader(std::vector<uint8_t> bytes) {
    const seam::Unseen unseen;
    CEGUID guid;
    ASSERT_TRUE(CeMountDBVol(&guid, path.c_str(), OPEN_EXISTING));
    CEOID oid = 0;
    const HANDLE catalogue = CeOpenDatabaseEx(&guid, &oid, u"OBJG_0", 0x10013, 0, nullptr);
    CEPROPVAL key{};
    key.propid = 0x10013;
    key.val.ulVal = 0x50000;
    const CEOID header =
        CeSeekDatabase(catalogue, CEDB_SEEK_VALUEFIRSTEQUAL, reinterpret_cast<DWORD_PTR>(&key), nullptr);
    ASSERT_NE(header, 0u);
    if (bytes.empty()) {
      ASSERT_TRUE(CeDeleteRecord(catalogue, header));
    } else {
      CEPROPVAL blob{};
      blob.propid = 0x30041;
      blob.val.blob = {static_cast<DWORD>(bytes.size()), bytes.data()};
      ASSERT_EQ(CeWriteRecordProps(catalogue, header, 1, &blob), header);
    }
    CloseHandle(catalogue);
    ASSERT_TRUE(CeUnmountDBVol(&guid));
  }
  // Lets go of a volume that a failed creation left mounted, its file undeleted.
  void UnmountLeftBehind() {
    EXPECT_EQ(seam::LiveMounts(), 1u);
    EXPECT_TRUE(std::filesystem::exists(path)) << "a mounted file is not deleted";
    EXPECT_TRUE(CeUnmountDBVol(&volume.volume));
  }

  MDbRef volume;
};

// ---- creating

TEST_F(Volume, CreatingMountsANewFileMakesTheCatalogueAndWritesTheHeader) {
  seam::PlatformSeam seam;
  EXPECT_EQ(MDbCreate(&env, path.c_str(), &volume), MDbStatusOk);
  EXPECT_EQ(seam.Texts(), (Lines{Mount("CREATE_NEW"), kCreateCatalogue, kOpenCatalogue, Find(0x50000),
                                 seam::Write("0", kWriteHeader)}));
  EXPECT_EQ(volume.opened, 1);
  EXPECT_EQ(volume.catalog.isOpen, 1u);
  EXPECT_NE(volume.catalog.oid, 0u);
  EXPECT_EQ(MDbClose(&env, &volume), MDbStatusOk);
}

TEST_F(Volume, ANewFileHoldsTheCatalogueAndItsHeaderAlone) {
  Create();
  EXPECT_EQ(seam::SnapshotOfFile(path), (Lines{"OBJG_0 name=\"OBJG_0\", type=0x4F424A47, sorts=[0x10013:0]",
                                               std::string("OBJG_0 [") + kWriteHeader + "]"}));
}

TEST_F(Volume, CreatingResetsTheCatalogueRecordFirst) {
  volume.catalog.name[0] = u'X';
  volume.catalog.oid = 77;
  volume.catalog.isOpen = 1;
  EXPECT_EQ(MDbCreate(&env, path.c_str(), &volume), MDbStatusOk);
  EXPECT_EQ(std::u16string(volume.catalog.name), u"OBJG_0");
  EXPECT_EQ(MDbClose(&env, &volume), MDbStatusOk);
}

TEST_F(Volume, AFileThatExistsIsNotCreatedAndNothingElseIsDone) {
  Create();
  volume.catalog.oid = 77;
  const Lines before = seam::SnapshotOfFile(path);
  seam::PlatformSeam seam;
  EXPECT_EQ(MDbCreate(&env, path.c_str(), &volume), MDbStatusFailed);
  EXPECT_EQ(seam.StoreTexts(), (Lines{Mount("CREATE_NEW")}));
  EXPECT_EQ(volume.opened, 0);
  EXPECT_EQ(volume.catalog.oid, 77u) << "the catalogue record is reset only after the mount";
  EXPECT_EQ(seam::SnapshotOfFile(path), before);
}

TEST_F(Volume, AFailedCreationAsksForTheDeletionOfAFileThatIsStillMounted) {
  const std::string delete_file = "DeleteFileW(\"" + seam::ToUtf8Path(path) + "\")";
  const struct {
    const char* failing;
    Lines calls;
  } kRows[] = {
      {"CeCreateDatabaseEx", {Mount("CREATE_NEW"), kCreateCatalogue, delete_file}},
      {"CeWriteRecordProps",
       {Mount("CREATE_NEW"), kCreateCatalogue, kOpenCatalogue, Find(0x50000), seam::Write("0", kWriteHeader),
        delete_file}},
  };
  for (const auto& row : kRows) {
    {
      seam::PlatformSeam seam;
      seam.Fail(row.failing);
      EXPECT_EQ(MDbCreate(&env, path.c_str(), &volume), MDbStatusFailed) << row.failing;
      EXPECT_EQ(seam.StoreTexts(), row.calls) << row.failing << ": nothing is closed and nothing unmounted";
    }
    EXPECT_EQ(volume.opened, 0) << row.failing;
    UnmountLeftBehind();
    std::filesystem::remove(path);
  }
}

TEST_F(Volume, ACatalogueHandleOfZeroFailsTheCreation) {
  {
    seam::PlatformSeam seam;
    seam.Replace("CeOpenDatabaseEx", 0, {0, ERROR_OUTOFMEMORY});
    EXPECT_EQ(MDbCreate(&env, path.c_str(), &volume), MDbStatusFailed);
    EXPECT_EQ(seam.StoreTexts(), (Lines{Mount("CREATE_NEW"), kCreateCatalogue, kOpenCatalogue,
                                        "DeleteFileW(\"" + seam::ToUtf8Path(path) + "\")"}));
  }
  EXPECT_EQ(volume.opened, 0);
  UnmountLeftBehind();
}

// The platform's own failure value is not the one that opening the catalogue tests for; the write that follows fails.
TEST_F(Volume, ACatalogueThatThePlatformRefusesToOpenFailsTheCreationAtTheHeader) {
  {
    seam::PlatformSeam seam;
    seam.Fail("CeOpenDatabaseEx");
    EXPECT_EQ(MDbCreate(&env, path.c_str(), &volume), MDbStatusFailed);
    EXPECT_EQ(seam.CountOf("CeUnmountDBVol"), 0u);
    EXPECT_EQ(seam.CountOf("DeleteFileW"), 1u);
  }
  EXPECT_EQ(volume.opened, 0);
  UnmountLeftBehind();
}

// ---- opening

TEST_F(Volume, OpeningMountsAnExistingFileAndReadsItsHeader) {
  Create();
  seam::PlatformSeam seam;
  EXPECT_EQ(MDbOpen(&env, path.c_str(), &volume), MDbStatusOk);
  EXPECT_EQ(seam.Texts(), seam::Join({{Mount("OPEN_EXISTING"), kOpenCatalogue, Find(0x50000)},
                                      seam::ProbedRead("0x30041", kHeaderRead)}));
  EXPECT_EQ(volume.opened, 1);
  EXPECT_EQ(MDbClose(&env, &volume), MDbStatusOk);
}

TEST_F(Volume, AMissingOrForeignFileCannotBeOpened) {
  EXPECT_EQ(MDbOpen(&env, path.c_str(), &volume), MDbStatusCannotOpen);
  EXPECT_EQ(volume.opened, 0);
  std::ofstream(folder.path() / "text.xdb") << "this is no volume";
  EXPECT_EQ(MDbOpen(&env, (folder / u"text.xdb").c_str(), &volume), MDbStatusCannotOpen);
  EXPECT_EQ(volume.opened, 0);
}

TEST_F(Volume, AFailedMountIsNotFollowedByAnyOtherCall) {
  volume.opened = 1;
  seam::PlatformSeam seam;
  seam.Fail("CeMountDBVol");
  EXPECT_EQ(MDbOpen(&env, path.c_str(), &volume), MDbStatusCannotOpen);
  EXPECT_EQ(seam.StoreTexts(), (Lines{Mount("OPEN_EXISTING")}));
  EXPECT_EQ(volume.opened, 0);
}

TEST_F(Volume, ACatalogueThatDoesNotOpenIsUnmountedAgain) {
  Create();
  seam::PlatformSeam seam;
  seam.Replace("CeOpenDatabaseEx", 0, {0, ERROR_OUTOFMEMORY});
  EXPECT_EQ(MDbOpen(&env, path.c_str(), &volume), MDbStatusCannotOpen);
  EXPECT_EQ(seam.StoreTexts(), (Lines{Mount("OPEN_EXISTING"), kOpenCatalogue, "CeUnmountDBVol(vol1)"}));
  EXPECT_EQ(volume.opened, 0);
}

// Another program's volume mounts but has no catalogue. What the platform answers to that is not the value that opening
// the catalogue tests for, so the header is what is found missing and the volume stays mounted. Once closed, the
// reference must be as good as new.
TEST_F(Volume, AMountedVolumeWithoutACatalogueCannotBeOpened) {
  const std::u16string foreign = folder / u"foreign.xdb";
  CEGUID guid;
  ASSERT_TRUE(CeMountDBVol(&guid, foreign.c_str(), CREATE_NEW));
  ASSERT_TRUE(CeUnmountDBVol(&guid));
  Create();
  EXPECT_EQ(MDbOpen(&env, foreign.c_str(), &volume), MDbStatusCannotOpen);
  EXPECT_EQ(volume.opened, 1);
  EXPECT_EQ(MDbClose(&env, &volume), MDbStatusOk);
  EXPECT_EQ(seam::LiveMounts(), 0u);
  EXPECT_EQ(volume.opened, 0);
  EXPECT_EQ(volume.catalog.isOpen, 0u);
  EXPECT_EQ(MDbOpen(&env, path.c_str(), &volume), MDbStatusOk);
  EXPECT_EQ(MDbClose(&env, &volume), MDbStatusOk);
}

TEST_F(Volume, AMissingHeaderYieldsSixAndLeavesTheVolumeMounted) {
  Create();
  ReplaceHeader({});
  EXPECT_EQ(MDbOpen(&env, path.c_str(), &volume), MDbStatusCannotOpen);
  EXPECT_EQ(volume.opened, 1);
  EXPECT_EQ(volume.catalog.isOpen, 1u);
  EXPECT_EQ(MDbClose(&env, &volume), MDbStatusOk);
}

TEST_F(Volume, AHeaderThatIsNotOursYieldsFiveAndLeavesTheVolumeMounted) {
  Create();
  const struct {
    const char* why;
    std::vector<uint8_t> header;
    MDbStatus status;
  } kRows[] = {
      {"version 2.0", {'T', 'R', 'F', 'C', 2, 0, 0, 0}, MDbStatusBadFormat},
      {"version 3.1", {'T', 'R', 'F', 'C', 3, 0, 1, 0}, MDbStatusBadFormat},
      {"version 2.2", {'T', 'R', 'F', 'C', 2, 0, 2, 0}, MDbStatusBadFormat},
      {"version 2.1 with a high byte", {'T', 'R', 'F', 'C', 2, 1, 1, 0}, MDbStatusBadFormat},
      {"another magic", {'T', 'R', 'F', 'D', 2, 0, 1, 0}, MDbStatusBadFormat},
      {"the magic the other way round", {'C', 'F', 'R', 'T', 2, 0, 1, 0}, MDbStatusBadFormat},
      {"only zeros", {0, 0, 0, 0, 0, 0, 0, 0}, MDbStatusBadFormat},
      {"ours", {'T', 'R', 'F', 'C', 2, 0, 1, 0}, MDbStatusOk},
      {"ours with more behind it", {'T', 'R', 'F', 'C', 2, 0, 1, 0, 9, 9}, MDbStatusOk},
  };
  for (const auto& row : kRows) {
    ReplaceHeader(row.header);
    EXPECT_EQ(MDbOpen(&env, path.c_str(), &volume), row.status) << row.why;
    EXPECT_EQ(volume.opened, 1) << row.why;
    EXPECT_EQ(MDbClose(&env, &volume), MDbStatusOk) << row.why;
  }
}

TEST_F(Volume, AHeaderOfTooFewBytesIsNotOurs) {
  Create();
  ReplaceHeader({'T', 'R', 'F', 'C'});
  EXPECT_EQ(MDbOpen(&env, path.c_str(), &volume), MDbStatusBadFormat);
  EXPECT_EQ(MDbClose(&env, &volume), MDbStatusOk);
}

TEST_F(Volume, AHeaderThatCannotBeProbedYieldsSixAndOneThatCannotBeReadFive) {
  Create();
  const struct {
    const char* failing;
    size_t n;
    MDbStatus status;
  } kRows[] = {
      {"CeSeekDatabase", 0, MDbStatusCannotOpen},
      {"CeReadRecordPropsEx", 0, MDbStatusCannotOpen},
      {"LocalAlloc", 0, MDbStatusBadFormat},
      {"CeReadRecordPropsEx", 1, MDbStatusBadFormat},
  };
  for (const auto& row : kRows) {
    {
      seam::PlatformSeam seam;
      seam.Fail(row.failing, row.n);
      EXPECT_EQ(MDbOpen(&env, path.c_str(), &volume), row.status) << row.failing << " " << row.n;
    }
    EXPECT_EQ(volume.opened, 1) << row.failing << " " << row.n;
    EXPECT_EQ(MDbClose(&env, &volume), MDbStatusOk) << row.failing << " " << row.n;
  }
}

TEST_F(Volume, TheNewVolumeIdentifierIsWhatEveryLaterCallPasses) {
  Create();
  EXPECT_EQ(MDbOpen(&env, path.c_str(), &volume), MDbStatusOk);
  seam::PlatformSeam seam;
  EXPECT_EQ(MDbDataTblCreate(&env, &volume, nullptr), MDbStatusOk);
  EXPECT_EQ(MDbClose(&env, &volume), MDbStatusOk);
  for (const seam::Call& call : seam.CallsOf("CeCreateDatabaseEx")) EXPECT_EQ(call.text.find("(vol1, "), 18u);
  EXPECT_EQ(seam.CountOf("CeCreateDatabaseEx"), 2u);
}

// ---- closing

TEST_F(Volume, ClosingClosesTheCatalogueAndThenUnmounts) {
  EXPECT_EQ(MDbCreate(&env, path.c_str(), &volume), MDbStatusOk);
  seam::PlatformSeam seam;
  EXPECT_EQ(MDbClose(&env, &volume), MDbStatusOk);
  EXPECT_EQ(seam.Texts(), (Lines{"CloseHandle(OBJG_0)", "CeUnmountDBVol(vol1)"}));
  EXPECT_EQ(volume.opened, 0);
  EXPECT_EQ(volume.catalog.isOpen, 0u);
  EXPECT_EQ(volume.catalog.oid, 0u);
}

TEST_F(Volume, ClosingAClosedReferenceMakesNoPlatformCall) {
  seam::PlatformSeam seam;
  EXPECT_EQ(MDbClose(&env, &volume), MDbStatusFailed);
  EXPECT_TRUE(seam.calls().empty());
}

TEST_F(Volume, ACatalogueThatDoesNotCloseDoesNotKeepTheVolumeMounted) {
  EXPECT_EQ(MDbCreate(&env, path.c_str(), &volume), MDbStatusOk);
  seam::PlatformSeam seam;
  seam.Fail("CloseHandle");
  EXPECT_EQ(MDbClose(&env, &volume), MDbStatusOk);
  EXPECT_EQ(volume.opened, 0);
  EXPECT_EQ(volume.catalog.isOpen, 0u) << "its handle went with the volume";
  seam.Disarm();
  EXPECT_EQ(MDbOpen(&env, path.c_str(), &volume), MDbStatusOk);
  EXPECT_EQ(MDbClose(&env, &volume), MDbStatusOk);
}

TEST_F(Volume, AFailedUnmountLeavesTheReferenceOpenAndItCanBeTriedAgain) {
  EXPECT_EQ(MDbCreate(&env, path.c_str(), &volume), MDbStatusOk);
  {
    seam::PlatformSeam seam;
    seam.Fail("CeUnmountDBVol");
    EXPECT_EQ(MDbClose(&env, &volume), MDbStatusFailed);
  }
  EXPECT_EQ(volume.opened, 1);
  seam::PlatformSeam seam;
  EXPECT_EQ(MDbClose(&env, &volume), MDbStatusOk);
  EXPECT_EQ(seam.Texts(), (Lines{"CeUnmountDBVol(vol1)"}));
}

TEST_F(Volume, TwoReferencesToOneFileAreClosedEachForItself) {
  Create();
  MDbRef second;
  MDbRefInitialize(&second);
  EXPECT_EQ(MDbOpen(&env, path.c_str(), &volume), MDbStatusOk);
  EXPECT_EQ(MDbOpen(&env, path.c_str(), &second), MDbStatusOk);
  EXPECT_EQ(MDbClose(&env, &volume), MDbStatusOk);
  EXPECT_EQ(MDbWriteChecksome(&env, &second, 1), MDbStatusOk);
  EXPECT_EQ(MDbClose(&env, &second), MDbStatusOk);
  EXPECT_EQ(seam::LiveMounts(), 0u);
}

// ---- deleting

TEST_F(Volume, DeletingRemovesTheFile) {
  Create();
  seam::PlatformSeam seam;
  EXPECT_EQ(MDbDelete(&env, path.c_str()), MDbStatusOk);
  EXPECT_EQ(seam.Texts(), (Lines{"DeleteFileW(\"" + seam::ToUtf8Path(path) + "\")"}));
  EXPECT_FALSE(std::filesystem::exists(path));
  EXPECT_EQ(MDbDelete(&env, path.c_str()), MDbStatusFailed) << "it is gone";
}

TEST_F(Volume, AFailedDeletionIsAFailure) {
  Create();
  seam::PlatformSeam seam;
  seam.Fail("DeleteFileW");
  EXPECT_EQ(MDbDelete(&env, path.c_str()), MDbStatusFailed);
}

}  // namespace
