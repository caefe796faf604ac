// The life of a volume as a list of steps, each of them one call of the store. The same steps on the same start give the
// same content, so that a run with faults can be held against one without.
#pragma once

#include <filesystem>
#include <functional>
#include <string>
#include <vector>

#include "object_store.h"

// What a client has in hand while it works.
struct World {
  std::u16string path;
  CEGUID volume = {};
  bool mounted = false;
  std::vector<CEOID> databases;  // by number of creation
  std::vector<CEOID> records;
  std::vector<HANDLE> handles;  // by number of opening; those that are closed keep their place
  std::vector<size_t> plain;    // the numbers of the open handles that do not step by themselves
  HANDLE find = INVALID_HANDLE_VALUE;

  HANDLE handle(size_t number) const { return handles[number]; }
};

enum class StepKind {
  kMount,    // opens the volume
  kReplace,  // opens it in the place of the one that stands there
  kUnmount,  // the last reference
  kFlush,
  kChange,  // changes memory alone
  kLook,    // changes nothing that another handle could see
};

struct Step {
  std::string name;
  StepKind kind = StepKind::kLook;
  std::function<bool(World&)> act;  // exposes the store's call, and nothing else, to faults
  bool unseen = false;              // nobody looks at the volume after it, so that what is not loaded stays so

  bool Mounts() const { return kind == StepKind::kMount || kind == StepKind::kReplace; }
};

struct Workload {
  const char* name = "";
  std::function<void(const std::filesystem::path& folder, World&)> prepare;  // what stands there before; may be none
  std::vector<Step> steps;
};

inline constexpr const char* kVolumeName = "volume.cdb";

// The steps.
Step MountStep(DWORD disposition, StepKind kind = StepKind::kMount);
Step UnmountStep();
Step FlushStep();
Step FlushAllStep();
Step MountAgainStep();
Step UnmountOnceStep();
Step CreateStep(const std::u16string& name, const std::vector<SORTORDERSPEC>& orders);
Step DescribeStep(size_t database, const std::u16string& name, const std::vector<SORTORDERSPEC>& orders);
Step DeleteDatabaseStep(size_t database);
Step OpenStep(size_t database, CEPROPID order, bool steps_by_itself = false);
Step OpenByNameStep(const std::u16string& name);
Step CloseStep(size_t handle);

// One property to write. What matters of the value is told by its type.
struct Given {
  CEPROPID property = 0;
  int64_t number = 0;
  std::u16string text = {};
  bool removed = false;
};
Step AddStep(size_t handle, const std::vector<Given>& values);
Step EditStep(size_t handle, size_t record, const std::vector<Given>& values);
Step DeleteStep(size_t handle, size_t record);

// Seeks and reads do not fail but by faults, unless they are to.
Step SeekStep(size_t handle, DWORD type, int32_t value);
Step SeekRecordStep(size_t handle, size_t record);
Step SeekValueStep(size_t handle, DWORD type, const Given& value);
Step ReadStep(size_t handle);
Step ReadSelectedStep(size_t handle, const std::vector<CEPROPID>& ids);
Step ListStep();
Step ListNextStep();
Step ListEndStep();
Step DescribeRecordStep(size_t record);
Step DescribeDatabaseStep(size_t database);

// All of the workloads that the sweeps go through.
const std::vector<Workload>& Workloads();
const Workload& WorkloadOf(const std::string& name);

// The properties that the workloads use: one of each type.
constexpr CEPROPID Property(WORD id, WORD type) { return static_cast<CEPROPID>(id) << 16 | type; }
inline constexpr CEPROPID kNumber = Property(1, CEVT_I4);
inline constexpr CEPROPID kText = Property(2, CEVT_LPWSTR);
inline constexpr CEPROPID kTime = Property(3, CEVT_FILETIME);
inline constexpr CEPROPID kBytes = Property(4, CEVT_BLOB);
inline constexpr CEPROPID kSmall = Property(5, CEVT_I2);
inline constexpr CEPROPID kSmallPositive = Property(6, CEVT_UI2);
inline constexpr CEPROPID kPositive = Property(7, CEVT_UI4);
inline constexpr CEPROPID kReal = Property(8, CEVT_R8);
inline constexpr CEPROPID kTruth = Property(9, CEVT_BOOL);
inline constexpr CEPROPID kSecondText = Property(10, CEVT_LPWSTR);
