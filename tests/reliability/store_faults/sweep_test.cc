// Every allocation and every file operation of the workloads fails, once alone and once together with all that follow.
#include <gtest/gtest.h>

#include "fault_run.h"
#include "temporary_directory.h"

namespace {

class WorkloadSweep : public testing::TestWithParam<const char*> {
 protected:
  FaultRun Start() { return {WorkloadOf(GetParam()), folder_.path() / "run"}; }
  TemporaryDirectory folder_;
};

TEST_P(WorkloadSweep, EveryAllocation) {
  FaultRun run = Start();
  for (const bool lasting : {false, true}) {
    long failed = 0;
    EXPECT_EQ(run.SweepMemory(lasting, failed), "");
    EXPECT_GT(failed, 250) << "a workload has more allocations";
  }
}

// A device that fails once is tried with every operation, the other failures with every fourth; the campaign tries all.
TEST_P(WorkloadSweep, EveryFileOperation) {
  FaultRun run = Start();
  for (unsigned i = 1; i < static_cast<unsigned>(faults::Failure::kCount); ++i) {
    const auto failure = static_cast<faults::Failure>(i);
    for (const bool lasting : {false, true}) {
      if (lasting && failure == faults::Failure::kInterrupted) continue;  // nobody is interrupted for ever
      const bool every = failure == faults::Failure::kDevice && !lasting;
      for (long at = every ? 0 : i % 4;; at += every ? 1 : 4) {
        const std::string complaint = run.Run([&] { faults::Arm({failure, at, lasting}); });
        ASSERT_EQ(complaint, "") << faults::NameOf(failure) << " at " << at << (lasting ? " and later" : "");
        if (!run.outcome().struck()) break;
      }
    }
  }
}

// A log that is taken up during a flush has thousands of operations.
TEST(Sweep, AnOperationNowAndThenOfALongLog) {
  const TemporaryDirectory folder;
  FaultRun run(WorkloadOf("long log"), folder.path() / "run");
  for (long at = 100;; at += 900) {
    const std::string complaint = run.Run([&] { faults::Arm({faults::Failure::kDevice, at, false}); });
    ASSERT_EQ(complaint, "") << at;
    if (!run.outcome().struck()) break;
  }
  // The syncs and the cuts, which are few, one and all.
  for (const faults::Operation operation : {faults::Operation::kSync, faults::Operation::kTruncate}) {
    for (long at = 0;; ++at) {
      const std::string complaint = run.Run([&] {
        faults::Arm({faults::Failure::kDevice, at, false, faults::BitOf(operation)});
      });
      ASSERT_EQ(complaint, "") << faults::NameOf(operation) << at;
      if (!run.outcome().struck()) break;
    }
  }
}

// The campaign has one more: a replaced volume without a log.
INSTANTIATE_TEST_SUITE_P(Workloads, WorkloadSweep,
                         testing::Values("whole life", "reopened", "constrained orders", "log of a process that died",
                                         "replaced with its log", "new beside an old log", "column of numbers"),
                         [](const auto& row) {
                           std::string name = row.param;
                           for (char& character : name) character = character == ' ' ? '_' : character;
                           return name;
                         });

}  // namespace
