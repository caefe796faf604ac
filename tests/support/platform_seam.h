// What the engine says to its platform, and what the platform answers: a recorder and fault injector at the link seam.
//
// A test program linked with XKRDB_SEAM_WRAP has every platform call of the engine pass through here. While a
// PlatformSeam lives, each call is written down in readable form and may be made to fail. Only calls that the engine
// itself makes are seen: what the object store does inside one of its calls passes untouched. Without a PlatformSeam
// everything passes, but handles and volumes are still given their names, so that a test may start to watch late.
//
// How calls read
//   CeWriteRecordProps(OBJG_0, oid=0, [0x20013=5, 0x10013=0x40000])
//   CeReadRecordPropsEx(OBJG_0, flags=0, [0x30041], probe)        size=48 in place of probe when there is a buffer
//   CeSeekDatabase(OBJG_0, VALUEFIRSTEQUAL, 0x10013=0x50000)
// Volumes are vol1, vol2, ...; database handles carry the database's name (a second one on the same database OBJG_0/2);
// identifiers are #1, #2, ... in the order in which the recording meets them, 0 stays 0; heap blocks are their size.
#pragma once

#include <functional>
#include <initializer_list>
#include <string>
#include <string_view>
#include <vector>

#include "clock.h"
#include "files.h"
#include "local_heap.h"
#include "object_store.h"
#include "word_breaker.h"

namespace seam {

// One property of a write or of a seek by value, copied deeply.
struct Property {
  CEPROPID id = 0;
  WORD flags = 0;
  uint64_t number = 0;         // numeric types, sign-extended
  std::u16string text;         // strings
  std::vector<uint8_t> bytes;  // blobs
};

struct Call {
  std::string name;  // "CeWriteRecordProps"
  std::string text;  // the whole call as above, without its result
  std::vector<Property> properties;
  std::vector<CEPROPID> ids;        // of a read
  std::vector<uint64_t> arguments;  // the numbers and addresses as they were passed, in order
  uint64_t result = 0;
  DWORD error = 0;        // the platform's last error after the call, when it failed
  bool failed = false;    // the result is the one by which this call fails
  bool injected = false;  // the platform was not asked: a fault or a replacement answered
};

// What is answered in place of the platform.
struct Answer {
  uint64_t result;
  DWORD error;
};

// The answer by which the call of this name fails on the platform.
Answer UsualFailure(std::string_view name);

// False for calls that cannot fail: GetLastError, GetSystemTime, LocalSize, LocalFree, XKRWbrShutdown.
bool CanFail(std::string_view name);

class PlatformSeam {
 public:
  PlatformSeam();
  ~PlatformSeam();
  PlatformSeam(const PlatformSeam&) = delete;
  PlatformSeam& operator=(const PlatformSeam&) = delete;

  // ---- reading what was recorded
  const std::vector<Call>& calls() const;
  std::vector<Call> CallsOf(std::string_view name) const;
  size_t CountOf(std::string_view name) const;
  // The texts of all calls; of the calls with these names; of all but heap calls and GetLastError.
  std::vector<std::string> Texts() const;
  std::vector<std::string> Texts(std::initializer_list<std::string_view> names) const;
  std::vector<std::string> StoreTexts() const;
  // Forgets calls and identifier numbers; faults and the counts that they wait for stay.
  void Clear();

  // ---- faults. n counts from 0, from the moment of arming; only calls that can fail are counted by the "any" forms.
  void Fail(std::string_view name, size_t n = 0);
  void Fail(std::string_view name, size_t n, DWORD error);
  void FailAny(size_t n);
  void FailAnyFrom(size_t n);                                    // that one and every later one
  void FailAs(std::string_view name, Answer answer);             // what the "any" forms answer in place of the usual
  void Replace(std::string_view name, size_t n, Answer answer);  // any name, any result; the platform is not asked
  // Lets the n-th successful call of a name through and then changes what it put out: the CEGUID of a mount, the CEOID
  // of an open, the CEOIDINFO, the first CEPROPVAL of a read, the WIN32_FIND_DATAW, the SYSTEMTIME.
  void Alter(std::string_view name, size_t n, std::function<void(void*)> change);
  // Replaces what a successful call returns after the platform was asked.
  void AlterResult(std::string_view name, size_t n, uint64_t result);
  bool FaultHappened() const;
  size_t FallibleCalls() const;  // calls that can fail, since arming
  void Disarm();                 // no faults any more

  // ---- switching off and on
  void Stop();
  void Start();
};

// Blocks that the engine took from the local heap and has not given back.
size_t LiveBlocks();
// Handles that the engine opened and has not closed: databases, enumerations, file listings, word-breaker sessions.
size_t LiveHandles();
// Mounts that were not undone.
size_t LiveMounts();
// After a test has unmounted, unseen, what the engine left mounted.
void ForgetMounts();

// While one lives, calls on this thread pass unseen: for tests that use the object store themselves.
class Unseen {
 public:
  Unseen();
  ~Unseen();
  Unseen(const Unseen&) = delete;
  Unseen& operator=(const Unseen&) = delete;
};

}  // namespace seam
