// Mounting, unmounting and flushing volumes: what each disposition makes of a file that is there or missing, how mounts
// of one file are counted, and what becomes of handles when the last mount goes.
#include <filesystem>
#include <fstream>
#include <iterator>

#include "store_test.h"

namespace {

namespace fs = std::filesystem;

std::string Contents(const fs::path& file) {
  std::ifstream in(file, std::ios::binary);
  return std::string(std::istreambuf_iterator<char>(in), {});
}

// Starts without any volume: each test mounts its own.
class Volumes : public StoreTest {
 protected:
  void SetUp() override {}

  BOOL TryMount(DWORD disposition) {
    SetLastError(kUntouched);
    BOOL done = CeMountDBVol(&volume_, Path().c_str(), disposition);
    mounted_ = mounted_ || done;
    return done;
  }
  void MakeVolumeWithADatabase() {
    Mount(CREATE_NEW);
    ASSERT_NE(CreateDatabase(volume_, u"kept"), 0u);
  }
};

struct Disposition {
  const char* why;
  DWORD disposition;
  bool exists;
  BOOL mounts;
  DWORD error;
  size_t databases;  // after the call, when it mounts
};

const Disposition kDispositions[] = {
    {"CREATE_NEW refuses a file that exists", CREATE_NEW, true, FALSE, ERROR_ALREADY_EXISTS, 0},
    {"CREATE_NEW makes a missing file", CREATE_NEW, false, TRUE, 0, 0},
    {"CREATE_ALWAYS replaces a file by an empty volume", CREATE_ALWAYS, true, TRUE, ERROR_ALREADY_EXISTS, 0},
    {"CREATE_ALWAYS makes a missing file", CREATE_ALWAYS, false, TRUE, 0, 0},
    {"OPEN_EXISTING opens a file", OPEN_EXISTING, true, TRUE, 0, 1},
    {"OPEN_EXISTING needs a file", OPEN_EXISTING, false, FALSE, ERROR_FILE_NOT_FOUND, 0},
    {"OPEN_ALWAYS opens a file and says that it was there", OPEN_ALWAYS, true, TRUE, ERROR_ALREADY_EXISTS, 1},
    {"OPEN_ALWAYS makes a missing file", OPEN_ALWAYS, false, TRUE, 0, 0},
    {"TRUNCATE_EXISTING empties a file", TRUNCATE_EXISTING, true, TRUE, 0, 0},
    {"TRUNCATE_EXISTING needs a file", TRUNCATE_EXISTING, false, FALSE, ERROR_FILE_NOT_FOUND, 0},
};

class VolumeDisposition : public Volumes, public testing::WithParamInterface<Disposition> {};

TEST_P(VolumeDisposition, DecidesWhatBecomesOfTheFile) {
  const Disposition& row = GetParam();
  SCOPED_TRACE(row.why);
  if (row.exists) {
    MakeVolumeWithADatabase();
    Unmount();
  }
  EXPECT_EQ(TryMount(row.disposition), row.mounts);
  EXPECT_EQ(GetLastError(), row.error);
  if (row.mounts) {
    EXPECT_EQ(DatabaseNames(volume_).size(), row.databases);
  }
  if (!row.mounts && row.exists) {
    Mount(OPEN_EXISTING);
    EXPECT_EQ(DatabaseNames(volume_).size(), 1u) << "a refused mount changed the file";
  }
  if (!row.mounts && !row.exists) {
    EXPECT_TRUE(fs::is_empty(directory_.path())) << "a refused mount left a file";
  }
}

INSTANTIATE_TEST_SUITE_P(Table, VolumeDisposition, testing::ValuesIn(kDispositions));

TEST_F(Volumes, EmptiedVolumeStaysEmptyAfterItsUnmount) {
  for (DWORD disposition : {CREATE_ALWAYS, TRUNCATE_EXISTING}) {
    Mount(OPEN_ALWAYS);
    CreateDatabase(volume_, u"gone");
    Unmount();
    Mount(disposition);
    Unmount();
    Mount(OPEN_EXISTING);
    EXPECT_TRUE(DatabaseNames(volume_).empty()) << "disposition " << disposition;
    Unmount();
  }
}

TEST_F(Volumes, MissingDirectoryIsAPathThatIsNotFound) {
  std::u16string path = directory_ / u"missing/volume.cdb";
  for (DWORD disposition = CREATE_NEW; disposition <= TRUNCATE_EXISTING; disposition++) {
    SCOPED_TRACE(disposition);
    EXPECT_REFUSED(CeMountDBVol(&volume_, path.c_str(), disposition), ERROR_PATH_NOT_FOUND);
  }
}

TEST_F(Volumes, MountRefusesArgumentsThatNameNothing) {
  EXPECT_REFUSED(CeMountDBVol(nullptr, Path().c_str(), CREATE_NEW), ERROR_INVALID_PARAMETER);
  EXPECT_REFUSED(CeMountDBVol(&volume_, nullptr, CREATE_NEW), ERROR_INVALID_PARAMETER);
  for (DWORD disposition : {DWORD{0}, DWORD{6}, DWORD{0xFFFFFFFF}}) {
    EXPECT_REFUSED(CeMountDBVol(&volume_, Path().c_str(), disposition), ERROR_INVALID_PARAMETER);
  }
  EXPECT_TRUE(fs::is_empty(directory_.path()));
}

TEST_F(Volumes, PathHolds259CharactersAndNotOneMore) {
  std::u16string path = directory_.path().u16string();
  while (path.size() < 140) {
    path += u"/folder-of-a-long-path";
    fs::create_directory(path);
  }
  path += u'/' + std::u16string(258 - path.size(), u'v');
  ASSERT_EQ(path.size(), 259u);
  EXPECT_REFUSED(CeMountDBVol(&volume_, (path + u'v').c_str(), CREATE_NEW), ERROR_INVALID_PARAMETER);
  EXPECT_FALSE(fs::exists(path + u'v'));
  EXPECT_EQ(CeMountDBVol(&volume_, path.c_str(), CREATE_NEW), TRUE) << GetLastError();
  EXPECT_TRUE(fs::exists(path));
  EXPECT_EQ(CeUnmountDBVol(&volume_), TRUE);
}

TEST_F(Volumes, PathMayHoldAnyCharacter) {
  std::u16string path = directory_.path().u16string() + u"/größe \U0001F4D6.cdb";
  ASSERT_EQ(CeMountDBVol(&volume_, path.c_str(), CREATE_NEW), TRUE) << GetLastError();
  EXPECT_EQ(CeUnmountDBVol(&volume_), TRUE);
  EXPECT_TRUE(fs::exists(fs::path(path)));
}

TEST_F(Volumes, PathThatIsNotValidTextCannotBeMounted) {
  std::u16string path = directory_ / u"volume" + char16_t{0xD800} + u".cdb";
  EXPECT_EQ(CeMountDBVol(&volume_, path.c_str(), CREATE_NEW), FALSE);
  EXPECT_TRUE(fs::is_empty(directory_.path()));
}

TEST_F(Volumes, FileOfAnotherKindIsCorruptAndStaysAsItIs) {
  const struct {
    const char* why;
    std::string contents;
  } kFiles[] = {
      {"text", "this is no volume, but it is longer than any header would be: " + std::string(4096, 'x')},
      {"zeros", std::string(8192, '\0')},
      {"a short text", "abc"},
      {"the magic of a database file and then nonsense", std::string("SQLite format 3\0", 16) + std::string(4080, 'q')},
  };
  for (const auto& row : kFiles) {
    SCOPED_TRACE(row.why);
    fs::path file = directory_.path() / "volume.cdb";
    std::ofstream(file, std::ios::binary) << row.contents;
    for (DWORD disposition : {OPEN_EXISTING, OPEN_ALWAYS}) {
      EXPECT_REFUSED(CeMountDBVol(&volume_, Path().c_str(), disposition), ERROR_FILE_CORRUPT);
      EXPECT_EQ(Contents(file), row.contents);
    }
    EXPECT_REFUSED(CeMountDBVol(&volume_, Path().c_str(), CREATE_NEW), ERROR_ALREADY_EXISTS);
    EXPECT_EQ(Contents(file), row.contents);
  }
}

TEST_F(Volumes, FileOfAnotherKindIsReplacedWhenTheClientAsksForThat) {
  for (DWORD disposition : {CREATE_ALWAYS, TRUNCATE_EXISTING}) {
    std::ofstream(directory_.path() / "volume.cdb", std::ios::binary) << "this is no volume";
    Mount(disposition);
    EXPECT_TRUE(DatabaseNames(volume_).empty());
    Remount();
    Unmount();
  }
}

TEST_F(Volumes, MountedVolumeHasAGuidOfItsOwn) {
  MakeVolumeWithADatabase();
  EXPECT_FALSE(SameGuid(volume_, kSystemStore));
  EXPECT_FALSE(SameGuid(volume_, kNoVolume));
  CEGUID other = kNoVolume;
  ASSERT_EQ(CeMountDBVol(&other, (directory_ / u"other.cdb").c_str(), CREATE_NEW), TRUE);
  EXPECT_FALSE(SameGuid(volume_, other));
  EXPECT_EQ(CeUnmountDBVol(&other), TRUE);
}

TEST_F(Volumes, WhatTheGuidHeldBeforeTheMountIsIgnored) {
  MakeVolumeWithADatabase();
  CEGUID mounted = volume_;
  for (CEGUID before : {kSystemStore, kNoVolume, kNeverMounted, mounted}) {
    CEGUID other = before;
    ASSERT_EQ(CeMountDBVol(&other, (directory_ / u"other.cdb").c_str(), OPEN_ALWAYS), TRUE);
    EXPECT_FALSE(SameGuid(other, mounted));
    EXPECT_TRUE(DatabaseNames(other).empty());
    EXPECT_EQ(CeUnmountDBVol(&other), TRUE);
  }
}

TEST_F(Volumes, CopyOfAMountedFileIsAVolumeOfItsOwn) {
  MakeVolumeWithADatabase();
  Unmount();
  fs::copy_file(directory_.path() / "volume.cdb", directory_.path() / "copy.cdb");
  Mount();
  CEGUID copy = kNoVolume;
  ASSERT_EQ(CeMountDBVol(&copy, (directory_ / u"copy.cdb").c_str(), OPEN_EXISTING), TRUE);
  EXPECT_FALSE(SameGuid(copy, volume_));
  EXPECT_NE(CreateDatabase(copy, u"only in the copy"), 0u);
  EXPECT_EQ(DatabaseNames(volume_).size(), 1u);
  EXPECT_EQ(CeUnmountDBVol(&copy), TRUE);
}

TEST_F(Volumes, UnmountedVolumeIsOneFileAtRest) {
  MakeVolumeWithADatabase();
  Unmount();
  auto files = std::distance(fs::directory_iterator(directory_.path()), fs::directory_iterator());
  EXPECT_EQ(files, 1);
}

const Disposition kSecondMounts[] = {
    {"CREATE_NEW finds the file", CREATE_NEW, true, FALSE, ERROR_ALREADY_EXISTS, 1},
    {"CREATE_ALWAYS may not replace a mounted volume", CREATE_ALWAYS, true, FALSE, ERROR_ACCESS_DENIED, 1},
    {"OPEN_EXISTING adds a reference", OPEN_EXISTING, true, TRUE, 0, 1},
    {"OPEN_ALWAYS adds a reference", OPEN_ALWAYS, true, TRUE, ERROR_ALREADY_EXISTS, 1},
    {"TRUNCATE_EXISTING may not empty a mounted volume", TRUNCATE_EXISTING, true, FALSE, ERROR_ACCESS_DENIED, 1},
};

class SecondMount : public Volumes, public testing::WithParamInterface<Disposition> {};

TEST_P(SecondMount, SharesTheVolumeOrIsRefused) {
  const Disposition& row = GetParam();
  SCOPED_TRACE(row.why);
  MakeVolumeWithADatabase();
  CEGUID second = kNeverMounted;
  SetLastError(kUntouched);
  EXPECT_EQ(CeMountDBVol(&second, Path().c_str(), row.disposition), row.mounts);
  EXPECT_EQ(GetLastError(), row.error);
  EXPECT_EQ(DatabaseNames(volume_).size(), row.databases);
  if (!row.mounts) return;
  EXPECT_TRUE(SameGuid(second, volume_));
  EXPECT_EQ(CeUnmountDBVol(&second), TRUE);
  EXPECT_EQ(DatabaseNames(volume_).size(), row.databases) << "one of two mounts was undone, the volume must stay";
}

INSTANTIATE_TEST_SUITE_P(Table, SecondMount, testing::ValuesIn(kSecondMounts));

TEST_F(Volumes, OneFileUnderTwoSpellingsOfItsPathIsOneVolume) {
  MakeVolumeWithADatabase();
  fs::create_hard_link(directory_.path() / "volume.cdb", directory_.path() / "second name.cdb");
  fs::create_directory(directory_.path() / "folder");
  fs::create_directory_symlink(directory_.path(), directory_.path() / "folder/up");
  for (const char16_t* spelling :
       {u"./volume.cdb", u"folder/../volume.cdb", u"folder/up/volume.cdb", u"second name.cdb"}) {
    SCOPED_TRACE(fs::path(spelling).string());
    CEGUID second = kNoVolume;
    ASSERT_EQ(CeMountDBVol(&second, (directory_ / spelling).c_str(), OPEN_EXISTING), TRUE) << GetLastError();
    EXPECT_TRUE(SameGuid(second, volume_));
    EXPECT_EQ(CeUnmountDBVol(&second), TRUE);
  }
}

TEST_F(Volumes, SymbolicLinkAndFolderAreNoVolumes) {
  MakeVolumeWithADatabase();
  Unmount();
  fs::create_symlink(directory_.path() / "volume.cdb", directory_.path() / "link.cdb");
  fs::create_directory(directory_.path() / "folder.cdb");
  for (const char16_t* name : {u"link.cdb", u"folder.cdb"}) {
    for (DWORD disposition : {OPEN_EXISTING, OPEN_ALWAYS}) {
      SCOPED_TRACE(fs::path(name).string());
      EXPECT_REFUSED(CeMountDBVol(&volume_, (directory_ / name).c_str(), disposition), ERROR_FILE_CORRUPT);
    }
  }
  Mount(OPEN_EXISTING);
  EXPECT_EQ(DatabaseNames(volume_).size(), 1u);
}

TEST_F(Volumes, OnlyTheLastOfThreeUnmountsClosesTheVolume) {
  MakeVolumeWithADatabase();
  Mount(OPEN_EXISTING);
  Mount(OPEN_EXISTING);
  CEOID database = CreateDatabase(volume_, u"records");
  HANDLE handle = OpenDatabase(volume_, database);
  for (int left = 2; left > 0; left--) {
    SCOPED_TRACE(left);
    EXPECT_EQ(CeUnmountDBVol(&volume_), TRUE);
    EXPECT_NE(Write(handle, 0, {I4(1, left)}), 0u) << "handles live on while the volume is mounted";
  }
  Unmount();
  EXPECT_REFUSED(Write(handle, 0, {I4(1, 0)}), ERROR_INVALID_HANDLE);
  EXPECT_REFUSED(CeUnmountDBVol(&volume_), ERROR_INVALID_PARAMETER);
}

TEST_F(Volumes, UnmountWritesWhatWasNotFlushed) {
  MakeVolumeWithADatabase();
  CEOID database = CreateDatabase(volume_, u"records");
  CEOID record = Write(OpenDatabase(volume_, database), 0, {I4(1, 7)});
  Remount();
  HANDLE handle = OpenDatabase(volume_, database);
  Reading reading = ReadAll(handle);
  EXPECT_EQ(reading.oid, record);
  EXPECT_EQ(reading.values, Values({I4(1, 7)}));
}

TEST_F(Volumes, UnmountClosesTheHandlesThatAreStillOpen) {
  MakeVolumeWithADatabase();
  CEOID database = CreateDatabase(volume_, u"records");
  HANDLE handle = OpenDatabase(volume_, database);
  CEOID record = Write(handle, 0, {I4(1, 7)});
  HANDLE find = CeFindFirstDatabaseEx(&volume_, 0);
  Unmount();

  WORD count = 0;
  BYTE* block = nullptr;
  DWORD size = 0;
  EXPECT_REFUSED(CeSeekDatabase(handle, CEDB_SEEK_BEGINNING, 0, nullptr), ERROR_INVALID_HANDLE);
  EXPECT_REFUSED(CeReadRecordPropsEx(handle, CEDB_ALLOWREALLOC, &count, nullptr, &block, &size, 0),
                 ERROR_INVALID_HANDLE);
  EXPECT_REFUSED(Write(handle, 0, {I4(1, 8)}), ERROR_INVALID_HANDLE);
  EXPECT_REFUSED(CeDeleteRecord(handle, record), ERROR_INVALID_HANDLE);
  EXPECT_REFUSED(CloseHandle(handle), ERROR_INVALID_HANDLE);
  EXPECT_REFUSED(CeFindNextDatabaseEx(find, nullptr), ERROR_INVALID_HANDLE);
  EXPECT_REFUSED(CloseHandle(find), ERROR_INVALID_HANDLE);
}

TEST_F(Volumes, ForgottenHandleDoesNotKeepADatabaseInUse) {
  MakeVolumeWithADatabase();
  CEOID database = CreateDatabase(volume_, u"records");
  ASSERT_NE(OpenDatabase(volume_, database), INVALID_HANDLE_VALUE);
  Remount();
  EXPECT_EQ(CeDeleteDatabaseEx(&volume_, database), TRUE) << GetLastError();
}

TEST_F(Volumes, NumberOfAHandleClosedByAnUnmountIsNotGivenOutAgainSoon) {
  MakeVolumeWithADatabase();
  CEOID database = CreateDatabase(volume_, u"records");
  HANDLE forgotten = OpenDatabase(volume_, database);
  Remount();
  for (int i = 0; i < 100; i++) {
    HANDLE handle = OpenDatabase(volume_, database);
    ASSERT_NE(handle, forgotten);
    EXPECT_EQ(CloseHandle(handle), TRUE);
  }
  EXPECT_REFUSED(CeSeekDatabase(forgotten, CEDB_SEEK_BEGINNING, 0, nullptr), ERROR_INVALID_HANDLE);
}

TEST_F(Volumes, VolumesAreUnmountedOneByOne) {
  MakeVolumeWithADatabase();
  CEGUID other = kNoVolume;
  ASSERT_EQ(CeMountDBVol(&other, (directory_ / u"other.cdb").c_str(), CREATE_NEW), TRUE);
  HANDLE handle = OpenDatabase(other, CreateDatabase(other, u"records"));
  Unmount();
  EXPECT_NE(Write(handle, 0, {I4(1, 1)}), 0u) << "handles of another volume stay";
  EXPECT_EQ(CeUnmountDBVol(&other), TRUE);
}

TEST_F(Volumes, FlushOfEverythingSucceedsWithNothingMounted) { EXPECT_EQ(CeFlushDBVol(nullptr), TRUE); }

}  // namespace
