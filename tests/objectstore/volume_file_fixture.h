// A fresh folder for volume files, the few calls that most tests of the file need, and a way to look into a file and to
// change it behind the store's back.
#pragma once

#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <map>
#include <string>
#include <vector>

#include "local_heap.h"
#include "object_store.h"
#include "sqlite_statement.h"
#include "temporary_directory.h"

inline constexpr CEPROPID kNumber = 1u << 16 | CEVT_UI4;
inline constexpr CEPROPID kText = 2u << 16 | CEVT_LPWSTR;
inline constexpr CEPROPID kOther = 3u << 16 | CEVT_UI4;

class VolumeFileTest : public ::testing::Test {
 protected:
  std::filesystem::path File(const char* name = "test.vol") const { return directory_.path() / name; }
  std::u16string Path(const char* name = "test.vol") const { return File(name).u16string(); }

  CEGUID Mount(DWORD disposition, const char* name = "test.vol") {
    CEGUID guid = {};
    EXPECT_TRUE(CeMountDBVol(&guid, Path(name).c_str(), disposition)) << "last error " << GetLastError();
    return guid;
  }
  static void Unmount(const CEGUID& guid) { EXPECT_TRUE(CeUnmountDBVol(&guid)) << "last error " << GetLastError(); }

  // The last error of a mount that must fail.
  DWORD MountError(DWORD disposition, const char* name = "test.vol") {
    CEGUID guid = {};
    SetLastError(0);
    EXPECT_FALSE(CeMountDBVol(&guid, Path(name).c_str(), disposition));
    return GetLastError();
  }

  // With one sort order, on kNumber.
  static CEOID Create(const CEGUID& guid, const std::u16string& name) {
    CEDBASEINFO info = {};
    info.dwFlags = CEDB_VALIDNAME | CEDB_VALIDTYPE | CEDB_VALIDSORTSPEC;
    std::memcpy(info.szDbaseName, name.c_str(), (name.size() + 1) * sizeof(char16_t));
    info.dwDbaseType = 77;
    info.wNumSortOrder = 1;
    info.rgSortSpecs[0] = {kNumber, 0};
    const CEOID oid = CeCreateDatabaseEx(&guid, &info);
    EXPECT_NE(oid, 0u) << "last error " << GetLastError();
    return oid;
  }

  static HANDLE Open(const CEGUID& guid, CEOID oid) {
    const HANDLE handle = CeOpenDatabaseEx(&guid, &oid, nullptr, 0, 0, nullptr);
    EXPECT_NE(handle, INVALID_HANDLE_VALUE) << "last error " << GetLastError();
    return handle;
  }

  // A record with a number, a text and another number; identifier 0 makes a new one.
  static CEOID Write(HANDLE handle, CEOID oid, uint32_t number, std::u16string text, uint32_t other = 0) {
    CEPROPVAL values[3] = {};
    values[0].propid = kNumber;
    values[0].val.ulVal = number;
    values[1].propid = kText;
    values[1].val.lpwstr = text.data();
    values[2].propid = kOther;
    values[2].val.ulVal = other;
    const CEOID written = CeWriteRecordProps(handle, oid, 3, values);
    EXPECT_NE(written, 0u) << "last error " << GetLastError();
    return written;
  }

  static void SetNumber(HANDLE handle, CEOID oid, CEPROPID property, uint32_t number) {
    CEPROPVAL value = {};
    value.propid = property;
    value.val.ulVal = number;
    EXPECT_EQ(CeWriteRecordProps(handle, oid, 1, &value), oid) << "last error " << GetLastError();
  }

  // Every record as "number text other", by identifier; a missing property is "-".
  static std::map<CEOID, std::string> Contents(const CEGUID& guid, CEOID database) {
    const HANDLE handle = Open(guid, database);
    std::map<CEOID, std::string> contents;
    for (DWORD position = 0; CeSeekDatabase(handle, CEDB_SEEK_BEGINNING, position, nullptr) != 0; ++position) {
      const CEPROPID ids[] = {kNumber, kText, kOther};
      WORD count = 3;
      BYTE* buffer = nullptr;
      DWORD size = 0;
      const CEOID oid = CeReadRecordPropsEx(handle, CEDB_ALLOWREALLOC, &count, ids, &buffer, &size, 0);
      const auto* values = reinterpret_cast<const CEPROPVAL*>(buffer);
      std::string line;
      for (int i = 0; i < 3; ++i) {
        if (i != 0) line += ' ';
        if ((values[i].wFlags & CEDB_PROPNOTFOUND) != 0) {
          line += '-';
        } else if (i == 1) {
          for (const char16_t* unit = values[i].val.lpwstr; *unit != 0; ++unit) line += static_cast<char>(*unit);
        } else {
          line += std::to_string(values[i].val.ulVal);
        }
      }
      contents[oid] = line;
      LocalFree(buffer);
    }
    EXPECT_TRUE(CloseHandle(handle));
    return contents;
  }

  static std::string Bytes(const std::filesystem::path& file) {
    std::ifstream stream(file, std::ios::binary);
    return {std::istreambuf_iterator<char>(stream), std::istreambuf_iterator<char>()};
  }
  static void WriteBytes(const std::filesystem::path& file, const std::string& bytes) {
    std::ofstream(file, std::ios::binary) << bytes;
  }

  std::vector<std::string> Names() const {
    std::vector<std::string> names;
    for (const auto& entry : std::filesystem::directory_iterator(directory_.path())) {
      names.push_back(entry.path().filename().string());
    }
    std::sort(names.begin(), names.end());
    return names;
  }

  // Runs statements on a file that is not mounted, and leaves it as one file.
  static void ChangeBehindTheStore(const std::filesystem::path& file, const std::string& statements) {
    sqlite3* opened = nullptr;
    ASSERT_EQ(sqlite3_open_v2(file.string().c_str(), &opened, SQLITE_OPEN_READWRITE | SQLITE_OPEN_CREATE, nullptr),
              SQLITE_OK);
    const objectstore::Connection connection(opened);
    char* message = nullptr;
    EXPECT_EQ(sqlite3_exec(opened, statements.c_str(), nullptr, nullptr, &message), SQLITE_OK)
        << (message != nullptr ? message : "");
    sqlite3_free(message);
  }

  // The number that a query gives for a file that is not mounted.
  static int64_t Ask(const std::filesystem::path& file, const char* query) {
    sqlite3* opened = nullptr;
    EXPECT_EQ(sqlite3_open_v2(file.string().c_str(), &opened, SQLITE_OPEN_READWRITE, nullptr), SQLITE_OK);
    const objectstore::Connection connection(opened);
    objectstore::Statement statement;
    EXPECT_EQ(statement.Prepare(opened, query), objectstore::Status::kOk);
    objectstore::StatementUse use(statement);
    bool has_row = false;
    EXPECT_EQ(use.Step(has_row), objectstore::Status::kOk);
    int64_t number = -1;
    EXPECT_TRUE(has_row && use.GetNumber(0, number)) << query;
    return number;
  }

  TemporaryDirectory directory_;
};
