// Volumes that earlier builds wrote and that every later build reads: each is opened on a copy, and its whole content is
// compared with the text that was committed beside it.
#include <gtest/gtest.h>
#include <sqlite3.h>

#include <filesystem>
#include <fstream>
#include <iterator>

#include "mdb.h"
#include "temporary_directory.h"
#include "volume_content.h"

namespace {

using damage::Times;
using damage::VolumeText;
using std::filesystem::path;

const struct {
  const char* why;
  const char* file;
  const char* text;
  bool with_log;
  bool of_the_engine;
} kVolumes[] = {
    {"no database", "v1/empty.vol", "v1/empty.txt", false, false},
    {"every property type, every kind of sort order", "v1/every_type.vol", "v1/every_type.txt", false, false},
    {"deletions, a sort by number, a packed column", "v1/missions.xdb", "v1/missions.txt", false, true},
    {"the log of a killed writer beside it", "v1/killed.xdb", "v1/killed.txt", true, true},
    {"no database", "v2/empty.vol", "v2/empty.txt", false, false},
    {"every property type, every kind of sort order", "v2/every_type.vol", "v2/every_type.txt", false, false},
    {"a block of records", "v2/list.vol", "v2/list.txt", false, false},
    {"deletions, a sort by number, a packed column", "v2/missions.xdb", "v2/missions.txt", false, true},
    {"the log of a killed writer beside it", "v2/killed.xdb", "v2/killed.txt", true, true},
    {"no database", "v3/empty.vol", "v3/empty.txt", false, false},
    {"every property type, every kind of sort order", "v3/every_type.vol", "v3/every_type.txt", false, false},
    {"a block of records", "v3/list.vol", "v3/list.txt", false, false},
    {"deletions, a sort by number, a packed column", "v3/missions.xdb", "v3/missions.txt", false, true},
    {"the log of a killed writer beside it", "v3/killed.xdb", "v3/killed.txt", true, true},
};

std::string Bytes(const path& file) {
  std::ifstream stream(file, std::ios::binary);
  EXPECT_TRUE(stream) << file;
  return {std::istreambuf_iterator<char>(stream), std::istreambuf_iterator<char>()};
}

class Golden : public ::testing::Test {
 protected:
  // A copy that a test may open, alone or with its log.
  path Copy(const char* file, bool with_log) const {
    const path copy = folder_.path() / path(file).filename();
    std::filesystem::remove(copy.string() + "-wal");
    std::filesystem::remove(copy);
    std::filesystem::copy_file(Of(file), copy);
    if (with_log) std::filesystem::copy_file(Of(file).string() + "-wal", copy.string() + "-wal");
    return copy;
  }
  static int PackedColumns(const path& file) {
    sqlite3* connection = nullptr;
    sqlite3_stmt* statement = nullptr;
    EXPECT_EQ(sqlite3_open_v2(file.string().c_str(), &connection, SQLITE_OPEN_READWRITE, nullptr), SQLITE_OK);
    EXPECT_EQ(sqlite3_prepare_v2(connection, "SELECT count(*) FROM packed", -1, &statement, nullptr), SQLITE_OK);
    EXPECT_EQ(sqlite3_step(statement), SQLITE_ROW);
    const int count = sqlite3_column_int(statement, 0);
    sqlite3_finalize(statement);
    sqlite3_close(connection);
    return count;
  }
  static path Of(const char* file) { return path(XKRDB_GOLDEN_FOLDER) / file; }

