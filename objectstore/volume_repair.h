// A new volume of what was saved from a damaged one.
#pragma once

#include <span>

#include "salvage.h"
#include "xkrvolume.h"

namespace objectstore {

// What was saved, put in order: every database has a name, and what the application knows to be there is there.
class RepairPlan {
 public:
  RepairPlan(Salvage& salvage, std::span<const XKRKnownDatabase> known) : salvage_(salvage), known_(known) {}

  // Decides everything; what is added or set is noted among the salvage's flaws.
  void Make();

  struct PlannedDatabase {
    Description description;
    std::vector<RecordRef> records;
    FoundDatabase found;
  };
  const std::map<CEOID, PlannedDatabase>& databases() const { return databases_; }

  // Nothing is left that would be worth a file.
  bool empty() const { return !salvage_.complete() && databases_.empty(); }

  // Makes the volume's file. It gets its name last.
  Status Write(const FilePath& path) const;

 private:
  void TakeDatabases();
  void Recognise();
  bool Matches(const XKRKnownDatabase& known, const PlannedDatabase& database) const;
  void NameTheRest();
  void AddMissingDatabases();
  void CompleteRecords(const XKRKnownDatabase& known, CEOID oid, PlannedDatabase& database);
  void CompleteDense(const XKRKnownRecord& known, CEOID oid, PlannedDatabase& database);
  void AddRecord(const XKRKnownRecord& known, uint32_t key, CEOID oid, PlannedDatabase& database);
  void Fix(const XKRKnownRecord& known, CEOID oid, RecordRef& record);
  uint32_t CounterOf(const XKRKnownRecord& known) const;
  uint32_t DenseCountOf(const XKRKnownRecord& known) const;
  const PlannedDatabase* FindByName(const DatabaseName& name) const;
  void Note(CEOID database, CEOID record, std::string text);
  CEOID NextIdentifier();
  Status Fill(const FilePath& path) const;

  Salvage& salvage_;
  std::span<const XKRKnownDatabase> known_;
  std::map<CEOID, PlannedDatabase> databases_;
  CEOID next_identifier_ = 1;
};

}  // namespace objectstore
