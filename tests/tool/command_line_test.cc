// What is typed, and typed wrong; help and version.
#include <gtest/gtest.h>

#include "tool_process.h"

namespace xkrdb::test {
namespace {

using CommandLine = ToolTest;

TEST_F(CommandLine, EveryCommandHasHelpWithAnExampleOnStandardOutput) {
  for (const char* command :
       {"new", "import", "info", "list", "show", "find", "add", "set", "rm", "dup", "log", "export", "check"}) {
    const Outcome outcome = Xkrdb({command, "--help"});
    EXPECT_EQ(outcome.code, 0) << command;
    EXPECT_EQ(outcome.err, "") << command;
    EXPECT_NE(outcome.out.find(std::string("Example: xkrdb ") + command + " "), std::string::npos) << outcome.out;
  }
  const Outcome outcome = Xkrdb({"--help"});
  EXPECT_EQ(outcome.code, 0);
  EXPECT_NE(outcome.out.find("Exit codes: 0 done"), std::string::npos) << outcome.out;
}

TEST_F(CommandLine, HelpIsACommandToo) {
  EXPECT_EQ(Xkrdb({"help"}).out, Xkrdb({"--help"}).out);
  EXPECT_EQ(Xkrdb({"help", "list"}).out, Xkrdb({"list", "--help"}).out);
  EXPECT_EQ(Xkrdb({"help", "lsit"}).code, 2);
}

TEST_F(CommandLine, VersionIsTheProjects) { EXPECT_EQ(Xkrdb({"--version"}).out, "xkrdb " XKRDB_VERSION "\n"); }

struct WrongLine {
  const char* why;
  std::vector<std::string> arguments;
  const char* message;  // somewhere in standard error
};

const WrongLine kWrong[] = {
    {"no command", {}, "subcommand is required"},
    {"a mistyped command", {"imprt", "a.xdb", "b.csv"}, "no command \"imprt\"; did you mean \"import\"?"},
    {"a command of another tool",
     {"select"},
     "no command \"select\"; did you mean \"list\"? The commands are: new, info, list"},
    {"a word that is no command at all", {"xyzzyxyzzy"}, "no command \"xyzzyxyzzy\". The commands are: "},
    {"the database first", {"book.xdb", "list"}, "the command comes before the database: xkrdb list book.xdb"},
    {"no database", {"list"}, "database is required"},
    {"an unknown option", {"list", "a.xdb", "--order-by", "x"}, "--order-by"},
    {"descending without a sort", {"list", "a.xdb", "--descending"}, "requires"},
    {"two forms at once", {"list", "a.xdb", "--csv", "--json"}, "excludes"},
    {"a limit that is no number", {"list", "a.xdb", "--limit", "many"}, "--limit"},
    {"a limit below zero", {"list", "a.xdb", "--limit", "-1"}, "--limit"},
    {"arguments the wrong way round", {"import", "data.csv", "book.xdb"}, "the database comes first"},
    {"a data file for a database", {"list", "data.csv"}, "looks like a data file"},
    {"standard input for a database", {"list", "-"}, "a database is a file"},
    {"a database to export to", {"export", "book.xdb", "copy.xdb"}, "export writes CSV or JSON"},
    {"an order that is none", {"import", "a.xdb", "b.csv", "--date-order", "yyyy"}, "--date-order"},
    {"a delimiter of two characters",
     {"import", "a.xdb", "b.csv", "--delimiter", "||"},
     "--delimiter takes one character"},
    {"a quote for a delimiter", {"import", "a.xdb", "b.csv", "--delimiter", "\""}, "--delimiter takes one character"},
    {"a path that is not UTF-8", {"list", "\xFF.xdb"}, "is not UTF-8"},
};

TEST_F(CommandLine, WhatCannotBeMeantIsExitCodeTwo) {
  for (const WrongLine& wrong : kWrong) {
    const Outcome outcome = Xkrdb(wrong.arguments);
    EXPECT_EQ(outcome.code, 2) << wrong.why << ": " << outcome.err;
    EXPECT_EQ(outcome.out, "") << wrong.why;
    EXPECT_NE(outcome.err.find(wrong.message), std::string::npos) << wrong.why << ": " << outcome.err;
  }
  EXPECT_EQ(Files(), "");
}

TEST_F(CommandLine, UnknownColumnsAndTypesOfTypesAreUsage) {
  EXPECT_NE(
      Xkrdb({"import", "book.xdb", "-", "--types", "siez=number"}, "size\n1\n").err.find("did you mean \"size\"?"),
      std::string::npos);
  EXPECT_EQ(Xkrdb({"import", "book.xdb", "-", "--types", "size=int"}, "size\n1\n").code, 2);
  EXPECT_EQ(Xkrdb({"import", "book.xdb", "-", "--types", "size"}, "size\n1\n").code, 2);
  EXPECT_EQ(Files(), "");
}

TEST_F(CommandLine, PathsMayHoldAnyCharacterOfUtf8) {
  Make("Büch er 🚀.xdb", "a\n1\n");
  EXPECT_EQ(Xkrdb({"list", "Büch er 🚀.xdb", "--count"}).out, "1\n");
}

TEST_F(CommandLine, APathThatIsTooLongIsSaid) {
  EXPECT_NE(Xkrdb({"list", std::string(260, 'x')}).err.find("260 characters long, at most 259"), std::string::npos);
}

}  // namespace
}  // namespace xkrdb::test
