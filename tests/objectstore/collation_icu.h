// ICU's own collators for the tests of ours: opened here a second time, with settings that stand in a table.
#pragma once

#include <gtest/gtest.h>
#include <unicode/ucol.h>

#include <cstdlib>
#include <memory>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "collation.h"

struct CloseIcuCollator {
  void operator()(UCollator* collator) const { ucol_close(collator); }
};
using IcuCollator = std::unique_ptr<UCollator, CloseIcuCollator>;

struct CollationSettings {
  const char* why;
  DWORD flags;
  UCollationStrength strength;
  bool case_level;
  bool symbols_ignored;
  size_t table_levels;  // of the table that composes keys; 0: all texts are left to ICU
};

inline constexpr CollationSettings kCollationSettings[] = {
    {"accents and case count", 0, UCOL_TERTIARY, false, false, 3},
    {"case does not count", CEDB_SORT_CASEINSENSITIVE, UCOL_SECONDARY, false, false, 2},
    {"neither counts", CEDB_SORT_CASEINSENSITIVE | CEDB_SORT_IGNORENONSPACE, UCOL_PRIMARY, false, false, 1},
    {"accents do not count", CEDB_SORT_IGNORENONSPACE, UCOL_PRIMARY, true, false, 0},
    {"width does not count", CEDB_SORT_IGNOREWIDTH, UCOL_SECONDARY, true, false, 0},
    {"neither width nor case counts", CEDB_SORT_IGNOREWIDTH | CEDB_SORT_CASEINSENSITIVE, UCOL_SECONDARY, false, false,
     2},
    {"symbols do not count", CEDB_SORT_IGNORESYMBOLS, UCOL_TERTIARY, false, true, 0},
};

// Those whose keys are composed.
inline std::vector<CollationSettings> SettingsWithTables() {
  std::vector<CollationSettings> with;
  for (const CollationSettings& settings : kCollationSettings) {
    if (settings.table_levels != 0) with.push_back(settings);
  }
  return with;
}

inline uint64_t FromEnvironment(const char* name, uint64_t otherwise) {
  const char* text = getenv(name);
  return text == nullptr ? otherwise : strtoull(text, nullptr, 10);
}

// All pairs of characters are too many for each day: those of Latin letters are looked at, and of the others one in
// sixteen, or in XKRDB_COLLATION_SHARE.
inline bool IsLookedAt(size_t a, size_t b, bool all_of_latin = true) {
  static const uint64_t share = FromEnvironment("XKRDB_COLLATION_SHARE", 16);
  constexpr size_t kLatinEnd = 0x180;
  return (all_of_latin && a < kLatinEnd && b < kLatinEnd) || (a + b) % share == 0;
}

inline IcuCollator OpenIcu(const CollationSettings& settings) {
  UErrorCode error = U_ZERO_ERROR;
  IcuCollator collator(ucol_open("root", &error));
  ucol_setAttribute(collator.get(), UCOL_NORMALIZATION_MODE, UCOL_ON, &error);
  ucol_setStrength(collator.get(), settings.strength);
  if (settings.case_level) ucol_setAttribute(collator.get(), UCOL_CASE_LEVEL, UCOL_ON, &error);
  if (settings.symbols_ignored) {
    ucol_setAttribute(collator.get(), UCOL_ALTERNATE_HANDLING, UCOL_SHIFTED, &error);
    ucol_setMaxVariable(collator.get(), UCOL_REORDER_CODE_SYMBOL, &error);
  }
  EXPECT_TRUE(U_SUCCESS(error)) << u_errorName(error);
  return collator;
}

inline std::vector<uint8_t> IcuKey(const IcuCollator& collator, std::u16string_view text) {
  std::vector<uint8_t> key(32 + text.size() * 16);
  const auto length = static_cast<int32_t>(text.size());
  int32_t size = ucol_getSortKey(collator.get(), text.data(), length, key.data(), static_cast<int32_t>(key.size()));
  EXPECT_LE(static_cast<size_t>(size), key.size());
  key.resize(static_cast<size_t>(size));
  return key;
}

// As sort orders call it.
inline std::vector<uint8_t> KeyOf(const objectstore::Collation& collation, std::u16string_view text) {
  std::vector<uint8_t> key(512);
  size_t size = collation.KeyOf(text.data(), text.size(), key.data(), key.size());
  if (size > key.size()) {
    key.resize(size);
    EXPECT_EQ(collation.KeyOf(text.data(), text.size(), key.data(), key.size()), size);
  }
  key.resize(size);
  return key;
}

inline int Sign(int number) { return (number > 0) - (number < 0); }

inline int IcuOrder(const IcuCollator& collator, std::u16string_view a, std::u16string_view b) {
  return ucol_strcoll(collator.get(), a.data(), static_cast<int32_t>(a.size()), b.data(),
                      static_cast<int32_t>(b.size()));
}

// The code units of a text, to name it in a failure.
inline std::string Units(std::u16string_view text) {
  std::string units;
  char unit_text[8];
  for (char16_t unit : text) {
    snprintf(unit_text, sizeof unit_text, "%04X ", unit);
    units += unit_text;
  }
  return units;
}
