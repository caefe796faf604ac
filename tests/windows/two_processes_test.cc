// Two processes and one volume: who has it mounted keeps it, and what was flushed survives the end of whoever did it.
//
// The second process is this program, found in the working folder and run for one of the tests that are none by themselves.
#include <process.h>
#include <stdlib.h>

#include "store_test.h"

namespace {

constexpr const wchar_t* kPathVariable = L"XKRDB_TEST_VOLUME";
constexpr int kNotRun = 77;

std::u16string VolumeOfParent() {
  const wchar_t* const path = _wgetenv(kPathVariable);
  return path == nullptr ? std::u16string() : std::u16string(path, path + wcslen(path));
}

// The exit code of this program, run for a test that tells it by ending the process.
int RunChild(const wchar_t* test, const std::u16string& path) {
  _wputenv_s(kPathVariable, std::wstring(path.begin(), path.end()).c_str());
  const std::wstring filter = std::wstring(L"--gtest_filter=Child.") + test;
  const auto code = static_cast<int>(
      _wspawnl(_P_WAIT, L"windows_two_processes_test.exe", L"child", filter.c_str(), static_cast<wchar_t*>(nullptr)));
  _wputenv_s(kPathVariable, L"");
  return code;
}

TEST(Child, Mounts) {
  const std::u16string path = VolumeOfParent();
  if (path.empty()) GTEST_SKIP() << "is run by others";
  CEGUID volume;
  const bool mounted = CeMountDBVol(&volume, path.c_str(), OPEN_EXISTING) != FALSE;
  _exit(mounted ? 0 : static_cast<int>(GetLastError()));
}

// One record is flushed and one is not; then the process ends without a word.
TEST(Child, FlushesAndDies) {
  const std::u16string path = VolumeOfParent();
  if (path.empty()) GTEST_SKIP() << "is run by others";
  CEGUID volume;
  if (!CeMountDBVol(&volume, path.c_str(), OPEN_EXISTING)) _exit(kNotRun);
  const CEOID database = CreateDatabase(volume, u"written");
  const HANDLE handle = OpenDatabase(volume, database);
  Write(handle, 0, {I4(1, 1)});
  if (!CeFlushDBVol(&volume)) _exit(kNotRun);
  Write(handle, 0, {I4(1, 2)});
  _exit(0);
}

class TwoProcesses : public StoreTest {
 protected:
  void SetUp() override {
    StoreTest::SetUp();
    if (!mounted_) Mount(CREATE_NEW);
  }
};

TEST_F(TwoProcesses, TheSecondIsRefusedWhileTheFirstHasTheVolume) {
  EXPECT_EQ(RunChild(L"Mounts", Path()), ERROR_SHARING_VIOLATION);
  Unmount();
  EXPECT_EQ(RunChild(L"Mounts", Path()), 0);
  Mount();
}

TEST_F(TwoProcesses, WhatWasFlushedSurvivesItsWriter) {
  for (int round = 1; round <= 3; ++round) {
    Unmount();
    ASSERT_EQ(RunChild(L"FlushesAndDies", Path()), 0);
    Mount();
    CEOID oid = 0;
    const HANDLE handle = CeOpenDatabaseEx(&volume_, &oid, u"written", 0, 0, nullptr);
    ASSERT_NE(handle, INVALID_HANDLE_VALUE);
    EXPECT_EQ(Order(handle).size(), 1u);
    EXPECT_EQ(CloseHandle(handle), TRUE);
    EXPECT_EQ(CeDeleteDatabaseEx(&volume_, oid), TRUE);
  }
}

}  // namespace
