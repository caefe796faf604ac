// See known_databases.h.
#include "known_databases.h"

#include <array>

namespace xkrdb {
namespace {

constexpr MDbChar kCatalogue[] = u"OBJG_0";
constexpr MDbChar kData[] = u"DATA_0";
constexpr MDbChar kLog[] = u"DELT_0";

// Properties of the catalogue's objects: a key, and up to two values.
constexpr uint32_t kObjectKey = 0x10013;
constexpr uint32_t kCounterValue = 0x20013;
constexpr uint32_t kFirstBytes = 0x20041;
constexpr uint32_t kHeaderBytes = 0x30041;
constexpr uint32_t kListText = 0x2001F;
constexpr uint32_t kObjectName = 0x3001F;
constexpr uint32_t kMarkValue = 0x40013;

// Properties of records, live and logged.
constexpr uint32_t kState = 0x12;
constexpr uint32_t kSequence = 0x40013;
constexpr uint32_t kFirstField = 0x5001F;

// The first keys of the catalogue's kinds of objects.
constexpr uint32_t kValueLists = 0x10000;
constexpr uint32_t kAttributes = 0x20000;
constexpr uint32_t kFields = 0x30000;
constexpr uint32_t kDataCounter = 0x40000;
constexpr uint32_t kLogCounter = 0x40001;
constexpr uint32_t kHeader = 0x50000;
constexpr uint32_t kMark = 0x60000;

constexpr uint8_t kHeaderContent[] = {'T', 'R', 'F', 'C', 2, 0, 1, 0};
constexpr uint32_t kWhole = 1;
constexpr uint32_t kNone = 0;
constexpr MDbFldInfo kTextField = {MDbFieldText, {}};
constexpr MDbChar kLostField[] = u"lost field ";
constexpr MDbChar kLostList[] = u"lost list ";

}  // namespace

std::span<const XKRKnownDatabase> KnownDatabases(const std::u16string& title, const MDbAttrs& attrs) {
  static std::u16string name;
  static MDbAttrs settings;
  static std::array<XKRKnownRecord, 7> objects;
  static std::array<XKRKnownDatabase, 3> databases;
  name = title;
  settings = attrs;
  const auto name_bytes = static_cast<uint32_t>((name.size() + 1) * sizeof(MDbChar));
  const XKRVolumeValue none = {0, nullptr, 0};
  objects = {{
      {XKRKnownConstant,
       kObjectKey,
       kHeader,
       {{kHeaderBytes, kHeaderContent, sizeof kHeaderContent}, none},
       nullptr,
       0},
      {XKRKnownFixed, kObjectKey, kMark, {{kMarkValue, &kWhole, sizeof kWhole}, none}, nullptr, 0},
      {XKRKnownCounter, kObjectKey, kDataCounter, {{kCounterValue, &kNone, sizeof kNone}, none}, kData, kSequence},
      {XKRKnownCounter, kObjectKey, kLogCounter, {{kCounterValue, &kNone, sizeof kNone}, none}, kLog, kSequence},
      {XKRKnownConstant,
       kObjectKey,
       kAttributes,
       {{kFirstBytes, &settings, sizeof settings}, {kObjectName, name.c_str(), name_bytes}},
       nullptr,
       0},
      {XKRKnownDense,
       kObjectKey,
       kFields,
       {{kFirstBytes, &kTextField, sizeof kTextField}, {kObjectName, kLostField, sizeof kLostField}},
       kData,
       kFirstField},
      {XKRKnownDense, kObjectKey, kValueLists, {{kListText, kLostList, sizeof kLostList}, none}, nullptr, 0},
  }};
  databases = {{
      {kCatalogue, 0x4F424A47, kObjectKey, kObjectKey, 0, 0, 0, objects.data(), static_cast<uint32_t>(objects.size())},
      {kData, 0x44415441, kSequence, kSequence, kState, RecStateDeleted, 0, nullptr, 0},
      {kLog, 0x44454C54, 0, kSequence, kState, RecStateDeleted, RecStateDeleted, nullptr, 0},
  }};
  return databases;
}

}  // namespace xkrdb
