// Every allocation and every file operation of the workloads fails, once alone and once together with all that follow.
#include <gtest/gtest.h>

#include "fault_run.h"
#include "temporary_directory.h"

namespace {

class Sweep : public testing::TestWithParam<const char*> {
 protected:
  FaultRun Start() { return {WorkloadOf(GetParam()), folder_.path() / "run"}; }
  bool Heavy() const { return GetParam() == std::string("long log"); }
  TemporaryDirectory folder_;
};

TEST_P(Sweep, EveryAllocation) {
  FaultRun run = Start();
  for (const bool lasting : {false, true}) {
    long failed = 0;
    EXPECT_EQ(run.SweepMemory({lasting, 10, Heavy() ? 97 : 1}, failed), "");
    EXPECT_GT(failed, 100);
    printf("%ld allocations\n", failed);
  }
}

TEST_P(Sweep, EveryFileOperation) {
  FaultRun run = Start();
  long runs = 0;
  for (unsigned i = 1; i < static_cast<unsigned>(faults::Failure::kCount); ++i) {
    const auto failure = static_cast<faults::Failure>(i);
    for (const bool lasting : {false, true}) {
      if (lasting && failure == faults::Failure::kInterrupted) continue;   // nobody is interrupted for ever
      const bool every = failure == faults::Failure::kDevice && !lasting;  // the campaign tries every one of all
      for (long at = 0;; at += Heavy() && at > 40 ? 101 : every ? 1 : 2, ++runs) {
        const std::string complaint = run.Run([&] { faults::Arm({failure, at, lasting}); });
        ASSERT_EQ(complaint, "") << faults::NameOf(failure) << " at " << at << (lasting ? " and later" : "");
        if (!run.outcome().struck()) break;
      }
    }
  }
  printf("%ld runs\n", runs);
}

INSTANTIATE_TEST_SUITE_P(Workloads, Sweep,
                         testing::Values("whole life", "reopened", "constrained orders", "log of a process that died",
                                         "replaced", "replaced with its log", "new beside an old log",
                                         "column of numbers", "long log"),
                         [](const auto& row) {
                           std::string name = row.param;
                           for (char& character : name) character = character == ' ' ? '_' : character;
                           return name;
                         });

}  // namespace
