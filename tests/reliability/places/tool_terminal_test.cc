// What a database, a file of values, a file's name or an argument holds reaches a terminal only as text: no command sends
// a control character, or one that turns the direction of writing, from any of them.
#include <gtest/gtest.h>

#include "client_database.h"
#include "tool_process.h"

namespace places {
namespace {

using Words = std::vector<std::string>;

// Colour, a bell, two escapes of one byte, two changes of direction, a mark, ends of lines, a tab.
const std::u16string kBad = u"\u001B[31m\u0007\u0085\u009B31m\u007F\u202Eevil\u2066\u200F\uFEFF\u2028\r\n\tend";
const std::string kBadUtf8 =
    "\x1B[31m\x07\xC2\x85\xC2\x9B"
    "31m\x7F\xE2\x80\xAE"
    "evil\xE2\x81\xA6\xE2\x80\x8F\xEF\xBB\xBF\xE2\x80\xA8\r\n\tend";
const std::string kBadName = "31m\x1B[31m\x07\xC2\x9B\xE2\x80\xAE\n.xdb";

class ToolTerminal : public xkrdb::test::ToolTest {
 protected:
  ToolTerminal() {
    xkrdb::test::ClientDatabase database;
    database.fields = {{u"31m" + kBad, MDbFieldText, 0}, {u"n", MDbFieldNumber, 1}, {u"d", MDbFieldDate, 2}};
    database.records = {{kBad, kBad, kBad}, {u"x", u"1", u"2024-01-01"}};
    database.value_lists = {kBad};
    MakeClientDatabase(Path("client.xdb"), database);
    Write("client.csv",
          "a" + kBadUtf8.substr(0, 5) + ",b\n\"" + kBadUtf8 + "\",1\n\"" + kBadUtf8 + "\",2,3\nbad\xFF,4\n");
  }

  // Unless nothing of it is shown at all, it is shown as text.
  void ExpectSafe(const Words& command, bool shows = true) {
    xkrdb::test::TerminalOptions options;
    options.columns = 200;
    options.environment = {"NO_COLOR=1"};
    options.feed = [](int, const std::function<std::string()>&) {};
    std::string name;
    for (const std::string& word : command) name += word + " ";
    const std::string shown = XkrdbOnTerminal(command, options).out;
    for (size_t i = 0; i < shown.size(); ++i) {
      const auto byte = static_cast<unsigned char>(shown[i]);
      const bool end_of_line = byte == '\n' || (byte == '\r' && i + 1 < shown.size() && shown[i + 1] == '\n');
      EXPECT_TRUE(byte >= 0x20 || end_of_line) << testing::PrintToString(name) << testing::PrintToString(shown);
      EXPECT_NE(byte, 0x7F) << testing::PrintToString(name);
    }
    for (const char* escape : {"\u0085", "\u009B", "\u202E", "\u2066", "\u200F", "\uFEFF", "\u2028"})
      EXPECT_EQ(shown.find(escape), std::string::npos) << testing::PrintToString(name);
    EXPECT_EQ(shown.find("31m") != std::string::npos, shows) << testing::PrintToString(name);
  }
};

TEST_F(ToolTerminal, NoCommandSendsWhatADatabaseHoldsAsItIs) {
  const Words kCommands[] = {
      {"find", "client.xdb", "evil"},           {"find", "client.xdb", "evil", "--csv"},
      {"find", "client.xdb", "evil", "--json"}, {"show", "client.xdb", "1-2", "--csv"},
      {"show", "client.xdb", "1-2", "--json"},  {"list", "client.xdb", "--numbers", "--sort", "n"},
      {"export", "client.xdb", "--numbers"},    {"set", "client.xdb", "2", "nothing=1"},
      {"add", "client.xdb", "n=" + kBadUtf8},   {"set", "client.xdb", "2", "d=" + kBadUtf8},
      {"import", "client.xdb", "client.csv"},   {"rm", "client.xdb", "1", "--dry-run"},
  };
  for (const Words& command : kCommands) ExpectSafe(command);
  ExpectSafe({"rm", "client.xdb", "1"}, false);
  for (const Words& command :
       {Words{"log", "client.xdb"}, {"log", "client.xdb", "--csv"}, {"log", "client.xdb", "--json"}})
    ExpectSafe(command);
}

TEST_F(ToolTerminal, NoCommandSendsANameOrAnArgumentAsItIs) {
  const Words kCommands[] = {
      {"new", kBadName, "a=text"},
      {"new", kBadName, "a=text"},  // now it exists
      {"info", kBadName},
      {"info", kBadName, "--json"},
      {"check", kBadName},
      {"list", "x" + kBadName},
      {"list", "sound/" + kBadName},
      {"new", "sound/" + kBadName, "a"},
      {"new", "new.xdb", kBadUtf8 + "=31m"},
      {"new", "new.xdb", "a=" + kBadUtf8},
      {"import", "new.xdb", kBadName},
      {"import", "new.xdb", "client.csv"},
      {"import", "new.xdb", "client.csv", "--types", kBadUtf8 + "=text"},
      {"export", "client.xdb", "nowhere/" + kBadUtf8},
      {"export", "client.xdb", kBadName},
      {"list", "client.xdb", "--where", kBadUtf8 + "=1"},
      {"list", "client.xdb", "--columns", kBadUtf8},
      {"list", "client.xdb", "--sort", kBadUtf8},
      {"list", "client.xdb", "--limit", kBadUtf8},
      {"show", "client.xdb", kBadUtf8},
      {"find", "client.xdb", "x", "--field", kBadUtf8},
      {kBadUtf8},
      {"list", "client.xdb", "--" + kBadUtf8},
  };
  for (const Words& command : kCommands) ExpectSafe(command);
  ExpectSafe({"new", "new.xdb", "a", "--date-separator", kBadUtf8}, false);
  ExpectSafe({"import", "new.xdb", "client.csv", "--delimiter", kBadUtf8}, false);
}

}  // namespace
}  // namespace places
