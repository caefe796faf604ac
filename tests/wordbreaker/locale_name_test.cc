#include <gtest/gtest.h>

#include <unicode/uloc.h>

#include <string>

#include "xkrwbrk.h"

namespace {

class LocaleName : public testing::Test {
 protected:
  ~LocaleName() override { XKRWbrShutdown(1, 0, 0); }
};

// True when the colon holds letters together, as it does in Swedish and Finnish only.
bool ColonJoins() {
  uint32_t session = 0;
  EXPECT_EQ(FWOpenSession(u"b", &session), 0);
  const uint16_t ascii = FWFindWord(session, u"a:b");
  EXPECT_EQ(FWFindWord(session, u"a:b \u00E4"), ascii);
  EXPECT_EQ(FWCloseSession(session), 0);
  return ascii != 0;
}

TEST_F(LocaleName, LanguageTagsAreAccepted) {
  for (const char* name : {"de", "de-DE", "th_TH", "zh-Hant", "zh_Hant_TW", "en-US-POSIX", "root", "und", "gsw",
                           "de-1996", "ja-u-dx-thai", "tlh"}) {
    EXPECT_EQ(XKRWbrInit(0, name, 0), 0u) << name;
  }
}

TEST_F(LocaleName, WhatHasNotTheShapeOfATagIsRefused) {
  const std::string overlong = "de" + std::string(400, '-') + "DE";
  const std::string many_variants = [] {
    std::string tag = "de";
    for (char variant = 'a'; variant <= 'z'; ++variant) tag += "-variant" + std::string(1, variant);
    return tag;
  }();
  for (const char* name : {"12345", "!!", "a", "de-", "-de", "de--DE", "de DE", "de.UTF-8", "d\xC3\xA9", "abcdefghij",
                           " ", overlong.c_str(), many_variants.c_str()}) {
    EXPECT_NE(XKRWbrInit(0, name, 0) & 0xFFFF, 0u) << name;
  }
}

TEST_F(LocaleName, TheNameSetsTheRules) {
  EXPECT_FALSE(ColonJoins()) << "without a start";
  ASSERT_EQ(XKRWbrInit(0, "sv-SE", 0), 0u);
  EXPECT_TRUE(ColonJoins());
  ASSERT_EQ(XKRWbrInit(0, "de", 0), 0u);
  EXPECT_FALSE(ColonJoins());
}

TEST_F(LocaleName, NullAndEmptyAreTheRootLocale) {
  ASSERT_EQ(XKRWbrInit(0, "fi", 0), 0u);
  ASSERT_EQ(XKRWbrInit(0, nullptr, 7), 0u);
  EXPECT_FALSE(ColonJoins());
  ASSERT_EQ(XKRWbrInit(0, "fi", 0), 0u);
  ASSERT_EQ(XKRWbrInit(0, "", 0), 0u);
  EXPECT_FALSE(ColonJoins());
}

TEST_F(LocaleName, ARefusedNameChangesNothing) {
  ASSERT_EQ(XKRWbrInit(0, "sv", 0), 0u);
  EXPECT_NE(XKRWbrInit(0, "!!", 0), 0u);
  EXPECT_TRUE(ColonJoins());
}

TEST_F(LocaleName, ShutdownReturnsToTheRootLocale) {
  ASSERT_EQ(XKRWbrInit(0, "sv", 0), 0u);
  EXPECT_EQ(XKRWbrShutdown(1, 2, 3), 0u);
  EXPECT_FALSE(ColonJoins());
  EXPECT_EQ(XKRWbrShutdown(0, 0, 0), 0u) << "a second time";
}

TEST_F(LocaleName, AnUnknownLanguageHasTheRootsRulesWhateverTheProcessSpeaks) {
  UErrorCode status = U_ZERO_ERROR;
  const std::string before = uloc_getDefault();
  uloc_setDefault("sv", &status);
  ASSERT_TRUE(U_SUCCESS(status));
  ASSERT_EQ(XKRWbrInit(0, "qaa", 0), 0u);
  EXPECT_FALSE(ColonJoins());
  ASSERT_EQ(XKRWbrShutdown(1, 0, 0), 0u);
  EXPECT_FALSE(ColonJoins());
  uloc_setDefault(before.c_str(), &status);
}

TEST_F(LocaleName, ASessionKeepsTheRulesItWasOpenedWith) {
  ASSERT_EQ(XKRWbrInit(0, "sv", 0), 0u);
  uint32_t session = 0;
  ASSERT_EQ(FWOpenSession(u"b", &session), 0);
  ASSERT_EQ(XKRWbrShutdown(1, 0, 0), 0u);
  EXPECT_NE(FWFindWord(session, u"a:b"), 0);
  EXPECT_EQ(FWFindWord(session, u"a b"), 0);
  EXPECT_EQ(FWCloseSession(session), 0);
}

}  // namespace
