// Files that import refuses: every bad row is named with its line, nothing is written, and the exit code is 3.
#include <gtest/gtest.h>

#include "tool_process.h"

namespace xkrdb::test {
namespace {

using namespace std::string_literals;

using CsvProblems = ToolTest;

struct ProblemCase {
  const char* why;
  std::string csv;
  std::string message;  // what standard error begins with
};

class BadFile : public ToolTest, public testing::WithParamInterface<ProblemCase> {};

TEST_P(BadFile, IsRefusedWholeForANewDatabase) {
  Write("data.csv", GetParam().csv);
  const Outcome outcome = Xkrdb({"import", "book.xdb", "data.csv"});
  EXPECT_EQ(outcome.code, 3);
  EXPECT_EQ(outcome.out, "");
  EXPECT_EQ(outcome.err.substr(0, GetParam().message.size()), GetParam().message) << outcome.err;
  EXPECT_EQ(Files(), "data.csv");
}

TEST_P(BadFile, IsRefusedWholeForADatabaseThatExists) {
  Make("book.xdb", "a,b\n1,2\n");
  Write("data.csv", GetParam().csv);
  const std::string before = Read("book.xdb");
  EXPECT_EQ(Xkrdb({"import", "book.xdb", "data.csv"}).code, 3);
  EXPECT_EQ(Read("book.xdb"), before);
  EXPECT_EQ(Files(), "book.xdb data.csv");
}

const ProblemCase kProblems[] = {
    {"an empty file", "", "data.csv:1: the file is empty"},
    {"nothing but blank lines", "\n\n", "data.csv:1: the file is empty"},
    {"a blank line first, in a file of two bytes", "\n\"", "data.csv:2: a quote is opened here and never closed\n"},
    {"a heading without rows", "a,b\n", "data.csv:1: there are no rows below the heading line"},
    {"a name that is there twice", "a,b,a\n1,2,3\n", "data.csv:1: column 3: the name \"a\" is there twice\n"},
    {"a name that is empty", "a,\n1,2\n", "data.csv:1: column 2 has no name\n"},
    {"a row that is too short", "a,b\n1,2\n3\n", "data.csv:3: 1 value, but the header has 2\n"},
    {"a row that is too long", "a,b\n1,2,3\n", "data.csv:2: 3 values, but the header has 2\n"},
    {"a quote that never closes", "a,b\n1,2\n3,\"4\n5,6\n", "data.csv:3: a quote is opened here and never closed\n"},
    {"a quote inside a value", "a,b\n5\" disk,2\n", "data.csv:2: a quote where none may stand: "},
    {"text behind a closing quote", "a,b\n\"x\"y,2\n", "data.csv:2: a quote where none may stand: "},
    {"text behind a closing quote, lines later", "a,b\n\"x\n\"y,2\n",
     "data.csv:2: a quote where none may stand (in line 3): "},
    {"bytes that are not UTF-8", "a,b\n1,2\ncaf\xE9,2\n",
     "data.csv:3: column \"a\": not UTF-8 (byte E9 at position 4 of the value)\n"},
    {"a surrogate in UTF-8", "a,b\n\xED\xA0\x80,2\n", "data.csv:2: column \"a\": not UTF-8 (byte ED at position 1"},
    {"an overlong form", "a,b\n\xC0\xAF,2\n", "data.csv:2: column \"a\": not UTF-8 (byte C0 at position 1"},
    {"a cut sequence", "a,b\n1,\xE2\x82\n", "data.csv:2: column \"b\": not UTF-8 (byte E2 at position 1"},
    {"a zero character", "a,b\n1,x\0y\n"s, "data.csv:2: column \"b\": the value holds a zero character\n"},
    {"a text that is too long", "a,b\n1," + std::string(1024, 'x') + "\n",
     "data.csv:2: column \"b\": 1024 characters, but the field holds at most 1023\n"},
    {"the mark of UTF-16 behind that of UTF-8", "\xEF\xBB\xBF\xFF\xFE,b\n1,2\n",
     "data.csv:1: column 1: not UTF-8 (byte FF at position 1"},
    {"a name that is not UTF-8", "a,\xFF\n1,2\n", "data.csv:1: column 2: not UTF-8 (byte FF at position 1"},
};

INSTANTIATE_TEST_SUITE_P(Files, BadFile, testing::ValuesIn(kProblems),
                         [](const testing::TestParamInfo<ProblemCase>& problem) {
                           std::string name;
                           for (const char* at = problem.param.why; *at != '\0'; ++at) {
                             name += isalnum(static_cast<unsigned char>(*at)) != 0 ? *at : '_';
                           }
                           return name;
                         });

TEST_F(CsvProblems, EveryBadRowIsListedInTheOrderOfLines) {
  Write("data.csv", "a,size\n1,1\n2\n\xFF,3\n4\" x,4\n5,5\n6,6,6\n" + std::string(2000, 'x') + ",8\n");
  const Outcome outcome = Xkrdb({"import", "book.xdb", "data.csv", "--types", "size=number"});
  EXPECT_EQ(outcome.code, 3);
  EXPECT_EQ(
      outcome.err,
      "data.csv:3: 1 value, but the header has 2\n"
      "data.csv:4: column \"a\": not UTF-8 (byte FF at position 1 of the value)\n"
      "data.csv:5: a quote where none may stand: put quotes around the whole value and write each quote inside it "
      "twice; the rest of the line was not read\n"
      "data.csv:7: 3 values, but the header has 2\n"
      "data.csv:8: column \"a\": 2000 characters, but the field holds at most 1023\n"
      "xkrdb: 5 bad rows in data.csv; nothing was imported\n");
}

TEST_F(CsvProblems, LinesAreCountedInsideQuotedValues) {
  const Outcome outcome = Xkrdb({"import", "book.xdb", "-"}, "a,b\n\"1\n2\r\n3\",x\nshort\n");
  EXPECT_EQ(outcome.err.substr(0, 17), "standard input:5:") << outcome.err;
}

TEST_F(CsvProblems, ValuesAtTheLimitFit) {
  Make("book.xdb", "a\n" + std::string(1023, 'x') + "\n");
  EXPECT_EQ(Xkrdb({"export", "book.xdb"}).out, "a\n" + std::string(1023, 'x') + "\n");
}

TEST_F(CsvProblems, TheLimitIsInUtf16Units) {
  std::string emoji;
  for (int i = 0; i < 512; ++i) emoji += "\U0001F680";
  const Outcome outcome = Xkrdb({"import", "book.xdb", "-"}, "a\n" + emoji + "\n");
  EXPECT_EQ(outcome.code, 3);
  EXPECT_NE(outcome.err.find("1024 characters"), std::string::npos) << outcome.err;
}

TEST_F(CsvProblems, MoreColumnsMakeShorterTexts) {
  std::string csv = "c1";
  for (int i = 2; i <= 21; ++i) csv += ",c" + std::to_string(i);
  csv += "\n" + std::string(768, 'x') + std::string(20, ',') + "\n";
  const Outcome outcome = Xkrdb({"import", "book.xdb", "-"}, csv);
  EXPECT_EQ(outcome.code, 3);
  EXPECT_NE(outcome.err.find("768 characters, but the field holds at most 767"), std::string::npos) << outcome.err;
}

TEST_F(CsvProblems, TooManyColumnsAreRefused) {
  std::string csv = "c1";
  for (int i = 2; i <= 256; ++i) csv += ",c" + std::to_string(i);
  const Outcome outcome = Xkrdb({"import", "book.xdb", "-"}, csv + "\n" + std::string(255, ',') + "\n");
  EXPECT_EQ(outcome.code, 3);
  EXPECT_NE(outcome.err.find("256 columns, but at most 255 are possible"), std::string::npos) << outcome.err;
}

TEST_F(CsvProblems, Utf16IsNamedAsSuch) {
  const Outcome outcome = Xkrdb({"import", "book.xdb", "-"},
                                "\xFF\xFE"
                                "a\0\n\0"s);
  EXPECT_EQ(outcome.code, 3);
  EXPECT_EQ(outcome.err, "xkrdb: the file is UTF-16; save it as UTF-8\n");
}

TEST_F(CsvProblems, ValuesInMessagesAreMadeSafe) {
  const Outcome outcome = Xkrdb({"import", "book.xdb", "-", "--types", "a=number"}, "a\n\x1B[31mred\n");
  EXPECT_EQ(outcome.err.find('\x1B'), std::string::npos);
  EXPECT_NE(outcome.err.find("\\u001b[31mred"), std::string::npos) << outcome.err;
}

}  // namespace
}  // namespace xkrdb::test
