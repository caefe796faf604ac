// Which operation fails next: memory, files and the system's calls all ask here before they do anything.
//
// Nothing fails unless a plan is armed and an Exposed call is running: what a test does by itself, between the store's
// calls, is never disturbed. One thread.
#pragma once

#include <cstdint>
#include <optional>

namespace faults {

enum class Operation : uint8_t {
  kMemory,
  kOpen,
  kClose,
  kRead,
  kWrite,
  kTruncate,
  kSync,
  kSize,
  kLock,
  kUnlock,
  kDelete,
  kAccess,    // SQLite's question whether a file is there
  kPathName,  // a path made absolute
  kStatus,    // lstat, which no other failure of ours can stand for
  kRenameNew,
  kRename,
  kLink,
  kRandom,
  kTurn,  // a folder locked while a volume is made in it
  kCount
};

// How an operation fails. Each applies to some operations only; the others never count.
enum class Failure : uint8_t {
  kNoMemory,       // an allocation that gives nothing
  kDevice,         // EIO, and SQLite's error of that operation
  kFull,           // ENOSPC
  kOverQuota,      // EDQUOT
  kShort,          // half of what was asked for
  kDenied,         // EACCES
  kReadOnly,       // EROFS
  kBusy,           // somebody else has the lock
  kInterrupted,    // EINTR, which is no failure: whoever gets it asks again
  kNoDescriptors,  // EMFILE
  kUnsupported,    // a file system that does not know the call
  kOverlooked,     // a file that is there and is not seen
  kCount
};
const char* NameOf(Failure failure);
const char* NameOf(Operation operation);
bool Applies(Failure failure, Operation operation);

constexpr uint32_t BitOf(Operation operation) { return 1u << static_cast<unsigned>(operation); }
constexpr uint32_t BitOf(Failure failure) { return 1u << static_cast<unsigned>(failure); }
constexpr uint32_t kAllOperations = ~uint32_t{0};

// The operation number at, of those that the failure applies to, fails; with lasting every later one too.
struct Plan {
  Failure failure = Failure::kNoMemory;
  long at = 0;
  bool lasting = false;
  uint32_t operations = kAllOperations;  // of which only these count
};
void Arm(const Plan& plan);

// Each operation fails with the given chance in a million, each time in one of the ways that apply to it and are among
// those chosen.
void ArmAtRandom(uint64_t seed, uint32_t chance, uint32_t failures);

struct Outcome {
  uint32_t operations = 0;  // that failed
  uint32_t failures = 0;    // in these ways
  long counted = 0;         // operations that could have
  long strikes = 0;         // and that did
  bool struck() const { return operations != 0; }
};
Outcome Seen();
Outcome Disarm();
bool Armed();

// While one lives, operations may fail.
class Exposure {
 public:
  Exposure();
  ~Exposure();
  Exposure(const Exposure&) = delete;
  Exposure& operator=(const Exposure&) = delete;
};

// While one lives, none does, exposed or not.
class Shelter {
 public:
  Shelter();
  ~Shelter();
  Shelter(const Shelter&) = delete;
  Shelter& operator=(const Shelter&) = delete;
};

template <typename Call>
auto Exposed(Call call) {
  const Exposure exposure;
  return call();
}

template <typename Call>
auto Sheltered(Call call) {
  const Shelter shelter;
  return call();
}

// How the operation that is about to happen is to fail. Allocates nothing.
std::optional<Failure> Ask(Operation operation) noexcept;

// What errno says of a failure.
int ErrorOf(Failure failure);

}  // namespace faults
