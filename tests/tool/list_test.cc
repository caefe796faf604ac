// xkrdb list, find, show, info and log: what is printed, in which order, and what is found.
#include <gtest/gtest.h>

#include "client_database.h"
#include "tool_process.h"

namespace xkrdb::test {
namespace {

constexpr const char* kPlanets =
    "planet,size,seen,rises\n"
    "Mars,6792,,07:05\n"
    "Uranus,51118,1781-03-13,23:10\n"
    "Neptune,49528,1846-09-23,\n"
    "Große Venus,12104,,06:30\n";

class List : public ToolTest {
 protected:
  List() { Make("book.xdb", kPlanets); }
  std::string Csv(std::vector<std::string> more) const {
    more.insert(more.begin(), {"list", "book.xdb", "--csv", "--columns", "planet"});
    const std::string all = Xkrdb(more).out;
    return all.substr(all.find('\n') + 1);
  }
};

TEST_F(List, PrintsAnAlignedTableInTheOrderOfCreation) {
  EXPECT_EQ(Xkrdb({"list", "book.xdb"}).out,
            "#  planet        size  seen        rises\n"
            "1  Mars          6792              07:05\n"
            "2  Uranus       51118  1781-03-13  23:10\n"
            "3  Neptune      49528  1846-09-23\n"
            "4  Große Venus  12104              06:30\n");
}

TEST_F(List, PrintsJsonWithNumbersWhereTheyStandForTheSameText) {
  EXPECT_EQ(Xkrdb({"list", "book.xdb", "--json", "--limit", "2"}).out,
            "[\n"
            "  {\"planet\":\"Mars\",\"size\":6792,\"seen\":\"\",\"rises\":\"07:05\"},\n"
            "  {\"planet\":\"Uranus\",\"size\":51118,\"seen\":\"1781-03-13\",\"rises\":\"23:10\"}\n"
            "]\n");
}

TEST_F(List, AddsRecordNumbersWhenAsked) {
  EXPECT_EQ(Xkrdb({"list", "book.xdb", "--csv", "--numbers", "--columns", "size,planet", "--limit", "1"}).out,
            "#,size,planet\n1,6792,Mars\n");
  EXPECT_EQ(Xkrdb({"list", "book.xdb", "--json", "--numbers", "--columns", "planet", "--limit", "1"}).out,
            "[\n  {\"#\":1,\"planet\":\"Mars\"}\n]\n");
}

TEST_F(List, SortsNumbersByValue) {
  EXPECT_EQ(Csv({"--sort", "size"}), "Mars\nGroße Venus\nNeptune\nUranus\n");
  EXPECT_EQ(Csv({"--sort", "size", "--descending"}), "Uranus\nNeptune\nGroße Venus\nMars\n");
}

TEST_F(List, SortsEmptyDatesAndTimesBeforeAllOthers) {
  EXPECT_EQ(Csv({"--sort", "seen"}), "Mars\nGroße Venus\nUranus\nNeptune\n");
  EXPECT_EQ(Csv({"--sort", "rises"}), "Neptune\nGroße Venus\nMars\nUranus\n");
}

TEST_F(List, KeepsNumbersUnderASort) {
  EXPECT_EQ(Xkrdb({"list", "book.xdb", "--sort", "planet", "--columns", "planet"}).out,
            "#  planet\n4  Große Venus\n1  Mars\n3  Neptune\n2  Uranus\n");
}

TEST_F(List, WhereComparesByValue) {
  EXPECT_EQ(Csv({"--where", "size=06792"}), "Mars\n");
  EXPECT_EQ(Csv({"--where", "seen=1781/3/13"}), "Uranus\n");
  EXPECT_EQ(Csv({"--where", "rises=7:05:00"}), "Mars\n");
}

TEST_F(List, WhereFindsTextByBeginningsOfWords) {
  EXPECT_EQ(Csv({"--where", "planet=ven"}), "Große Venus\n");
  EXPECT_EQ(Csv({"--where", "planet=VENUS grosse"}), "Große Venus\n");
  EXPECT_EQ(Csv({"--where", "planet=enus"}), "");
}

TEST_F(List, WordsSearchesTheTextOfAnyField) {
  EXPECT_EQ(Csv({"--where", "seen=1781", "--words"}), "Uranus\n");
  EXPECT_EQ(Csv({"--where", "size=51", "--words"}), "Uranus\n");
}

TEST_F(List, ExactTakesOnlyTheSameText) {
  EXPECT_EQ(Csv({"--where", "planet=Venus", "--exact"}), "");
  EXPECT_EQ(Csv({"--where", "planet=Große Venus", "--exact"}), "Große Venus\n");
  EXPECT_EQ(Csv({"--where", "size=06792", "--exact"}), "");
  EXPECT_EQ(Csv({"--where", "seen=", "--exact", "--sort", "planet"}), "Große Venus\nMars\n");
}

TEST_F(List, SeveralConditionsMustAllBeMet) {
  EXPECT_EQ(Csv({"--where", "size=51118", "--where", "planet=ura"}), "Uranus\n");
  EXPECT_EQ(Csv({"--where", "size=51118", "--where", "planet=mars"}), "");
}

TEST_F(List, SortsWhatWasFound) {
  Make("words.xdb", "name,n\nb one,2\na one,3\nc two,1\n");
  EXPECT_EQ(Xkrdb({"list", "words.xdb", "--where", "name=one", "--sort", "n", "--desc", "--csv"}).out,
            "name,n\na one,3\nb one,2\n");
}

TEST_F(List, LimitAndSkipTakeAWindow) {
  EXPECT_EQ(Csv({"--skip", "1", "--limit", "2"}), "Uranus\nNeptune\n");
  EXPECT_EQ(Csv({"--offset", "9"}), "");
  EXPECT_EQ(Csv({"--limit", "0"}), "");
}

TEST_F(List, NothingFoundIsExitCodeOneWithNothingOnStandardOutput) {
  const Outcome outcome = Xkrdb({"list", "book.xdb", "--where", "planet=pluto"});
  EXPECT_EQ(outcome.code, 1);
  EXPECT_EQ(outcome.out, "");
  EXPECT_EQ(outcome.err, "nothing found\n");
  EXPECT_EQ(Xkrdb({"list", "book.xdb", "--where", "planet=pluto", "--json"}).out, "[]\n");
}

TEST_F(List, AnEmptyDatabaseIsListedWithoutFailure) {
  ASSERT_EQ(Xkrdb({"new", "empty.xdb", "a"}).code, 0);
  const Outcome outcome = Xkrdb({"list", "empty.xdb"});
  EXPECT_EQ(outcome.code, 0);
  EXPECT_EQ(outcome.out, "");
  EXPECT_EQ(Xkrdb({"list", "empty.xdb", "--csv"}).out, "a\n");
  EXPECT_EQ(Xkrdb({"list", "empty.xdb", "--sort", "a", "--csv"}).out, "a\n");
}

TEST_F(List, AFieldNameDiffersInCaseAlone) { EXPECT_EQ(Csv({"--where", "PLANET=mars"}), "Mars\n"); }

TEST_F(List, AnUnknownFieldIsUsageWithTheNearestNameAndAll) {
  const Outcome outcome = Xkrdb({"list", "book.xdb", "--sort", "plant"});
  EXPECT_EQ(outcome.code, 2);
  EXPECT_EQ(outcome.err,
            "xkrdb: no field \"plant\"; did you mean \"planet\"? The fields are: planet, size, seen, rises\n");
  EXPECT_EQ(Xkrdb({"list", "book.xdb", "--columns", "planet,siz"}).code, 2);
  EXPECT_EQ(Xkrdb({"list", "book.xdb", "--where", "x=1"}).code, 2);
  EXPECT_EQ(Xkrdb({"list", "book.xdb", "--where", "planet"}).code, 2);
}

TEST_F(List, DisplayOrderIsTheDatabasesOwn) {
  ClientDatabase database;
  database.fields = {{u"first", MDbFieldText, 2}, {u"second", MDbFieldText, 0}, {u"third", MDbFieldText, 1}};
  database.records = {{u"1", u"2", u"3"}};
  MakeClientDatabase(Path("client.xdb"), database);
  EXPECT_EQ(Xkrdb({"list", "client.xdb", "--csv"}).out, "second,third,first\n2,3,1\n");
  EXPECT_EQ(Xkrdb({"export", "client.xdb"}).out, "first,second,third\n1,2,3\n");
}

TEST_F(List, TheSameNameTwiceIsOneMemberEachInJson) {
  ClientDatabase database;
  database.fields = {{u"a", MDbFieldText, 0}, {u"a", MDbFieldText, 1}};
  database.records = {{u"1", u"2"}};
  MakeClientDatabase(Path("client.xdb"), database);
  EXPECT_EQ(Xkrdb({"list", "client.xdb", "--json"}).out, "[\n  {\"a\":\"1\",\"a (2)\":\"2\"}\n]\n");
}

TEST_F(List, FindSearchesEveryFieldForEveryWord) {
  EXPECT_EQ(Xkrdb({"find", "book.xdb", "grosse", "ven", "--csv", "--columns", "planet"}).out, "planet\nGroße Venus\n");
  EXPECT_EQ(Xkrdb({"find", "book.xdb", "1781", "--csv", "--columns", "planet"}).out, "planet\nUranus\n");
  EXPECT_EQ(Xkrdb({"find", "book.xdb", "1781", "--field", "planet"}).code, 1);
  EXPECT_EQ(Xkrdb({"find", "book.xdb", "mars", "venus"}).code, 1);
  EXPECT_EQ(Xkrdb({"find", "book.xdb", " "}).code, 2);
}

TEST_F(List, ShowPrintsWholeRecords) {
  EXPECT_EQ(Xkrdb({"show", "book.xdb", "2"}).out,
            "#       2 (as imported)\n"
            "planet  Uranus\n"
            "size    51118\n"
            "seen    1781-03-13\n"
            "rises   23:10\n");
  EXPECT_EQ(Xkrdb({"show", "book.xdb", "3-last", "1", "3", "--csv", "--columns", "planet"}).out,
            "planet\nNeptune\nGroße Venus\nMars\n");
}

TEST_F(List, ARecordThatIsNotThereIsExitCodeOne) {
  const Outcome outcome = Xkrdb({"show", "book.xdb", "5"});
  EXPECT_EQ(outcome.code, 1);
  EXPECT_EQ(outcome.err, "xkrdb: there is no record 5: the database has records 1 to 4\n");
  EXPECT_EQ(Xkrdb({"show", "book.xdb", "0"}).code, 1);
  EXPECT_EQ(Xkrdb({"show", "book.xdb", "mars"}).code, 2);
  EXPECT_EQ(Xkrdb({"show", "book.xdb", "3-2"}).code, 2);
}

TEST_F(List, InfoTellsWhatTheDatabaseIsMadeOf) {
  EXPECT_EQ(Xkrdb({"info", "book.xdb"}).out,
            "file          book.xdb\n"
            "name          book\n"
            "records       4 of at most 5000\n"
            "deletion log  0 entries\n"
            "dates         year-month-day, separator \"-\", leading zeros\n"
            "times         24-hour clock, separator \":\", suffixes \"AM\" and \"PM\"\n"
            "\n"
            "field   type    most characters\n"
            "planet  text               1023\n"
            "size    number              127\n"
            "seen    date                127\n"
            "rises   time                127\n");
  const std::string json = Xkrdb({"info", "book.xdb", "--json"}).out;
  EXPECT_NE(json.find("\"records\": 4"), std::string::npos) << json;
  EXPECT_NE(json.find("\"type\": \"date\""), std::string::npos) << json;
}

TEST_F(List, LogListsDeletedRecordsInTheOrderOfDeletion) {
  EXPECT_EQ(Xkrdb({"log", "book.xdb", "--json"}).out, "[]\n");
  ASSERT_EQ(Xkrdb({"rm", "book.xdb", "3"}).code, 0);
  ASSERT_EQ(Xkrdb({"rm", "book.xdb", "1"}).code, 0);
  EXPECT_EQ(Xkrdb({"log", "book.xdb", "--csv", "--columns", "planet", "--numbers"}).out,
            "#,planet\n1,Neptune\n2,Mars\n");
}

}  // namespace
}  // namespace xkrdb::test