  TemporaryDirectory folder_;
};

TEST_F(Golden, EveryVolumeHoldsWhatItHeldWhenItWasMade) {
  for (const auto& row : kVolumes) {
    const VolumeText found = damage::TextOfFile(Copy(row.file, row.with_log).u16string(), Times::kWith);
    EXPECT_EQ(found.error, 0u) << row.why;
    EXPECT_EQ(found.text, Bytes(Of(row.text))) << row.why;
  }
}

TEST_F(Golden, ReadingAVolumeWithoutALogChangesNoByte) {
  for (const auto& row : kVolumes) {
    if (row.with_log) continue;
    const path copy = Copy(row.file, false);
    EXPECT_EQ(damage::TextOfFile(copy.u16string()).error, 0u) << row.why;
    EXPECT_EQ(Bytes(copy), Bytes(Of(row.file))) << row.why;
  }
}

TEST_F(Golden, TheLogOfTheKilledWriterCounts) {
  for (const std::string version : {"v1", "v2", "v3"}) {
    const VolumeText without =
        damage::TextOfFile(Copy((version + "/killed.xdb").c_str(), false).u16string(), Times::kWith);
    EXPECT_EQ(without.error, 0u) << version;
    EXPECT_NE(without.text, Bytes(Of((version + "/killed.txt").c_str()))) << version;
  }
}

// The first change makes an older file one of today's, with all that it held.
TEST_F(Golden, AnOlderVolumeIsOfTodaysVersionOnceItIsChanged) {
  for (const auto& row : kVolumes) {
    const path copy = Copy(row.file, row.with_log);
    CEGUID guid;
    ASSERT_TRUE(CeMountDBVol(&guid, copy.u16string().c_str(), OPEN_EXISTING)) << row.why;
    CEDBASEINFO info = {};
    info.dwFlags = CEDB_VALIDNAME;
    std::u16string(u"added").copy(info.szDbaseName, CEDB_MAXDBASENAMELEN);
    const CEOID added = CeCreateDatabaseEx(&guid, &info);
    ASSERT_NE(added, 0u) << row.why;
    ASSERT_TRUE(CeFlushDBVol(&guid)) << row.why;
    ASSERT_TRUE(CeDeleteDatabaseEx(&guid, added)) << row.why;
    ASSERT_TRUE(CeUnmountDBVol(&guid)) << row.why;
    EXPECT_EQ(Bytes(copy).substr(60, 4), std::string("\0\0\0\3", 4)) << row.why;
    EXPECT_EQ(damage::TextOfFile(copy.u16string(), Times::kWith).error, 0u) << row.why;
  }
}

TEST_F(Golden, TheEngineOpensItsOwnAndRefusesTheOthers) {
  MDbEnv env;
  MDbEnvInitialize(&env);
  ASSERT_EQ(MDbInit(&env, "", 0), MDbStatusOk);
  for (const auto& row : kVolumes) {
    const MDbStatus status = MDbAgentOpenDb(&env, Copy(row.file, row.with_log).u16string().c_str());
    EXPECT_EQ(status, row.of_the_engine ? MDbStatusOk : MDbStatusCannotOpen) << row.why;
    if (row.of_the_engine) {
      EXPECT_EQ(MDbAgentCloseDb(&env), MDbStatusOk) << row.why;
    }
  }
  EXPECT_EQ(MDbShutdown(&env, 0, 0), MDbStatusOk);
}

// What is missing from an older volume's database must not become the state of a newer one.
TEST_F(Golden, ADamagedDatabaseOfAnOlderVolumeIsNotWrittenAnew) {
  const path copy = Copy("v1/every_type.vol", false);
  sqlite3* connection = nullptr;
  ASSERT_EQ(sqlite3_open_v2(copy.string().c_str(), &connection, SQLITE_OPEN_READWRITE, nullptr), SQLITE_OK);
  EXPECT_EQ(sqlite3_exec(connection, "DELETE FROM record WHERE key = (SELECT min(key) FROM record)", nullptr, nullptr,
                         nullptr),
            SQLITE_OK);
  sqlite3_close(connection);
  CEGUID guid;
  ASSERT_TRUE(CeMountDBVol(&guid, copy.u16string().c_str(), OPEN_EXISTING));
  const HANDLE databases = CeFindFirstDatabaseEx(&guid, 0);
  CEOID damaged = CeFindNextDatabaseEx(databases, nullptr);
  EXPECT_TRUE(CloseHandle(databases));
  for (int attempt = 0; attempt < 2; ++attempt) {
    EXPECT_EQ(CeOpenDatabaseEx(&guid, &damaged, nullptr, 0, 0, nullptr), INVALID_HANDLE_VALUE);
    EXPECT_EQ(GetLastError(), DWORD{ERROR_FILE_CORRUPT});
    CEDBASEINFO info = {};
    info.dwFlags = CEDB_VALIDNAME;
    std::u16string(u"renamed").copy(info.szDbaseName, CEDB_MAXDBASENAMELEN);
    EXPECT_FALSE(CeSetDatabaseInfoEx(&guid, damaged, &info));
    EXPECT_EQ(GetLastError(), DWORD{ERROR_FILE_CORRUPT});
  }
  EXPECT_TRUE(CeUnmountDBVol(&guid));
  ASSERT_TRUE(CeMountDBVol(&guid, copy.u16string().c_str(), OPEN_EXISTING));
  EXPECT_TRUE(CeUnmountDBVol(&guid));
}

// What makes these volumes worth keeping is in them: a later one that lacks it would be no golden volume.
TEST_F(Golden, TheVolumesHoldWhatTheyAreKeptFor) {
  EXPECT_EQ(PackedColumns(Copy("v2/list.vol", false)), 2) << "a block and a column";
  EXPECT_EQ(PackedColumns(Copy("v2/missions.xdb", false)), 1);
  EXPECT_EQ(PackedColumns(Copy("v3/list.vol", false)), 2) << "a block and a column";
  EXPECT_EQ(PackedColumns(Copy("v3/missions.xdb", false)), 1);
  EXPECT_NE(Bytes(Of("v3/every_type.txt")).find("0x1d001f="), std::string::npos) << "runs of texts";
  const std::string missions = Bytes(Of("v1/missions.txt"));
  EXPECT_NE(missions.find("\"DELT_0\" type 0x44454c54 flags 0x1f records 11"), std::string::npos);
  EXPECT_NE(missions.find("\"DATA_0\" type 0x44415441 flags 0x1f records 69"), std::string::npos);
  EXPECT_EQ(PackedColumns(Copy("v1/missions.xdb", false)), 1);
  const std::string types = Bytes(Of("v1/every_type.txt"));
  for (const char* property :
       {"0x10002=", "0x20012=", "0x30003=", "0x40013=", "0x5000b=", "0x60005=", "0x70040=", "0x8001f=", "0x90041="}) {
    EXPECT_NE(types.find(property), std::string::npos) << property;
  }
}

}  // namespace
