// Short memory: the n-th allocation of a call fails, for n = 0, 1, 2, ... until the call gets through. After each
// failure the call has said so, and nothing has changed.
#include <cstdlib>
#include <functional>
#include <new>

#include "volume_file_fixture.h"

namespace {
// Below zero: no allocation fails.
int allocations_before_failure = -1;

void* Allocate(size_t size) {
  if (allocations_before_failure == 0) throw std::bad_alloc();
  if (allocations_before_failure > 0) --allocations_before_failure;
  void* memory = std::malloc(size == 0 ? 1 : size);
  if (memory == nullptr) throw std::bad_alloc();
  return memory;
}
}  // namespace

void* operator new(size_t size) { return Allocate(size); }
void* operator new[](size_t size) { return Allocate(size); }
void operator delete(void* memory) noexcept { std::free(memory); }
void operator delete[](void* memory) noexcept { std::free(memory); }
void operator delete(void* memory, size_t) noexcept { std::free(memory); }
void operator delete[](void* memory, size_t) noexcept { std::free(memory); }

namespace {

constexpr CEPROPID kName = 9u << 16 | CEVT_LPWSTR;

class ShortMemory : public VolumeFileTest {
 protected:
  void SetUp() override {
    guid_ = Mount(CREATE_NEW);
    CEDBASEINFO info = {};
    info.dwFlags = CEDB_VALIDNAME | CEDB_VALIDSORTSPEC;
    info.szDbaseName[0] = u'a';
    info.wNumSortOrder = 2;
    info.rgSortSpecs[0] = {kNumber, 0};
    info.rgSortSpecs[1] = {kText, 0};
    database_ = CeCreateDatabaseEx(&guid_, &info);
    ASSERT_NE(database_, 0u);
    for (const CEPROPID order : {kNumber, kText}) {
      CEOID oid = database_;
      handles_.push_back(CeOpenDatabaseEx(&guid_, &oid, nullptr, order, 0, nullptr));
      ASSERT_NE(handles_.back(), INVALID_HANDLE_VALUE);
    }
    for (uint32_t i = 0; i < 8; ++i) oids_.push_back(Write(handles_[0], 0, i, u"text"));
  }
  void TearDown() override {
    allocations_before_failure = -1;
    Unmount(guid_);
  }

  // What can be seen of the volume: both orders with all records, and the database's description.
  std::string Seen() {
    std::string seen;
    for (const HANDLE handle : handles_) {
      for (DWORD position = 0;; ++position) {
        const CEOID oid = CeSeekDatabase(handle, CEDB_SEEK_BEGINNING, position, nullptr);
        if (oid == 0) break;
        seen += std::to_string(oid) + ' ';
      }
    }
    for (const auto& [oid, line] : Contents(guid_, database_)) seen += std::to_string(oid) + ": " + line + '\n';
    CEOIDINFO info;
    for (CEOID oid = 1; oid < 30; ++oid) {
      if (!CeOidGetInfoEx(&guid_, oid, &info) || info.wObjType != OBJTYPE_DATABASE) continue;
      const CEDBASEINFO& found = info.infDatabase;
      seen += std::to_string(oid) + ' ' + std::to_string(found.szDbaseName[0]) + ' ' + std::to_string(found.dwSize) +
              ' ' + std::to_string(found.wNumRecords) + ' ' + std::to_string(found.ftLastModified.dwLowDateTime) + '\n';
    }
    return seen;
  }

  // The call returns whether it succeeded.
  void Sweep(DWORD expected_error, const std::function<bool()>& call) {
    const std::string before = Seen();
    for (int n = 0;; ++n) {
      ASSERT_LT(n, 1000);
      SetLastError(0);
      allocations_before_failure = n;
      const bool succeeded = call();
      const DWORD error = GetLastError();
      allocations_before_failure = -1;
      if (succeeded) {
        EXPECT_GT(n, 0) << "nothing was allocated";
        return;
      }
      ASSERT_EQ(error, expected_error) << n;
      ASSERT_EQ(Seen(), before) << n;
    }
  }

