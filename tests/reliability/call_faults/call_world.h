// What a swept call can touch, in one place: an environment, a file made from a template, the records and buffers that
// a caller hands in, and a description of each as text, so that "as before", "as after" and "untouched" are comparisons.
//
// (W1) Outputs are filled with a pattern before every call; a buffer that holds it still was not written.
// (W2) Descriptions name no address and no handle, so that two runs from the same template compare equal.
#pragma once

#include <functional>
#include <map>
#include <string>
#include <vector>

#include "engine_fixture.h"
#include "mdb.h"
#include "volume_snapshot.h"

namespace callfaults {

using Lines = std::vector<std::string>;
using Description = std::map<std::string, std::string>;

// The files that a sweep can start from.
enum class Template {
  kNone,           // no file
  kUsual,          // five fields (text, number, date, time, none), three records, one log entry, two value lists
  kBare,           // a header and attributes, nothing else
  kHeaderOnly,     // as MDbCreate leaves it
  kForeign,        // a volume without a catalogue
  kOtherVersion,   // a header of another version
  kNoMark,         // as kUsual, without a mark
  kBadMark,        // as kUsual, with the mark 2
  kNoTables,       // as kUsual, without the data table
  kEmpty,          // as kUsual, without records and log entries
  kFewer,          // as kUsual, and the records and the log entry have two fields of the five
  kLong,           // as kUsual, with texts of 3000 characters in records, name and lists
  kWide,           // 12 text fields, so that a record takes two writes, and two records
  kFewOptions,     // as kUsual, with options for two of the five fields
  kNumbersRunOut,  // as kUsual, and both creation counters stand where the numbers are given out anew
  kNewRecord,      // as kUsual, and the first record is one that its host never saw
  kFull,           // one field, 5000 records
};

struct Outputs {
  Outputs();
  // Every buffer by name, as bytes or as text; a pointer as the text that it points to.
  Description Describe() const;

  uint8_t byte;
  int16_t count;
  uint16_t half;
  uint16_t other_half;
  uint32_t number;
  MDbChar text[4000];
  const MDbChar* pointer;
  MDbFldInfo info;
  MDbAttrs attrs;
  MDbFldOption option;
  MDbFldOptionEx option_ex;
  int16_t orders[8];
  MDbRecInfo rec_info;
  DateRec date;
  DateFormat date_format;
  TimeRec time;
  TimeFormat time_format;
  uint16_t digits[3 * 256];
  MDbSortDef sort;
  MDbVolFSpec path;
};

class World {
 public:
  explicit World(Template file);
  World(const World&) = delete;
  World& operator=(const World&) = delete;

  MDbRef* ref() { return &env.agentRef; }
  MDbDataTbl* table() { return &env.dataTbl; }

  // The state of every handle record, one line per field that a caller can see.
  Description Handles() const;
  // What the file holds, mounted or not.
  Lines Volume() const { return seam::SnapshotOfFile(path); }

  std::filesystem::path folder;
  std::u16string path;
  MDbEnv env;
  MDbDataRec record;
  MDbRecset recset;
  MDbHandle listing = 0;
  Outputs out;
};

// Steps by which a sweep gets to the state that it is about. Each expects to succeed.
void OpenVolume(World& world);  // the reference alone
void OpenAgent(World& world);
void OpenRecordAt(World& world, int16_t position);
void OpenLogEntry(World& world);
void Query(World& world, const MDbQuery* criteria);
void ReadEveryOption(World& world);

// The contents of the record that additions add.
MDbStatus AddRecord(World& world, uint32_t* oid, uint16_t* position, int16_t fields = 5);

extern const MDbQuery kOaks;  // words in the text field

}  // namespace callfaults
