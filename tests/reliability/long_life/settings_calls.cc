// The model of a database's settings is what the recipe of the call stream's file says, and what was written since.
#include "settings_calls.h"

#include <gtest/gtest.h>

#include <cstring>

#include "database_recipe.h"

namespace longlife {
namespace {

constexpr size_t kDisplayOrder = 6;  // its place in an extended option
const std::u16string kFieldName = u"field";

// The fields of the call stream's file: text, number, date, time, none, text.
constexpr std::array<uint8_t, SettingsCalls::kFields> kTypes = {MDbFieldText, MDbFieldNumber, MDbFieldDate,
                                                                MDbFieldTime, MDbFieldNone,   MDbFieldText};
constexpr std::array<uint32_t, SettingsCalls::kFields> kLargest = {2049, 256, 256, 256, 0, 2049};

// What a buffer of so many bytes receives of a text.
std::u16string Cut(const std::u16string& text, uint32_t size) { return text.substr(0, size / 2 - 1); }

const enginetest::Recipe& UsualRecipe() {
  static const enginetest::Recipe recipe;
  return recipe;
}

}  // namespace

SettingsCalls::SettingsCalls(MDbEnv& env, std::u16string path, uint32_t seed)
    : env_(env), path_(std::move(path)), random_(seed) {
  for (size_t i = 0; i < settings_.size(); ++i) {
    uint32_t value = 0;
    std::memcpy(&value, reinterpret_cast<const uint8_t*>(&UsualRecipe().attrs) + 8 + 4 * i, sizeof value);
    settings_[i] = value;
  }
  const auto pairs = enginetest::OptionPairs(kFields);
  for (size_t i = 0; i < pairs.size(); ++i) {
    std::memcpy(options_[i].data(), &pairs[i].option, options_[i].size());
    std::memcpy(extended_[i].data(), &pairs[i].optionEx, extended_[i].size());
  }
}

int32_t SettingsCalls::Draw(uint32_t below) { return static_cast<int32_t>(random_() % below); }

void SettingsCalls::Step() {
  static constexpr std::array<void (SettingsCalls::*)(), 10> kGroups = {
      &SettingsCalls::Settings,        &SettingsCalls::Name,
      &SettingsCalls::ValueLists,      &SettingsCalls::Fields,
      &SettingsCalls::OneOption,       &SettingsCalls::DisplayOrders,
      &SettingsCalls::StoredOnce,      &SettingsCalls::RecordSetOnFields,
      &SettingsCalls::SecondReference, &SettingsCalls::Mark};
  const auto group = static_cast<size_t>(Draw(kGroups.size()));
  SCOPED_TRACE("settings, group " + std::to_string(group));
  (this->*kGroups[group])();
}

void SettingsCalls::Settings() {
  const auto selector = static_cast<int16_t>(Draw(7) - 1);
  const bool exists = selector >= 0 && selector < 4;
  if (Draw(3) == 0) {
    const auto value = static_cast<uint32_t>(random_());
    EXPECT_EQ(exists ? MDbStatusOk : MDbStatusFailed, MDbAgentSetAttr(&env_, selector, value));
    if (exists) settings_[static_cast<size_t>(selector)] = value;
  }
  uint32_t value = 0xABCD;
  EXPECT_EQ(MDbStatusOk, MDbAgentGetAttr(&env_, selector, &value));
  EXPECT_EQ(exists ? settings_[static_cast<size_t>(selector)] : 0, value) << "setting " << selector;
  MDbAttrs attrs{};
  EXPECT_EQ(MDbStatusOk, MDbAttrTblReadAttrs(&env_, &env_.agentRef, &env_.attrTbl, 0, &attrs));
  EXPECT_EQ(0, std::memcmp(reinterpret_cast<const uint8_t*>(&attrs) + 8, settings_.data(), 16));
  EXPECT_EQ(0, std::memcmp(attrs.header, UsualRecipe().attrs.header, sizeof attrs.header));
}

void SettingsCalls::Name() {
  const auto size = static_cast<uint32_t>(Draw(40) + 2);
  MDbChar name[64] = u"as was";
  EXPECT_EQ(MDbStatusOk, MDbAgentGetDbName(&env_, name, size));
  EXPECT_EQ(Cut(UsualRecipe().name, size), std::u16string(name)) << "in " << size << " bytes";
  MDbChar again[64] = u"as was";
  EXPECT_EQ(MDbStatusOk, MDbAttrTblReadDbName(&env_, &env_.agentRef, &env_.attrTbl, 0, again, size));
  EXPECT_EQ(std::u16string(name), std::u16string(again));
}

void SettingsCalls::ValueLists() {
  const std::u16string& list = UsualRecipe().value_lists.front();
  const auto index = static_cast<int16_t>(Draw(3) - 1);
  const MDbStatus expected = index == 0 ? MDbStatusOk : MDbStatusFailed;
  const auto size = static_cast<uint32_t>(Draw(60) + 2);
  MDbChar text[64] = u"as was";
  uint32_t needed = 0xABCD;
  EXPECT_EQ(expected, MDbAgentGetValList(&env_, index, text, size));
  EXPECT_EQ(index == 0 ? Cut(list, size) : u"as was", std::u16string(text));
  EXPECT_EQ(expected, MDbAgentGetValListSize(&env_, index, &needed));
  EXPECT_EQ(index == 0 ? (list.size() + 1) * 2 : 0xABCD, needed);
  int16_t count = -1;
  EXPECT_EQ(MDbStatusOk, MDbValListTblGetCount(&env_, &env_.agentRef, &env_.valListTbl, &count));
  EXPECT_EQ(1, count);
}

void SettingsCalls::CheckField(int16_t field) {
  const bool exists = field >= 0 && field < kFields;
  const MDbStatus expected = exists ? MDbStatusOk : MDbStatusFailed;
  MDbRef* ref = &env_.agentRef;
  MDbFldInfo info{};
  MDbChar name[16] = u"as was";
  uint8_t type = 0xEE;
  uint32_t size = 0xABCD;
  EXPECT_EQ(expected, MDbSchemaTblRead(&env_, ref, &env_.schemaTbl, field, &info, name, sizeof name));
  EXPECT_EQ(exists ? kFieldName : u"as was", std::u16string(name));
  EXPECT_EQ(expected, MDbSchemaTblReadFldType(&env_, ref, &env_.schemaTbl, field, &type));
  EXPECT_EQ(expected, MDbSchemaTblGetNameSize(&env_, ref, &env_.schemaTbl, field, &size));
  EXPECT_EQ(exists ? (kFieldName.size() + 1) * 2 : 0xABCD, size);
  if (!exists) return;
  EXPECT_EQ(kTypes[static_cast<size_t>(field)], type);
  EXPECT_EQ(type, info.type);
  MDbFldInfo again{};
  EXPECT_EQ(MDbStatusOk, MDbSchemaTblReadFldInfo(&env_, ref, &env_.schemaTbl, field, &again));
  EXPECT_EQ(0, std::memcmp(&info, &again, sizeof info));
}

void SettingsCalls::Fields() {
  int16_t count = -1;
  EXPECT_EQ(MDbStatusOk, MDbSchemaTblGetCount(&env_, &env_.agentRef, &env_.schemaTbl, &count));
  EXPECT_EQ(kFields, count);
  CheckField(static_cast<int16_t>(Draw(kFields + 2) - 1));
}

// The options are kept in memory by the open table, so a field is read before it is written.
void SettingsCalls::OneOption() {
  MDbRef* ref = &env_.agentRef;
  const auto field = static_cast<int16_t>(Draw(kFields));
  auto& option = options_[static_cast<size_t>(field)];
  auto& extended = extended_[static_cast<size_t>(field)];
  MDbFldOption read{};
  MDbFldOptionEx read_extended{};
  EXPECT_EQ(MDbStatusOk, MDbFieldOpTblReadOption(&env_, ref, &env_.fieldOpTbl, field, &read));
  EXPECT_EQ(MDbStatusOk, MDbFieldOpTblReadOptionEx(&env_, ref, &env_.fieldOpTbl, field, &read_extended));
  EXPECT_EQ(0, std::memcmp(option.data(), &read, option.size())) << "option of field " << field;
  EXPECT_EQ(0, std::memcmp(extended.data(), &read_extended, extended.size())) << "extended option of field " << field;
  if (Draw(2) == 0) return;
  for (uint8_t& byte : option) byte = static_cast<uint8_t>(random_());
  std::memcpy(&read, option.data(), option.size());
  EXPECT_EQ(MDbStatusOk, MDbFieldOpTblWriteOption(&env_, ref, &env_.fieldOpTbl, field, &read));
  extended[0] = static_cast<uint8_t>(random_());
  std::memcpy(&read_extended, extended.data(), extended.size());
  EXPECT_EQ(MDbStatusOk, MDbFieldOpTblWriteOptionEx(&env_, ref, &env_.fieldOpTbl, field, &read_extended));
}

void SettingsCalls::DisplayOrders() {
  MDbRecset fields;
  MDbRecsetInitialize(&fields);
  ASSERT_EQ(MDbStatusOk, MDbAgentQuery(&env_, &fields, nullptr));
  std::array<uint16_t, kFields> orders{};
  EXPECT_EQ(MDbStatusOk, MDbRecsetGetDisplayOrders(&env_, &fields, orders.data(), kFields));
  for (size_t i = 0; i < kFields; ++i) EXPECT_EQ(extended_[i][kDisplayOrder], orders[i]) << "field " << i;
  if (Draw(2) == 0) {
    std::shuffle(orders.begin(), orders.end(), random_);
    EXPECT_EQ(MDbStatusOk, MDbRecsetSetDisplayOrders(&env_, &fields, orders.data()));
    for (size_t i = 0; i < kFields; ++i) extended_[i][kDisplayOrder] = static_cast<uint8_t>(orders[i]);
  }
  EXPECT_EQ(MDbStatusOk, MDbRecsetDestroy(&env_, &fields));
}

void SettingsCalls::RecordSetOnFields() {
  MDbRecset fields;
  MDbRecsetInitialize(&fields);
  ASSERT_EQ(MDbStatusOk, MDbAgentQuery(&env_, &fields, nullptr));
  uint16_t count = 0xABCD;
  EXPECT_EQ(MDbStatusOk, MDbRecsetGetFldCount(&env_, &fields, &count));
  EXPECT_EQ(kFields, count);
  const auto field = static_cast<int16_t>(Draw(kFields));
  const uint32_t largest = kLargest[static_cast<size_t>(field)];
  uint32_t size = 0xABCD;
  EXPECT_EQ(largest == 0 ? MDbStatusFailed : MDbStatusOk, MDbRecsetGetFieldMaxSize(&env_, &fields, field, &size));
  EXPECT_EQ(largest, size) << "field " << field;
  uint8_t type = 0xEE;
  EXPECT_EQ(MDbStatusOk, MDbRecsetGetFldType(&env_, &fields, field, &type));
  EXPECT_EQ(kTypes[static_cast<size_t>(field)], type);
  MDbChar name[16] = u"as was";
  const auto room = static_cast<uint32_t>(Draw(20) + 2);
  EXPECT_EQ(MDbStatusOk, MDbRecsetGetFldName(&env_, &fields, field, name, room));
  EXPECT_EQ(Cut(kFieldName, room), std::u16string(name));
  EXPECT_EQ(MDbStatusOk, MDbRecsetGetFldNameSize(&env_, &fields, field, &size));
  EXPECT_EQ((kFieldName.size() + 1) * 2, size);
  MDbFldOptionEx usual{};
  usual.setting8 = 77;
  EXPECT_EQ(MDbStatusOk, MDbRecsetGetDefOptionEx(&env_, &fields, &usual, 4));
  EXPECT_EQ(75, usual.widthShare);
  EXPECT_EQ(4, usual.displayOrder);
  EXPECT_EQ(77, usual.setting8);
  EXPECT_EQ(MDbStatusOk, MDbRecsetDestroy(&env_, &fields));
}

// What exists already is not created a second time, and nothing changes by asking.
void SettingsCalls::StoredOnce() {
  MDbRef* ref = &env_.agentRef;
  const MDbFldInfo info{};
  const MDbChar* const texts[] = {u"other"};
  const MDbFldOptionPair pair{};
  EXPECT_EQ(MDbStatusFailed, MDbSchemaTblCreateEx(&env_, ref, &info, texts, 1));
  EXPECT_EQ(MDbStatusFailed, MDbFieldOpTblCreateEx(&env_, ref, &pair, 1));
  EXPECT_EQ(MDbStatusFailed, MDbAttrTblCreateEx(&env_, ref, &UsualRecipe().attrs, u"other"));
  EXPECT_EQ(MDbStatusFailed, MDbValListTblCreateEx(&env_, ref, texts, 1));
  EXPECT_EQ(MDbStatusFailed, MDbDataTblCreate(&env_, ref, nullptr));
  EXPECT_EQ(MDbStatusFailed, MDbSchemaTblOpen(&env_, ref, &env_.schemaTbl)) << "it is open";
  EXPECT_EQ(MDbStatusFailed, MDbDataTblOpen(&env_, ref, &env_.dataTbl, nullptr)) << "it is open";
}

void SettingsCalls::CheckTablesThrough(MDbRef& ref) {
  MDbSchemaTbl schema;
  MDbValListTbl lists;
  MDbDataTbl data;
  MDbSchemaTblInitialize(&schema);
  MDbValListTblInitialize(&lists);
  MDbDataTblInitialize(&data);
  EXPECT_EQ(MDbStatusOk, MDbSchemaTblOpen(&env_, &ref, &schema));
  EXPECT_EQ(1, MDbSchemaTblIsOpened(&env_, &ref, &schema));
  uint8_t type = 0xEE;
  EXPECT_EQ(MDbStatusOk, MDbSchemaTblReadFldType(&env_, &ref, &schema, 1, &type));
  EXPECT_EQ(kTypes[1], type);
  EXPECT_EQ(MDbStatusOk, MDbSchemaTblClose(&env_, &ref, &schema));
  EXPECT_EQ(MDbStatusOk, MDbValListTblOpen(&env_, &ref, &lists));
  uint32_t size = 0;
  EXPECT_EQ(MDbStatusOk, MDbValListTblGetSize(&env_, &ref, &lists, 0, &size));
  EXPECT_EQ((UsualRecipe().value_lists.front().size() + 1) * 2, size);
  EXPECT_EQ(MDbStatusOk, MDbValListTblClose(&env_, &ref, &lists));
  uint32_t count = 0xABCD;
  uint32_t same = 0xDCBA;
  EXPECT_EQ(MDbStatusOk, MDbDataTblOpen(&env_, &ref, &data, nullptr));
  EXPECT_EQ(MDbStatusOk, MDbDataTblGetRecCount(&env_, &ref, &data, &count));
  EXPECT_EQ(MDbStatusOk, MDbDataTblGetRecCount(&env_, &env_.agentRef, &env_.dataTbl, &same));
  EXPECT_EQ(same, count);
  EXPECT_EQ(MDbStatusOk, MDbDataTblClose(&env_, &ref, &data));
}

// The same file through a reference of this side's own, while the agent calls have it open.
void SettingsCalls::SecondReference() {
  MDbRef ref;
  MDbRefInitialize(&ref);
  ASSERT_EQ(MDbStatusOk, MDbOpen(&env_, path_.c_str(), &ref));
  EXPECT_EQ(1, MDbIsOpened(&env_, &ref));
  CheckTablesThrough(ref);
  EXPECT_EQ(MDbStatusOk, MDbVerifyChecksome(&env_, &ref));
  EXPECT_EQ(MDbStatusOk, MDbClose(&env_, &ref));
  EXPECT_EQ(0, MDbRefIsOpened(&ref));
  EXPECT_EQ(1, MDbRefIsOpened(&env_.agentRef));
  EXPECT_EQ(MDbStatusFailed, MDbDelete(&env_, path_.c_str())) << "an open file";
}

void SettingsCalls::Mark() {
  const auto value = static_cast<uint32_t>(Draw(3));
  EXPECT_EQ(MDbStatusOk, MDbWriteChecksome(&env_, &env_.agentRef, value));
  EXPECT_EQ(value == 1 ? MDbStatusOk : MDbStatusChecksumMismatch, MDbVerifyChecksome(&env_, &env_.agentRef));
  EXPECT_EQ(MDbStatusOk, MDbWriteChecksome(&env_, &env_.agentRef, 1));
  EXPECT_EQ(MDbStatusOk, MDbVerifyChecksome(&env_, &env_.agentRef));
}

}  // namespace longlife
