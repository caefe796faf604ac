// Closing after a failure, and the comparison of a reopened file with the store's own view of it.
#include "reopened_file.h"

#include <cstdio>
#include <optional>

namespace callfaults {
namespace {

constexpr size_t kLongestText = 4000;  // characters

// The value of a property in a line of a snapshot: "0x5001F" of "[0x10013=5, 0x5001F=\"oak\"]" is "\"oak\"".
std::optional<std::string> Property(const std::string& line, const std::string& id) {
  size_t at = line.find("[" + id + "=");
  if (at == std::string::npos) at = line.find(", " + id + "=");
  if (at == std::string::npos) return std::nullopt;
  at = line.find('=', at) + 1;
  const char* const ends = line[at] == '"' ? "\"" : line[at] == '{' ? "}" : ",]";
  const size_t end = line.find_first_of(ends, at + 1);
  return line.substr(at, end - at + (line[at] == '"' || line[at] == '{' ? 1 : 0));
}

std::string KeyText(uint32_t key) {
  char text[16];
  std::snprintf(text, sizeof text, key < 0x10000 ? "%u" : "0x%X", key);
  return text;
}

// The first object of the catalogue with this key: the one that a look-up finds.
std::optional<std::string> Object(const Lines& volume, uint32_t kind, size_t index) {
  const std::string key = KeyText(kind << 16 | static_cast<uint32_t>(index));
  for (const std::string& line : volume) {
    if (line.starts_with("OBJG_0 [") && Property(line, "0x10013") == key) return line;
  }
  return std::nullopt;
}

Lines Objects(const Lines& volume, uint32_t kind) {
  Lines objects;
  while (const auto object = Object(volume, kind, objects.size())) objects.push_back(*object);
  return objects;
}

bool HasDatabase(const Lines& volume, const std::string& name) {
  return std::any_of(volume.begin(), volume.end(),
                     [&name](const std::string& line) { return line.starts_with(name + " name="); });
}

Lines RecordsIn(const Lines& volume, const std::string& name) {
  Lines records;
  for (const std::string& line : volume) {
    if (line.starts_with(name + " [")) records.push_back(line);
  }
  return records;
}

// What opening such a file answers.
uint32_t OpenStatus(const Lines& volume) {
  const auto header = Object(volume, 5, 0);
  if (!header) return MDbStatusCannotOpen;
  if (Property(*header, "0x30041") != "{54 52 46 43 02 00 01 00}") return MDbStatusBadFormat;
  const auto mark = Object(volume, 6, 0);
  if (!mark) return MDbStatusFailed;
  if (Property(*mark, "0x40013") != "1") return MDbStatusChecksumMismatch;
  if (!Object(volume, 3, 0)) return MDbStatusNoFields;
  return HasDatabase(volume, "DATA_0") && HasDatabase(volume, "DELT_0") ? MDbStatusOk : MDbStatusFailed;
}

std::string BytesText(const void* bytes, size_t size) {
  std::string text = "{";
  for (size_t i = 0; i < size; ++i) {
    char digits[4];
    std::snprintf(digits, sizeof digits, i == 0 ? "%02X" : " %02X", static_cast<const uint8_t*>(bytes)[i]);
    text += digits;
  }
  return text + "}";
}

std::string Quoted(const MDbChar* text) { return "\"" + std::filesystem::path(text).string() + "\""; }

// One open database, read through the exported calls.
class Reader {
 public:
  explicit Reader(World& world) : env_(&world.env), ref_(world.ref()), table_(world.table()) {}

  void CompareCatalogue(const Lines& volume) {
    int16_t count = 0;
    const Lines fields = Objects(volume, 3);
    ASSERT_EQ(MDbSchemaTblGetCount(env_, ref_, &env_->schemaTbl, &count), MDbStatusOk);
    ASSERT_EQ(static_cast<size_t>(count), fields.size());
    for (int16_t i = 0; i < count; ++i) {
      MDbFldInfo info{};
      EXPECT_EQ(MDbSchemaTblRead(env_, ref_, &env_->schemaTbl, i, &info, text_, sizeof text_), MDbStatusOk);
      EXPECT_EQ(BytesText(&info, sizeof info), Property(fields[static_cast<size_t>(i)], "0x20041"));
      EXPECT_EQ(Quoted(text_), Property(fields[static_cast<size_t>(i)], "0x3001F"));
    }
    CompareOptions(Objects(volume, 0));
    CompareLists(Objects(volume, 1));
    CompareAttributes(Object(volume, 2, 0));
  }

