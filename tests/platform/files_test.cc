#include "files.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include "child_process.h"
#include "temporary_folder.h"

namespace {

using std::filesystem::exists;

class Files : public TemporaryFolder {
 protected:
  void SetUp() override {
    TemporaryFolder::SetUp();
    SetLastError(0);
  }
};

TEST_F(Files, AFolderIsMadeOnce) {
  EXPECT_EQ(CreateDirectoryW(Wide(u"\u00E4").c_str(), nullptr), 1);
  EXPECT_TRUE(std::filesystem::is_directory(Narrow("\xC3\xA4")));
  EXPECT_EQ(CreateDirectoryW(Wide(u"\u00E4").c_str(), nullptr), FALSE);
  EXPECT_EQ(GetLastError(), 183u);
}

TEST_F(Files, AFolderThatCannotBeMadeSaysWhy) {
  Write("file");
  const struct {
    const char* why;
    std::u16string path;
    DWORD error;
  } kRefused[] = {
      {"a file has the name", Wide(u"file"), 183},
      {"the parent is missing", Wide(u"missing/new"), 3},
      {"the parent is a file", Wide(u"file/new"), 3},
      {"no name", u"", 3},
      {"half a surrogate pair", Wide(std::u16string{u'a', 0xD800}), 3},
      {"a name that is too long", Wide(std::u16string(300, u'n')), 3},
  };
  for (const auto& row : kRefused) {
    SetLastError(0);
    EXPECT_EQ(CreateDirectoryW(row.path.c_str(), nullptr), FALSE) << row.why;
    EXPECT_EQ(GetLastError(), row.error) << row.why;
  }
}

TEST_F(Files, AFileIsDeleted) {
  Write("a.cdb", "contents");
  EXPECT_EQ(DeleteFileW(Wide(u"a.cdb").c_str()), TRUE);
  EXPECT_FALSE(exists(Narrow("a.cdb")));
}

TEST_F(Files, AFileThatCannotBeDeletedSaysWhy) {
  Write("file");
  std::filesystem::create_directory(Narrow("folder"));
  const struct {
    const char* why;
    std::u16string path;
    DWORD error;
  } kRefused[] = {
      {"missing", Wide(u"missing"), 2},
      {"in a missing folder", Wide(u"missing/file"), 2},
      {"below a file", Wide(u"file/file"), 3},
      {"a folder", Wide(u"folder"), 5},
      {"no name", u"", 2},
      {"half a surrogate pair", Wide(std::u16string{u'a', 0xDC00}), 2},
  };
  for (const auto& row : kRefused) {
    SetLastError(0);
    EXPECT_EQ(DeleteFileW(row.path.c_str()), FALSE) << row.why;
    EXPECT_EQ(GetLastError(), row.error) << row.why;
  }
  EXPECT_TRUE(exists(Narrow("folder")));
}

TEST_F(Files, AFileThatThisProcessHasOpenIsNotDeleted) {
  Write("file");
  const int descriptor = open(Narrow("file").c_str(), O_RDONLY);
  ASSERT_GE(descriptor, 0);
  EXPECT_EQ(DeleteFileW(Wide(u"file").c_str()), FALSE);
  EXPECT_EQ(GetLastError(), 32u);
  close(descriptor);
  EXPECT_EQ(DeleteFileW(Wide(u"file").c_str()), TRUE);
}

TEST_F(Files, AFileThatAnotherProcessHasLockedIsNotDeleted) {
  Write("file");
  const ProcessSignal locked;
  const ProcessSignal done;
  const pid_t child = StartChildThatDies([&] {
    const int descriptor = open(Narrow("file").c_str(), O_RDWR);
    struct flock lock = {};
    lock.l_type = F_WRLCK;
    lock.l_start = 0x40000000;
    lock.l_len = 1;
    EXPECT_EQ(fcntl(descriptor, F_SETLK, &lock), 0);
    locked.Send();
    done.Wait();
  });
  locked.Wait();
  EXPECT_EQ(DeleteFileW(Wide(u"file").c_str()), FALSE);
  EXPECT_EQ(GetLastError(), 32u);
  done.Send();
  ExpectChildSucceeds(child);
  EXPECT_EQ(DeleteFileW(Wide(u"file").c_str()), TRUE);
}

TEST_F(Files, ALinkIsDeletedAndNotWhatItLeadsTo) {
  Write("file");
  std::filesystem::create_symlink(Narrow("file"), Narrow("link"));
  EXPECT_EQ(DeleteFileW(Wide(u"link").c_str()), TRUE);
  EXPECT_TRUE(exists(Narrow("file")));
}

TEST_F(Files, AFolderThatMayNotBeWrittenGuardsItsFiles) {
  if (geteuid() == 0) GTEST_SKIP() << "permissions do not bind the administrator";
  std::filesystem::create_directory(Narrow("guarded"));
  Write("guarded/file");
  ASSERT_EQ(chmod(Narrow("guarded").c_str(), 0500), 0);
  EXPECT_EQ(DeleteFileW(Wide(u"guarded/file").c_str()), FALSE);
  EXPECT_EQ(GetLastError(), 5u);
  EXPECT_EQ(CreateDirectoryW(Wide(u"guarded/new").c_str(), nullptr), FALSE);
  EXPECT_EQ(GetLastError(), 5u);
  ASSERT_EQ(chmod(Narrow("guarded").c_str(), 0700), 0);
}

TEST_F(Files, NoPathIsAnInvalidParameter) {
  EXPECT_EQ(CreateDirectoryW(nullptr, nullptr), FALSE);
  EXPECT_EQ(GetLastError(), 87u);
  SetLastError(0);
  EXPECT_EQ(DeleteFileW(nullptr), FALSE);
  EXPECT_EQ(GetLastError(), 87u);
}

}  // namespace
