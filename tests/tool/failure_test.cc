// Files that are missing, foreign, damaged, locked or not permitted: each cause has its exit code and its words.
#include <fcntl.h>
#include <gtest/gtest.h>
#include <signal.h>
#include <sys/stat.h>
#include <unistd.h>

#include "client_database.h"
#include "tool_process.h"

namespace xkrdb::test {
namespace {

using Failure = ToolTest;

TEST_F(Failure, AMissingFileIsExitCodeSixWithTheNearestName) {
  Make("planets.xdb", "a\n1\n");
  const Outcome outcome = Xkrdb({"list", "planet.xdb"});
  EXPECT_EQ(outcome.code, 6);
  EXPECT_EQ(outcome.err, "xkrdb: cannot open planet.xdb: No such file or directory; did you mean planets.xdb?\n");
  EXPECT_EQ(Xkrdb({"list", "planets"}).err,
            "xkrdb: cannot open planets: No such file or directory; did you mean planets.xdb?\n");
  EXPECT_EQ(Xkrdb({"list", "nowhere/x.xdb"}).code, 6);
  EXPECT_EQ(Files(), "planets.xdb");
}

TEST_F(Failure, AFileOfAnotherKindIsExitCodeFourAndStaysAsItIs) {
  const std::string bytes(5000, 'x');
  for (const char* command : {"list", "info", "check", "export", "log"}) {
    Write("book.xdb", bytes);
    const Outcome outcome = Xkrdb({command, "book.xdb"});
    EXPECT_EQ(outcome.code, 4) << command;
    // check has looked at every byte and knows.
    const std::string or_damaged = std::string(command) == "check" ? "" : ", or it is damaged";
    EXPECT_EQ(outcome.err, "xkrdb: book.xdb is not a database of this library" + or_damaged + "\n") << command;
    EXPECT_EQ(Read("book.xdb"), bytes) << command;
  }
  EXPECT_EQ(Xkrdb({"import", "book.xdb", "-"}, "a\n1\n").code, 4);
  EXPECT_EQ(Read("book.xdb"), bytes);
}

TEST_F(Failure, AnEmptyFileAndAFolderAreNoDatabases) {
  Write("empty.xdb", "");
  EXPECT_EQ(Xkrdb({"list", "empty.xdb"}).code, 4);
  ASSERT_EQ(mkdir(Path("folder.xdb").c_str(), 0700), 0);
  const Outcome outcome = Xkrdb({"list", "folder.xdb"});
  EXPECT_EQ(outcome.code, 4);
  EXPECT_EQ(outcome.err, "xkrdb: folder.xdb is not a file\n");
}

TEST_F(Failure, ADatabaseThatIsNotWholeIsExitCodeFour) {
  ClientDatabase database;
  database.fields = {{u"a", MDbFieldText, 0}};
  database.mark = 2;
  MakeClientDatabase(Path("changing.xdb"), database);
  database.write_mark = false;
  MakeClientDatabase(Path("unmarked.xdb"), database);
  const Outcome changing = Xkrdb({"list", "changing.xdb"});
  EXPECT_EQ(changing.code, 4);
  EXPECT_NE(changing.err.find("marked as not whole"), std::string::npos) << changing.err;
  const Outcome unmarked = Xkrdb({"list", "unmarked.xdb"});
  EXPECT_EQ(unmarked.code, 4);
  EXPECT_NE(unmarked.err.find("is not complete"), std::string::npos) << unmarked.err;
}

TEST_F(Failure, ADatabaseWithoutFieldsIsExitCodeFour) {
  MakeClientDatabase(Path("bare.xdb"), {});
  const Outcome outcome = Xkrdb({"list", "bare.xdb"});
  EXPECT_EQ(outcome.code, 4);
  EXPECT_EQ(outcome.err, "xkrdb: bare.xdb has no fields\n");
}

TEST_F(Failure, ADatabaseInUseIsExitCodeFiveWithTheProcess) {
  Make("book.xdb", "a\n1\n");
  {
    const HeldDatabase held(Path("book.xdb"));
    for (const std::vector<std::string>& arguments :
         {std::vector<std::string>{"list", "book.xdb"}, {"add", "book.xdb", "a=2"}, {"check", "book.xdb"}}) {
      const Outcome outcome = Xkrdb(arguments);
      EXPECT_EQ(outcome.code, 5) << arguments[0];
      EXPECT_EQ(outcome.err,
                "xkrdb: book.xdb is in use by another program (process " + std::to_string(getpid()) + ")\n");
    }
    EXPECT_EQ(Xkrdb({"import", "book.xdb", "-"}, "a\n2\n").code, 5);
  }
  EXPECT_EQ(Xkrdb({"list", "book.xdb", "--count"}).out, "1\n");
}

TEST_F(Failure, ASymbolicLinkIsNotFollowed) {
  Make("book.xdb", "a\n1\n");
  ASSERT_EQ(symlink("book.xdb", Path("link.xdb").c_str()), 0);
  const Outcome outcome = Xkrdb({"list", "link.xdb"});
  EXPECT_EQ(outcome.code, 6);
  EXPECT_NE(outcome.err.find("symbolic link"), std::string::npos) << outcome.err;
}

// Permissions do not hold for root, who runs the tool as somebody else here.
TEST_F(Failure, PermissionsAreSaid) {
  constexpr unsigned kNobody = 65534;
  Make("book.xdb", "a\n1\n");
  ASSERT_EQ(chmod(folder().c_str(), 0777), 0);
  const RunOptions options{folder(), "", {}, geteuid() == 0 ? kNobody : 0};
  // A program built for coverage also complains of its counters, which belong to the user who built it.
  const Outcome version = RunProgram(XKRDB_TOOL_PROGRAM, {"--version"}, options);
  if (version.code != 0 || !version.err.empty()) GTEST_SKIP() << "another user cannot run the program: " << version.err;
  ASSERT_EQ(chmod(Path("book.xdb").c_str(), 0444), 0);
  const Outcome file = RunProgram(XKRDB_TOOL_PROGRAM, {"list", "book.xdb"}, options);
  EXPECT_EQ(file.code, 6);
  EXPECT_EQ(file.err, "xkrdb: book.xdb must be readable and writable: Permission denied\n");
  ASSERT_EQ(chmod(Path("book.xdb").c_str(), 0666), 0);
  ASSERT_EQ(chmod(folder().c_str(), 0555), 0);
  const Outcome place =
      RunProgram(XKRDB_TOOL_PROGRAM, {"import", "other.xdb", "-"}, {folder(), "a\n1\n", {}, options.user});
  EXPECT_EQ(place.code, 6);
  EXPECT_EQ(place.err, "xkrdb: cannot make other.xdb: folder .: Permission denied\n");
  ASSERT_EQ(chmod(folder().c_str(), 0777), 0);
}

TEST_F(Failure, ANewDatabaseNeedsItsFolder) {
  const Outcome outcome = Xkrdb({"import", "nowhere/book.xdb", "-"}, "a\n1\n");
  EXPECT_EQ(outcome.code, 6);
  EXPECT_EQ(outcome.err, "xkrdb: cannot make nowhere/book.xdb: folder nowhere: No such file or directory\n");
}

TEST_F(Failure, AMissingDataFileIsExitCodeSixAndMakesNoDatabase) {
  const Outcome outcome = Xkrdb({"import", "book.xdb", "nowhere.csv"});
  EXPECT_EQ(outcome.code, 6);
  EXPECT_EQ(outcome.err, "xkrdb: cannot read nowhere.csv: No such file or directory\n");
  EXPECT_EQ(Xkrdb({"import", "book.xdb", "."}).code, 6);
  EXPECT_EQ(Files(), "");
}

TEST_F(Failure, OutputThatCannotBeWrittenIsExitCodeSix) {
  Make("book.xdb", "a\n1\n");
  const Outcome outcome = Xkrdb({"export", "book.xdb", "/dev/full"});
  EXPECT_EQ(outcome.code, 6);
  EXPECT_EQ(outcome.err, "xkrdb: cannot write /dev/full: No space left on device\n");
  EXPECT_EQ(Xkrdb({"export", "book.xdb", "nowhere/out.csv"}).code, 6);
  const Outcome shell =
      RunProgram("/bin/sh", {"-c", "\"$0\" list book.xdb >/dev/full", XKRDB_TOOL_PROGRAM}, {folder(), "", {}});
  EXPECT_EQ(shell.code, 6);
  EXPECT_EQ(shell.err, "xkrdb: cannot write the output: No space left on device\n");
}

TEST_F(Failure, AReaderThatGoesAwayIsNoFailure) {
  std::string csv = "a\n";
  for (int i = 0; i < 3000; ++i) csv += std::string(100, 'x') + "\n";
  Make("book.xdb", csv);
  const Outcome outcome =
      RunProgram("/bin/sh", {"-c", "{ \"$0\" list book.xdb; echo $? >code; } | head -n 1", XKRDB_TOOL_PROGRAM},
                 {folder(), "", {}});
  EXPECT_EQ(outcome.err, "");
  EXPECT_EQ(Read("code"), "0\n");
}

TEST_F(Failure, ADiskThatIsFullLeavesNoNewDatabaseBehind) {
  std::string csv = "a\n";
  for (int i = 0; i < 3000; ++i) csv += std::string(500, 'x') + "\n";
  Write("data.csv", csv);
  // A limit on the size of files stands for a disk without room; the signal that comes with it is ignored.
  const Outcome outcome =
      RunProgram("/bin/sh", {"-c", "trap '' XFSZ; ulimit -f 400; \"$0\" import book.xdb data.csv", XKRDB_TOOL_PROGRAM},
                 {folder(), "", {}});
  EXPECT_EQ(outcome.code, 6) << outcome.err;
  EXPECT_FALSE(Exists("book.xdb")) << Files();
}

TEST_F(Failure, ADiskThatIsFullLeavesADatabaseAsItWas) {
  Make("book.xdb", "a\nfirst\n");
  std::string csv = "a\n";
  for (int i = 0; i < 3000; ++i) csv += std::string(500, 'x') + "\n";
  Write("data.csv", csv);
  const Outcome outcome =
      RunProgram("/bin/sh", {"-c", "trap '' XFSZ; ulimit -f 400; \"$0\" import book.xdb data.csv", XKRDB_TOOL_PROGRAM},
                 {folder(), "", {}});
  EXPECT_EQ(outcome.code, 6) << outcome.err;
  EXPECT_EQ(Xkrdb({"export", "book.xdb"}).out, "a\nfirst\n");
}

}  // namespace
}  // namespace xkrdb::test