  void CompareRecords(const Lines& volume) {
    const Lines live = RecordsIn(volume, "DATA_0");
    const Lines log = RecordsIn(volume, "DELT_0");
    const size_t fields = Objects(volume, 3).size();
    uint32_t count = 0;
    EXPECT_EQ(MDbDataTblGetRecCount(env_, ref_, table_, &count), MDbStatusOk);
    ASSERT_EQ(count, live.size());
    for (size_t i = 0; i < live.size(); ++i) {
      EXPECT_EQ(MDbDataTblCursSetInx(env_, ref_, table_, static_cast<int16_t>(i)), MDbStatusOk);
      EXPECT_EQ(MDbDataTblOpenRec(env_, ref_, table_, &record_, nullptr), MDbStatusOk);
      CompareOpenRecord(live[i], fields);
    }
    EXPECT_EQ(MDbDeleteTblGetRecCount(env_, ref_, table_, &count), MDbStatusOk);
    ASSERT_EQ(count, log.size());
    for (size_t i = 0; i < log.size(); ++i) {
      EXPECT_EQ(MDbDeleteTblOpenRec(env_, ref_, table_, &record_, static_cast<int16_t>(i), nullptr), MDbStatusOk);
      CompareOpenRecord(log[i], fields);
    }
  }

  // A view can be built, whatever was left of another one, and finds the first record by its own text.
  void ExpectQueryFinds() {
    MDbRecset set;
    MDbRecsetInitialize(&set);
    ASSERT_EQ(MDbAgentQuery(env_, &set, nullptr), MDbStatusOk);
    uint32_t records = 0;
    EXPECT_EQ(MDbRecsetGetRecCount(env_, &set, &records), MDbStatusOk);
    text_[0] = 0;
    if (records > 0) {
      EXPECT_EQ(MDbRecsetSetInx(env_, &set, 0), MDbStatusOk);
      EXPECT_EQ(MDbRecsetOpenRec(env_, &set), MDbStatusOk);
      EXPECT_EQ(MDbRecsetGetField(env_, &set, 0, text_, sizeof text_), MDbStatusOk);
    }
    EXPECT_EQ(MDbRecsetDestroy(env_, &set), MDbStatusOk);
    const MDbQuery query = {0, MDbQueryByWords, text_};
    EXPECT_EQ(MDbAgentQuery(env_, &set, &query), MDbStatusOk);
    uint32_t found = 0;
    EXPECT_EQ(MDbRecsetGetRecCount(env_, &set, &found), MDbStatusOk);
    // A record without the field has an empty text, and the search for that finds every record.
    EXPECT_EQ(found > 0, records > 0);
    EXPECT_EQ(MDbRecsetDestroy(env_, &set), MDbStatusOk);
  }

  void ExpectRecordCanBeAdded(World& world, const Lines& volume) {
    const size_t records = RecordsIn(volume, "DATA_0").size();
    const uint32_t expected = records >= MDB_MAX_RECORDS ? MDbStatusRecordLimit
                              : Object(volume, 4, 0)     ? MDbStatusOk
                                                         : MDbStatusFailed;
    uint32_t count = 0;
    EXPECT_EQ(AddRecord(world, nullptr, nullptr, 1), expected);
    EXPECT_EQ(MDbDataTblGetRecCount(env_, ref_, table_, &count), MDbStatusOk);
    EXPECT_EQ(count, records + (expected == MDbStatusOk ? 1 : 0));
  }

 private:
  void CompareOptions(const Lines& objects) {
    for (size_t i = 0; i < objects.size(); ++i) {
      MDbFldOption option{};
      MDbFldOptionEx option_ex{};
      const auto index = static_cast<int16_t>(i);
      EXPECT_EQ(MDbFieldOpTblReadOption(env_, ref_, &env_->fieldOpTbl, index, &option), MDbStatusOk);
      EXPECT_EQ(MDbFieldOpTblReadOptionEx(env_, ref_, &env_->fieldOpTbl, index, &option_ex), MDbStatusOk);
      EXPECT_EQ(BytesText(&option, sizeof option), Property(objects[i], "0x20041"));
      EXPECT_EQ(BytesText(&option_ex, sizeof option_ex), Property(objects[i], "0x30041"));
    }
    int16_t count = -1;
    EXPECT_EQ(MDbFieldOpTblGetCount(env_, ref_, &env_->fieldOpTbl, &count), MDbStatusOk);
    EXPECT_EQ(static_cast<size_t>(count), objects.size());
  }

  void CompareLists(const Lines& objects) {
    for (size_t i = 0; i < objects.size(); ++i) {
      EXPECT_EQ(MDbAgentGetValList(env_, static_cast<int16_t>(i), text_, sizeof text_), MDbStatusOk);
      EXPECT_EQ(Quoted(text_), Property(objects[i], "0x2001F"));
    }
    int16_t count = -1;
    EXPECT_EQ(MDbValListTblGetCount(env_, ref_, &env_->valListTbl, &count), MDbStatusOk);
    EXPECT_EQ(static_cast<size_t>(count), objects.size());
  }

