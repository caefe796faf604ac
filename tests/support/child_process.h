// A part of a test that runs in a process of its own, to be cut off there or to stand beside this one. What it expects
// counts for the test: the child's failures are printed, and its end tells the parent that there were some.
#pragma once

#include <gtest/gtest.h>
#include <stdio.h>
#include <sys/types.h>
#include <sys/wait.h>
#include <unistd.h>

#include <utility>

// Runs body in a child process that then ends at once: no destructor, no exit handler, no clean-up runs, as if it had
// been killed.
template <class Body>
pid_t StartChildThatDies(Body&& body) {
  fflush(nullptr);
  pid_t child = fork();
  if (child != 0) return child;
  std::forward<Body>(body)();
  fflush(nullptr);
  _exit(testing::Test::HasFailure() ? 1 : 0);
}

inline void ExpectChildSucceeds(pid_t child) {
  ASSERT_GT(child, 0) << "no child process";
  int status = 0;
  ASSERT_EQ(waitpid(child, &status, 0), child);
  EXPECT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 0) << "the child process failed, wait status " << status;
}

template <class Body>
void RunInChildThatDies(Body&& body) {
  ExpectChildSucceeds(StartChildThatDies(std::forward<Body>(body)));
}

// Lets one process wait until another has come to a point. Made before the child is started; one side signals once, the
// other waits once.
class ProcessSignal {
 public:
  ProcessSignal() { EXPECT_EQ(pipe(ends_), 0); }
  ProcessSignal(const ProcessSignal&) = delete;
  ProcessSignal& operator=(const ProcessSignal&) = delete;
  ~ProcessSignal() {
    close(ends_[0]);
    close(ends_[1]);
  }

  void Send() const { EXPECT_EQ(write(ends_[1], "!", 1), 1); }
  void Wait() const {
    char byte = 0;
    EXPECT_EQ(read(ends_[0], &byte, 1), 1);
  }

 private:
  int ends_[2] = {-1, -1};
};