  CEGUID guid_;
  CEOID database_;
  std::vector<HANDLE> handles_;
  std::vector<CEOID> oids_;
};

TEST_F(ShortMemory, ANewRecordIsThereWholeOrNotAtAll) {
  char16_t text[] = u"another text";
  CEPROPVAL values[2] = {};
  values[0].propid = kText;
  values[0].val.lpwstr = text;
  values[1].propid = kName;
  values[1].val.lpwstr = text;
  Sweep(ERROR_NOT_ENOUGH_MEMORY, [&] { return CeWriteRecordProps(handles_[0], 0, 2, values) != 0; });
  EXPECT_EQ(Contents(guid_, database_).size(), 9u);
}

TEST_F(ShortMemory, AChangedRecordIsChangedWholeOrNotAtAll) {
  char16_t text[] = u"a text before the others";
  CEPROPVAL values[2] = {};
  values[0].propid = kText;
  values[0].val.lpwstr = text;
  values[1].propid = kNumber;
  values[1].val.ulVal = 77;
  Sweep(ERROR_NOT_ENOUGH_MEMORY, [&] { return CeWriteRecordProps(handles_[0], oids_[4], 2, values) != 0; });
}

TEST_F(ShortMemory, ADeletionHappensOrNot) {
  ASSERT_TRUE(CeFlushDBVol(&guid_));  // so that the deletion must be remembered
  Sweep(ERROR_NOT_ENOUGH_MEMORY, [&] { return CeDeleteRecord(handles_[0], oids_[4]) != 0; });
}

TEST_F(ShortMemory, ANewDatabaseIsThereOrNot) {
  CEDBASEINFO info = {};
  info.dwFlags = CEDB_VALIDNAME | CEDB_VALIDSORTSPEC;
  info.szDbaseName[0] = u'b';
  info.wNumSortOrder = 1;
  info.rgSortSpecs[0] = {kText, 0};
  Sweep(ERROR_NOT_ENOUGH_MEMORY, [&] { return CeCreateDatabaseEx(&guid_, &info) != 0; });
}

TEST_F(ShortMemory, NewSortOrdersReplaceTheOldOnesOrNot) {
  for (const HANDLE handle : handles_) ASSERT_TRUE(CloseHandle(handle));
  handles_.clear();
  CEDBASEINFO info = {};
  info.dwFlags = CEDB_VALIDSORTSPEC;
  info.wNumSortOrder = 2;
  info.rgSortSpecs[0] = {kText, CEDB_SORT_NONNULL};
  info.rgSortSpecs[1] = {kNumber, CEDB_SORT_UNIQUE};
  Sweep(ERROR_NOT_ENOUGH_MEMORY, [&] { return CeSetDatabaseInfoEx(&guid_, database_, &info) != 0; });
  EXPECT_EQ(Contents(guid_, database_).size(), 8u);
}

TEST_F(ShortMemory, AnOpenThatFailsLeavesNoHandle) {
  CEOID oid = database_;
  HANDLE handle = INVALID_HANDLE_VALUE;
  Sweep(ERROR_NOT_ENOUGH_MEMORY, [&] {
    handle = CeOpenDatabaseEx(&guid_, &oid, nullptr, kText, 0, nullptr);
    return handle != INVALID_HANDLE_VALUE;
  });
  for (const HANDLE open : handles_) ASSERT_TRUE(CloseHandle(open));
  handles_.clear();
  ASSERT_TRUE(CloseHandle(handle));
  EXPECT_TRUE(CeDeleteDatabaseEx(&guid_, database_)) << "a handle was left: last error " << GetLastError();
}

TEST_F(ShortMemory, AnEnumerationSaysOutOfMemory) {
  Sweep(ERROR_OUTOFMEMORY, [&] { return CeFindFirstDatabaseEx(&guid_, 0) != INVALID_HANDLE_VALUE; });
}

TEST_F(ShortMemory, AFlushThatLackedMemoryCanBeRepeated) {
  const auto contents = Contents(guid_, database_);
  Sweep(ERROR_NOT_ENOUGH_MEMORY, [&] { return CeFlushDBVol(&guid_) != 0; });
  for (uint32_t i = 0; i < 200; ++i) Write(handles_[0], 0, i, u"more");
  ASSERT_TRUE(CeFlushDBVol(&guid_));
  for (const auto& [oid, line] : Contents(guid_, database_)) SetNumber(handles_[0], oid, kNumber, 1000 - oid);
  Sweep(ERROR_NOT_ENOUGH_MEMORY, [&] { return CeFlushDBVol(&guid_) != 0; });
  const auto last = Contents(guid_, database_);
  Unmount(guid_);
  guid_ = Mount(OPEN_EXISTING);
  EXPECT_EQ(Contents(guid_, database_), last);
}

TEST_F(ShortMemory, AMountThatFailsLeavesTheFileToTheNext) {
  const auto contents = Contents(guid_, database_);
  Unmount(guid_);
  const std::u16string path = Path();
  for (int n = 0;; ++n) {
    ASSERT_LT(n, 1000);
    allocations_before_failure = n;
    const bool mounted = CeMountDBVol(&guid_, path.c_str(), OPEN_EXISTING) != 0;
    const DWORD error = GetLastError();
    allocations_before_failure = -1;
    if (mounted) break;
    ASSERT_EQ(error, static_cast<DWORD>(ERROR_NOT_ENOUGH_MEMORY)) << n;
  }
  EXPECT_EQ(Contents(guid_, database_), contents);
}

TEST_F(ShortMemory, ALoadThatFailsIsDoneByTheNextOpen) {
  const auto contents = Contents(guid_, database_);
  Unmount(guid_);
  guid_ = Mount(OPEN_EXISTING);
  CEOID oid = database_;
  for (int n = 0;; ++n) {
    ASSERT_LT(n, 1000);
    allocations_before_failure = n;
    const HANDLE handle = CeOpenDatabaseEx(&guid_, &oid, nullptr, kText, 0, nullptr);
    const DWORD error = GetLastError();
    allocations_before_failure = -1;
    if (handle != INVALID_HANDLE_VALUE) break;
    ASSERT_EQ(error, static_cast<DWORD>(ERROR_NOT_ENOUGH_MEMORY)) << n;
  }
  EXPECT_EQ(Contents(guid_, database_), contents);
}

}  // namespace
