// Programs run by the tests: with pipes, or on a pseudo-terminal. Each test gets a fresh temporary folder, which is the
// working folder of what it runs.
#ifndef XKRDB_TESTS_TOOL_PROCESS_H
#define XKRDB_TESTS_TOOL_PROCESS_H

#include <gtest/gtest.h>

#include <functional>
#include <string>
#include <vector>

#include "temporary_directory.h"

namespace xkrdb::test {

struct Outcome {
  int code = -1;  // exit code, or 128 and the signal
  std::string out;
  std::string err;
};

struct RunOptions {
  std::string folder;
  std::string input;
  std::vector<std::string> environment;  // NAME=VALUE, added to a small fixed environment
  unsigned user = 0;                     // run as this user; 0: as the test
};

Outcome RunProgram(const std::string& program, const std::vector<std::string>& arguments, const RunOptions& options);

struct TerminalOptions {
  std::string folder;
  unsigned short columns = 80;
  std::vector<std::string> environment;
  bool output = true;    // standard output is the terminal; else it is discarded
  bool messages = true;  // standard error is the terminal; else it is discarded
  // Called with a descriptor that the program reads as its standard input, and with a function that returns what the
  // terminal has shown so far; when it returns, standard input ends.
  std::function<void(int, const std::function<std::string()>&)> feed;
};

// What the terminal was sent, with the terminal's own line ends (CR LF), and the exit code.
Outcome RunOnTerminal(const std::string& program, const std::vector<std::string>& arguments,
                      const TerminalOptions& options);

// A test of the tool: a folder, and xkrdb run in it.
class ToolTest : public testing::Test {
 protected:
  std::string folder() const { return folder_.path().string(); }
  std::string Path(const std::string& name) const { return folder() + "/" + name; }
  void Write(const std::string& name, const std::string& bytes) const;
  std::string Read(const std::string& name) const;
  bool Exists(const std::string& name) const;
  // The names of all files in the folder, in order, with a blank between them.
  std::string Files() const;

  Outcome Xkrdb(const std::vector<std::string>& arguments, const std::string& input = {}) const;
  Outcome XkrdbOnTerminal(const std::vector<std::string>& arguments, TerminalOptions options = {}) const;
  // Imports CSV text into a database and expects that to work.
  void Make(const std::string& database, const std::string& csv, const std::vector<std::string>& more = {}) const;

 private:
  TemporaryDirectory folder_;
};

}  // namespace xkrdb::test

#endif
