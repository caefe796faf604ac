// One exported call in one state, and what each platform call's failure comes to there.
//
// A case lists rules, the first that fits the failed platform call counts:
//   {"CeWriteRecordProps(OBJG_0*", Fails().Volume(Held::kBefore)}    a glob over the call as the seam writes it down
//   {"LocalAlloc(*", 1, GoesOn()}                                    the second call of the run that fits
// A failure that no rule names is Fails(): status 1, outputs untouched, handles and file as before, and the same call
// again does what it would have done.
//
// When one call and every later one fail, the first failed call whose outcome is not GoesOn() decides.
#pragma once

#include <functional>
#include <ostream>
#include <string>
#include <vector>

#include "call_world.h"

namespace callfaults {

// Against what a description is compared: taken before the call, or after a run without a failure.
enum class Held {
  kBefore,
  kAfter,
  kBetween,      // of the file: each object as before or as after, none lost that both have
  kBeside,       // of the file: what a write added stands beside what it should have replaced
  kPartRecord,   // of the file: as before, and one record that is the beginning of one that was to be added
  kOneByOne,     // of the file: as kBetween, with any value of the log's counter
  kNoLiveTable,  // of the file: as before, but for the live records and their database
  kAnything,     // of the file: whole and readable, but its contents are no one's promise
};

enum class Again {
  kNo,       // not asked
  kAsNew,    // the same call again does what it does when nothing failed before
  kAnswers,  // ... answers this status
};

struct Outcome {
  uint32_t status = MDbStatusFailed;
  bool goes_on = false;  // nobody notices: the call's status is that of a run without a failure
  Held outputs = Held::kBefore;
  Held handles = Held::kBefore;
  Held volume = Held::kBefore;
  std::vector<std::string> output_changes;  // "count=2" in place of what outputs says; "count=*": whatever it is
  std::vector<std::string> handle_changes;
  std::vector<std::string> onwards_changes;  // of the handles, when every later call fails as well
  bool has_onwards_changes = false;
  Again again = Again::kAsNew;
  uint32_t again_status = MDbStatusOk;
  std::function<void(World&)> recover;  // what the call's manual says to do before it is called again
  bool stays_mounted = false;           // the volume has no open reference any more by which it could be closed

  Outcome Outputs(Held held, std::vector<std::string> changes = {}) const;
  Outcome Handles(Held held, std::vector<std::string> changes = {}) const;
  Outcome Onwards(std::vector<std::string> changes) const;
  Outcome Volume(Held held) const;
  Outcome AgainAnswers(uint32_t status) const;
  Outcome NotAgain() const;
  Outcome Recover(std::function<void(World&)> steps) const;
  Outcome StaysMounted() const;
};

Outcome Fails(uint32_t status = MDbStatusFailed);
// Status 0 with the outputs as they were: the read of a stored text that finds no memory, or fails after its size.
Outcome Lenient();
// The call ends as if nothing had failed.
Outcome GoesOn();
// Everything is done, but the status is 1: the failure came after the change.
Outcome DoneButFails();
// Status 0, and the file holds whatever follows from an object of the catalogue that was taken for missing.
Outcome NotThere();

struct Rule {
  Rule(const char* glob, Outcome result) : call(glob), outcome(std::move(result)) {}
  Rule(const char* glob, int nth, Outcome result) : call(glob), occurrence(nth), outcome(std::move(result)) {}

  const char* call;
  int occurrence = -1;  // among the run's calls that the glob fits; -1: each of them
  Outcome outcome;
};

using Rules = std::vector<Rule>;

// Lists of rules put together.
Rules operator+(Rules left, const Rules& right);

// The reads of stored text and blobs: no memory and a failed second read go unnoticed.
Rules LenientReads();

// The tables inside the catalogue, whatever they hold: counting so many objects, creating three, a creation that is
// refused while the first object exists, deleting all.
Rules CountingRules(int objects);
Rules CreatingRules();
Rules RefusedCreationRules();
Rules DeletingRules();

// Adding a record, its number kept in the table's handle or stored; and loading an open record of a schema of so many
// fields to look at one, where record is what the description calls it.
Rules CreationRules(bool caching);
Rules LoadingRules(const std::string& record, int fields, int16_t wanted);

// Record sets: valid without a view; a view of the records with the word oak; the same with its first record open;
// sorted by name; with a record that is kept in view though it does not match. The cursor is 0.
void Direct(World& world);
void DirectRecordOpen(World& world);
void Filtered(World& world);
void FilteredRecordOpen(World& world);
void Sorted(World& world);
void FilteredAndKept(World& world);

// What a comparison of files leaves out.
enum class Ignored {
  kNothing,
  kView,         // the scratch database of a record set
  kViewAndSort,  // that, the data table's second order and the records' sort values
};

enum class Platform {
  kFails,       // makes calls that can fail
  kInfallible,  // makes only calls that cannot
  kUnused,      // makes none
};

struct FaultCase {
  const char* call;   // the exported name
  const char* state;  // in a few words
  Template file;
  std::function<void(World&)> before;
  std::function<uint32_t(World&)> act;
  Rules rules = {};
  uint32_t clean = MDbStatusOk;  // the status when nothing fails
  Ignored ignored = Ignored::kNothing;
  Platform platform = Platform::kFails;
  Rules onwards = {};  // by the first failed call, when every later one fails as well; before rules
  std::vector<std::pair<std::string, seam::Answer>> failures = {};  // other than the usual ones

  // "MDbOpen_a_missing_file"
  std::string Name() const;
};

inline void PrintTo(const FaultCase& fault_case, std::ostream* stream) { *stream << fault_case.Name(); }

using Cases = std::vector<FaultCase>;

// Every case of every family, each in its own source.
Cases VolumeCases();
Cases AgentCases();
Cases SchemaCases();
Cases OptionCases();
Cases AttributeAndListCases();
Cases DataTableCases();
Cases CreationCases();
Cases RecordCases();
Cases QueryCases();
Cases SortCases();
Cases SetCases();
Cases EditCases();
Cases ConversionCases();
Cases AllCases();

}  // namespace callfaults
