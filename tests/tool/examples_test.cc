// The examples are what they say they are: the table is sound and round-trips, the client runs.
#include <gtest/gtest.h>

#include <algorithm>
#include <fstream>
#include <sstream>

#include "tool_process.h"

namespace xkrdb::test {
namespace {

class Examples : public ToolTest {
 protected:
  static std::string Table() {
    std::ifstream file(std::string(XKRDB_EXAMPLES_FOLDER) + "/spaceflights.csv", std::ios::binary);
    std::ostringstream bytes;
    bytes << file.rdbuf();
    return bytes.str();
  }
};

TEST_F(Examples, TheTableHasEveryTypeAndOverAHundredRows) {
  Make("flights.xdb", Table());
  EXPECT_EQ(Xkrdb({"info", "flights.xdb", "--csv"}).out,
            "field,type,most_characters\nmission,text,1023\nvehicle,text,1023\ncrew,text,1023\ncrew_size,number,127\n"
            "launched,date,127\nlaunch_time,time,127\nduration,time,127\n");
  EXPECT_GE(std::stoi(Xkrdb({"list", "flights.xdb", "--count"}).out), 100);
  EXPECT_EQ(Xkrdb({"check", "flights.xdb", "--json"}).out, "[]\n");
}

TEST_F(Examples, TheTableIsExportedToTheSameBytes) {
  Make("flights.xdb", Table());
  EXPECT_EQ(Xkrdb({"export", "flights.xdb"}).out, Table());
}

TEST_F(Examples, TheTableIsSearchedAndSorted) {
  Make("flights.xdb", Table());
  EXPECT_EQ(Xkrdb({"list", "flights.xdb", "--where", "launched=1969-7-16", "--csv", "--columns", "mission,crew"}).out,
            "mission,crew\nApollo 11,\"Armstrong, Collins, Aldrin\"\n");
  EXPECT_EQ(
      Xkrdb({"list", "flights.xdb", "--sort", "duration", "--desc", "--limit", "1", "--csv", "--columns", "mission"})
          .out,
      "mission\nSkylab 4\n");
  EXPECT_EQ(Xkrdb({"find", "flights.xdb", "jahn", "--csv", "--columns", "mission"}).out, "mission\nSoyuz 31\n");
}

TEST_F(Examples, TheClientPrintsWhatItDoesAndLeavesASoundDatabase) {
  const Outcome outcome = RunProgram(XKRDB_CLIENT_PROGRAM, {"planets.xdb"}, {folder(), "", {}});
  EXPECT_EQ(outcome.code, 0) << outcome.err;
  EXPECT_EQ(outcome.out.substr(0, outcome.out.find("  Saturn")),
            "8 planets, the largest first:\n  Jupiter\t142984\t\n");
  EXPECT_NE(outcome.out.find("Planets with a word that begins with \"ma\":\n  Mars\t6792\t\n"), std::string::npos);
  EXPECT_EQ(Xkrdb({"check", "planets.xdb"}).code, 0);
  EXPECT_EQ(Xkrdb({"list", "planets.xdb", "--count"}).out, "8\n");
  EXPECT_NE(RunProgram(XKRDB_CLIENT_PROGRAM, {"planets.xdb"}, {folder(), "", {}}).code, 0) << "the file exists";
  EXPECT_NE(RunProgram(XKRDB_CLIENT_PROGRAM, {}, {folder(), "", {}}).code, 0);
}

}  // namespace
}  // namespace xkrdb::test