  void CompareAttributes(const std::optional<std::string>& object) {
    MDbAttrs attrs{};
    const uint32_t expected = object ? MDbStatusOk : MDbStatusFailed;
    EXPECT_EQ(MDbAttrTblReadAttrs(env_, ref_, &env_->attrTbl, 0, &attrs), expected);
    EXPECT_EQ(MDbAgentGetDbName(env_, text_, sizeof text_), expected);
    if (!object) return;
    EXPECT_EQ(BytesText(&attrs, sizeof attrs), Property(*object, "0x20041"));
    EXPECT_EQ(Quoted(text_), Property(*object, "0x3001F"));
  }

  void CompareOpenRecord(const std::string& line, size_t fields) {
    uint8_t state = 0xEE;
    MDbRecInfo info{};
    EXPECT_EQ(MDbDataRecGetState(env_, ref_, table_, &record_, &state), MDbStatusOk);
    EXPECT_EQ(std::to_string(state), Property(line, "18"));
    EXPECT_EQ(MDbDataRecGetRecInfo(env_, ref_, table_, &record_, &info), MDbStatusOk);
    EXPECT_EQ(BytesText(&info, sizeof info), Property(line, "0x20041"));
    for (size_t i = 0; i < fields; ++i) {
      static constexpr MDbChar kMissing[] = u"\"missing";
      std::copy(std::begin(kMissing), std::end(kMissing), text_);
      EXPECT_EQ(MDbDataRecReadField(env_, ref_, table_, &record_, static_cast<int16_t>(i), text_, sizeof text_),
                MDbStatusOk);
      const auto stored = Property(line, KeyText(static_cast<uint32_t>(i + 5) << 16 | CEVT_LPWSTR));
      EXPECT_EQ(Quoted(text_), stored ? *stored : Quoted(kMissing));
    }
    EXPECT_EQ(MDbDataTblCloseRec(env_, ref_, table_, &record_), MDbStatusOk);
  }

  MDbEnv* env_;
  MDbRef* ref_;
  MDbDataTbl* table_;
  MDbDataRec record_{};
  MDbChar text_[kLongestText];
};

void ExpectNothingOpen(World& world) {
  EXPECT_EQ(world.env.agentRef.opened, 0) << "the volume is still open";
  EXPECT_EQ(world.env.agentRef.catalog.isOpen, 0u) << "the catalogue is still open";
  EXPECT_EQ(world.env.dataTbl.opened, 0u) << "the data table is still open";
  EXPECT_EQ(seam::LiveMounts(), 0u) << "volumes are still mounted";
  EXPECT_EQ(seam::LiveHandles(), 0u) << "handles are left";
}

}  // namespace

void CloseEverything(World& world, bool stays_mounted) {
  if (world.listing != 0 && world.listing != MDB_INVALID_HANDLE) (void)MDbFindClose(&world.listing);
  if (world.env.initialized == 0) {
    const MDbStatus started = MDbInit(&world.env, nullptr, 0);
    EXPECT_EQ(started, MDbStatusOk);
  }
  (void)MDbDataTblCloseRec(&world.env, world.ref(), world.table(), &world.record);  // 1 when it is not open
  (void)MDbRecsetDestroy(&world.env, &world.recset);  // 1 when a view that a failure left cannot go
  (void)MDbAgentCloseDb(&world.env);                  // 1 when a table's handle is gone already
  if (stays_mounted) {
    const seam::Unseen unseen;
    // Its file may be deleted already: then the second unmount is the one that lets go.
    EXPECT_TRUE(CeUnmountDBVol(&world.ref()->volume) || CeUnmountDBVol(&world.ref()->volume));
    seam::ForgetMounts();
    MDbRefInitialize(world.ref());
  }
  ExpectNothingOpen(world);
}

void ExpectFileWorks(World& world, const Lines& volume, bool whole) {
  const uint32_t expected = OpenStatus(volume);
  EXPECT_EQ(MDbAgentOpenDb(&world.env, world.path.c_str()), expected);
  if (expected == MDbStatusOk) {
    Reader reader(world);
    if (whole) reader.CompareCatalogue(volume);
    if (whole) reader.CompareRecords(volume);
    reader.ExpectQueryFinds();
    if (whole) reader.ExpectRecordCanBeAdded(world, volume);
    EXPECT_EQ(MDbAgentCloseDb(&world.env), MDbStatusOk);
  }
  EXPECT_EQ(MDbShutdown(&world.env, 0, 0), MDbStatusOk);
  ExpectNothingOpen(world);
}

}  // namespace callfaults
