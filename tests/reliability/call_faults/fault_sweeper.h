// Runs one case: without a failure, then with the n-th platform call failing for n = 0, 1, 2, ... until the call gets
// through, in three ways each:
//   alone, and the file is closed and opened again,
//   alone, and the same call is made again with the platform intact,
//   that call and every later one, and the file is closed and opened again.
// Where the platform's error number decides, other numbers are tried as well.
//
// After each run everything that was open closes, and no block, handle or mount is left. After the first and the third,
// the environment opens the file again and finds in it by a query; contents that no run of the case left before are read
// whole, which gives exactly what the store holds, and written to. After the second the file is what a run without a
// failure leaves.
#pragma once

#include <optional>
#include <set>

#include "fault_case.h"

namespace callfaults {

class FaultSweeper {
 public:
  explicit FaultSweeper(const FaultCase& fault_case) : case_(fault_case) {}
  void Run();

 private:
  enum class Way { kAlone, kAgain, kOnwards };

  // What a run without a failure comes to.
  struct Reference {
    Description outputs_before, outputs_after;
    Description handles_before, handles_after;
    Lines volume_before, volume_after;
  };

  void RunClean();
  bool RunFaulty(size_t n, Way way, std::optional<DWORD> error);
  void CallAgain(World& world, const Outcome& outcome);
  Outcome Expected(const std::vector<seam::Call>& calls, Way way) const;
  const Rule* RuleFor(const Rules& rules, const std::vector<seam::Call>& calls, size_t failed) const;
  Lines ExpectOutcome(const World& world, const Outcome& outcome, uint32_t status, Way way) const;
  void ExpectVolume(const Lines& now, Held held) const;
  void ExpectAsAfter(const World& world, uint32_t status) const;
  void Finish(World& world, const std::vector<seam::Call>& calls, const Lines& held, bool stays_mounted, Way way);
  Lines VolumeOf(const World& world) const;

  const FaultCase& case_;
  Reference reference_;
  std::set<Lines> read_;  // contents that were read back
  size_t faulty_runs_ = 0;
  std::vector<size_t> called_again_;  // the failures after which the same call has an answer worth asking for
};

}  // namespace callfaults
