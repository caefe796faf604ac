// Both sides of the pipe. What was written into it before the kill is read after it: the pipe outlives the writer.
#include "writer_process.h"

#include <fcntl.h>
#include <poll.h>
#include <signal.h>
#include <spawn.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <thread>

#include "broken_promise.h"
#include "writer_script.h"

namespace kills {
namespace {

using Clock = std::chrono::steady_clock;

constexpr int kPipeOfWriter = 3;
constexpr int kBrokenPromiseCode = 3;
constexpr int kPatienceMilliseconds = 60000;

enum class Word : uint32_t { kBegins, kReturned };

struct Message {
  uint32_t call;
  Word word;
};

void Require(bool holds, const char* what) {
  if (!holds) throw std::runtime_error(std::string(what) + " failed, errno " + std::to_string(errno));
}

// ---- the writer's side

class Announcer : public CallObserver {
 public:
  explicit Announcer(bool breaks_promises) : breaks_promises_(breaks_promises) {}
  void Begins(uint32_t call, const char*) override {
    Send({call, Word::kBegins});
    if (breaks_promises_) Send({call, Word::kReturned});
  }
  void Returned(uint32_t call) override {
    if (!breaks_promises_) Send({call, Word::kReturned});
  }

 private:
  static void Send(Message message) {
    if (write(kPipeOfWriter, &message, sizeof message) != sizeof message) _exit(4);
  }
  bool breaks_promises_;
};

// ---- the parent's side

class Writer {
 public:
  explicit Writer(const WriterTask& task) {
    int ends[2];
    Require(pipe2(ends, O_CLOEXEC) == 0, "pipe");
    pipe_ = ends[0];
    Start(task, ends[1]);
    close(ends[1]);
  }
  ~Writer() {
    if (end_.process > 0 && !reaped_) {
      kill(end_.process, SIGKILL);
      waitpid(end_.process, nullptr, 0);
    }
    close(pipe_);
  }
  Writer(const Writer&) = delete;
  Writer& operator=(const Writer&) = delete;

  void WaitForMessages(uint32_t count) {
    while (received_ < count && !at_end_) {
      pollfd descriptor = {pipe_, POLLIN, 0};
      const int ready = poll(&descriptor, 1, kPatienceMilliseconds);
      if (ready == 0) throw BrokenPromise("the writer hangs");
      ReadOne();
    }
  }

  // Short delays are waited for awake: a sleep takes longer than a call.
  static void Delay(uint32_t microseconds) {
    const auto end = Clock::now() + std::chrono::microseconds(microseconds);
    if (microseconds > 1000) std::this_thread::sleep_for(std::chrono::microseconds(microseconds - 500));
    while (Clock::now() < end) continue;
  }

  WriterEnd Kill() {
    kill(end_.process, SIGKILL);
    int status = 0;
    Require(waitpid(end_.process, &status, 0) == end_.process, "waitpid");
    reaped_ = true;
    while (!at_end_) ReadOne();
    if (!WIFSIGNALED(status) || WTERMSIG(status) != SIGKILL) {
      throw BrokenPromise("the writer ended by itself after call " + std::to_string(end_.acknowledged) +
                          ", wait status " + std::to_string(status));
    }
    return end_;
  }

 private:
  void Start(const WriterTask& task, int write_end) {
    posix_spawn_file_actions_t actions;
    Require(posix_spawn_file_actions_init(&actions) == 0, "posix_spawn_file_actions_init");
    posix_spawn_file_actions_adddup2(&actions, write_end, kPipeOfWriter);
    const std::string program = std::filesystem::read_symlink("/proc/self/exe").string();
    std::array<std::string, 6> texts = {program,
                                        kWriterArgument,
                                        task.path,
                                        std::to_string(task.seed),
                                        task.make_file ? "1" : "0",
                                        task.breaks_promises ? "1" : "0"};
    std::array<char*, 7> arguments{};
    for (size_t i = 0; i < texts.size(); ++i) arguments[i] = texts[i].data();
    const int result = posix_spawn(&end_.process, program.c_str(), &actions, nullptr, arguments.data(), environ);
    posix_spawn_file_actions_destroy(&actions);
    Require(result == 0, "posix_spawn");
  }

  void ReadOne() {
    Message message{};
    const ssize_t size = read(pipe_, &message, sizeof message);
    if (size < 0 && errno == EINTR) return;
    if (size != sizeof message) {
      at_end_ = true;
      return;
    }
    ++received_;
    const bool returned = message.word == Word::kReturned;
    if (returned) end_.acknowledged = message.call;
    end_.under_way = returned ? -1 : int64_t{message.call};
  }

  int pipe_ = -1;
  bool at_end_ = false;
  bool reaped_ = false;
  uint32_t received_ = 0;
  WriterEnd end_;
};

}  // namespace

WriterEnd RunWriterAndKill(const WriterTask& task, const KillPlan& plan) {
  Writer writer(task);
  writer.WaitForMessages(plan.messages);
  Writer::Delay(plan.delay_us);
  return writer.Kill();
}

int WriterMain(int argc, char** argv) {
  prctl(PR_SET_PDEATHSIG, SIGKILL);
  if (argc != 6) return 2;
  Announcer announcer(argv[5][0] == '1');
  const auto seed = static_cast<uint32_t>(std::strtoul(argv[3], nullptr, 10));
  try {
    WriterScript(std::filesystem::path(argv[2]).u16string(), seed, announcer, nullptr).Run(argv[4][0] == '1');
  } catch (const BrokenPromise& broken) {
    std::fprintf(stderr, "writer: %s\n", broken.what());
  }
  return kBrokenPromiseCode;
}

}  // namespace kills
