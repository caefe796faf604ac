// See faults.h.
#include "faults.h"

#include <cerrno>

namespace faults {

namespace {

struct FailureRow {
  const char* name;
  int error;
  uint32_t operations;
};

constexpr uint32_t Bits() { return 0; }
template <typename... Rest>
constexpr uint32_t Bits(Operation first, Rest... rest) {
  return BitOf(first) | Bits(rest...);
}

using enum Operation;
constexpr uint32_t kFileOperations = ~(BitOf(kMemory) | BitOf(kTurn));

// In the order of Failure.
constexpr FailureRow kFailures[] = {
    {"no memory", ENOMEM, Bits(kMemory)},
    {"device", EIO, kFileOperations},
    {"full", ENOSPC, Bits(kOpen, kWrite, kTruncate, kSync, kRenameNew, kRename, kLink)},
    {"over quota", EDQUOT, Bits(kOpen, kWrite, kSync, kRenameNew, kRename, kLink)},
    {"short", 0, Bits(kRead, kWrite)},
    {"denied", EACCES, Bits(kOpen, kDelete, kRenameNew, kRename, kLink, kStatus, kPathName)},
    {"read-only", EROFS, Bits(kOpen, kDelete, kRenameNew, kRename, kLink)},
    {"busy", EAGAIN, Bits(kLock, kTurn)},
    {"interrupted", EINTR, Bits(kOpen, kClose, kRead, kWrite, kSync)},
    {"no descriptors", EMFILE, Bits(kOpen)},
    {"unsupported", ENOSYS, Bits(kRenameNew, kTurn)},
    {"overlooked", 0, Bits(kAccess)},
};
static_assert(sizeof kFailures / sizeof kFailures[0] == static_cast<size_t>(Failure::kCount));

constexpr const char* kOperations[] = {"memory", "open",   "close",  "read",   "write",  "truncate",  "sync",
                                       "size",   "lock",   "unlock", "delete", "access", "path name", "status",
                                       "rename", "rename", "link",   "random", "turn"};
static_assert(sizeof kOperations / sizeof kOperations[0] == static_cast<size_t>(Operation::kCount));

struct State {
  bool planned = false;
  Plan plan;
  bool at_random = false;
  uint64_t random = 0;
  uint32_t chance = 0;
  uint32_t random_failures = 0;
  Outcome outcome;
};
State state;
int exposures = 0;
int shelters = 0;

uint64_t NextRandom() {
  state.random += 0x9E3779B97F4A7C15;
  uint64_t mixed = state.random;
  mixed = (mixed ^ (mixed >> 30)) * 0xBF58476D1CE4E5B9;
  mixed = (mixed ^ (mixed >> 27)) * 0x94D049BB133111EB;
  return mixed ^ (mixed >> 31);
}

std::optional<Failure> DrawFailure(Operation operation) {
  ++state.outcome.counted;
  if (NextRandom() % 1'000'000 >= state.chance) return std::nullopt;
  const auto start = static_cast<unsigned>(NextRandom());
  constexpr auto kCount = static_cast<unsigned>(Failure::kCount);
  for (unsigned i = 0; i < kCount; ++i) {
    const auto failure = static_cast<Failure>((start + i) % kCount);
    if ((state.random_failures & BitOf(failure)) != 0 && Applies(failure, operation)) return failure;
  }
  return std::nullopt;
}

std::optional<Failure> PlannedFailure(Operation operation) {
  const Plan& plan = state.plan;
  if ((plan.operations & BitOf(operation)) == 0 || !Applies(plan.failure, operation)) return std::nullopt;
  const long number = state.outcome.counted++;
  if (number == plan.at || (plan.lasting && number > plan.at)) return plan.failure;
  return std::nullopt;
}

}  // namespace

const char* NameOf(Failure failure) { return kFailures[static_cast<size_t>(failure)].name; }
const char* NameOf(Operation operation) { return kOperations[static_cast<size_t>(operation)]; }
int ErrorOf(Failure failure) { return kFailures[static_cast<size_t>(failure)].error; }

bool Applies(Failure failure, Operation operation) {
  return (kFailures[static_cast<size_t>(failure)].operations & BitOf(operation)) != 0;
}

void Arm(const Plan& plan) {
  state = State();
  state.planned = true;
  state.plan = plan;
}

void ArmAtRandom(uint64_t seed, uint32_t chance, uint32_t failures) {
  Arm({});
  state.planned = false;
  state.at_random = true;
  state.random = seed;
  state.chance = chance;
  state.random_failures = failures;
}

Outcome Seen() { return state.outcome; }

bool Armed() { return exposures != 0 && shelters == 0 && (state.planned || state.at_random); }

Outcome Disarm() {
  state.planned = false;
  state.at_random = false;
  return state.outcome;
}

Exposure::Exposure() { ++exposures; }
Exposure::~Exposure() { --exposures; }
Shelter::Shelter() { ++shelters; }
Shelter::~Shelter() { --shelters; }

std::optional<Failure> Ask(Operation operation) noexcept {
  if (!Armed()) return std::nullopt;
  const std::optional<Failure> failure = state.planned ? PlannedFailure(operation) : DrawFailure(operation);
  if (failure) {
    ++state.outcome.strikes;
    state.outcome.operations |= BitOf(operation);
    state.outcome.failures |= BitOf(*failure);
  }
  return failure;
}

}  // namespace faults
