// xkrdb import where all is well: new databases, databases that exist, and values that must come back byte for byte.
#include <gtest/gtest.h>

#include "tool_process.h"

namespace xkrdb::test {
namespace {

using Import = ToolTest;

TEST_F(Import, MakesTheDatabaseThatIsMissing) {
  Write("data.csv", "name,size\nMars,6792\nVenus,12104\n");
  const Outcome outcome = Xkrdb({"import", "book.xdb", "data.csv"});
  EXPECT_EQ(outcome.code, 0);
  EXPECT_EQ(outcome.out, "");
  EXPECT_EQ(outcome.err, "book.xdb: made with 2 records from data.csv:\n  name  text\n  size  number\n");
  EXPECT_EQ(Files(), "book.xdb data.csv");
  EXPECT_EQ(Xkrdb({"list", "book.xdb", "--csv"}).out, "name,size\nMars,6792\nVenus,12104\n");
}

TEST_F(Import, ReadsStandardInputForADash) {
  EXPECT_EQ(Xkrdb({"import", "book.xdb", "-"}, "a\n1\n").code, 0);
  EXPECT_EQ(Xkrdb({"list", "book.xdb", "--csv"}).out, "a\n1\n");
}

TEST_F(Import, DropsAByteOrderMarkAtTheBeginningOnly) {
  Make("book.xdb", "\xEF\xBB\xBFname\n\xEF\xBB\xBFkept\n");
  EXPECT_EQ(Xkrdb({"export", "book.xdb"}).out, "name\n\"\xEF\xBB\xBFkept\"\n");
}

TEST_F(Import, TakesEveryKindOfLineEndAndAMissingLastOne) {
  Make("book.xdb", "a,b\r\n1,2\r3,4\n5,6");
  EXPECT_EQ(Xkrdb({"export", "book.xdb"}).out, "a,b\n1,2\n3,4\n5,6\n");
}

TEST_F(Import, SkipsBlankLinesBetweenRows) {
  Make("book.xdb", "a,b\n\n1,2\n\n\n3,4\n\n");
  EXPECT_EQ(Xkrdb({"list", "book.xdb", "--count"}).out, "2\n");
}

TEST_F(Import, SaysThatBlankLinesOfAOneColumnFileWereSkipped) {
  const Outcome outcome = Xkrdb({"import", "book.xdb", "-"}, "a\n1\n\n2\n");
  EXPECT_EQ(outcome.code, 0);
  EXPECT_NE(outcome.err.find("note: 1 blank line was skipped"), std::string::npos) << outcome.err;
}

TEST_F(Import, MatchesColumnsByNameInADatabaseThatExists) {
  Make("book.xdb", "name,size,seen\nMars,6792,1610-01-01\n");
  const Outcome outcome = Xkrdb({"import", "book.xdb", "-"}, "size,name\n12104,Venus\n");
  EXPECT_EQ(outcome.code, 0);
  EXPECT_EQ(outcome.err,
            "note: no column for the field \"seen\"; it stays empty\nbook.xdb: 1 record added from standard input\n");
  EXPECT_EQ(Xkrdb({"export", "book.xdb"}).out, "name,size,seen\nMars,6792,1610-01-01\nVenus,12104,\n");
}

TEST_F(Import, RefusesAColumnThatTheDatabaseDoesNotHaveAndChangesNothing) {
  Make("book.xdb", "name\nMars\n");
  const std::string before = Read("book.xdb");
  const Outcome outcome = Xkrdb({"import", "book.xdb", "-"}, "nmae\nVenus\n");
  EXPECT_EQ(outcome.code, 3);
  EXPECT_NE(outcome.err.find("standard input:1: book.xdb has no field \"nmae\"; did you mean \"name\"?"),
            std::string::npos)
      << outcome.err;
  EXPECT_EQ(Read("book.xdb"), before);
}

TEST_F(Import, JudgesValuesByTheTypesOfADatabaseThatExists) {
  Make("book.xdb", "size\n1\n");
  const Outcome refused = Xkrdb({"import", "book.xdb", "-"}, "size\n2\nbig\n");
  EXPECT_EQ(refused.code, 3);
  EXPECT_EQ(refused.err,
            "standard input:3: column \"size\": \"big\" is not a number (a whole one of 32 bits)\n"
            "xkrdb: 1 bad row in standard input; nothing was imported\n");
  EXPECT_EQ(Xkrdb({"list", "book.xdb", "--count"}).out, "1\n");
  EXPECT_EQ(Xkrdb({"import", "book.xdb", "-", "--any-value"}, "size\n2\nbig\n").code, 0);
  EXPECT_EQ(Xkrdb({"export", "book.xdb"}).out, "size\n1\n2\nbig\n");
}

TEST_F(Import, RefusesTypesForADatabaseThatExists) {
  Make("book.xdb", "a\n1\n");
  EXPECT_EQ(Xkrdb({"import", "book.xdb", "-", "--types", "a=text"}, "a\n2\n").code, 2);
}

TEST_F(Import, TakesTheTypesThatAreGiven) {
  Make("book.xdb", "id,note\n007,5\n", {"--types", "id=number,note=text"});
  EXPECT_EQ(Xkrdb({"info", "book.xdb", "--csv"}).out, "field,type,most_characters\nid,number,127\nnote,text,1023\n");
  EXPECT_EQ(Xkrdb({"export", "book.xdb"}).out, "id,note\n007,5\n");
}

TEST_F(Import, TakesATypeForANameWithACommaInIt) {
  Make("book.xdb", "\"a,b\",c\n1,2\n", {"--types", "a,b=text,c=text"});
  EXPECT_EQ(Xkrdb({"info", "book.xdb", "--csv"}).out, "field,type,most_characters\n\"a,b\",text,1023\nc,text,1023\n");
}

TEST_F(Import, RefusesAValueThatIsNotOfTheTypeGiven) {
  const Outcome outcome = Xkrdb({"import", "book.xdb", "-", "--types", "when=date"}, "when\n2024-05-06\nsoon\n");
  EXPECT_EQ(outcome.code, 3);
  EXPECT_NE(outcome.err.find("standard input:3: column \"when\": \"soon\" is not a date in the order year-month-day"),
            std::string::npos)
      << outcome.err;
  EXPECT_EQ(Files(), "");
}

TEST_F(Import, HeaderOptionMakesTheFirstLineARow) {
  Make("book.xdb", "Mars,6792\n", {"--header", "name,size"});
  EXPECT_EQ(Xkrdb({"export", "book.xdb"}).out, "name,size\nMars,6792\n");
}

TEST_F(Import, DelimiterIsATabForTsvAndWhatIsAskedForElse) {
  Write("data.tsv", "a\tb\n1,5\t2\n");
  EXPECT_EQ(Xkrdb({"import", "one.xdb", "data.tsv"}).code, 0);
  EXPECT_EQ(Xkrdb({"export", "one.xdb"}).out, "a,b\n\"1,5\",2\n");
  Make("two.xdb", "a;b\n1;2\n", {"--delimiter", ";"});
  EXPECT_EQ(Xkrdb({"export", "two.xdb", "--delimiter", "tab"}).out, "a\tb\n1\t2\n");
}

TEST_F(Import, HintsAtAnotherDelimiter) {
  const Outcome outcome = Xkrdb({"import", "book.xdb", "-"}, "a;b\n1;2\n");
  EXPECT_NE(outcome.err.find("perhaps --delimiter ';'"), std::string::npos) << outcome.err;
}

TEST_F(Import, DryRunWritesNothing) {
  const Outcome outcome = Xkrdb({"import", "book.xdb", "-", "--dry-run"}, "a,b\n1,x\n");
  EXPECT_EQ(outcome.code, 0);
  EXPECT_EQ(outcome.err, "book.xdb: would be made with 1 record from standard input:\n  a  number\n  b  text\n");
  EXPECT_EQ(Files(), "");
}

TEST_F(Import, NamesTheDatabaseAfterItsFileOrAsAsked) {
  Make("my.book.xdb", "a\n1\n");
  Make("other.xdb", "a\n1\n", {"--name", "Büro"});
  EXPECT_NE(Xkrdb({"info", "my.book.xdb", "--json"}).out.find("\"name\": \"my.book\""), std::string::npos);
  EXPECT_NE(Xkrdb({"info", "other.xdb", "--json"}).out.find("\"name\": \"Büro\""), std::string::npos);
}

TEST_F(Import, FiveThousandRowsFitAndOneMoreDoesNot) {
  std::string csv = "n,text\n";
  for (int i = 1; i <= 5000; ++i) csv += std::to_string(i) + ",row " + std::to_string(i) + "\n";
  Make("book.xdb", csv);
  EXPECT_EQ(Xkrdb({"list", "book.xdb", "--count"}).out, "5000\n");
  const Outcome one_more = Xkrdb({"import", "book.xdb", "-"}, "n,text\n5001,one more\n");
  EXPECT_EQ(one_more.code, 3);
  EXPECT_NE(
      one_more.err.find("standard input:2: 1 rows do not fit: a database holds at most 5000 records, and it holds "
                        "5000 already"),
      std::string::npos)
      << one_more.err;
  const Outcome at_once = Xkrdb({"import", "other.xdb", "-"}, csv + "5001,one more\n");
  EXPECT_EQ(at_once.code, 3);
  EXPECT_NE(at_once.err.find("standard input:5002: 5001 rows do not fit"), std::string::npos) << at_once.err;
  EXPECT_EQ(Files(), "book.xdb");
}

TEST_F(Import, ImportedRecordsAreKnownOutsideAndTheirDeletionIsLogged) {
  Make("book.xdb", "a\n1\n2\n");
  EXPECT_EQ(Xkrdb({"rm", "book.xdb", "1"}).code, 0);
  EXPECT_EQ(Xkrdb({"log", "book.xdb", "--csv"}).out, "a\n1\n");
}

}  // namespace
}  // namespace xkrdb::test
