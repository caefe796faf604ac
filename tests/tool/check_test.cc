// xkrdb check: what it calls a fault, what a warning, and what it lets pass.
#include <gtest/gtest.h>

#include "client_database.h"
#include "tool_process.h"

namespace xkrdb::test {
namespace {

using Check = ToolTest;

TEST_F(Check, ASoundDatabasePasses) {
  Make("book.xdb", "a,b\n1,2024-05-06\n2,\n");
  ASSERT_EQ(Xkrdb({"rm", "book.xdb", "1"}).code, 0);
  const Outcome outcome = Xkrdb({"check", "book.xdb"});
  EXPECT_EQ(outcome.code, 0);
  EXPECT_EQ(outcome.out, "");
  EXPECT_EQ(outcome.err, "book.xdb: 2 fields, 1 record, 1 log entry: 0 faults, 0 warnings\n");
  EXPECT_EQ(Xkrdb({"check", "book.xdb", "--json"}).out, "[]\n");
}

TEST_F(Check, WarnsOfValuesThatAreNoneForTheirField) {
  ClientDatabase database;
  database.fields = {
      {u"n", MDbFieldNumber, 0}, {u"d", MDbFieldDate, 1}, {u"t", MDbFieldTime, 2}, {u"x", MDbFieldText, 3}};
  database.records = {{u"1", u"2024-05-06", u"7:05", u"fine"},
                      {u"many", u"2024-02-30", u"noon", std::u16string(1, char16_t{0xDFFF})},
                      {u"", u"", u"", std::u16string(1024, u'x')}};
  MakeClientDatabase(Path("client.xdb"), database);
  const Outcome outcome = Xkrdb({"check", "client.xdb"});
  EXPECT_EQ(outcome.code, 0);
  EXPECT_EQ(outcome.out,
            "warning: record 2, field \"n\": \"many\" is not a number (a whole one of 32 bits)\n"
            "warning: record 2, field \"d\": \"2024-02-30\" is not a date in the order year-month-day\n"
            "warning: record 2, field \"t\": \"noon\" is not a time\n"
            "warning: record 2, field \"x\": the value holds half a surrogate pair and cannot be exported\n"
            "warning: record 3, field \"x\": 1024 characters, but the field holds at most 1023\n");
  const std::string csv = Xkrdb({"check", "client.xdb", "--csv"}).out;
  EXPECT_EQ(
      csv.substr(0, csv.find('\n', 21)),
      "severity,where,what\nwarning,\"record 2, field \"\"n\"\"\",\"\"\"many\"\" is not a number (a whole one of 32 "
      "bits)\"");
}

TEST_F(Check, WarnsOfFieldsThatWillSurprise) {
  ClientDatabase database;
  database.fields = {{u"a", MDbFieldText, 0}, {u"a", MDbFieldText, 0}, {u"", 0, 2}};
  database.records = {{u"1", u"2", u"3"}};
  MakeClientDatabase(Path("client.xdb"), database);
  EXPECT_EQ(Xkrdb({"check", "client.xdb"}).out,
            "warning: field \"a\": the name is there twice\n"
            "warning: field \"\": type 0 is none of text, number, date and time\n"
            "warning: field \"\": the name is empty\n"
            "warning: field options: the display orders are not 0, 1, 2, ... each once\n");
}

TEST_F(Check, ADateOrderThatDoesNotExistIsAFault) {
  ClientDatabase database;
  database.fields = {{u"a", MDbFieldText, 0}};
  database.records = {{u"1"}};
  database.date_order = 6;
  MakeClientDatabase(Path("client.xdb"), database);
  const Outcome outcome = Xkrdb({"check", "client.xdb"});
  EXPECT_EQ(outcome.code, 1);
  EXPECT_EQ(outcome.out, "fault: settings: date order 6 does not exist: no date can be read\n");
}

TEST_F(Check, EveryDamagedByteIsAFaultOrHarmless) {
  std::string csv = "a,b\n";
  for (int i = 0; i < 40; ++i) csv += "text number " + std::to_string(i) + "," + std::to_string(i) + "\n";
  Make("book.xdb", csv);
  const std::string whole = Read("book.xdb");
  const std::string export_of_whole = Xkrdb({"export", "book.xdb"}).out;
  int refused = 0;
  for (size_t at = 200; at < whole.size(); at += whole.size() / 37) {
    std::string damaged = whole;
    damaged[at] = static_cast<char>(damaged[at] ^ 0x10);
    Write("damaged.xdb", damaged);
    const Outcome outcome = Xkrdb({"check", "damaged.xdb"});
    EXPECT_TRUE(outcome.code == 0 || outcome.code == 1 || outcome.code == 4) << "byte " << at << ": " << outcome.err;
    if (outcome.code == 0) {
      EXPECT_EQ(Xkrdb({"export", "damaged.xdb"}).out, export_of_whole) << "byte " << at;
    } else {
      ++refused;
    }
  }
  EXPECT_GT(refused, 0);
}

}  // namespace
}  // namespace xkrdb::test
