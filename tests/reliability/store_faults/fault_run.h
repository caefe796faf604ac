// One workload with faults, held against the same workload without, and against these promises:
//
//  (P1) A call that fails says why with a last error that fits the fault, and has changed nothing: it can be made again
//       once the fault is over, and then the volume is as it would have been.
//  (P2) A flush or unmount that succeeded is in the file, whatever fails later. One that failed is there whole or not at
//       all.
//  (P3) After a flush that failed for anything but memory no flush succeeds any more, what memory holds can be read, and
//       the second unmount lets go.
//  (P4) A mount that failed leaves the files as they were, or, where there was none, nothing.
//  (P5) Nothing stays behind: no descriptor, no memory of SQLite's, no file but the volume.
#pragma once

#include <filesystem>
#include <functional>
#include <map>
#include <optional>
#include <set>
#include <string>
#include <vector>

#include "fault_workload.h"
#include "faults.h"
#include "volume_text.h"

// What can be seen of a mounted volume by a client that has the world's handles.
struct Sight {
  VolumeText text;
  std::string places;
  bool SameContent(const Sight& other) const { return text.content == other.text.content && places == other.places; }
};
Sight Look(const World& world);

size_t OpenDescriptors();

class FaultRun {
 public:
  // The folder is the run's own and is emptied at each run's beginning. Goes through the workload once without faults.
  FaultRun(const Workload& workload, std::filesystem::path folder);

  // Empty, or the promise that was broken and where. arm says what is to fail.
  std::string Run(const std::function<void()>& arm);
  const faults::Outcome& outcome() const { return outcome_; }

  // Each step with its n-th allocation failing, for n = 0, 1, 2, ... until it gets through, and on to the next: empty, or
  // the broken promise. Adds the number of failures to failed.
  std::string SweepMemory(bool lasting, long& failed);

 private:
  using Files = std::map<std::string, std::string>;  // names and bytes

  void Begin();
  void Rehearse();
  Files FilesNow() const;
  bool Complain(const std::string& what);  // always false
  bool Take(size_t number);
  bool TakeSucceeded(const Step& step, bool struck);
  bool TakeFailed(const Step& step, DWORD error, const Files& files);
  bool MountFailed(const Step& step, const Files& files);
  bool FlushFailed(const Step& step, DWORD error);
  bool LetGo();
  bool Again(const Step& step);
  bool ExpectError(DWORD error);
  bool ExpectAsBefore();
  bool ExpectAsPlanned();
  bool ExpectFlushesRefused();
  void Finish();
  void FinishFile();
  void Release();
  bool ExpectFilesKept(const Files& before);
  bool SweepStep(size_t number, bool lasting, long& failed);
  bool ShortageChangedNothing(const Step& step, DWORD error, const Sight* before, const Files& files);
  bool BackTo(size_t number);
  bool PlayTo(size_t number);

  const Workload& workload_;
  std::filesystem::path folder_;

  // What every run starts from.
  Files start_files_;
  World start_world_;
  std::string start_content_;

  // Of the rehearsal, by step.
  std::vector<std::string> contents_;
  std::vector<std::optional<Sight>> sights_;

  // Of the run under way.
  World world_;
  size_t number_ = 0;
  size_t descriptors_ = 0;
  int64_t sqlite_bytes_ = 0;
  std::set<std::string> durable_;  // what the file may hold
  bool poisoned_ = false;
  bool over_ = false;
  DWORD poison_ = 0;
  std::string where_;
  std::string complaint_;
  faults::Outcome outcome_;
};
