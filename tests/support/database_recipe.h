// A database file made through the creation calls from a short description.
#pragma once

#include <cstring>
#include <functional>
#include <string>
#include <vector>

#include "mdb.h"

namespace enginetest {

struct Field {
  uint8_t type = MDbFieldText;
  std::u16string name;
};

// Month, day, year with '/', and 12-hour times with ':', "AM" and "PM"; "H" marks 24-hour times.
inline MDbAttrs UsualAttrs() {
  MDbAttrs attrs;
  std::memset(&attrs, 0, sizeof attrs);
  for (uint8_t i = 0; i < 8; ++i) attrs.header[i] = static_cast<uint8_t>(0xA0 + i);
  for (uint32_t i = 0; i < 4; ++i) attrs.attribute[i] = 100 + i;
  attrs.dateFormat.separator = u'/';
  attrs.dateFormat.order = MDbDateOrderMonthDayYear;
  attrs.timeFormat.separator = u':';
  const auto put = [](MDbChar* to, const char16_t* text) {
    while ((*to++ = *text++) != 0) continue;
  };
  MDbChar suffix[6] = {};
  put(suffix, u"AM");
  std::memcpy(&attrs.timeFormat.morningSuffix, suffix, sizeof suffix);
  put(suffix, u"PM");
  std::memcpy(&attrs.timeFormat.afternoonSuffix, suffix, sizeof suffix);
  std::memset(suffix, 0, sizeof suffix);
  put(suffix, u"H");
  std::memcpy(&attrs.timeFormat.twentyFourHourSuffix, suffix, sizeof suffix);
  attrs.timeFormat.twelveHour = 1;
  return attrs;
}

struct Recipe {
  std::vector<Field> fields;
  bool field_options = true;  // defaults, display order = index
  MDbAttrs attrs = UsualAttrs();
  std::u16string name = u"Address book";
  std::vector<std::u16string> value_lists = {u"red\ngreen\nblue"};
  bool data_table = true;
  std::function<MDbStatus(MDbRef*)> content;  // what else goes in before the file is closed for the first time
  bool mark = true;
  uint32_t mark_value = 1;
};

inline std::vector<MDbFldInfo> Definitions(const std::vector<Field>& fields) {
  std::vector<MDbFldInfo> definitions;
  for (const Field& field : fields) {
    MDbFldInfo info{};
    info.type = field.type;
    for (uint8_t i = 0; i < 17; ++i) info.rest[i] = static_cast<uint8_t>(definitions.size() * 17 + i + 1);
    definitions.push_back(info);
  }
  return definitions;
}

template <typename Items, typename TextOf>
std::vector<const MDbChar*> Pointers(const Items& items, TextOf text_of) {
  std::vector<const MDbChar*> pointers;
  for (const auto& item : items) pointers.push_back(text_of(item).c_str());
  return pointers;
}

inline std::vector<MDbFldOptionPair> OptionPairs(size_t count) {
  std::vector<MDbFldOptionPair> pairs(count);
  for (size_t i = 0; i < count; ++i) {
    for (size_t j = 0; j < 6; ++j) pairs[i].option.bytes[j] = static_cast<uint8_t>(16 * i + j);
    std::memset(&pairs[i].optionEx, 0, sizeof pairs[i].optionEx);
    (void)MDbFieldOpTblGetDefOptionEx(&pairs[i].optionEx, static_cast<uint8_t>(i), static_cast<int16_t>(count));
  }
  return pairs;
}

// The creation of a whole database file, step by step; the first failing step's status.
inline MDbStatus CreateDatabaseFile(MDbEnv* env, const std::u16string& path, const Recipe& recipe) {
  MDbRef ref;
  MDbRefInitialize(&ref);
  MDbStatus status = MDbCreate(env, path.c_str(), &ref);
  if (status != MDbStatusOk) return status;
  const auto step = [&status](auto call) {
    if (status == MDbStatusOk) status = call();
  };
  const auto definitions = Definitions(recipe.fields);
  const auto names = Pointers(recipe.fields, [](const Field& field) -> const std::u16string& { return field.name; });
  const auto options = OptionPairs(recipe.field_options ? recipe.fields.size() : 0);
  const auto lists = Pointers(
      recipe.value_lists, [](const std::u16string& list) -> const auto& { return list; });
  const auto count = [](const auto& items) { return static_cast<int16_t>(items.size()); };
  step([&] { return MDbSchemaTblCreateEx(env, &ref, definitions.data(), names.data(), count(names)); });
  step([&] { return MDbFieldOpTblCreateEx(env, &ref, options.data(), count(options)); });
  step([&] { return MDbAttrTblCreateEx(env, &ref, &recipe.attrs, recipe.name.c_str()); });
  step([&] { return MDbValListTblCreateEx(env, &ref, lists.data(), count(lists)); });
  if (recipe.data_table) step([&] { return MDbDataTblCreate(env, &ref, nullptr); });
  if (recipe.content) step([&] { return recipe.content(&ref); });
  if (recipe.mark) step([&] { return MDbWriteChecksome(env, &ref, recipe.mark_value); });
  const MDbStatus closed = MDbClose(env, &ref);
  return status == MDbStatusOk ? closed : status;
}

}  // namespace enginetest
