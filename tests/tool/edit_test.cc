// xkrdb new, add, set, dup and rm.
#include <gtest/gtest.h>

#include "tool_process.h"

namespace xkrdb::test {
namespace {

class Edit : public ToolTest {
 protected:
  Edit() { Make("book.xdb", "name,size,seen\nMars,1,2024-05-06\nVenus,2,\nEarth,3,\n"); }
  std::string All() const { return Xkrdb({"export", "book.xdb"}).out; }
};

using New = ToolTest;

TEST_F(New, MakesFieldsOfEveryTypeAndTextWhereNoneIsGiven) {
  const Outcome outcome = Xkrdb({"new", "book.xdb", "title", "year=number", "bought=date", "at=time", "a=b=text"});
  EXPECT_EQ(outcome.code, 0);
  EXPECT_EQ(outcome.err, "book.xdb: made with 5 fields\n");
  EXPECT_EQ(
      Xkrdb({"info", "book.xdb", "--csv"}).out,
      "field,type,most_characters\ntitle,text,1023\nyear,number,127\nbought,date,127\nat,time,127\na=b,text,1023\n");
}

TEST_F(New, StoresNameListsAndFormats) {
  ASSERT_EQ(Xkrdb({"new", "book.xdb", "a=date", "b=time", "--name", "Mine", "--list", "red;green", "--list", "",
                   "--date-order", "dmy", "--date-separator", ".", "--twelve-hour"})
                .code,
            0);
  const std::string info = Xkrdb({"info", "book.xdb", "--json"}).out;
  EXPECT_NE(info.find("\"name\": \"Mine\""), std::string::npos) << info;
  EXPECT_NE(info.find("day-month-year, separator \\\".\\\", leading zeros"), std::string::npos) << info;
  EXPECT_NE(info.find("12-hour clock"), std::string::npos) << info;
  EXPECT_NE(info.find("\"red;green\",\n    \"\""), std::string::npos) << info;
  EXPECT_EQ(Xkrdb({"add", "book.xdb", "a=31.12.1999"}).code, 0);
  EXPECT_EQ(Xkrdb({"add", "book.xdb", "a=1999-31-12"}).code, 3);
}

TEST_F(New, RefusesWhatIsThereAlready) {
  Write("book.xdb", "precious");
  const Outcome outcome = Xkrdb({"new", "book.xdb", "a"});
  EXPECT_EQ(outcome.code, 6);
  EXPECT_EQ(outcome.err, "xkrdb: book.xdb exists already\n");
  EXPECT_EQ(Read("book.xdb"), "precious");
}

TEST_F(New, RefusesFieldsThatCannotBe) {
  EXPECT_EQ(Xkrdb({"new", "book.xdb", "a=colour"}).err,
            "xkrdb: field \"a\": no type \"colour\"; the types are text, number, date and time\n");
  EXPECT_EQ(Xkrdb({"new", "book.xdb", "a", "a=date"}).code, 2);
  EXPECT_EQ(Xkrdb({"new", "book.xdb", "=text"}).code, 2);
  EXPECT_EQ(Xkrdb({"new", "book.xdb"}).code, 2);
  EXPECT_EQ(Xkrdb({"new", "book.xdb", "a", "--date-separator", "5"}).code, 2);
  EXPECT_EQ(Files(), "");
}

TEST_F(Edit, AddPrintsTheNewRecordsNumber) {
  const Outcome outcome = Xkrdb({"add", "book.xdb", "size=4", "name=O'Brien, \"B\" = C"});
  EXPECT_EQ(outcome.code, 0);
  EXPECT_EQ(outcome.out, "4\n");
  EXPECT_EQ(Xkrdb({"show", "book.xdb", "last", "--csv"}).out, "name,size,seen\n\"O'Brien, \"\"B\"\" = C\",4,\n");
}

TEST_F(Edit, AddRefusesAWrongValueAndAddsNothing) {
  const Outcome outcome = Xkrdb({"add", "book.xdb", "name=x", "seen=yesterday"});
  EXPECT_EQ(outcome.code, 3);
  EXPECT_EQ(outcome.err,
            "xkrdb: field \"seen\": \"yesterday\" is not a date in the order year-month-day; nothing was changed\n");
  EXPECT_EQ(Xkrdb({"add", "book.xdb", "name=" + std::string(1024, 'x')}).code, 3);
  EXPECT_EQ(Xkrdb({"add", "book.xdb", "size=1.5"}).code, 3);
  EXPECT_EQ(Xkrdb({"add", "book.xdb", "name=a", "name=b"}).code, 2);
  EXPECT_EQ(Xkrdb({"add", "book.xdb", "name=\xFF"}).code, 2);
  EXPECT_EQ(Xkrdb({"add", "book.xdb"}).code, 2);
  EXPECT_EQ(Xkrdb({"list", "book.xdb", "--count"}).out, "3\n");
  EXPECT_EQ(Xkrdb({"add", "book.xdb", "size=1.5", "--any-value"}).code, 0);
}

TEST_F(Edit, SetChangesTheFieldsThatAreNamed) {
  EXPECT_EQ(Xkrdb({"set", "book.xdb", "2", "name=Venus ♀", "seen=2020-01-01"}).code, 0);
  EXPECT_EQ(Xkrdb({"set", "book.xdb", "1", "seen="}).code, 0);
  EXPECT_EQ(All(), "name,size,seen\nMars,1,\nVenus ♀,2,2020-01-01\nEarth,3,\n");
}

TEST_F(Edit, SetTakesARange) {
  const Outcome outcome = Xkrdb({"set", "book.xdb", "2-last", "size=9"});
  EXPECT_EQ(outcome.err, "2 records changed\n");
  EXPECT_EQ(All(), "name,size,seen\nMars,1,2024-05-06\nVenus,9,\nEarth,9,\n");
}

TEST_F(Edit, SetChangesNothingWhenOneArgumentIsWrong) {
  const std::string before = All();
  EXPECT_EQ(Xkrdb({"set", "book.xdb", "1", "name=x", "size=big"}).code, 3);
  EXPECT_EQ(Xkrdb({"set", "book.xdb", "1", "name=x", "colour=red"}).code, 2);
  EXPECT_EQ(Xkrdb({"set", "book.xdb", "9", "name=x"}).code, 1);
  EXPECT_EQ(All(), before);
}

TEST_F(Edit, SetMarksTheRecordAsTouched) {
  ASSERT_EQ(Xkrdb({"set", "book.xdb", "1", "size=7"}).code, 0);
  EXPECT_EQ(Xkrdb({"show", "book.xdb", "1"}).out.substr(0, 16), "#     1 (touched");
}

TEST_F(Edit, DupCopiesARecordToTheEnd) {
  const Outcome outcome = Xkrdb({"dup", "book.xdb", "1", "3"});
  EXPECT_EQ(outcome.out, "4\n5\n");
  EXPECT_EQ(All(), "name,size,seen\nMars,1,2024-05-06\nVenus,2,\nEarth,3,\nMars,1,2024-05-06\nEarth,3,\n");
  EXPECT_EQ(Xkrdb({"dup", "book.xdb", "6"}).code, 1);
}

TEST_F(Edit, RemoveTakesNumbersInAnyOrder) {
  EXPECT_EQ(Xkrdb({"rm", "book.xdb", "1", "3"}).err, "2 records deleted\n");
  EXPECT_EQ(All(), "name,size,seen\nVenus,2,\n");
  EXPECT_EQ(Xkrdb({"log", "book.xdb", "--count"}).code, 2);
  EXPECT_EQ(Xkrdb({"log", "book.xdb", "--csv", "--columns", "name"}).out, "name\nEarth\nMars\n");
}

TEST_F(Edit, RemoveTakesWhatASearchFindsOrEverything) {
  EXPECT_EQ(Xkrdb({"rm", "book.xdb", "--where", "name=ven"}).code, 0);
  EXPECT_EQ(All(), "name,size,seen\nMars,1,2024-05-06\nEarth,3,\n");
  EXPECT_EQ(Xkrdb({"rm", "book.xdb", "--where", "name=ven"}).code, 1);
  EXPECT_EQ(Xkrdb({"rm", "book.xdb", "--all"}).code, 0);
  EXPECT_EQ(All(), "name,size,seen\n");
}

TEST_F(Edit, RemoveNeedsToBeToldWhichOnceAndOnlyOnce) {
  EXPECT_EQ(Xkrdb({"rm", "book.xdb"}).code, 2);
  EXPECT_EQ(Xkrdb({"rm", "book.xdb", "1", "--all"}).code, 2);
  EXPECT_EQ(Xkrdb({"rm", "book.xdb", "1", "--where", "name=mars"}).code, 2);
  EXPECT_EQ(Xkrdb({"rm", "book.xdb", "1", "4"}).code, 1);
  EXPECT_EQ(Xkrdb({"list", "book.xdb", "--count"}).out, "3\n");
}

TEST_F(Edit, RemoveDryRunDeletesNothing) {
  const Outcome outcome = Xkrdb({"rm", "book.xdb", "--all", "--dry-run"});
  EXPECT_EQ(outcome.code, 0);
  EXPECT_EQ(outcome.err, "3 records would be deleted\n");
  EXPECT_EQ(Xkrdb({"list", "book.xdb", "--count"}).out, "3\n");
}

TEST_F(Edit, RecordsThatWereAddedHereAreNotLogged) {
  ASSERT_EQ(Xkrdb({"add", "book.xdb", "name=new"}).code, 0);
  const Outcome outcome = Xkrdb({"rm", "book.xdb", "1", "last"});
  EXPECT_EQ(outcome.err, "2 records deleted\nnote: 1 of them had been added here; such records are not logged\n");
  EXPECT_EQ(Xkrdb({"log", "book.xdb", "--csv", "--columns", "name"}).out, "name\nMars\n");
}

TEST_F(Edit, NoLogKeepsTheLogAsItIs) {
  ASSERT_EQ(Xkrdb({"rm", "book.xdb", "1", "--no-log"}).code, 0);
  EXPECT_EQ(Xkrdb({"log", "book.xdb", "--json"}).out, "[]\n");
}

TEST_F(Edit, AddToAFullDatabaseIsRefused) {
  std::string csv = "n\n";
  for (int i = 0; i < 5000; ++i) csv += "1\n";
  Make("full.xdb", csv);
  const Outcome outcome = Xkrdb({"add", "full.xdb", "n=2"});
  EXPECT_EQ(outcome.code, 3);
  EXPECT_EQ(outcome.err, "xkrdb: adding the record: a database holds at most 5000 records\n");
  EXPECT_EQ(Xkrdb({"dup", "full.xdb", "1"}).code, 3);
}

}  // namespace
}  // namespace xkrdb::test
