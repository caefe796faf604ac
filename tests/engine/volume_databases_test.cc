// What the tables share about the databases inside a mounted volume.
#include "volume_databases.h"

#include "engine_fixture.h"
#include "seam_lines.h"
#include "volume_snapshot.h"

namespace {

using seam::Lines;

class VolumeDatabases : public enginetest::EngineTest {
 protected:
  VolumeDatabases() {
    MDbRefInitialize(&volume);
    EXPECT_EQ(MDbCreate(&env, path.c_str(), &volume), MDbStatusOk);
  }
  ~VolumeDatabases() override { EXPECT_EQ(MDbClose(&env, &volume), MDbStatusOk); }

  CEOID AddDatabase(const char16_t* name, DWORD type) {
    const seam::Unseen unseen;
    CEDBASEINFO info{};
    info.dwFlags = CEDB_VALIDNAME | CEDB_VALIDTYPE;
    std::char_traits<char16_t>::copy(info.szDbaseName, name, std::char_traits<char16_t>::length(name));
    info.dwDbaseType = type;
    const CEOID oid = CeCreateDatabaseEx(&volume.volume, &info);
    EXPECT_NE(oid, 0u);
    return oid;
  }
  HANDLE Open(const char16_t* name) {
    const seam::Unseen unseen;
    CEOID oid = 0;
    return CeOpenDatabaseEx(&volume.volume, &oid, name, 0, 0, nullptr);
  }
  CEOID AddRecord(HANDLE database) {
    const seam::Unseen unseen;
    CEPROPVAL value{};
    value.propid = 0x20013;
    return CeWriteRecordProps(database, 0, 1, &value);
  }
  void Close(HANDLE database) {
    const seam::Unseen unseen;
    EXPECT_TRUE(CloseHandle(database));
  }

