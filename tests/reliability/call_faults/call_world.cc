// The environment, buffers and handle records of one swept call, and their descriptions.
#include "call_world.h"

#include <cstdio>
#include <filesystem>

#include "call_templates.h"

namespace callfaults {
namespace {

constexpr uint8_t kPattern = 0xA5;
constexpr MDbChar kUntouchedText[] = u"untouched";

std::string Hex(const void* bytes, size_t size) {
  std::string text;
  for (size_t i = 0; i < size; ++i) {
    char digits[3];
    std::snprintf(digits, sizeof digits, "%02X", static_cast<const uint8_t*>(bytes)[i]);
    text += digits;
  }
  return text;
}

template <typename Value>
std::string HexOf(const Value& value) {
  const auto* bytes = reinterpret_cast<const uint8_t*>(&value);
  if (std::all_of(bytes, bytes + sizeof value, [](uint8_t byte) { return byte == kPattern; })) return "untouched";
  return Hex(&value, sizeof value);
}

// Records with padding are described field by field.
std::string DateText(const DateRec& date) {
  if (date.status == static_cast<int32_t>(0xA5A5A5A5)) return HexOf(date);
  return std::to_string(date.month) + "/" + std::to_string(date.day) + "/" + std::to_string(date.year) + " status " +
         std::to_string(date.status) + " separator " + std::to_string(date.separator) + " digits " +
         std::to_string(date.fourDigitYear);
}

std::string TimeText(const TimeRec& time) {
  if (time.state == static_cast<int32_t>(0xA5A5A5A5)) return HexOf(time);
  return std::to_string(time.hours) + ":" + std::to_string(time.minutes) + ":" + std::to_string(time.seconds) +
         " state " + std::to_string(time.state) + " components " + std::to_string(time.components);
}

template <typename Number>
std::string NumberText(Number value) {
  const std::string hex = HexOf(value);
  return hex == "untouched" ? hex : std::to_string(value);
}

std::string HandleText(MDbHandle handle) {
  if (handle == 0) return "0";
  return handle == MDB_INVALID_HANDLE ? "invalid" : "set";
}

std::string SetOrNot(bool set) { return set ? "set" : "0"; }

std::string VolumeText(const MDbVolumeId& id) { return SetOrNot((id.Data1 | id.Data2 | id.Data3 | id.Data4) != 0); }

// An entry of the cache is a pair of pointers, the first of which is null until its field is read.
std::string CacheText(const MDbFieldOpTbl& table) {
  if (table.cache == nullptr) return "none";
  std::string text;
  for (int16_t i = 0; i < table.cacheCount; ++i) text += static_cast<void* const*>(table.cache)[2 * i] ? 'x' : '-';
  return text;
}

void DescribeRecord(const std::string& name, const MDbDataRec& record, Description* lines) {
  (*lines)[name + ".flags"] = std::to_string(record.flags);
  (*lines)[name + ".oid"] = std::to_string(record.oid);
  (*lines)[name + ".includesSystem"] = std::to_string(record.includesSystem);
  (*lines)[name + ".propertyCount"] = std::to_string(record.propertyCount);
  (*lines)[name + ".loaded"] = SetOrNot(record.block != nullptr && record.properties != nullptr);
}

void DescribeRef(const MDbRef& ref, Description* lines) {
  (*lines)["ref.opened"] = std::to_string(ref.opened);
  (*lines)["ref.volume"] = VolumeText(ref.volume);
  (*lines)["ref.catalog.isOpen"] = std::to_string(ref.catalog.isOpen);
  (*lines)["ref.catalog.oid"] = SetOrNot(ref.catalog.oid != 0);
  (*lines)["ref.catalog.name"] = std::filesystem::path(ref.catalog.name).string();
}

void DescribeDataTable(const MDbDataTbl& table, Description* lines) {
  (*lines)["data.opened"] = std::to_string(table.opened);
  (*lines)["data.handle"] = HandleText(table.dataHandle);
  (*lines)["data.oid"] = SetOrNot(table.dataOid != 0);
  (*lines)["data.cursor"] = std::to_string(table.cursor);
  (*lines)["data.logHandle"] = HandleText(table.deleteHandle);
  (*lines)["data.logOid"] = SetOrNot(table.deleteOid != 0);
  (*lines)["data.seqCache"] = std::to_string(table.creationSeqCache);
}

void DescribeRecordSet(const MDbRecset& set, Description* lines) {
  (*lines)["set.valid"] = std::to_string(set.valid);
  (*lines)["set.hasView"] = std::to_string(set.hasView);
  (*lines)["set.filterField"] = std::to_string(set.filterField);
  (*lines)["set.dirty"] = std::to_string(set.dirty);
  (*lines)["set.sortField"] = std::to_string(set.sortField);
  (*lines)["set.ascending"] = std::to_string(set.ascending);
  DescribeRecord("set.record", set.record, lines);
  (*lines)["set.view.open"] = std::to_string(set.view.open);
  (*lines)["set.view.flagFilter"] = std::to_string(set.view.flagFilter);
  (*lines)["set.view.oid"] = SetOrNot(set.view.viewOid != 0);
  (*lines)["set.view.handle"] = HandleText(set.view.handle);
  (*lines)["set.view.index"] = std::to_string(set.view.index);
  (*lines)["set.view.nextSeq"] = std::to_string(set.view.nextSeq);
  (*lines)["set.hasQuery"] = std::to_string(set.hasQuery);
  (*lines)["set.query"] = std::to_string(set.query.field) + " " + std::to_string(set.query.mode) + " " +
                          (set.query.text == nullptr ? "" : std::filesystem::path(set.query.text).string());
  std::string kept;
  for (int16_t i = 0; set.keepList != nullptr && i < set.keepCount; ++i) kept += std::to_string(set.keepList[i]) + " ";
  (*lines)["set.keepList"] = set.keepList == nullptr ? "none" : "list " + kept;
  (*lines)["set.keepCount"] = std::to_string(set.keepCount);
  (*lines)["set.keepCapacity"] = std::to_string(set.keepCapacity);
}

}  // namespace

Outputs::Outputs() {
  std::memset(static_cast<void*>(this), kPattern, sizeof *this);
  pointer = kUntouchedText;
}

Description Outputs::Describe() const {
  return {{"byte", NumberText(byte)},
          {"count", NumberText(count)},
          {"half", NumberText(half)},
          {"other_half", NumberText(other_half)},
          {"number", NumberText(number)},
          {"text", HexOf(text)},
          {"pointer", std::filesystem::path(pointer).string()},
          {"info", HexOf(info)},
          {"attrs", HexOf(attrs)},
          {"option", HexOf(option)},
          {"option_ex", HexOf(option_ex)},
          {"orders", HexOf(orders)},
          {"rec_info", HexOf(rec_info)},
          {"date", DateText(date)},
          {"date_format", HexOf(date_format)},
          {"time", TimeText(time)},
          {"time_format", HexOf(time_format)},
          {"digits", HexOf(digits)},
          {"sort.field", NumberText(sort.field)},
          {"sort.ascending", NumberText(sort.ascending)},
          {"path", HexOf(path)}};
}

World::World(Template file) : folder(FreshFolder()), path((folder / "book.xdb").u16string()) {
  const std::filesystem::path made = TemplateFile(file);
  if (!made.empty()) std::filesystem::copy_file(made, path);
  MDbEnvInitialize(&env);
  EXPECT_EQ(MDbInit(&env, nullptr, 0), MDbStatusOk);
  MDbDataRecInitialize(&record);
  recset.hasQuery = 0;  // a reset leaves the criteria as they are
  recset.query = {};
  MDbRecsetInitialize(&recset);
}

Description World::Handles() const {
  Description lines;
  lines["env.initialized"] = std::to_string(env.initialized);
  DescribeRef(env.agentRef, &lines);
  DescribeDataTable(env.dataTbl, &lines);
  lines["schema.opened"] = std::to_string(env.schemaTbl.opened);
  lines["attrs.opened"] = std::to_string(env.attrTbl.opened);
  lines["lists.opened"] = std::to_string(env.valListTbl.opened);
  lines["options.opened"] = std::to_string(env.fieldOpTbl.opened);
  lines["options.flags"] = std::to_string(env.fieldOpTbl.flags);
  lines["options.cache"] = CacheText(env.fieldOpTbl);
  lines["options.cacheCount"] = std::to_string(env.fieldOpTbl.cacheCount);
  DescribeRecord("record", record, &lines);
  DescribeRecordSet(recset, &lines);
  lines["listing"] = HandleText(listing);
  return lines;
}

const MDbQuery kOaks = {0, MDbQueryByWords, u"oak"};

void OpenVolume(World& world) { ASSERT_EQ(MDbOpen(&world.env, world.path.c_str(), world.ref()), MDbStatusOk); }

void OpenAgent(World& world) { ASSERT_EQ(MDbAgentOpenDb(&world.env, world.path.c_str()), MDbStatusOk); }

void OpenRecordAt(World& world, int16_t position) {
  OpenAgent(world);
  ASSERT_EQ(MDbDataTblCursSetInx(&world.env, world.ref(), world.table(), position), MDbStatusOk);
  ASSERT_EQ(MDbDataTblOpenRec(&world.env, world.ref(), world.table(), &world.record, nullptr), MDbStatusOk);
}

void OpenLogEntry(World& world) {
  OpenAgent(world);
  ASSERT_EQ(MDbDeleteTblOpenRec(&world.env, world.ref(), world.table(), &world.record, 0, nullptr), MDbStatusOk);
}

void Query(World& world, const MDbQuery* criteria) {
  OpenAgent(world);
  ASSERT_EQ(MDbAgentQuery(&world.env, &world.recset, criteria), MDbStatusOk);
  ASSERT_EQ(MDbRecsetSetInx(&world.env, &world.recset, 0), MDbStatusOk);
}

void ReadEveryOption(World& world) {
  int16_t count = 0;
  ASSERT_EQ(MDbFieldOpTblGetCount(&world.env, world.ref(), &world.env.fieldOpTbl, &count), MDbStatusOk);
  for (int16_t i = 0; i < count; ++i) {
    MDbFldOption ignored;
    ASSERT_EQ(MDbFieldOpTblReadOption(&world.env, world.ref(), &world.env.fieldOpTbl, i, &ignored), MDbStatusOk);
  }
}

MDbStatus AddRecord(World& world, uint32_t* oid, uint16_t* position, int16_t fields) {
  static const MDbChar* const kTexts[] = {u"fir", u"4", u"3/4/2024", u"4:30 PM", u"x", u"f",
                                          u"g",   u"h", u"i",        u"j",       u"k", u"l"};
  static constexpr MDbRecInfo kInfo = {{9, 8, 7, 6, 5, 4, 3, 2, 1, 0}};
  return MDbDataTblAddRec(&world.env, world.ref(), world.table(), &kInfo, kTexts, fields, 1, oid, position);
}

}  // namespace callfaults
