// xkrdb repair: what is saved of a damaged database, what is said of the rest, and what is refused. And check, where the
// database does not open any more.
#include <fcntl.h>
#include <gtest/gtest.h>
#include <signal.h>
#include <sys/stat.h>
#include <unistd.h>

#include "client_database.h"
#include "tool_process.h"

namespace xkrdb::test {
namespace {

constexpr size_t kPageBytes = 4096;

std::string Rows(int count) {
  std::string csv = "name,number\n";
  for (int i = 1; i <= count; ++i) {
    csv += "record number " + std::to_string(i) + std::string(100, 'x') + "," + std::to_string(i) + "\n";
  }
  return csv;
}

class Repair : public ToolTest {
 protected:
  void SetUp() override {
    Make("book.xdb", Rows(100));
    sound_ = Read("book.xdb");
    exported_ = Xkrdb({"export", "book.xdb"}).out;
  }

  // A copy in which the text stands no more.
  std::string Without(const std::string& text) const {
    std::string bytes = sound_;
    const size_t at = bytes.find(text);
    EXPECT_NE(at, std::string::npos) << text;
    bytes[at] = static_cast<char>(bytes[at] ^ 1);
    return bytes;
  }
  std::string WithoutPage(size_t page) const {
    std::string bytes = sound_;
    return bytes.replace((page - 1) * kPageBytes, kPageBytes, std::string(kPageBytes, '\0'));
  }

