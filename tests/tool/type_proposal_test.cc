// Which types import proposes, from whole columns.
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include "tool_process.h"

namespace xkrdb::test {
namespace {

using TypeProposal = ToolTest;

struct ColumnCase {
  const char* why;
  const char* values;  // one per line
  const char* type;
};

class ColumnType : public ToolTest, public testing::WithParamInterface<ColumnCase> {};

TEST_P(ColumnType, OfOneColumn) {
  Make("book.xdb", std::string("value,other\n") + GetParam().values);
  const std::string expected = std::string("\nvalue,") + GetParam().type + ",";
  const std::string info = Xkrdb({"info", "book.xdb", "--csv"}).out;
  EXPECT_NE(info.find(expected), std::string::npos) << GetParam().why << ": " << info;
}

const ColumnCase kColumns[] = {
    {"whole numbers", "1,\n-20,\n0,\n", "number"},
    {"empty values do not count", ",\n7,\n,\n", "number"},
    {"nothing but empty values", ",\n,\n", "text"},
    {"the largest number that the library reads", "2147483646,\n-2147483647,\n", "number"},
    {"the largest 32-bit number is refused by the library", "2147483647,\n", "text"},
    {"the smallest 32-bit number is refused by the library", "-2147483648,\n", "text"},
    {"beyond 32 bits", "4294967296,\n", "text"},
    {"a leading zero", "10,\n007,\n", "text"},
    {"a plus sign", "+5,\n", "text"},
    {"minus zero", "-0,\n", "text"},
    {"a leading blank", " 5,\n", "text"},
    {"a trailing blank", "5 ,\n", "text"},
    {"a fraction", "1.5,\n", "text"},
    {"one word among numbers", "1,\n2,\nmany,\n", "text"},
    {"dates, year first", "2024-05-06,\n1999-12-31,\n", "date"},
    {"dates, year first, other separators and no zeros", "2024/5/6,\n1999/12/31,\n", "date"},
    {"dates, day first, one of them only so", "06.05.2024,\n31.12.1999,\n", "date"},
    {"dates, month first, one of them only so", "05/06/2024,\n12/31/1999,\n", "date"},
    {"dates that two orders explain", "05/06/2024,\n11/12/1999,\n", "text"},
    {"dates that no one order explains", "31/12/1999,\n12/31/1999,\n", "text"},
    {"a day that does not exist", "2023-02-29,\n", "text"},
    {"years of two digits depend on today", "31.12.99,\n", "text"},
    {"no year depends on today", "31.12,\n", "text"},
    {"one text among dates", "2024-05-06,\nsoon,\n", "text"},
    {"times of a day", "07:05,\n23:59:59,\n", "time"},
    {"lengths of more than a day, and below zero", "195:18,\n-1:30,\n", "time"},
    {"times with a suffix", "7:05 PM,\n12 am,\n", "time"},
    {"hours alone with a leading zero", "07,\n08,\n", "text"},
    {"minutes of one digit are a score", "3:2,\n", "text"},
    {"75 minutes are no time of a clock", "1:75,\n", "text"},
    {"one text among times", "07:05,\nlate,\n", "text"},
};

INSTANTIATE_TEST_SUITE_P(Columns, ColumnType, testing::ValuesIn(kColumns),
                         [](const testing::TestParamInfo<ColumnCase>& column) {
                           std::string name;
                           for (const char* at = column.param.why; *at != '\0'; ++at) {
                             name += isalnum(static_cast<unsigned char>(*at)) != 0 ? *at : '_';
                           }
                           return name;
                         });

TEST_F(TypeProposal, OneCertainColumnDecidesForAnUncertainOne) {
  Make("book.xdb", "a,b\n05.06.2024,31.12.1999\n");
  const std::string info = Xkrdb({"info", "book.xdb"}).out;
  EXPECT_NE(info.find("a      date"), std::string::npos) << info;
  EXPECT_NE(info.find("day-month-year, separator \".\", leading zeros"), std::string::npos) << info;
}

TEST_F(TypeProposal, TellsWhyDatesStayedText) {
  const Outcome outcome = Xkrdb({"import", "book.xdb", "-"}, "a\n05/06/2024\n");
  EXPECT_NE(
      outcome.err.find("a  text (reads as dates in the order day-month-year and in the order month-day-year; say which "
                       "with --date-order)"),
      std::string::npos)
      << outcome.err;
}

TEST_F(TypeProposal, DateOrderSettlesWhatTheColumnLeavesOpen) {
  Make("book.xdb", "a\n05/06/2024\n", {"--date-order", "dmy"});
  EXPECT_EQ(Xkrdb({"list", "book.xdb", "--where", "a=5.6.2024", "--count"}).out, "1\n");
  EXPECT_EQ(Xkrdb({"list", "book.xdb", "--where", "a=6.5.2024", "--count"}).code, 1);
}

TEST_F(TypeProposal, TheRarerOrderOfTwoStaysTextWithANote) {
  const Outcome outcome = Xkrdb({"import", "book.xdb", "-"}, "a,b,c\n2024-05-31,1999-12-31,31.12.1999\n");
  EXPECT_NE(outcome.err.find("a  date (year-month-day)"), std::string::npos) << outcome.err;
  EXPECT_NE(outcome.err.find("c  text (reads as dates in the order day-month-year, but the database's dates are "
                             "year-month-day)"),
            std::string::npos)
      << outcome.err;
}

TEST_F(TypeProposal, TellsWhichDigitsWouldBeLost) {
  const Outcome outcome = Xkrdb({"import", "book.xdb", "-"}, "zip,phone\n1234,5551234567\n01067,1\n");
  EXPECT_NE(outcome.err.find("zip    text (\"01067\" in line 3 would lose characters as a number)"), std::string::npos)
      << outcome.err;
  EXPECT_NE(outcome.err.find("phone  text (\"5551234567\" in line 2 is beyond 32 bits)"), std::string::npos)
      << outcome.err;
}

TEST_F(TypeProposal, DatesWithoutLeadingZerosAreWrittenSoLater) {
  Make("book.xdb", "a\n2024/5/6\n2023/12/31\n");
  const std::string info = Xkrdb({"info", "book.xdb"}).out;
  EXPECT_NE(info.find("year-month-day, separator \"/\", no leading zeros"), std::string::npos) << info;
}

TEST_F(TypeProposal, TimesWithSuffixesMakeATwelveHourClock) {
  Make("twelve.xdb", "a\n7:05 PM\n");
  Make("plain.xdb", "a\n19:05\n");
  EXPECT_NE(Xkrdb({"info", "twelve.xdb"}).out.find("12-hour clock"), std::string::npos);
  EXPECT_NE(Xkrdb({"info", "plain.xdb"}).out.find("24-hour clock"), std::string::npos);
}

TEST_F(TypeProposal, LeavesNothingInTheTemporaryFolder) {
  ASSERT_EQ(mkdir(Path("tmp").c_str(), 0700), 0);
  const Outcome outcome = RunProgram(XKRDB_TOOL_PROGRAM, {"import", "book.xdb", "-"},
                                     {folder(), "a\n2024-05-06\n", {"TMPDIR=" + Path("tmp")}});
  EXPECT_EQ(outcome.code, 0) << outcome.err;
  EXPECT_EQ(rmdir(Path("tmp").c_str()), 0);  // refused while anything is in it
}

}  // namespace
}  // namespace xkrdb::test
