// Tables of searches: what is looked for, where, and whether it is found.
#pragma once

#include <gtest/gtest.h>

#include <string>

#include "shown_text.h"
#include "xkrwbrk.h"

struct MatchCase {
  const char* why;
  std::u16string search;
  std::u16string text;
  bool found;
};

inline bool Found(const std::u16string& search, const std::u16string& text) {
  uint32_t session = 0;
  EXPECT_EQ(FWOpenSession(search.c_str(), &session), 0);
  EXPECT_NE(session, 0u);
  const uint16_t result = FWFindWord(session, text.c_str());
  EXPECT_EQ(FWCloseSession(session), 0);
  return result == 0;
}

template <size_t count>
void ExpectAll(const MatchCase (&cases)[count]) {
  for (const MatchCase& row : cases) {
    EXPECT_EQ(Found(row.search, row.text), row.found)
        << row.why << ": " << Shown(row.search) << " in " << Shown(row.text);
  }
}