  std::string sound_;
  std::string exported_;
};

TEST_F(Repair, ASoundDatabaseIsSavedWholeAndTheFileStaysAsItIs) {
  ASSERT_EQ(Xkrdb({"rm", "book.xdb", "7"}).code, 0);
  const std::string before = Read("book.xdb");
  const std::string export_before = Xkrdb({"export", "book.xdb"}).out;
  const std::string bytes = Read("book.xdb");
  const Outcome outcome = Xkrdb({"repair", "book.xdb", "saved.xdb"});
  EXPECT_EQ(outcome.code, 0);
  EXPECT_EQ(outcome.out,
            "OBJG_0: 9 records saved\n"
            "DATA_0: 99 records saved\n"
            "DELT_0: 1 record saved\n");
  EXPECT_EQ(outcome.err, "saved.xdb: 109 records saved from book.xdb, nothing lost\n");
  EXPECT_EQ(Read("book.xdb"), bytes);
  EXPECT_EQ(Files(), "book.xdb saved.xdb");
  EXPECT_EQ(Xkrdb({"export", "saved.xdb"}).out, export_before);
  EXPECT_EQ(Xkrdb({"log", "saved.xdb", "--csv"}).out, Xkrdb({"log", "book.xdb", "--csv"}).out);
  EXPECT_EQ(Xkrdb({"info", "saved.xdb", "--csv"}).out, Xkrdb({"info", "book.xdb", "--csv"}).out);
  EXPECT_EQ(Xkrdb({"check", "saved.xdb"}).code, 0);
  EXPECT_EQ(Xkrdb({"add", "saved.xdb", "name=one more"}).out, "100\n");
}

TEST_F(Repair, ADamagedRowIsNamedByCheckAndLeftOutByRepair) {
  Write("damaged.xdb", Without("record number 40"));
  const Outcome check = Xkrdb({"check", "damaged.xdb"});
  EXPECT_EQ(check.code, 4);
  EXPECT_NE(check.out.find("fault: database DATA_0, record "), std::string::npos) << check.out;
  EXPECT_NE(check.out.find(": the row's checksum does not hold\n"), std::string::npos) << check.out;
  EXPECT_NE(check.out.find("fault: database DATA_0: 1 of 100 records are missing\n"), std::string::npos) << check.out;
  EXPECT_EQ(check.err,
            "xkrdb: damaged.xdb is damaged and cannot be read whole: 2 faults; \"xkrdb repair\" saves what is sound\n");
  const Outcome outcome = Xkrdb({"repair", "damaged.xdb", "saved.xdb"});
  EXPECT_EQ(outcome.code, 1);
  EXPECT_EQ(outcome.out, check.out +
                             "OBJG_0: 9 records saved\n"
                             "DATA_0: 99 records saved, 1 lost\n"
                             "DELT_0: 0 records saved\n");
  EXPECT_EQ(outcome.err, "saved.xdb: 108 records saved from damaged.xdb, 1 lost\n");
  std::string rest = exported_;
  const size_t line = rest.find("record number 40");
  rest.erase(line, rest.find('\n', line) + 1 - line);
  EXPECT_EQ(Xkrdb({"export", "saved.xdb"}).out, rest);
  EXPECT_EQ(Xkrdb({"check", "saved.xdb"}).code, 0);
}

TEST_F(Repair, CheckAndRepairTellTheSameAsJsonAndCsv) {
  Write("damaged.xdb", Without("record number 40"));
  EXPECT_NE(Xkrdb({"check", "damaged.xdb", "--json"}).out.find("\"what\": \"the row's checksum does not hold\""),
            std::string::npos);
  EXPECT_NE(Xkrdb({"check", "damaged.xdb", "--csv"}).out.find("fault,database DATA_0,1 of 100 records are missing\n"),
            std::string::npos);
  const std::string json = Xkrdb({"repair", "damaged.xdb", "one.xdb", "--json"}).out;
  EXPECT_NE(json.find("\"what\": \"1 of 100 records are missing\""), std::string::npos) << json;
  EXPECT_NE(json.find("\"saved\": 99,\n      \"lost\": 1,\n"), std::string::npos) << json;
  const Outcome csv = Xkrdb({"repair", "damaged.xdb", "two.xdb", "--csv"});
  EXPECT_EQ(csv.out, "database,saved,lost,loose,described\nOBJG_0,9,0,0,yes\nDATA_0,99,1,0,yes\nDELT_0,0,0,0,yes\n");
  EXPECT_NE(csv.err.find("fault: database DATA_0: 1 of 100 records are missing\n"), std::string::npos) << csv.err;
}

// The second page holds the volume's row, the third the databases', the fourth leads to the records' pages.
TEST_F(Repair, WhateverPageIsGoneTheRestOpensWithEveryRecordThatStoodElsewhere) {
  const struct {
    size_t page;
    const char* what;
    const char* says;
  } kPages[] = {
      {1, "the header", "file, page 1: the file does not begin with the header of a volume"},
      {2, "the volume's row", "file: the volume's row is lost"},
      {3, "the databases' rows", "the row with the database's name, type and sort orders is lost"},
      {4, "the way to the records", "the record lies outside its table"},
  };
  for (const auto& row : kPages) {
    Write("damaged.xdb", WithoutPage(row.page));
    (void)unlink(Path("saved.xdb").c_str());
    const Outcome check = Xkrdb({"check", "damaged.xdb"});
    EXPECT_EQ(check.code, 4) << row.what;
    EXPECT_NE(check.out.find(row.says), std::string::npos) << row.what << ": " << check.out;
    const Outcome outcome = Xkrdb({"repair", "damaged.xdb", "saved.xdb"});
    EXPECT_EQ(outcome.code, row.page == 1 ? 0 : 1) << row.what << ": " << outcome.err;
    EXPECT_EQ(Xkrdb({"export", "saved.xdb"}).out, exported_) << row.what;
    EXPECT_EQ(Xkrdb({"check", "saved.xdb"}).code, 0) << row.what;
    EXPECT_EQ(Xkrdb({"add", "saved.xdb", "name=new"}).out, "101\n") << row.what;
  }
}

// The catalogue's objects lie on one page here, with the first records.
TEST_F(Repair, ALostCatalogueIsMadeAnewAndTheRecordsAreShownUnderFieldsOfNoName) {
  size_t catalogue = 0;
  for (size_t page = 5; page * kPageBytes <= sound_.size(); ++page) {
    if (sound_.substr((page - 1) * kPageBytes, kPageBytes).find("TRFC") != std::string::npos) catalogue = page;
  }
  ASSERT_NE(catalogue, 0u);
  Write("damaged.xdb", WithoutPage(catalogue));
  const Outcome outcome = Xkrdb({"repair", "damaged.xdb", "saved.xdb"});
  EXPECT_EQ(outcome.code, 1);
  EXPECT_NE(outcome.out.find("note: database OBJG_0, record "), std::string::npos) << outcome.out;
  EXPECT_NE(outcome.out.find("a record that the database cannot be without was missing and was added"),
            std::string::npos);
  const std::string saved = Xkrdb({"export", "saved.xdb"}).out;
  EXPECT_EQ(saved.substr(0, saved.find('\n')), "lost field 1,lost field 2");
  EXPECT_NE(saved.find(exported_.substr(exported_.find("record number 60"))), std::string::npos);
  EXPECT_EQ(Xkrdb({"check", "saved.xdb"}).code, 0);
  EXPECT_EQ(Xkrdb({"add", "saved.xdb", "lost field 1=new"}).code, 0);
}

TEST_F(Repair, ADatabaseThatWasMarkedAsNotWholeIsMarkedAsWhole) {
  ClientDatabase database;
  database.fields = {{u"a", MDbFieldText, 0}};
  database.records = {{u"1"}};
  database.mark = 2;
  MakeClientDatabase(Path("changing.xdb"), database);
  const Outcome outcome = Xkrdb({"repair", "changing.xdb", "saved.xdb"});
  EXPECT_EQ(outcome.code, 0);
  EXPECT_NE(outcome.out.find("a value was set to what it has to be"), std::string::npos) << outcome.out;
  EXPECT_EQ(Xkrdb({"export", "saved.xdb"}).out, "a\n1\n");
}

TEST_F(Repair, TheLogOfAKilledWriterCountsAndIsNotWritten) {
  // Killed while the log is being folded into the file, the tool leaves both.
  RunOptions options{folder(),
                     "",
                     {std::string("LD_PRELOAD=") + XKRDB_SYNC_PROBE, "XKRDB_SYNC_LOG=" + Path("syncs"),
                      "ASAN_OPTIONS=verify_asan_link_order=0", "XKRDB_SYNC_SIGNAL=9", "XKRDB_SYNC_AT=3"}};
  ASSERT_EQ(RunProgram(XKRDB_TOOL_PROGRAM, {"add", "book.xdb", "name=in the log"}, options).code, 128 + SIGKILL);
  (void)unlink(Path("syncs").c_str());
  const std::string log = Read("book.xdb-wal");
  ASSERT_GT(log.size(), 4096u);
  const std::string file = Read("book.xdb");
  EXPECT_EQ(Xkrdb({"repair", "book.xdb", "saved.xdb"}).code, 0);
  EXPECT_EQ(Read("book.xdb"), file);
  EXPECT_EQ(Read("book.xdb-wal"), log);
  const std::string saved = Xkrdb({"export", "saved.xdb"}).out;
  EXPECT_EQ(saved, Xkrdb({"export", "book.xdb"}).out);
  EXPECT_GT(saved.size(), exported_.size());
}

TEST_F(Repair, AFileOfAnotherKindIsExitCodeFourAndMakesNoFile) {
  Write("text.xdb", std::string(20000, 'x'));
  Write("empty.xdb", "");
  for (const char* name : {"text.xdb", "empty.xdb"}) {
    const Outcome outcome = Xkrdb({"repair", name, "saved.xdb"});
    EXPECT_EQ(outcome.code, 4) << name;
    EXPECT_EQ(outcome.out, "") << name;
    EXPECT_EQ(outcome.err, std::string("xkrdb: ") + name +
                               " is not a database of this library, or nothing is left of one: nothing is saved\n");
    const Outcome check = Xkrdb({"check", name});
    EXPECT_EQ(check.code, 4) << name;
    EXPECT_EQ(check.err, std::string("xkrdb: ") + name + " is not a database of this library\n");
  }
  EXPECT_EQ(Files(), "book.xdb empty.xdb text.xdb");
}

TEST_F(Repair, WhatIsInTheWayIsSaid) {
  Write("there.xdb", "something");
  const struct {
    const char* why;
    std::vector<std::string> arguments;
    int code;
    const char* message;
  } kRows[] = {
      {"the target exists", {"repair", "book.xdb", "there.xdb"}, 6, "xkrdb: there.xdb exists already\n"},
      {"the target is the file", {"repair", "book.xdb", "book.xdb"}, 6, "xkrdb: book.xdb exists already\n"},
      {"no folder",
       {"repair", "book.xdb", "nowhere/a.xdb"},
       6,
       "xkrdb: cannot make nowhere/a.xdb: folder nowhere: No such file or directory\n"},
      {"no file",
       {"repair", "boo.xdb", "saved.xdb"},
       6,
       "xkrdb: cannot open boo.xdb: No such file or directory; did you mean book.xdb?\n"},
      {"no target", {"repair", "book.xdb"}, 2, "xkrdb: target is required\nTry: xkrdb repair --help\n"},
  };
  for (const auto& row : kRows) {
    const Outcome outcome = Xkrdb(row.arguments);
    EXPECT_EQ(outcome.code, row.code) << row.why;
    EXPECT_EQ(outcome.err, row.message) << row.why;
    EXPECT_EQ(outcome.out, "") << row.why;
  }
  EXPECT_EQ(Read("there.xdb"), "something");
  EXPECT_EQ(Read("book.xdb"), sound_);
  ASSERT_EQ(symlink("book.xdb", Path("link.xdb").c_str()), 0);
  EXPECT_EQ(Xkrdb({"repair", "link.xdb", "saved.xdb"}).code, 6);
  ASSERT_EQ(mkdir(Path("folder.xdb").c_str(), 0700), 0);
  EXPECT_EQ(Xkrdb({"repair", "folder.xdb", "saved.xdb"}).code, 4);
  EXPECT_FALSE(Exists("saved.xdb"));
}

TEST_F(Repair, ADatabaseInUseIsExitCodeFive) {
  const HeldDatabase held(Path("book.xdb"));
  const Outcome outcome = Xkrdb({"repair", "book.xdb", "saved.xdb"});
  EXPECT_EQ(outcome.code, 5);
  EXPECT_EQ(outcome.err, "xkrdb: book.xdb is in use by another program (process " + std::to_string(getpid()) + ")\n");
  EXPECT_EQ(Files().find("saved"), std::string::npos);
}

TEST_F(Repair, WhatIsSavedBelongsToItsOwnerAlone) {
  ASSERT_EQ(chmod(Path("book.xdb").c_str(), 0644), 0);
  ASSERT_EQ(Xkrdb({"repair", "book.xdb", "saved.xdb"}).code, 0);
  struct stat found {};
  ASSERT_EQ(stat(Path("saved.xdb").c_str(), &found), 0);
  EXPECT_EQ(found.st_mode & 0777, 0600u);
}

TEST_F(Repair, WithoutRoomThereIsNoFile) {
  const Outcome outcome =
      RunProgram("/bin/sh", {"-c", "trap '' XFSZ; ulimit -f 20; \"$0\" repair book.xdb saved.xdb", XKRDB_TOOL_PROGRAM},
                 {folder(), "", {}});
  EXPECT_EQ(outcome.code, 6) << outcome.err;
  EXPECT_EQ(outcome.err, "xkrdb: cannot make saved.xdb: the disk refused, or there is no room\n");
  EXPECT_EQ(Files(), "book.xdb");
}

TEST_F(Repair, KilledAtAnyMomentItLeavesAWholeFileOrNone) {
  int killed = 0;
  for (int moment = 1, code = -1; code != 0; ++moment) {
    ASSERT_LT(moment, 30);
    (void)unlink(Path("saved.xdb").c_str());
    RunOptions options{
        folder(),
        "",
        {std::string("LD_PRELOAD=") + XKRDB_SYNC_PROBE, "XKRDB_SYNC_LOG=" + Path("syncs"),
         "ASAN_OPTIONS=verify_asan_link_order=0", "XKRDB_SYNC_SIGNAL=9", "XKRDB_SYNC_AT=" + std::to_string(moment)}};
    (void)unlink(Path("syncs").c_str());
    code = RunProgram(XKRDB_TOOL_PROGRAM, {"repair", "book.xdb", "saved.xdb"}, options).code;
    ASSERT_TRUE(code == 0 || code == 128 + SIGKILL) << code;
    if (code != 0) ++killed;
    EXPECT_EQ(Read("book.xdb"), sound_) << "moment " << moment;
    if (Exists("saved.xdb")) {
      EXPECT_EQ(Xkrdb({"export", "saved.xdb"}).out, exported_) << "moment " << moment;
    }
  }
  EXPECT_GT(killed, 2);
  EXPECT_TRUE(Exists("saved.xdb"));
}

TEST_F(Repair, OnATerminalNothingActsOnIt) {
  ClientDatabase database;
  database.fields = {{u"\u001b[2J", MDbFieldText, 0}};
  database.records = {{u"\u001b[2J"}};
  MakeClientDatabase(Path("client.xdb"), database);
  const Outcome outcome = XkrdbOnTerminal({"repair", "client.xdb", "saved.xdb"});
  EXPECT_EQ(outcome.code, 0);
  EXPECT_EQ(outcome.out.find('\x1b'), std::string::npos) << outcome.out;
  EXPECT_NE(outcome.out.find("DATA_0: 1 record saved\r\n"), std::string::npos) << outcome.out;
}

TEST_F(Repair, OtherNamesLeadToIt) {
  EXPECT_NE(Xkrdb({"recover", "book.xdb"}).err.find("did you mean \"repair\"?"), std::string::npos);
  EXPECT_NE(Xkrdb({"repair", "--help"}).out.find("xkrdb repair books.xdb saved.xdb"), std::string::npos);
}

// Damage in what is not used is a fault of the file, though the database opens.
TEST_F(Repair, CheckFindsDamageInADatabaseThatStillOpens) {
  ASSERT_EQ(Xkrdb({"rm", "book.xdb", "1-90", "--no-log"}).code, 0);
  std::string bytes = Read("book.xdb");
  // The number of the first free page, in the header.
  ASSERT_NE(bytes.substr(32, 4), std::string(4, '\0'));
  bytes[35] = static_cast<char>(bytes[35] ^ 1);
  Write("damaged.xdb", bytes);
  const Outcome check = Xkrdb({"check", "damaged.xdb"});
  EXPECT_EQ(check.code, 1) << check.err;
  EXPECT_EQ(check.out.substr(0, 13), "fault: file: ") << check.out;
  EXPECT_EQ(Xkrdb({"repair", "damaged.xdb", "saved.xdb"}).code, 0);
  EXPECT_EQ(Xkrdb({"export", "saved.xdb"}).out, Xkrdb({"export", "book.xdb"}).out);
}

}  // namespace
}  // namespace xkrdb::test
