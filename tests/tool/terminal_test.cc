// What happens on a terminal and only there: width, style, escaped control characters, progress.
#include <gtest/gtest.h>
#include <unistd.h>

#include <sstream>

#include "client_database.h"
#include "tool_process.h"

namespace xkrdb::test {
namespace {

class Terminal : public ToolTest {
 protected:
  std::string Shown(const std::vector<std::string>& arguments, TerminalOptions options = {}) const {
    return XkrdbOnTerminal(arguments, std::move(options)).out;
  }
  static std::vector<std::string> Lines(const std::string& text) {
    std::vector<std::string> lines;
    std::istringstream stream(text);
    for (std::string line; std::getline(stream, line);) {
      if (!line.empty() && line.back() == '\r') line.pop_back();
      lines.push_back(line);
    }
    return lines;
  }
};

// Plain text without style, so that bytes are columns.
TerminalOptions Plain(unsigned short columns) {
  TerminalOptions options;
  options.columns = columns;
  options.environment = {"NO_COLOR=1"};
  return options;
}

TEST_F(Terminal, ATableFitsTheWidth) {
  Make("book.xdb", "name,text\nMars," + std::string(300, 'x') + "\nVenus,short\n");
  for (const auto columns : std::initializer_list<unsigned short>{20, 40, 80, 200}) {
    const std::vector<std::string> lines = Lines(Shown({"list", "book.xdb", "--csv"}, Plain(columns)));
    ASSERT_EQ(lines.size(), 3u);
    for (const std::string& line : Lines(Shown({"list", "book.xdb"}, Plain(columns)))) {
      size_t width = 0;
      for (const char byte : line) width += (byte & 0xC0) != 0x80 ? 1u : 0u;
      EXPECT_LE(width, columns) << line;
    }
  }
  EXPECT_NE(Shown({"list", "book.xdb"}, Plain(40)).find("x…"), std::string::npos);
}

TEST_F(Terminal, WideCharactersCountTwoAndCombiningOnesNone) {
  ClientDatabase database;
  database.fields = {{u"a", MDbFieldText, 0}, {u"b", MDbFieldText, 1}};
  database.records = {{u"\u6771\u4EAC", u"1"}, {u"e\u0301e\u0301", u"2"}, {u"abcd", u"3"}};
  MakeClientDatabase(Path("client.xdb"), database);
  EXPECT_EQ(Lines(Shown({"list", "client.xdb"}, Plain(80))),
            (std::vector<std::string>{"#  a     b", "1  東京  1", "2  e\u0301e\u0301    2", "3  abcd  3"}));
}

TEST_F(Terminal, AWideCharacterIsNeverCutInHalf) {
  ClientDatabase database;
  database.fields = {{u"a", MDbFieldText, 0}};
  database.records = {{std::u16string(20, u'\u6771')}};
  MakeClientDatabase(Path("client.xdb"), database);
  EXPECT_EQ(Lines(Shown({"list", "client.xdb"}, Plain(12))), (std::vector<std::string>{"#  a", "1  東東東東…"}));
}

TEST_F(Terminal, ColumnsThatDoNotFitAreLeftOutAndCounted) {
  Make("book.xdb", "first,second,third,fourth\naaaaaaaaaa,bbbbbbbbbb,cccccccccc,dddddddddd\n");
  const std::vector<std::string> lines = Lines(Shown({"list", "book.xdb"}, Plain(20)));
  ASSERT_EQ(lines.size(), 3u);
  EXPECT_EQ(lines[0], "#  first    second");
  EXPECT_EQ(lines[2], "(+2 columns, see --…");
}

TEST_F(Terminal, NumbersDatesAndTimesAreLeftOutRatherThanCut) {
  Make("book.xdb", "name,n,when\n" + std::string(50, 'x') + ",1234567890,2024-05-06\n");
  EXPECT_EQ(
      Lines(Shown({"list", "book.xdb"}, Plain(40))),
      (std::vector<std::string>{"#  name                    n  when", "1  xxxxxxxxxxxx…  1234567890  2024-05-06"}));
  EXPECT_EQ(Lines(Shown({"list", "book.xdb"}, Plain(30))),
            (std::vector<std::string>{"#  name                      n", "1  xxxxxxxxxxxxxx…  1234567890",
                                      "(+1 column, see --columns)"}));
}

TEST_F(Terminal, APipeGetsEveryColumnWhole) {
  Make("book.xdb", "a\n" + std::string(300, 'x') + "\n");
  EXPECT_EQ(Xkrdb({"list", "book.xdb"}).out, "#  a\n1  " + std::string(300, 'x') + "\n");
}

TEST_F(Terminal, HeadingsAreBoldUnlessRefused) {
  Make("book.xdb", "a\n1\n");
  TerminalOptions dumb;
  dumb.environment = {"TERM=dumb"};
  EXPECT_NE(Shown({"list", "book.xdb"}).find("\x1B[1m"), std::string::npos);
  EXPECT_EQ(Shown({"list", "book.xdb"}, Plain(80)).find('\x1B'), std::string::npos);
  EXPECT_EQ(Shown({"list", "book.xdb"}, dumb).find('\x1B'), std::string::npos);
  EXPECT_EQ(Xkrdb({"list", "book.xdb"}).out.find('\x1B'), std::string::npos);
}

TEST_F(Terminal, NoCommandSendsControlCharactersFromADatabase) {
  const std::u16string bad = u"\u001B[31m\u0007\u0085\u009B31m\u007F\u202Eevil\u2066\r\n\tend";
  ClientDatabase database;
  database.fields = {{u"a" + bad, MDbFieldText, 0}, {u"n", MDbFieldNumber, 1}};
  database.records = {{bad, bad}};
  database.value_lists = {bad};
  MakeClientDatabase(Path("client.xdb"), database);
  const std::vector<std::vector<std::string>> commands = {{"list", "client.xdb"},
                                                          {"list", "client.xdb", "--csv"},
                                                          {"list", "client.xdb", "--json"},
                                                          {"show", "client.xdb", "1"},
                                                          {"info", "client.xdb"},
                                                          {"info", "client.xdb", "--json"},
                                                          {"info", "client.xdb", "--csv"},
                                                          {"export", "client.xdb"},
                                                          {"export", "client.xdb", "--json"},
                                                          {"check", "client.xdb"},
                                                          {"check", "client.xdb", "--csv"},
                                                          {"check", "client.xdb", "--json"},
                                                          {"list", "client.xdb", "--sort", "x"},
                                                          {"rm", "client.xdb", "--all", "--dry-run"},
                                                          {"list", "\x1B[31m.xdb"}};
  for (const std::vector<std::string>& command : commands) {
    const std::string shown = Shown(command, Plain(200));
    for (const std::string& line : Lines(shown)) {
      for (const char byte : line) {
        EXPECT_GE(static_cast<unsigned char>(byte), 0x20) << command[0] << ": " << testing::PrintToString(line);
        EXPECT_NE(byte, '\x7F') << command[0] << ": " << testing::PrintToString(line);
      }
      for (const char* escape : {"\u0085", "\u009B", "\u202E", "\u2066"}) {
        EXPECT_EQ(line.find(escape), std::string::npos) << command[0] << ": " << testing::PrintToString(line);
      }
    }
    EXPECT_NE(shown.find("31m"), std::string::npos) << command[0];
  }
}

TEST_F(Terminal, ASearchTellsHowManyOfAllWereFound) {
  Make("book.xdb", "a\none\ntwo\n");
  EXPECT_NE(Shown({"list", "book.xdb", "--where", "a=one"}).find("1 of 2 records"), std::string::npos);
}

// Rows are fed slowly until the program has worked for half a second by its own clock and draws.
TEST_F(Terminal, ProgressIsDrawnOnATerminalAndCleared) {
  TerminalOptions options;
  bool drawn = false;
  options.feed = [&](int input, const std::function<std::string()>& shown) {
    ASSERT_EQ(write(input, "a\n", 2), 2);
    for (int i = 0; i < 3000 && !drawn; ++i) {
      ASSERT_EQ(write(input, "1\n", 2), 2);
      drawn = shown().find("reading standard input, rows: ") != std::string::npos;
    }
  };
  const Outcome outcome = XkrdbOnTerminal({"import", "book.xdb", "-"}, options);
  EXPECT_EQ(outcome.code, 0);
  EXPECT_TRUE(drawn) << outcome.out;
  // The last thing drawn is taken away before the first message.
  const size_t message = outcome.out.find("book.xdb: made with");
  ASSERT_NE(message, std::string::npos) << outcome.out;
  const size_t cleared = outcome.out.rfind("\r\x1B[K", message);
  ASSERT_NE(cleared, std::string::npos);
  EXPECT_EQ(cleared + 4, message) << testing::PrintToString(outcome.out);
}

TEST_F(Terminal, NoProgressWhereStandardErrorIsNoTerminal) {
  TerminalOptions options;
  options.messages = false;
  options.feed = [](int input, const std::function<std::string()>&) {
    (void)!write(input, "a\n1\n", 4);
    usleep(700'000);
    (void)!write(input, "2\n", 2);
  };
  const Outcome outcome = XkrdbOnTerminal({"import", "book.xdb", "-"}, options);
  EXPECT_EQ(outcome.code, 0);
  EXPECT_EQ(outcome.out, "");
}

}  // namespace
}  // namespace xkrdb::test
