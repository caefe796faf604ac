// Listing database files and creating folders.
#include <fstream>

#include "engine_fixture.h"
#include "seam_lines.h"

namespace {

using seam::Lines;

class FileListing : public ::testing::Test {
 protected:
  void Touch(const char* file) { std::ofstream(folder.path() / file) << "x"; }

  TemporaryDirectory folder;
  MDbHandle handle = 0x1234;
  MDbChar name[300] = {};
};

TEST_F(FileListing, EveryMatchingFileIsNamedOnceAndThenTheHandleIsClosedAndNull) {
  for (const char* file : {"a.xdb", "b.xdb", "c.xdb", "d.txt"}) Touch(file);
  std::vector<std::u16string> names;
  seam::PlatformSeam seam;
  ASSERT_EQ(MDbFindFirstFile(&handle, (folder / u"*.xdb").c_str(), name, sizeof name), MDbStatusOk);
  names.push_back(name);
  MDbStatus status;
  while ((status = MDbFindNextFile(&handle, name, sizeof name)) == MDbStatusOk) names.push_back(name);
  EXPECT_EQ(status, MDbStatusNoMoreItems);
  EXPECT_EQ(handle, 0u);
  std::sort(names.begin(), names.end());
  EXPECT_EQ(names, (std::vector<std::u16string>{u"a.xdb", u"b.xdb", u"c.xdb"}));
  EXPECT_EQ(seam::LiveHandles(), 0u);
}

TEST_F(FileListing, ThePatternReachesThePlatformUnchanged) {
  seam::PlatformSeam seam;
  (void)MDbFindFirstFile(&handle, u"no/such/folder/*", name, sizeof name);
  EXPECT_EQ(seam.Texts(), (Lines{"FindFirstFileW(\"no/such/folder/*\")"}));
}

TEST_F(FileListing, TheEndIsRecognisedByTheLastErrorAndClosesTheListing) {
  Touch("only.xdb");
  const std::u16string pattern = folder / u"*";
  seam::PlatformSeam seam;
  ASSERT_EQ(MDbFindFirstFile(&handle, pattern.c_str(), name, sizeof name), MDbStatusOk);
  EXPECT_EQ(MDbFindNextFile(&handle, name, sizeof name), MDbStatusNoMoreItems);
  EXPECT_EQ(seam.Texts(), (Lines{"FindFirstFileW(\"" + (folder.path() / "*").string() + "\")", "FindNextFileW(find1)",
                                 "GetLastError()", "FindClose(find1)"}));
}

TEST_F(FileListing, NothingFoundLeavesTheInvalidHandleInTheVariable) {
  name[0] = u'~';
  EXPECT_EQ(MDbFindFirstFile(&handle, (folder / u"*.xdb").c_str(), name, sizeof name), MDbStatusFailed);
  EXPECT_EQ(handle, MDB_INVALID_HANDLE);
  EXPECT_EQ(name[0], u'~');
}

TEST_F(FileListing, NextOnAnInvalidHandleAsksThePlatformAndFails) {
  handle = MDB_INVALID_HANDLE;
  seam::PlatformSeam seam;
  EXPECT_EQ(MDbFindNextFile(&handle, name, sizeof name), MDbStatusFailed);
  EXPECT_EQ(seam.CountOf("FindNextFileW"), 1u);
  EXPECT_EQ(seam.CountOf("FindClose"), 0u);
  EXPECT_EQ(handle, MDB_INVALID_HANDLE);
}

TEST_F(FileListing, ANullHandleIsRefusedWithoutAPlatformCall) {
  handle = 0;
  seam::PlatformSeam seam;
  EXPECT_EQ(MDbFindNextFile(&handle, name, sizeof name), MDbStatusFailed);
  EXPECT_EQ(MDbFindClose(&handle), MDbStatusFailed);
  EXPECT_TRUE(seam.calls().empty());
}

TEST_F(FileListing, AnyOtherFailureOfNextLeavesTheListingOpen) {
  Touch("a.xdb");
  Touch("b.xdb");
  ASSERT_EQ(MDbFindFirstFile(&handle, (folder / u"*").c_str(), name, sizeof name), MDbStatusOk);
  const MDbHandle open = handle;
  {
    seam::PlatformSeam seam;
    seam.Fail("FindNextFileW", 0, ERROR_IO_DEVICE);
    EXPECT_EQ(MDbFindNextFile(&handle, name, sizeof name), MDbStatusFailed);
    EXPECT_EQ(seam.CountOf("FindClose"), 0u);
  }
  EXPECT_EQ(handle, open);
  EXPECT_EQ(MDbFindNextFile(&handle, name, sizeof name), MDbStatusOk);
  EXPECT_EQ(MDbFindClose(&handle), MDbStatusOk);
}

TEST_F(FileListing, ClosingEarlyLeavesTheVariableAsItWas) {
  Touch("a.xdb");
  ASSERT_EQ(MDbFindFirstFile(&handle, (folder / u"*").c_str(), name, sizeof name), MDbStatusOk);
  const MDbHandle open = handle;
  EXPECT_EQ(MDbFindClose(&handle), MDbStatusOk);
  EXPECT_EQ(handle, open);
  EXPECT_EQ(MDbFindClose(&handle), MDbStatusFailed) << "the listing is closed already";
}

TEST_F(FileListing, ClosingAndCreatingSucceedOnlyWhenThePlatformAnswersExactlyOne) {
  const struct {
    uint64_t answer;
    MDbStatus status;
  } kRows[] = {{1, MDbStatusOk}, {0, MDbStatusFailed}, {2, MDbStatusFailed}, {0xFFFFFFFF, MDbStatusFailed}};
  handle = 0x99;
  for (const auto& row : kRows) {
    seam::PlatformSeam seam;
    seam.Replace("FindClose", 0, {row.answer, 0});
    seam.Replace("CreateDirectoryW", 0, {row.answer, 0});
    EXPECT_EQ(MDbFindClose(&handle), row.status) << row.answer;
    EXPECT_EQ(MDbCreateDirectory(u"folder"), row.status) << row.answer;
  }
}

TEST_F(FileListing, ANameIsCutToTheBuffer) {
  Touch("abcdefgh.x");  // 10 characters
  const struct {
    const char* why;
    uint32_t size_bytes;
    const char16_t* expected;
  } kRows[] = {
      {"a name of exactly size / 2 - 1 characters is whole", 22, u"abcdefgh.x"},
      {"one character more than fits is cut", 20, u"abcdefgh."},
      {"a buffer of 2 bytes receives only the terminator", 2, u""},
  };
  for (const auto& row : kRows) {
    std::fill(std::begin(name), std::end(name), u'~');
    ASSERT_EQ(MDbFindFirstFile(&handle, (folder / u"*").c_str(), name, row.size_bytes), MDbStatusOk) << row.why;
    EXPECT_EQ(std::u16string(name), row.expected) << row.why;
    EXPECT_EQ(name[row.size_bytes / 2], u'~') << row.why;
    EXPECT_EQ(MDbFindClose(&handle), MDbStatusOk) << row.why;
  }
}

TEST_F(FileListing, TheSecondNameIsCutToTheBufferToo) {
  Touch("aaaa.xdb");
  Touch("bbbb.xdb");
  ASSERT_EQ(MDbFindFirstFile(&handle, (folder / u"*").c_str(), name, sizeof name), MDbStatusOk);
  std::fill(std::begin(name), std::end(name), u'~');
  ASSERT_EQ(MDbFindNextFile(&handle, name, 6), MDbStatusOk);
  EXPECT_EQ(name[2], 0);
  EXPECT_EQ(name[3], u'~');
  EXPECT_EQ(MDbFindClose(&handle), MDbStatusOk);
}

TEST_F(FileListing, CreatingAFolderPassesNoSecurityAttributes) {
  const std::u16string path = folder / u"books";
  seam::PlatformSeam seam;
  EXPECT_EQ(MDbCreateDirectory(path.c_str()), MDbStatusOk);
  EXPECT_EQ(seam.Texts(), (Lines{"CreateDirectoryW(\"" + (folder.path() / "books").string() + "\", null)"}));
  EXPECT_TRUE(std::filesystem::is_directory(folder.path() / "books"));
}

TEST_F(FileListing, AFolderThatExistsOrHasNoParentIsNotCreated) {
  EXPECT_EQ(MDbCreateDirectory((folder / u"books").c_str()), MDbStatusOk);
  EXPECT_EQ(MDbCreateDirectory((folder / u"books").c_str()), MDbStatusFailed);
  EXPECT_EQ(MDbCreateDirectory((folder / u"missing/books").c_str()), MDbStatusFailed);
}

}  // namespace
