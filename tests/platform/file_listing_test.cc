#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>

#include <thread>
#include <vector>

#include "files.h"
#include "temporary_folder.h"

namespace {

using Names = std::vector<std::u16string>;

class FileListing : public TemporaryFolder {
 protected:
  void SetUp() override {
    TemporaryFolder::SetUp();
    SetLastError(0);
  }

  // All names that match, by the three calls.
  Names List(std::u16string_view pattern) const {
    Names names;
    WIN32_FIND_DATAW found;
    const HANDLE find = FindFirstFileW(Wide(pattern).c_str(), &found);
    if (find == INVALID_HANDLE_VALUE) return names;
    do {
      names.emplace_back(found.cFileName);
    } while (FindNextFileW(find, &found));
    EXPECT_EQ(GetLastError(), 18u);
    EXPECT_EQ(FindClose(find), TRUE);
    return names;
  }

  void ExpectNoListing(const std::u16string& pattern, DWORD error) {
    WIN32_FIND_DATAW found;
    SetLastError(0);
    EXPECT_EQ(FindFirstFileW(pattern.c_str(), &found), INVALID_HANDLE_VALUE);
    EXPECT_EQ(GetLastError(), error);
  }
};

TEST_F(FileListing, NamesComeInByteOrder) {
  for (const char* name : {"b", "a", "B", "\xC3\xA4", "aa", ".hidden", "\xF0\x9F\x98\x80", "\xEF\xBF\xBD"}) Write(name);
  EXPECT_EQ(List(u"*"), (Names{u".hidden", u"B", u"a", u"aa", u"b", u"\u00E4", u"\uFFFD", u"\U0001F600"}));
}

TEST_F(FileListing, OnlyMatchingNamesAreListed) {
  for (const char* name : {"a.cdb", "b.cdb", "b.cdb-wal", "ab.cdb", "c.txt"}) Write(name);
  EXPECT_EQ(List(u"*.cdb"), (Names{u"a.cdb", u"ab.cdb", u"b.cdb"}));
  EXPECT_EQ(List(u"?.cdb"), (Names{u"a.cdb", u"b.cdb"}));
  EXPECT_EQ(List(u"c.txt"), (Names{u"c.txt"}));
}

TEST_F(FileListing, AnEmptyFolderHasNoEntriesNotEvenItself) { ExpectNoListing(Wide(u"*"), 2); }

TEST_F(FileListing, WhatCannotBeListedSaysWhy) {
  Write("file");
  ExpectNoListing(Wide(u"*.cdb"), 2);
  ExpectNoListing(Wide(u""), 2);
  ExpectNoListing(Wide(u"missing/*"), 3);
  ExpectNoListing(Wide(u"file/*"), 3);
  ExpectNoListing(Wide(u"f*/*"), 3);
  ExpectNoListing(Wide(std::u16string{0xD800, u'/', u'*'}), 3);
  ExpectNoListing(Wide(std::u16string{0xD800, u'*'}), 2);
  WIN32_FIND_DATAW found;
  EXPECT_EQ(FindFirstFileW(nullptr, &found), INVALID_HANDLE_VALUE);
  EXPECT_EQ(GetLastError(), 87u);
}

TEST_F(FileListing, APatternWithoutAFolderListsTheWorkingFolder) {
  Write("here.cdb");
  const auto before = std::filesystem::current_path();
  std::filesystem::current_path(Narrow(""));
  WIN32_FIND_DATAW found;
  const HANDLE find = FindFirstFileW(u"*.cdb", &found);
  std::filesystem::current_path(before);
  ASSERT_NE(find, INVALID_HANDLE_VALUE);
  EXPECT_EQ(std::u16string(found.cFileName), u"here.cdb");
  EXPECT_EQ(FindClose(find), TRUE);
}

TEST_F(FileListing, AnEntryTellsItsSizeKindAndTimes) {
  Write("file", "12345");
  const timespec times[2] = {{-5, 0}, {86400, 300}};
  ASSERT_EQ(utimensat(AT_FDCWD, Narrow("file").c_str(), times, 0), 0);
  std::filesystem::create_directory(Narrow("folder"));
  WIN32_FIND_DATAW found;
  HANDLE find = FindFirstFileW(Wide(u"*").c_str(), &found);
  ASSERT_NE(find, INVALID_HANDLE_VALUE);
  EXPECT_EQ(found.dwFileAttributes, DWORD{FILE_ATTRIBUTE_NORMAL});
  EXPECT_EQ(found.nFileSizeLow, 5u);
  EXPECT_EQ(found.nFileSizeHigh, 0u);
  // 1970-01-02 and 300 ns: 134775 days after the first of 1601, in steps of 100 ns.
  const uint64_t written = (uint64_t{found.ftLastWriteTime.dwHighDateTime} << 32) | found.ftLastWriteTime.dwLowDateTime;
  EXPECT_EQ(written, 134775u * uint64_t{864000000000} + 3);
  const uint64_t read = (uint64_t{found.ftLastAccessTime.dwHighDateTime} << 32) | found.ftLastAccessTime.dwLowDateTime;
  EXPECT_EQ(read, uint64_t{116444736000000000} - 50000000);
  ASSERT_EQ(FindNextFileW(find, &found), TRUE);
  EXPECT_EQ(std::u16string(found.cFileName), u"folder");
  EXPECT_EQ(found.dwFileAttributes, DWORD{FILE_ATTRIBUTE_DIRECTORY});
  EXPECT_EQ(found.nFileSizeLow, 0u);
  EXPECT_EQ(FindClose(find), TRUE);
}

TEST_F(FileListing, AFileOfMoreThanFourGigabytesHasAHighSize) {
  Write("large");
  std::error_code failed;
  std::filesystem::resize_file(Narrow("large"), (uint64_t{1} << 32) + 7, failed);
  if (failed) GTEST_SKIP() << "no files with holes here: " << failed.message();
  WIN32_FIND_DATAW found;
  const HANDLE find = FindFirstFileW(Wide(u"large").c_str(), &found);
  ASSERT_NE(find, INVALID_HANDLE_VALUE);
  EXPECT_EQ(found.nFileSizeHigh, 1u);
  EXPECT_EQ(found.nFileSizeLow, 7u);
  EXPECT_EQ(FindClose(find), TRUE);
}

TEST_F(FileListing, AFileNobodyMayWriteIsReadOnly) {
  Write("file");
  ASSERT_EQ(chmod(Narrow("file").c_str(), 0400), 0);
  WIN32_FIND_DATAW found;
  const HANDLE find = FindFirstFileW(Wide(u"file").c_str(), &found);
  ASSERT_NE(find, INVALID_HANDLE_VALUE);
  EXPECT_EQ(found.dwFileAttributes, DWORD{FILE_ATTRIBUTE_READONLY});
  EXPECT_EQ(FindClose(find), TRUE);
}

TEST_F(FileListing, ALinkThatLeadsNowhereIsListed) {
  std::filesystem::create_symlink("nowhere", Narrow("link"));
  EXPECT_EQ(List(u"*"), (Names{u"link"}));
}

TEST_F(FileListing, NamesThatAreNotUtf8AreLeftOut) {
  Write("good");
  Write("bad\xFF");
  Write("cut\xC3");
  EXPECT_EQ(List(u"*"), (Names{u"good"}));
}

TEST_F(FileListing, TheLongestNameOfTheFileSystemIsListed) {
  // 255 bytes are the most that common file systems take, which is less than cFileName holds.
  Write(std::string(255, 'n'));
  EXPECT_EQ(List(u"*"), (Names{std::u16string(255, u'n')}));
}

TEST_F(FileListing, TheListingIsTheFolderAsItWas) {
  Write("a");
  Write("b");
  Write("d");
  WIN32_FIND_DATAW found;
  const HANDLE find = FindFirstFileW(Wide(u"*").c_str(), &found);
  ASSERT_NE(find, INVALID_HANDLE_VALUE);
  Write("c");
  std::filesystem::remove(Narrow("b"));
  ASSERT_EQ(FindNextFileW(find, &found), TRUE);
  EXPECT_EQ(std::u16string(found.cFileName), u"d");
  EXPECT_EQ(FindNextFileW(find, &found), FALSE);
  EXPECT_EQ(GetLastError(), 18u);
  EXPECT_EQ(FindNextFileW(find, &found), FALSE) << "the end stays the end";
  EXPECT_EQ(FindClose(find), TRUE);
}

TEST_F(FileListing, AnUnknownHandleIsRefused) {
  Write("a");
  WIN32_FIND_DATAW found;
  const HANDLE closed = FindFirstFileW(Wide(u"*").c_str(), &found);
  ASSERT_EQ(FindClose(closed), TRUE);
  for (const HANDLE handle : {HANDLE{0}, HANDLE{INVALID_HANDLE_VALUE}, closed, closed + 1000}) {
    SetLastError(0);
    EXPECT_EQ(FindNextFileW(handle, &found), FALSE) << handle;
    EXPECT_EQ(GetLastError(), 6u) << handle;
    SetLastError(0);
    EXPECT_EQ(FindClose(handle), FALSE) << handle;
    EXPECT_EQ(GetLastError(), 6u) << handle;
  }
}

TEST_F(FileListing, ListingsDoNotDisturbOneAnother) {
  for (const char* name : {"a", "b", "c"}) Write(name);
  WIN32_FIND_DATAW found;
  HANDLE finds[3];
  for (HANDLE& find : finds) find = FindFirstFileW(Wide(u"*").c_str(), &found);
  ASSERT_EQ(FindNextFileW(finds[0], &found), TRUE);
  EXPECT_EQ(FindClose(finds[1]), TRUE);
  ASSERT_EQ(FindNextFileW(finds[0], &found), TRUE);
  EXPECT_EQ(std::u16string(found.cFileName), u"c");
  ASSERT_EQ(FindNextFileW(finds[2], &found), TRUE);
  EXPECT_EQ(std::u16string(found.cFileName), u"b");
  EXPECT_EQ(FindClose(finds[0]), TRUE);
  EXPECT_EQ(FindClose(finds[2]), TRUE);
}

TEST_F(FileListing, ManyThreadsListAtOnce) {
  for (char name = 'a'; name <= 'z'; ++name) Write(std::string(1, name));
  std::vector<std::thread> threads;
  std::vector<size_t> counts(4);
  for (size_t i = 0; i < counts.size(); ++i) {
    threads.emplace_back([&, i] {
      for (int round = 0; round < 20; ++round) counts[i] += List(u"*").size();
    });
  }
  for (std::thread& thread : threads) thread.join();
  for (const size_t count : counts) EXPECT_EQ(count, 20u * 26u);
}

}  // namespace
