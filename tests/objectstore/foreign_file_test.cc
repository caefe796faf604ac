// Files that are no volumes: they are not mounted, and not a byte of them changes.
#include <sys/stat.h>

#include "volume_file_fixture.h"
#include "volume_schema.h"

namespace {

namespace fs = std::filesystem;

using ForeignFile = VolumeFileTest;

constexpr DWORD kCorrupt = ERROR_FILE_CORRUPT;

constexpr char kSoundTables[] =
    "CREATE TABLE volume(id INTEGER PRIMARY KEY, body BLOB NOT NULL);"
    "CREATE TABLE database(oid INTEGER PRIMARY KEY, body BLOB NOT NULL);"
    "CREATE TABLE record(key INTEGER PRIMARY KEY, body BLOB NOT NULL);"
    "CREATE TABLE packed(key INTEGER PRIMARY KEY, body BLOB NOT NULL);";

TEST_F(ForeignFile, BytesThatAreNoVolumeStayAsTheyAre) {
  Unmount(Mount(CREATE_NEW, "sound.vol"));
  const std::string sound = Bytes(File("sound.vol"));
  const auto changed = [&sound](size_t offset, char byte) {
    std::string bytes = sound;
    bytes[offset] = byte;
    return bytes;
  };
  const struct {
    const char* why;
    std::string bytes;
  } kRows[] = {
      {"an empty file", ""},
      {"a text", "name,telephone\nA,1\n"},
      {"zeros", std::string(8192, '\0')},
      {"the beginning of a volume", sound.substr(0, 99)},
      {"a header alone", sound.substr(0, 100)},
      {"one page of a volume", sound.substr(0, 4096)},
      {"a volume without its last page", sound.substr(0, sound.size() - 4096)},
      {"another magic", changed(0, 's')},
      {"another page size", changed(16, 0x20)},
      {"without a write-ahead log", changed(18, 1)},
      {"to be read without a write-ahead log", changed(19, 1)},
      {"another version of the format", changed(63, static_cast<char>(objectstore::kFormatVersion + 1))},
      {"another application", changed(71, 'E')},
      {"a damaged table of tables", changed(100, 0x0A)},
      {"a changed statement", changed(sound.find("CREATE TABLE record"), 'c')},
  };
  for (const auto& row : kRows) {
    for (const DWORD disposition : {OPEN_EXISTING, OPEN_ALWAYS}) {
      WriteBytes(File("foreign.vol"), row.bytes);
      EXPECT_EQ(MountError(disposition, "foreign.vol"), kCorrupt) << row.why;
      EXPECT_EQ(Bytes(File("foreign.vol")), row.bytes) << row.why;
      EXPECT_EQ(Names(), (std::vector<std::string>{"foreign.vol", "sound.vol"})) << row.why;
    }
  }
}

TEST_F(ForeignFile, ADatabaseOfAnotherProgramIsNotMounted) {
  const struct {
    const char* why;
    std::string statements;
  } kRows[] = {
      {"a trigger more", std::string(kSoundTables) + "CREATE TRIGGER t AFTER INSERT ON record BEGIN SELECT 1; END;"},
      {"a view more", std::string(kSoundTables) + "CREATE VIEW v AS SELECT 1;"},
      {"an index more", std::string(kSoundTables) + "CREATE INDEX i ON record(body);"},
      {"a table more", std::string(kSoundTables) + "CREATE TABLE t(a);"},
      {"a table less", "CREATE TABLE volume(id INTEGER PRIMARY KEY, body BLOB NOT NULL);"},
      {"no table", ""},
      {"a view in the place of a table",
       "CREATE TABLE volume(id INTEGER PRIMARY KEY, body BLOB NOT NULL);"
       "CREATE TABLE database(oid INTEGER PRIMARY KEY, body BLOB NOT NULL);"
       "CREATE VIEW record AS SELECT id AS key, body FROM volume;"
       "CREATE TABLE packed(key INTEGER PRIMARY KEY, body BLOB NOT NULL);"},
      {"a column more",
       "CREATE TABLE volume(id INTEGER PRIMARY KEY, body BLOB NOT NULL);"
       "CREATE TABLE database(oid INTEGER PRIMARY KEY, body BLOB NOT NULL);"
       "CREATE TABLE record(key INTEGER PRIMARY KEY, body BLOB NOT NULL, more DEFAULT (abs(-9223372036854775808)));"
       "CREATE TABLE packed(key INTEGER PRIMARY KEY, body BLOB NOT NULL);"},
      {"the right tables without a row", kSoundTables},
  };
  for (const auto& row : kRows) {
    fs::remove(File("foreign.vol"));
    ChangeBehindTheStore(File("foreign.vol"),
                         "PRAGMA application_id = 1481331268; PRAGMA user_version = 1; "
                         "PRAGMA journal_mode = WAL;" +
                             row.statements);
    const std::string before = Bytes(File("foreign.vol"));
    EXPECT_EQ(MountError(OPEN_EXISTING, "foreign.vol"), kCorrupt) << row.why;
    EXPECT_EQ(Bytes(File("foreign.vol")), before) << row.why;
    EXPECT_EQ(Names(), std::vector<std::string>{"foreign.vol"}) << row.why;
  }
}

TEST_F(ForeignFile, AJournalBesideAVolumeIsNotPlayedBack) {
  Unmount(Mount(CREATE_NEW));
  const std::string before = Bytes(File());
  WriteBytes(File("test.vol-journal"), std::string("\xd9\xd5\x05\xf9\x20\xa1\x63\xd7", 8) + std::string(4096, '\1'));
  EXPECT_EQ(MountError(OPEN_EXISTING), kCorrupt);
  EXPECT_EQ(Bytes(File()), before);
}

TEST_F(ForeignFile, ALinkAFolderAndAPipeAreNoVolumes) {
  Unmount(Mount(CREATE_NEW));
  fs::create_symlink(File(), File("link.vol"));
  fs::create_directory(File("folder.vol"));
  ASSERT_EQ(mkfifo(File("pipe.vol").c_str(), 0600), 0);
  for (const char* name : {"link.vol", "folder.vol", "pipe.vol"}) {
    for (const DWORD disposition : {CREATE_ALWAYS, OPEN_EXISTING, OPEN_ALWAYS, TRUNCATE_EXISTING}) {
      EXPECT_EQ(MountError(disposition, name), kCorrupt) << name << ' ' << disposition;
    }
    EXPECT_EQ(MountError(CREATE_NEW, name), static_cast<DWORD>(ERROR_ALREADY_EXISTS)) << name;
  }
  EXPECT_TRUE(fs::is_symlink(File("link.vol")));
}

TEST_F(ForeignFile, ReplacingIsWhatTheClientAskedFor) {
  for (const DWORD disposition : {CREATE_ALWAYS, TRUNCATE_EXISTING}) {
    WriteBytes(File("foreign.vol"), "not a volume");
    Unmount(Mount(disposition, "foreign.vol"));
    Unmount(Mount(OPEN_EXISTING, "foreign.vol"));
    EXPECT_EQ(Names(), std::vector<std::string>{"foreign.vol"}) << disposition;
  }
}

TEST_F(ForeignFile, WhereNothingCanBeCreatedNothingIsLeft) {
  EXPECT_EQ(MountError(CREATE_NEW, "missing/test.vol"), static_cast<DWORD>(ERROR_PATH_NOT_FOUND));
  EXPECT_EQ(MountError(OPEN_ALWAYS, "missing/test.vol"), static_cast<DWORD>(ERROR_PATH_NOT_FOUND));
  WriteBytes(File("file"), "x");
  EXPECT_EQ(MountError(CREATE_NEW, "file/test.vol"), static_cast<DWORD>(ERROR_PATH_NOT_FOUND));
  EXPECT_EQ(Names(), std::vector<std::string>{"file"});
}

// Flips every bit of a small volume, one at a time: the mount and the reading of everything end with the right contents
// or with corrupt, and the file stays as it is.
TEST_F(ForeignFile, NoFlippedBitGivesWrongRecords) {
  CEGUID guid = Mount(CREATE_NEW, "sound.vol");
  const CEOID database = Create(guid, u"a");
  const HANDLE handle = Open(guid, database);
  for (uint32_t i = 0; i < 5; ++i) Write(handle, 0, i, u"some text", i);
  const auto contents = Contents(guid, database);
  Unmount(guid);
  const std::string sound = Bytes(File("sound.vol"));
  size_t refused = 0;
  for (size_t byte = 0; byte < sound.size(); ++byte) {
    if (sound[byte] == 0 && byte % 512 != 0) continue;  // most of it is empty
    std::string bytes = sound;
    bytes[byte] = static_cast<char>(bytes[byte] ^ (1 << byte % 8));
    WriteBytes(File("flipped.vol"), bytes);
    if (!CeMountDBVol(&guid, Path("flipped.vol").c_str(), OPEN_EXISTING)) {
      ASSERT_EQ(GetLastError(), kCorrupt) << byte;
      ++refused;
    } else {
      CEOID oid = database;
      const HANDLE opened = CeOpenDatabaseEx(&guid, &oid, nullptr, 0, 0, nullptr);
      if (opened == INVALID_HANDLE_VALUE) {
        ASSERT_EQ(GetLastError(), kCorrupt) << byte;
        ++refused;
      } else {
        ASSERT_EQ(Contents(guid, database), contents) << byte;
      }
      Unmount(guid);
    }
    ASSERT_EQ(Bytes(File("flipped.vol")), bytes) << byte;
    ASSERT_EQ(Names().size(), 2u) << byte;
  }
  EXPECT_GT(refused, 100u);
}

}  // namespace
