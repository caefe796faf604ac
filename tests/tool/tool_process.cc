// Processes and pseudo-terminals. A program that does not end within a minute is killed and fails its test.
#include "tool_process.h"

#include <fcntl.h>
#include <poll.h>
#include <pty.h>
#include <signal.h>
#include <stdlib.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <chrono>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <thread>

namespace xkrdb::test {
namespace {

constexpr auto kPatience = std::chrono::seconds(60);
using Clock = std::chrono::steady_clock;

std::vector<char*> Pointers(std::vector<std::string>& texts) {
  std::vector<char*> pointers;
  for (std::string& text : texts) pointers.push_back(text.data());
  pointers.push_back(nullptr);
  return pointers;
}

// In the child: becomes the program. Does not return.
[[noreturn]] void Become(std::string program, const std::vector<std::string>& arguments,
                         const std::vector<std::string>& environment, const std::string& folder) {
  std::vector<std::string> words{program};
  words.insert(words.end(), arguments.begin(), arguments.end());
  // Of two settings of one name the first one counts.
  std::vector<std::string> variables = environment;
  variables.insert(variables.end(), {"PATH=/usr/bin:/bin", "TERM=xterm", "LC_ALL=C"});
  const char* temporary = getenv("TMPDIR");
  if (temporary != nullptr) variables.push_back(std::string("TMPDIR=") + temporary);
  if (chdir(folder.c_str()) != 0) _exit(126);
  execve(program.c_str(), Pointers(words).data(), Pointers(variables).data());
  _exit(127);
}

int Wait(pid_t process) {
  int status = 0;
  while (waitpid(process, &status, 0) < 0 && errno == EINTR) {
  }
  return WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
}

// Reads what is there; false at the end.
bool Drain(int descriptor, std::string& text) {
  std::array<char, 65536> block;
  const ssize_t size = read(descriptor, block.data(), block.size());
  if (size > 0) text.append(block.data(), static_cast<size_t>(size));
  return size > 0 || (size < 0 && errno == EINTR);
}

// Feeds a program and collects what it says until all its ends are closed.
void Converse(pid_t process, int in, int out, int err, std::string_view input, Outcome& outcome) {
  (void)fcntl(in, F_SETFL, O_NONBLOCK);
  if (input.empty()) {
    close(in);
    in = -1;
  }
  const Clock::time_point end = Clock::now() + kPatience;
  while (out >= 0 || err >= 0) {
    pollfd ends[] = {{in, POLLOUT, 0}, {out, POLLIN, 0}, {err, POLLIN, 0}};
    if (poll(ends, 3, 1000) < 0 && errno != EINTR) break;
    if (Clock::now() > end) (void)kill(process, SIGKILL);
    if (ends[0].revents != 0) {
      const ssize_t size = write(in, input.data(), input.size());
      if (size > 0) input.remove_prefix(static_cast<size_t>(size));
      if (input.empty() || (size < 0 && errno != EAGAIN)) {
        close(in);
        in = -1;
      }
    }
    if (ends[1].revents != 0 && !Drain(out, outcome.out)) out = (close(out), -1);
    if (ends[2].revents != 0 && !Drain(err, outcome.err)) err = (close(err), -1);
  }
  if (in >= 0) close(in);
}

}  // namespace

Outcome RunProgram(const std::string& program, const std::vector<std::string>& arguments, const RunOptions& options) {
  int in[2], out[2], err[2];
  if (pipe2(in, O_CLOEXEC) != 0 || pipe2(out, O_CLOEXEC) != 0 || pipe2(err, O_CLOEXEC) != 0) return {};
  const pid_t process = fork();
  if (process == 0) {
    (void)dup2(in[0], STDIN_FILENO);
    (void)dup2(out[1], STDOUT_FILENO);
    (void)dup2(err[1], STDERR_FILENO);
    if (options.user != 0 && setuid(options.user) != 0) _exit(126);
    Become(program, arguments, options.environment, options.folder);
  }
  close(in[0]);
  close(out[1]);
  close(err[1]);
  Outcome outcome;
  Converse(process, in[1], out[0], err[0], options.input, outcome);
  outcome.code = Wait(process);
  return outcome;
}

Outcome RunOnTerminal(const std::string& program, const std::vector<std::string>& arguments,
                      const TerminalOptions& options) {
  int in[2];
  if (pipe2(in, O_CLOEXEC) != 0) return {};
  winsize size{};
  size.ws_col = options.columns;
  size.ws_row = 24;
  int terminal = -1;
  const pid_t process = forkpty(&terminal, nullptr, nullptr, &size);
  if (process == 0) {
    const int nowhere = open("/dev/null", O_WRONLY | O_CLOEXEC);
    (void)dup2(in[0], STDIN_FILENO);
    if (!options.output) (void)dup2(nowhere, STDOUT_FILENO);
    if (!options.messages) (void)dup2(nowhere, STDERR_FILENO);
    Become(program, arguments, options.environment, options.folder);
  }
  close(in[0]);
  Outcome outcome;
  const auto shown = [&] {
    pollfd end{terminal, POLLIN, 0};
    while (poll(&end, 1, 20) > 0 && (end.revents & POLLIN) != 0 && Drain(terminal, outcome.out)) {
    }
    return outcome.out;
  };
  if (options.feed) options.feed(in[1], shown);
  close(in[1]);
  // The terminal answers with an error, not an end, when its last program is gone.
  while (Drain(terminal, outcome.out)) {
  }
  close(terminal);
  outcome.code = Wait(process);
  return outcome;
}

void ToolTest::Write(const std::string& name, const std::string& bytes) const {
  std::ofstream file(Path(name), std::ios::binary);
  file << bytes;
  ASSERT_TRUE(file.good());
}

std::string ToolTest::Read(const std::string& name) const {
  std::ifstream file(Path(name), std::ios::binary);
  std::ostringstream bytes;
  bytes << file.rdbuf();
  return bytes.str();
}

bool ToolTest::Exists(const std::string& name) const { return std::filesystem::exists(Path(name)); }

std::string ToolTest::Files() const {
  std::vector<std::string> names;
  for (const auto& entry : std::filesystem::directory_iterator(folder_.path()))
    names.push_back(entry.path().filename().string());
  std::sort(names.begin(), names.end());
  std::string list;
  for (const std::string& name : names) list += (list.empty() ? "" : " ") + name;
  return list;
}

Outcome ToolTest::Xkrdb(const std::vector<std::string>& arguments, const std::string& input) const {
  return RunProgram(XKRDB_TOOL_PROGRAM, arguments, {folder(), input, {}});
}

Outcome ToolTest::XkrdbOnTerminal(const std::vector<std::string>& arguments, TerminalOptions options) const {
  options.folder = folder();
  return RunOnTerminal(XKRDB_TOOL_PROGRAM, arguments, options);
}

void ToolTest::Make(const std::string& database, const std::string& csv, const std::vector<std::string>& more) const {
  std::vector<std::string> arguments{"import", database, "-"};
  arguments.insert(arguments.end(), more.begin(), more.end());
  const Outcome outcome = Xkrdb(arguments, csv);
  ASSERT_EQ(outcome.code, 0) << outcome.err;
}

}  // namespace xkrdb::test
