// The tool led to places that are no databases and files that are no data: it ends by itself, says in words what is
// wrong, with the exit code for that, and leaves everything as it was.
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>

#include "client_database.h"
#include "folder_snapshot.h"
#include "tool_process.h"

namespace places {
namespace {

namespace fs = std::filesystem;
using xkrdb::test::Outcome;
using Words = std::vector<std::string>;

class ToolPlaces : public xkrdb::test::ToolTest {
 protected:
  ToolPlaces() { Make("sound.xdb", "a\n1\n2\n"); }

  // Runs the tool on a place and expects one line about it, and no trace.
  void ExpectRefused(const Words& arguments, int code, const std::string& message) const {
    SCOPED_TRACE(arguments[0]);
    const Lines before = SnapshotOfFolder(folder());
    const Outcome outcome = Xkrdb(arguments, "a\n1\n");
    EXPECT_EQ(outcome.code, code);
    EXPECT_EQ(outcome.err, "xkrdb: " + message + "\n");
    EXPECT_EQ(outcome.out, "");
    EXPECT_EQ(SnapshotOfFolder(folder()), before);
  }
};

struct Place {
  const char* why;
  std::string path;
  void (*make)(const std::string& folder);
  int code;             // of every command that opens a database
  std::string message;  // of those
  int new_code;         // of making one
  std::string new_message;
};

const std::string kLink = "is a symbolic link, and those are not followed; name the file itself";
const std::string kDamaged = "is not a database of this library, or it is damaged";
void Nothing(const std::string&) {}

const Place kPlaces[] = {
    {"a link to a database", "link.xdb", [](const std::string& f) { fs::create_symlink("sound.xdb", f + "/link.xdb"); },
     6, "link.xdb " + kLink, 6, "link.xdb exists already"},
    {"a link that leads nowhere", "link.xdb",
     [](const std::string& f) { fs::create_symlink("nowhere", f + "/link.xdb"); },  //
     6, "link.xdb " + kLink, 6, "link.xdb exists already"},
    {"a loop of links on the way", "link/book.xdb",
     [](const std::string& f) { fs::create_symlink("link", f + "/link"); },  //
     6, "cannot open link/book.xdb: Too many levels of symbolic links",      //
     6, "cannot make link/book.xdb: folder link: Too many levels of symbolic links"},
    {"a pipe", "pipe.xdb", [](const std::string& f) { ASSERT_EQ(mkfifo((f + "/pipe.xdb").c_str(), 0600), 0); },  //
     4, "pipe.xdb is not a file", 6, "pipe.xdb exists already"},
    {"a device", "/dev/zero", Nothing, 4, "/dev/zero is not a file", 6, "/dev/zero exists already"},
    {"a folder", "folder.xdb", [](const std::string& f) { fs::create_directory(f + "/folder.xdb"); },  //
     4, "folder.xdb is not a file", 6, "folder.xdb exists already"},
    {"an empty file", "file.xdb",
     [](const std::string& f) { close(open((f + "/file.xdb").c_str(), O_CREAT | O_WRONLY | O_CLOEXEC, 0600)); },  //
     4, "file.xdb " + kDamaged, 6, "file.xdb exists already"},
    {"two gigabytes of zeros", "file.xdb",
     [](const std::string& f) {
       close(open((f + "/file.xdb").c_str(), O_CREAT | O_WRONLY | O_CLOEXEC, 0600));
       fs::resize_file(f + "/file.xdb", uint64_t{2} << 30);
     },
     4, "file.xdb " + kDamaged, 6, "file.xdb exists already"},
    {"a file on the way", "sound.xdb/book.xdb", Nothing,    //
     6, "cannot open sound.xdb/book.xdb: Not a directory",  //
     6, "cannot make sound.xdb/book.xdb: folder sound.xdb: Not a directory"},
    {"a separator behind the name", "sound.xdb/", Nothing, 6, "cannot open sound.xdb/: Not a directory",  //
     6, "cannot make sound.xdb/: folder sound.xdb: Not a directory"},
    {"this folder", ".", Nothing, 4, ". is not a file", 6, ". exists already"},
    {"no name", "", Nothing, 2, "the name of the database is empty", 2, "the name of the database is empty"},
    {"a name of 256 bytes", std::string(256, 'n'), Nothing,               //
     6, "cannot open " + std::string(256, 'n') + ": File name too long",  //
     6, "cannot make " + std::string(256, 'n') + ": File name too long"},
    {"260 characters", std::string(260, 'n'), Nothing,                //
     2, "the path is 260 characters long, at most 259 are possible",  //
     2, "the path is 260 characters long, at most 259 are possible"},
    {"a journal beside a database", "sound.xdb",
     [](const std::string& f) { fs::create_symlink("nowhere", f + "/sound.xdb-journal"); },  //
     4,
     "sound.xdb-journal stands beside sound.xdb and does not belong to it; sound.xdb is opened once that is elsewhere",
     6, "sound.xdb exists already"},
    {"a folder in the place of a log", "sound.xdb",
     [](const std::string& f) { fs::create_directory(f + "/sound.xdb-wal"); },  //
     4,
     "sound.xdb-wal stands beside sound.xdb and does not belong to it; sound.xdb is opened once that is elsewhere",  //
     6, "sound.xdb exists already"},
};

TEST_F(ToolPlaces, EveryPlaceIsRefusedInWords) {
  for (const Place& place : kPlaces) {
    SCOPED_TRACE(place.why);
    place.make(folder());
    ExpectRefused({"list", place.path}, place.code, place.message);
    ExpectRefused({"new", place.path, "a"}, place.new_code, place.new_message);
    const bool is_there = place.message.find("cannot open") == std::string::npos;
    ExpectRefused({"import", place.path, "-"}, is_there ? place.code : place.new_code,
                  is_there ? place.message : place.new_message);
    for (const auto& entry : fs::directory_iterator(folder())) {
      if (entry.path().filename() != "sound.xdb") fs::remove_all(entry.path());
    }
  }
  EXPECT_EQ(Xkrdb({"list", "sound.xdb", "--count"}).out, "2\n");
}

TEST_F(ToolPlaces, EveryCommandRefusesWhatIsNoDatabase) {
  ASSERT_EQ(mkfifo(Path("pipe.xdb").c_str(), 0600), 0);
  const std::vector<Words> kCommands = {{"info"},   {"list"},   {"show", "1"},  {"find", "a"},       {"check"},
                                        {"log"},    {"export"}, {"add", "a=1"}, {"set", "1", "a=2"}, {"dup", "1"},
                                        {"rm", "1"}};
  for (Words command : kCommands) {
    command.insert(command.begin() + 1, "pipe.xdb");
    ExpectRefused(command, 4, "pipe.xdb is not a file");
  }
}

TEST_F(ToolPlaces, AFolderWhereALogShouldBeIsNamedWhenItIsInTheWay) {
  fs::create_directory(Path("new.xdb-wal"));
  ExpectRefused({"new", "new.xdb", "a"}, 6, "cannot make new.xdb: new.xdb-wal is in the way and cannot be taken away");
}

TEST_F(ToolPlaces, APathThatIsNotUtf8IsSaidSafely) {
  ExpectRefused({"list", "x\xFF.xdb"}, 2, "the path x\\xff.xdb is not UTF-8");
}

// ---- data

TEST_F(ToolPlaces, AFileOfValuesWithoutAnEndIsNotReadToIt) {
  const std::string kLong =
      ":1: a row of more than 2097152 bytes begins here; perhaps a quote in it is never closed, or this "
      "is no CSV file";
  Write("quote.csv", "a\n\"" + std::string(3 << 20, 'x') + "\"\n");
  Write("wide.csv", std::string(3 << 20, ','));
  Write("sparse.csv", "");
  fs::resize_file(Path("sparse.csv"), uint64_t{8} << 30);
  ExpectRefused({"import", "new.xdb", "/dev/zero"}, 3, "/dev/zero" + kLong);
  ExpectRefused({"import", "new.xdb", "sparse.csv"}, 3, "sparse.csv" + kLong);
  ExpectRefused({"import", "new.xdb", "wide.csv"}, 3, "wide.csv" + kLong);
  ExpectRefused({"import", "new.xdb", "quote.csv"}, 3, "quote.csv:2" + kLong.substr(2));
  for (const char* line : {"", "x"}) {
    const Outcome outcome = xkrdb::test::RunProgram(
        "/bin/sh", {"-c", "yes \"$1\" | \"$0\" import new.xdb -", XKRDB_TOOL_PROGRAM, line}, {folder(), "", {}});
    EXPECT_EQ(outcome.code, 3) << line;
    EXPECT_EQ(outcome.err, "xkrdb: standard input has more than 100000 lines; a database holds at most 5000 records\n");
  }
  const Outcome noise = Xkrdb({"import", "new.xdb", "/dev/urandom"});
  EXPECT_EQ(noise.code, 3);
  const Outcome problems = xkrdb::test::RunProgram(
      "/bin/sh", {"-c", "yes \"1,2\" | \"$0\" import new.xdb - --header a", XKRDB_TOOL_PROGRAM}, {folder(), "", {}});
  EXPECT_EQ(problems.code, 3);
  EXPECT_NE(problems.err.find("the file was not read beyond this line: there were 1"), std::string::npos);
  EXPECT_NE(problems.err.find("nothing was imported"), std::string::npos);
  EXPECT_FALSE(Exists("new.xdb"));
}

TEST_F(ToolPlaces, WhatIsNoFileOfValuesIsRefused) {
  fs::create_directory(Path("folder"));
  fs::create_symlink("nowhere", Path("link.csv"));
  ExpectRefused({"import", "new.xdb", "folder"}, 6, "cannot read folder: Is a directory");
  ExpectRefused({"import", "new.xdb", "link.csv"}, 6, "cannot read link.csv: No such file or directory");
  ExpectRefused({"import", "new.xdb", "sound.xdb/data.csv"}, 6, "cannot read sound.xdb/data.csv: Not a directory");
  const Outcome empty = Xkrdb({"import", "new.xdb", "/dev/null"});
  EXPECT_EQ(empty.code, 3);
  EXPECT_NE(empty.err.find("/dev/null:1: the file is empty"), std::string::npos) << empty.err;
  EXPECT_FALSE(Exists("new.xdb"));
}

TEST_F(ToolPlaces, AnExportGoesNowhereThatWasNotMeant) {
  Write("kept.csv", "kept");
  fs::create_directory(Path("folder"));
  fs::create_symlink("kept.csv", Path("link.csv"));
  fs::create_symlink("nowhere", Path("dangling.csv"));
  ExpectRefused({"export", "sound.xdb", "folder"}, 6, "cannot write folder: Is a directory");
  ExpectRefused({"export", "sound.xdb", "folder", "--force"}, 6, "cannot write folder: Is a directory");
  ExpectRefused({"export", "sound.xdb", "kept.csv"}, 6, "cannot write kept.csv: File exists; --force replaces it");
  ExpectRefused({"export", "sound.xdb", "link.csv"}, 6, "cannot write link.csv: File exists; --force replaces it");
  ExpectRefused({"export", "sound.xdb", "dangling.csv"}, 6,
                "cannot write dangling.csv: File exists; --force replaces it");
  ExpectRefused({"export", "sound.xdb", "sound.xdb"}, 2, "sound.xdb looks like a database; export writes CSV or JSON");
  ExpectRefused({"export", "sound.xdb", "/dev/full"}, 6, "cannot write /dev/full: No space left on device");
  ExpectRefused({"export", "sound.xdb", "nowhere/out.csv"}, 6,
                "cannot write nowhere/out.csv: No such file or directory");
  EXPECT_EQ(Xkrdb({"export", "sound.xdb", "link.csv", "--force"}).code, 0);
  EXPECT_EQ(Read("kept.csv"), "kept") << "the link was replaced and not what it led to";
  EXPECT_EQ(Read("link.csv"), "a\n1\n2\n");
}

}  // namespace
}  // namespace places
