// Volume files as clients meet them: what is there after a flush, what a second mount finds, and what is not ours.
#include <gtest/gtest.h>
#include <stdlib.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstring>
#include <filesystem>
#include <string>

#include "local_heap.h"
#include "object_store.h"

namespace {

namespace fs = std::filesystem;

constexpr CEPROPID kNumber = 1u << 16 | CEVT_UI4;
constexpr CEPROPID kText = 2u << 16 | CEVT_LPWSTR;

class VolumeFile : public ::testing::Test {
 protected:
  void SetUp() override {
    char pattern[] = "/tmp/objectstore-XXXXXX";
    ASSERT_NE(mkdtemp(pattern), nullptr);
    directory_ = pattern;
  }
  void TearDown() override { fs::remove_all(directory_); }

  std::u16string Path(const char* name = "test.vol") const { return (directory_ / name).u16string(); }

  fs::path directory_;
};

CEOID CreateDatabase(const CEGUID& guid, const char16_t* name) {
  CEDBASEINFO info = {};
  info.dwFlags = CEDB_VALIDNAME | CEDB_VALIDTYPE | CEDB_VALIDSORTSPEC;
  std::memcpy(info.szDbaseName, name, (std::char_traits<char16_t>::length(name) + 1) * sizeof(char16_t));
  info.wNumSortOrder = 1;
  info.rgSortSpecs[0] = {kNumber, 0};
  return CeCreateDatabaseEx(&guid, &info);
}

TEST_F(VolumeFile, KeepsRecordsAcrossMounts) {
  CEGUID guid;
  ASSERT_TRUE(CeMountDBVol(&guid, Path().c_str(), CREATE_NEW));
  CEOID oid = CreateDatabase(guid, u"things");
  ASSERT_NE(oid, 0u);
  HANDLE handle = CeOpenDatabaseEx(&guid, &oid, nullptr, kNumber, CEDB_AUTOINCREMENT, nullptr);
  ASSERT_NE(handle, INVALID_HANDLE_VALUE);
  char16_t text[] = u"hello";
  for (uint32_t i = 0; i < 200; ++i) {
    CEPROPVAL values[2] = {};
    values[0].propid = kNumber;
    values[0].val.ulVal = 1000 - i;
    values[1].propid = kText;
    values[1].val.lpwstr = text;
    ASSERT_NE(CeWriteRecordProps(handle, 0, 2, values), 0u) << GetLastError();
  }
  ASSERT_TRUE(CloseHandle(handle));
  ASSERT_TRUE(CeUnmountDBVol(&guid)) << GetLastError();
  EXPECT_FALSE(fs::exists(directory_ / "test.vol-wal"));
  ASSERT_TRUE(CeMountDBVol(&guid, Path().c_str(), OPEN_EXISTING)) << GetLastError();
  handle = CeOpenDatabaseEx(&guid, &oid, nullptr, kNumber, CEDB_AUTOINCREMENT, nullptr);
  ASSERT_NE(handle, INVALID_HANDLE_VALUE) << GetLastError();
  DWORD index = 9;
  EXPECT_NE(CeSeekDatabase(handle, CEDB_SEEK_BEGINNING, 5, &index), 0u);
  EXPECT_EQ(index, 5u);
  BYTE* buffer = nullptr;
  DWORD size = 0;
  WORD count = 0;
  EXPECT_NE(CeReadRecordPropsEx(handle, CEDB_ALLOWREALLOC, &count, nullptr, &buffer, &size, 0), 0u);
  ASSERT_EQ(count, 2);
  EXPECT_EQ(reinterpret_cast<CEPROPVAL*>(buffer)[0].val.ulVal, 806u);
  EXPECT_STREQ(reinterpret_cast<const char*>(reinterpret_cast<CEPROPVAL*>(buffer)[1].val.lpwstr), "h");
  LocalFree(buffer);
  ASSERT_TRUE(CeUnmountDBVol(&guid)) << GetLastError();
}

}  // namespace
