// xkrdb export, and that import makes the same records of it.
#include <gtest/gtest.h>

#include "client_database.h"
#include "tool_process.h"

namespace xkrdb::test {
namespace {

using Export = ToolTest;

const std::vector<std::u16string> kNasty = {u"",           u"\"",
                                            u"\"\"",       u"a,b",
                                            u",",          u"\n",
                                            u"\r",         u"\r\n",
                                            u"line\nline", u"tab\there",
                                            u" leading",   u"trailing ",
                                            u"\t",         u"'",
                                            u"\\n",        u"\U0001F680",
                                            u"e\u0301",    u"\u05D0\u202Ex",
                                            u"\uFEFFmark", u"\u0001\u001B[31m\u007F\u0085",
                                            u"=1+1",       u"-",
                                            u"NULL",       u"007",
                                            u"1e3",        u"\uFFFE",
                                            u"\uFFFF",     u"\U0010FFFF",
                                            u"#",          u"a\"b\"c,\r\n\"",
                                            u"\u2028",     u"semi;colon",
                                            u"\uFFFD",     u"\u00A0",
                                            u"\"quoted\""};

ClientDatabase NastyDatabase(size_t columns) {
  ClientDatabase database;
  for (size_t i = 0; i < columns; ++i) {
    database.fields.push_back({u"field " + std::u16string(i + 1, u'x'), MDbFieldText, static_cast<uint8_t>(i)});
  }
  for (size_t i = 0; i < kNasty.size(); ++i) {
    std::vector<std::u16string> record;
    for (size_t column = 0; column < columns; ++column) record.push_back(kNasty[(i + column) % kNasty.size()]);
    database.records.push_back(record);
  }
  return database;
}

class RoundTrip : public ToolTest, public testing::WithParamInterface<size_t> {};

TEST_P(RoundTrip, GivesTheSameRecordsByteForByte) {
  MakeClientDatabase(Path("one.xdb"), NastyDatabase(GetParam()));
  ASSERT_EQ(Xkrdb({"export", "one.xdb", "one.csv"}).code, 0);
  const Outcome import = Xkrdb({"import", "two.xdb", "one.csv"});
  ASSERT_EQ(import.code, 0) << import.err;
  ASSERT_EQ(Xkrdb({"export", "two.xdb", "two.csv"}).code, 0);
  EXPECT_EQ(Read("one.csv"), Read("two.csv"));
  // CSV alone could lose the same twice; JSON says the same in another way.
  EXPECT_EQ(Xkrdb({"export", "one.xdb", "--json"}).out, Xkrdb({"export", "two.xdb", "--json"}).out);
  EXPECT_EQ(Xkrdb({"list", "two.xdb", "--count"}).out, std::to_string(kNasty.size()) + "\n");
}

INSTANTIATE_TEST_SUITE_P(Columns, RoundTrip, testing::Values(size_t{1}, size_t{2}, size_t{7}));

TEST_F(Export, WritesTheBytesThatAreStored) {
  ClientDatabase database;
  database.fields = {{u"a", MDbFieldText, 0}, {u"b", MDbFieldText, 1}};
  database.records = {{u"x\ny", u"\"q\""}, {u" z", u"\u001B"}};
  MakeClientDatabase(Path("client.xdb"), database);
  EXPECT_EQ(Xkrdb({"export", "client.xdb"}).out, "a,b\n\"x\ny\",\"\"\"q\"\"\"\n\" z\",\x1B\n");
}

TEST_F(Export, HalfASurrogatePairIsRefusedAndNothingIsWritten) {
  ClientDatabase database;
  database.fields = {{u"fine", MDbFieldText, 0}, {u"broken", MDbFieldText, 1}};
  database.records = {{u"a", u"b"}, {u"c", std::u16string(u"x") + char16_t{0xD800}}};
  MakeClientDatabase(Path("client.xdb"), database);
  for (const char* form : {"--csv", "--json"}) {
    const Outcome outcome = Xkrdb({"export", "client.xdb", "out.csv", form});
    EXPECT_EQ(outcome.code, 3) << form;
    EXPECT_EQ(
        outcome.err,
        "xkrdb: record 2, field \"broken\": \"x\\ud800\" holds half a surrogate pair, which UTF-8 cannot express; "
        "nothing was written\n");
    EXPECT_EQ(Files(), "client.xdb");
  }
  EXPECT_EQ(Xkrdb({"export", "client.xdb", "--columns", "fine"}).out, "fine\na\nc\n");
  EXPECT_NE(Xkrdb({"list", "client.xdb"}).out.find("x\\ud800"), std::string::npos);
}

TEST_F(Export, AFileThatIsThereStaysUnlessForced) {
  Make("book.xdb", "a\n1\n");
  Write("out.csv", "precious");
  const Outcome outcome = Xkrdb({"export", "book.xdb", "out.csv"});
  EXPECT_EQ(outcome.code, 6);
  EXPECT_EQ(outcome.err, "xkrdb: cannot write out.csv: File exists; --force replaces it\n");
  EXPECT_EQ(Read("out.csv"), "precious");
  EXPECT_EQ(Xkrdb({"export", "book.xdb", "out.csv", "--force"}).code, 0);
  EXPECT_EQ(Read("out.csv"), "a\n1\n");
  EXPECT_EQ(Files(), "book.xdb out.csv");
}

TEST_F(Export, TheEndingOfTheFileChoosesTheForm) {
  Make("book.xdb", "a,b\n1,x\n");
  ASSERT_EQ(Xkrdb({"export", "book.xdb", "out.json"}).code, 0);
  ASSERT_EQ(Xkrdb({"export", "book.xdb", "out.tsv"}).code, 0);
  ASSERT_EQ(Xkrdb({"export", "book.xdb", "forced.json", "--csv"}).code, 0);
  EXPECT_EQ(Read("out.json"), "[\n  {\"a\":1,\"b\":\"x\"}\n]\n");
  EXPECT_EQ(Read("out.tsv"), "a\tb\n1\tx\n");
  EXPECT_EQ(Read("forced.json"), "a,b\n1,x\n");
}

TEST_F(Export, SelectsAndSortsAsListDoes) {
  Make("book.xdb", "a,b\n1,x\n3,x\n2,x\n9,y\n");
  EXPECT_EQ(Xkrdb({"export", "book.xdb", "-", "--where", "b=x", "--sort", "a", "--descending", "--columns", "a"}).out,
            "a\n3\n2\n1\n");
  const Outcome outcome = Xkrdb({"export", "book.xdb", "-", "--where", "b=z"});
  EXPECT_EQ(outcome.code, 1);
  EXPECT_EQ(outcome.out, "a,b\n");
}

TEST_F(Export, NotesNamesThatImportWillRefuse) {
  ClientDatabase database;
  database.fields = {{u"a", MDbFieldText, 0}, {u"a", MDbFieldText, 1}};
  database.records = {{u"1", u"2"}};
  MakeClientDatabase(Path("client.xdb"), database);
  EXPECT_EQ(Xkrdb({"export", "client.xdb"}).err,
            "note: the field name \"a\" is there twice; import will refuse this file\n");
}

}  // namespace
}  // namespace xkrdb::test
