#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <iterator>
#include <map>
#include <set>
#include <string>
#include <thread>
#include <vector>

#include "xkrwbrk.h"

namespace {

std::u16string Numbered(size_t number) {
  const std::string digits = std::to_string(number);
  return std::u16string(digits.begin(), digits.end());
}

TEST(Session, ManySessionsAreIndependent) {
  constexpr size_t kCount = 2000;
  std::vector<uint32_t> sessions(kCount);
  for (size_t i = 0; i < kCount; ++i) {
    ASSERT_EQ(FWOpenSession((u"word" + Numbered(i) + u"x").c_str(), &sessions[i]), 0);
  }
  const std::set<uint32_t> different(sessions.begin(), sessions.end());
  EXPECT_EQ(different.size(), kCount);
  EXPECT_EQ(different.count(0), 0u);
  for (size_t i = 0; i < kCount; i += 2) ASSERT_EQ(FWCloseSession(sessions[i]), 0);
  for (size_t i = 0; i < kCount; ++i) {
    const bool open = i % 2 == 1;
    EXPECT_EQ(FWFindWord(sessions[i], (u"word" + Numbered(i) + u"x").c_str()) == 0, open) << i;
    EXPECT_NE(FWFindWord(sessions[i], (u"word" + Numbered(i + 1) + u"x").c_str()), 0) << i;
  }
  for (size_t i = 1; i < kCount; i += 2) ASSERT_EQ(FWCloseSession(sessions[i]), 0);
}

TEST(Session, NumbersStayApartWhileSessionsComeAndGo) {
  std::map<uint32_t, size_t> open;
  std::set<uint32_t> closed;
  for (size_t i = 0; i < 600; ++i) {
    uint32_t session = 0;
    ASSERT_EQ(FWOpenSession((u"w" + Numbered(i) + u"x").c_str(), &session), 0);
    ASSERT_TRUE(open.emplace(session, i).second) << "a number that is in use";
    ASSERT_EQ(closed.count(session), 0u) << "a number that has just been closed";
    if (i % 3 == 0) continue;  // the rest stay open, so that places fill unevenly
    const auto oldest = std::next(open.begin(), static_cast<std::ptrdiff_t>(open.size() / 2));
    ASSERT_EQ(FWCloseSession(oldest->first), 0);
    closed.insert(oldest->first);
    open.erase(oldest);
  }
  for (const uint32_t number : closed) ASSERT_NE(FWFindWord(number, u"w"), 0) << number;
  for (const auto& [number, i] : open) {
    EXPECT_EQ(FWFindWord(number, (u"w" + Numbered(i) + u"x").c_str()), 0) << i;
    EXPECT_NE(FWFindWord(number, (u"w" + Numbered(i + 1) + u"x").c_str()), 0) << i;
    ASSERT_EQ(FWCloseSession(number), 0);
  }
}

TEST(Session, ASessionAnswersWhileOthersAreOpened) {
  uint32_t session = 0;
  ASSERT_EQ(FWOpenSession(u"\u00E4 b", &session), 0);
  std::atomic<bool> opening{true};
  std::atomic<int> wrong{0};
  std::thread searcher([&] {
    while (opening) {
      wrong += FWFindWord(session, u"A B") != 0;
      wrong += FWFindWord(session, u"\u00C4 c") == 0;
    }
  });
  std::vector<uint32_t> others(500);
  for (uint32_t& other : others) wrong += FWOpenSession(u"c", &other) != 0;
  opening = false;
  searcher.join();
  EXPECT_EQ(wrong, 0);
  for (const uint32_t other : others) EXPECT_EQ(FWCloseSession(other), 0);
  EXPECT_EQ(FWCloseSession(session), 0);
}

TEST(Session, ASessionAnswersAgainAndAgain) {
  uint32_t session = 0;
  ASSERT_EQ(FWOpenSession(u"\u00E4pfel", &session), 0);
  for (int round = 0; round < 3; ++round) {
    EXPECT_EQ(FWFindWord(session, u"Apfel"), 0);
    EXPECT_EQ(FWFindWord(session, u"\u00C4pfel"), 0);
    EXPECT_NE(FWFindWord(session, u""), 0);
    EXPECT_NE(FWFindWord(session, u"Birne"), 0);
    EXPECT_NE(FWFindWord(session, u"Birn\u00E9"), 0);
  }
  EXPECT_EQ(FWCloseSession(session), 0);
}

TEST(Session, TheSearchTextNeedNotOutliveTheCall) {
  uint32_t session = 0;
  {
    std::u16string text = u"hello";
    ASSERT_EQ(FWOpenSession(text.c_str(), &session), 0);
    std::fill(text.begin(), text.end(), u'x');
  }
  EXPECT_EQ(FWFindWord(session, u"hello"), 0);
  EXPECT_EQ(FWCloseSession(session), 0);
}

TEST(Session, UnknownSessionsAreHarmless) {
  uint32_t session = 0;
  ASSERT_EQ(FWOpenSession(u"", &session), 0);
  ASSERT_EQ(FWCloseSession(session), 0);
  for (const uint32_t unknown : {session, 0u, 0xFFFFFFFFu, session + 1000}) {
    EXPECT_NE(FWFindWord(unknown, u""), 0) << unknown;
    EXPECT_NE(FWCloseSession(unknown), 0) << unknown;
  }
}

TEST(Session, NullTextIsRefused) {
  uint32_t session = 77;
  EXPECT_NE(FWOpenSession(nullptr, &session), 0);
  EXPECT_EQ(session, 0u);
  EXPECT_NE(FWOpenSession(u"a", nullptr), 0);
  ASSERT_EQ(FWOpenSession(u"", &session), 0);
  EXPECT_NE(FWFindWord(session, nullptr), 0);
  EXPECT_EQ(FWCloseSession(session), 0);
}

TEST(Session, ThreadsShareSessionsAndTheModule) {
  uint32_t shared = 0;
  ASSERT_EQ(FWOpenSession(u"\u00E4 b", &shared), 0);
  std::vector<std::thread> threads;
  std::vector<int> wrong(4, 0);
  for (int& failures : wrong) {
    threads.emplace_back([shared, &failures] {
      for (int round = 0; round < 300; ++round) {
        uint32_t own = 0;
        failures += FWOpenSession(u"\u044F own", &own) != 0;
        failures += FWFindWord(own, u"own \u042F") != 0;
        failures += FWFindWord(shared, u"B\u0301: A") != 0;
        failures += FWFindWord(shared, u"\u00E4") == 0;
        failures += XKRWbrInit(0, round % 2 == 0 ? "sv" : "de", 0) != 0;
        failures += FWCloseSession(own) != 0;
      }
    });
  }
  for (std::thread& thread : threads) thread.join();
  EXPECT_EQ(wrong, std::vector<int>(4, 0));
  EXPECT_EQ(FWCloseSession(shared), 0);
  EXPECT_EQ(XKRWbrShutdown(1, 0, 0), 0u);
}

TEST(Session, ASessionMayBeClosedWhileItIsSearched) {
  for (int round = 0; round < 50; ++round) {
    uint32_t session = 0;
    ASSERT_EQ(FWOpenSession(u"\u00E4", &session), 0);
    std::thread searcher([session] {
      while (FWFindWord(session, u"some text \u00C4") == 0) {
      }
    });
    EXPECT_EQ(FWCloseSession(session), 0);
    searcher.join();
  }
}

}  // namespace