  MDbRef volume;
};

// ---- deleting by name

TEST_F(VolumeDatabases, DeletingOpensByNameClosesAndDeletesByIdentifier) {
  AddDatabase(u"OLD_0", 5);
  seam::PlatformSeam seam;
  EXPECT_EQ(mdb::DeleteDatabaseByName(&env, &volume, u"OLD_0"), MDbStatusOk);
  EXPECT_EQ(seam.Texts(), (Lines{"CeOpenDatabaseEx(vol1, oid=0, name=\"OLD_0\", sort=0, flags=0, null)",
                                 "CloseHandle(OLD_0)", "CeDeleteDatabaseEx(vol1, oid=#1)"}));
  EXPECT_EQ(Open(u"OLD_0"), INVALID_HANDLE_VALUE);
}

TEST_F(VolumeDatabases, DeletingAMissingDatabaseFails) {
  seam::PlatformSeam seam;
  EXPECT_EQ(mdb::DeleteDatabaseByName(&env, &volume, u"OLD_0"), MDbStatusFailed);
  EXPECT_EQ(seam.StoreTexts(), (Lines{"CeOpenDatabaseEx(vol1, oid=0, name=\"OLD_0\", sort=0, flags=0, null)"}));
}

TEST_F(VolumeDatabases, DeletingADatabaseThatIsOpenFails) {
  AddDatabase(u"OLD_0", 5);
  const HANDLE open = Open(u"OLD_0");
  EXPECT_EQ(mdb::DeleteDatabaseByName(&env, &volume, u"OLD_0"), MDbStatusFailed);
  Close(open);
}

TEST_F(VolumeDatabases, DeletingNeedsAnOpenReferenceInAnInitialisedEnvironment) {
  AddDatabase(u"OLD_0", 5);
  MDbEnv reset;
  MDbEnvInitialize(&reset);
  seam::PlatformSeam seam;
  EXPECT_EQ(mdb::DeleteDatabaseByName(&reset, &volume, u"OLD_0"), MDbStatusFailed);
  EXPECT_TRUE(seam.calls().empty());
}

// ---- finding by name

TEST_F(VolumeDatabases, FindingWalksTheDatabasesOfTheTypeUntilTheNameIsMet) {
  AddDatabase(u"ONE_0", 5);
  AddDatabase(u"OTHER_TYPE", 6);
  AddDatabase(u"TWO_0", 5);
  uint8_t found = 9;
  seam::PlatformSeam seam;
  EXPECT_EQ(mdb::FindDatabaseByName(&env, &volume, u"TWO_0", 5, &found), MDbStatusOk);
  EXPECT_EQ(found, 1);
  EXPECT_EQ(seam.Texts(),
            (Lines{"CeFindFirstDatabaseEx(vol1, type=5)", "CeFindNextDatabaseEx(enum1)", "CeOidGetInfoEx(vol1, oid=#1)",
                   "CeFindNextDatabaseEx(enum1)", "CeOidGetInfoEx(vol1, oid=#2)", "CloseHandle(enum1)"}));
}

TEST_F(VolumeDatabases, FindingComparesNamesWithoutCaseAndTypesExactly) {
  AddDatabase(u"View_0", 5);
  const struct {
    const char* why;
    const char16_t* name;
    DWORD type;
    uint8_t found;
  } kRows[] = {
      {"the same name", u"View_0", 5, 1},
      {"another case", u"vIEW_0", 5, 1},
      {"another type", u"View_0", 6, 0},
      {"another name", u"View_1", 5, 0},
      {"the beginning of the name", u"View", 5, 0},
  };
  for (const auto& row : kRows) {
    uint8_t found = 9;
    EXPECT_EQ(mdb::FindDatabaseByName(&env, &volume, row.name, row.type, &found), MDbStatusOk) << row.why;
    EXPECT_EQ(found, row.found) << row.why;
  }
}

TEST_F(VolumeDatabases, WhatHasNoInformationOrIsNoDatabaseIsPassedOver) {
  AddDatabase(u"ONE_0", 5);
  {
    seam::PlatformSeam seam;
    seam.Fail("CeOidGetInfoEx");
    uint8_t found = 9;
    EXPECT_EQ(mdb::FindDatabaseByName(&env, &volume, u"ONE_0", 5, &found), MDbStatusOk);
    EXPECT_EQ(found, 0);
  }
  seam::PlatformSeam seam;
  seam.Alter("CeOidGetInfoEx", 0, [](void* info) { static_cast<CEOIDINFO*>(info)->wObjType = OBJTYPE_RECORD; });
  uint8_t found = 9;
  EXPECT_EQ(mdb::FindDatabaseByName(&env, &volume, u"ONE_0", 5, &found), MDbStatusOk);
  EXPECT_EQ(found, 0);
}

TEST_F(VolumeDatabases, AnEnumerationThatDoesNotStartIsAFailure) {
  seam::PlatformSeam seam;
  seam.Fail("CeFindFirstDatabaseEx");
  uint8_t found = 0;
  EXPECT_EQ(mdb::FindDatabaseByName(&env, &volume, u"ONE_0", 5, &found), MDbStatusFailed);
  EXPECT_EQ(seam.StoreTexts(), (Lines{"CeFindFirstDatabaseEx(vol1, type=5)"}));
}

TEST_F(VolumeDatabases, FindingNeedsAnOpenReferenceInAnInitialisedEnvironment) {
  MDbEnv reset;
  MDbEnvInitialize(&reset);
  uint8_t found = 0;
  seam::PlatformSeam seam;
  EXPECT_EQ(mdb::FindDatabaseByName(&reset, &volume, u"ONE_0", 5, &found), MDbStatusFailed);
  EXPECT_TRUE(seam.calls().empty());
}

// ---- positions and counts

TEST_F(VolumeDatabases, SeekingByPositionCountsFromTheBeginning) {
  AddDatabase(u"ONE_0", 5);
  const HANDLE database = Open(u"ONE_0");
  const CEOID first = AddRecord(database);
  const CEOID second = AddRecord(database);
  const struct {
    const char* why;
    uint32_t position;
    MDbStatus status;
    CEOID oid;
  } kRows[] = {
      {"the first", 0, MDbStatusOk, first},
      {"the second", 1, MDbStatusOk, second},
      {"one past the last", 2, MDbStatusFailed, 0},
  };
  for (const auto& row : kRows) {
    CEOID oid = 0;
    EXPECT_EQ(mdb::SeekRecordByPosition(database, row.position, &oid), row.status) << row.why;
    EXPECT_EQ(oid, row.oid) << row.why;
  }
  Close(database);
}

TEST_F(VolumeDatabases, SeekingByPositionMinusOneAsksThePlatformNothing) {
  seam::PlatformSeam seam;
  CEOID oid = 0;
  EXPECT_EQ(mdb::SeekRecordByPosition(1, 0xFFFFFFFF, &oid), MDbStatusFailed);
  EXPECT_TRUE(seam.calls().empty());
}

TEST_F(VolumeDatabases, ThePositionOfARecordIsWhatTheSeekReports) {
  AddDatabase(u"ONE_0", 5);
  const HANDLE database = Open(u"ONE_0");
  AddRecord(database);
  const CEOID second = AddRecord(database);
  uint16_t position = 99;
  EXPECT_EQ(mdb::GetRecordPosition(database, second, &position), MDbStatusOk);
  EXPECT_EQ(position, 1);
  EXPECT_EQ(mdb::GetRecordPosition(database, second + 1000, &position), MDbStatusFailed);
  {
    seam::PlatformSeam seam;
    EXPECT_EQ(mdb::GetRecordPosition(database, 0, &position), MDbStatusFailed);
    EXPECT_TRUE(seam.calls().empty()) << "identifier 0 is refused before the platform is asked";
  }
  seam::PlatformSeam seam;
  seam.AlterResult("CeSeekDatabase", 0, second + 1);
  EXPECT_EQ(mdb::GetRecordPosition(database, second, &position), MDbStatusFailed) << "another record answered";
  Close(database);
}

TEST_F(VolumeDatabases, TheRecordCountIsTheDatabasesOwn) {
  const CEOID oid = AddDatabase(u"ONE_0", 5);
  const HANDLE database = Open(u"ONE_0");
  for (int i = 0; i < 3; ++i) AddRecord(database);
  const CEOID record = AddRecord(database);
  uint16_t count = 99;
  EXPECT_EQ(mdb::GetDatabaseRecordCount(volume.volume, oid, &count), MDbStatusOk);
  EXPECT_EQ(count, 4);
  EXPECT_EQ(mdb::GetDatabaseRecordCount(volume.volume, record, &count), MDbStatusFailed) << "a record's identifier";
  EXPECT_EQ(mdb::GetDatabaseRecordCount(volume.volume, record + 1000, &count), MDbStatusFailed) << "no identifier";
  Close(database);
}

}  // namespace
