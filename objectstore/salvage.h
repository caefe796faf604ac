// Every sound row that a volume's pages hold, wherever it lies, and every flaw that was met on the way.
//
// The rows that the tables' trees lead to are what the volume holds. Rows that lie loose, on pages that no tree leads to
// or on damaged ones, count only for a database of which the trees do not give everything: on a page that is not used any
// more, what was deleted may look as sound as ever. Of two rows of one key the one from the later flush counts.
//
// (S1) A row is sound when its checksum holds, under its key, and its body can be decoded.
#pragma once

#include <map>
#include <optional>
#include <string>
#include <vector>

#include "column_body.h"
#include "database_body.h"
#include "record_body.h"
#include "table_page.h"

namespace objectstore {

// One thing that is not as it should be. Database and record are 0 where they are not known.
struct Flaw {
  bool damage = true;
  uint32_t code = 0;  // XKRFinding...
  CEOID database = 0;
  CEOID record = 0;
  uint32_t page = 0;
  std::string text;
};

struct FoundDatabase {
  DatabaseHead head;
  bool description_lost = false;
  bool description_loose = false;
  bool complete = false;  // everything of it is there, for certain: nothing of it lay loose
  uint32_t lost = 0;
  uint32_t loose = 0;
};

struct FoundRecord {
  RecordRef record;
  uint64_t flush = 0;
  uint32_t page = 0;
  bool loose = false;
  bool in_block = false;
};

class Salvage {
 public:
  explicit Salvage(const VolumePages& pages) : pages_(&pages) {}

  // Goes through all pages. Corrupt when there is nothing of a volume in them.
  Status Examine();

  // The pages may go afterwards.
  void ForgetPages() { pages_ = nullptr; }

  // What is found. Records by the key of their row.
  const std::optional<VolumeHead>& volume() const { return volume_; }
  std::map<CEOID, FoundDatabase>& databases() { return databases_; }
  std::map<int64_t, FoundRecord>& records() { return records_; }
  std::vector<Flaw>& flaws() { return flaws_; }
  uint32_t largest_identifier() const { return largest_identifier_; }

  // Everything that the volume held is here.
  bool complete() const;

  using Records = std::map<int64_t, FoundRecord>::iterator;
  std::pair<Records, Records> RecordsOf(CEOID database);

 private:
  struct LooseRow {
    RawRow row;
    uint32_t page;
  };
  enum class Taken { kTaken, kUnsound, kOlder };

  void CheckFile();
  void WalkTable(uint32_t table);
  bool Visit(uint32_t table, uint32_t number, int depth);
  bool VisitChildren(uint32_t table, const Page& page, int depth);
  void VisitLeaf(uint32_t table, uint32_t number, const Page& page);
  bool VisitCell(uint32_t table, uint32_t number, const Page& page, uint32_t place, uint32_t& bytes);
  void FindFreePages();
  void SearchUnvisited();
  void SearchEverywhere(uint32_t number, const Page& page);

  Taken Take(const RawRow& row, uint32_t page, bool loose);
  Taken TakeVolume(const RawRow& row);
  Taken TakeDatabase(const RawRow& row);
  Taken TakeRecord(const RawRow& row, uint32_t page, bool loose);
  Taken TakeColumn(const RawRow& row);
  Taken TakeBlock(const RawRow& row, uint32_t page, bool loose);
  void DropDeleted(CEOID oid, const FoundDatabase& database);
  static bool IsSound(const RawRow& row);

  void Judge();
  void JudgeVolume();
  void TakeLooseRowsOfVolume();
  void FindHomeless();
  void JudgeDatabase(CEOID oid, FoundDatabase& database);
  bool AgreesWithDescription(CEOID oid, const FoundDatabase& database);
  void TakeLooseRowsOf(CEOID oid, FoundDatabase& database);
  bool ApplyColumns(CEOID oid, FoundDatabase& database);
  bool ApplyColumn(CEOID oid, const PackedColumn& column);
  bool CheckNoOtherColumns(CEOID oid, const FoundDatabase& database);
  void CountLost(CEOID oid, FoundDatabase& database);
  void CheckIdentifiers();
  void Add(uint32_t code, CEOID database, CEOID record, uint32_t page, std::string text, bool damage = true);

  const VolumePages* pages_;
  std::vector<bool> visited_;
  std::vector<bool> free_;
  std::vector<uint32_t> damaged_pages_;
  std::vector<LooseRow> loose_;
  std::optional<int64_t> previous_key_;
  RecordDecoder decoder_;

  std::optional<VolumeHead> volume_;
  bool databases_known_ = false;  // every one that there was has its row
  std::map<CEOID, FoundDatabase> databases_;
  std::map<int64_t, FoundRecord> records_;
  std::map<int64_t, PackedColumn> columns_;
  std::map<CEOID, uint32_t> damaged_rows_;  // of each database, met in its place
  uint32_t largest_identifier_ = 0;
  uint64_t further_pages_left_ = 0;  // that may be read for what only looks like a row
  bool anything_found_ = false;
  bool flushes_lost_ = false;
  std::vector<Flaw> flaws_;
};

}  // namespace objectstore
