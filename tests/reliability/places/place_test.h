// A test in a fresh folder, which is the working folder while it runs, with one sound database of two records in it. A
// call that never returns ends the program after a while. At the end no descriptor may be left that was not there before.
#pragma once

#include <gtest/gtest.h>

#include <filesystem>
#include <functional>
#include <string>

#include "folder_snapshot.h"
#include "mdb.h"
#include "platform_types.h"
#include "temporary_directory.h"

namespace places {

class PlaceTest : public ::testing::Test {
 protected:
  PlaceTest();
  ~PlaceTest() override;

  std::filesystem::path File(const std::string& name = "sound.xdb") const { return folder_.path() / name; }
  static std::string Bytes(const std::filesystem::path& file);
  static void WriteBytes(const std::filesystem::path& file, const std::string& bytes);
  std::vector<std::string> Names() const;

  // A database with one field, "name", and these records; it is closed and whole.
  void MakeDatabase(const std::u16string& path, const std::vector<std::u16string>& names);

  // The last error of a call that must fail; kDone for one that succeeded, which is then undone.
  static constexpr DWORD kDone = 0;
  DWORD Create(const std::u16string& path);
  DWORD Open(const std::u16string& path);       // the database alone; must be 6 when it fails
  DWORD OpenAgent(const std::u16string& path);  // with its tables
  DWORD Delete(const std::u16string& path);
  static DWORD Find(const std::u16string& pattern);  // a listing that is begun and ended
  static DWORD MakeFolder(const std::u16string& path);

  // The names in the records of a database, opened by the agent call and closed again.
  std::vector<std::u16string> Records(const std::u16string& path);

  // The environment's database, open: adds a record, which is flushed when the call succeeds.
  MDbStatus Add(const std::u16string& name);
  std::vector<std::u16string> RecordsOfOpen();

  MDbEnv* env() { return &env_; }

  const Lines descriptors_before_;
  TemporaryDirectory folder_;

 private:
  const std::filesystem::path working_folder_before_;
  MDbEnv env_;
};

// Runs a body as somebody whom permissions bind: in a child process of another user when this one is the administrator,
// here otherwise. The folder is made accessible to that user first.
void AsOrdinaryUser(const std::filesystem::path& folder, const std::function<void()>& body);

}  // namespace places
