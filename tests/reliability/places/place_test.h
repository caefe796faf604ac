// A test in a fresh folder, which is the working folder while it runs, with one sound database of two records in it. A
// call that never returns ends the program after a while. At the end no descriptor may be left that was not there before.
#pragma once

#include <gtest/gtest.h>

#include <filesystem>
#include <functional>
#include <string>

#include "folder_snapshot.h"
#include "library_calls.h"
#include "temporary_directory.h"

namespace places {

class PlaceTest : public ::testing::Test, protected LibraryCalls {
 protected:
  PlaceTest();
  ~PlaceTest() override;

  std::filesystem::path File(const std::string& name = "sound.xdb") const { return folder_.path() / name; }
  static std::string Bytes(const std::filesystem::path& file);
  static void WriteBytes(const std::filesystem::path& file, const std::string& bytes);
  std::vector<std::string> Names() const;

  const Lines descriptors_before_;
  TemporaryDirectory folder_;

 private:
  const std::filesystem::path working_folder_before_;
};

// Runs a body as somebody whom permissions bind: in a child process of another user when this one is the administrator,
// here otherwise. The folder is made accessible to that user first.
void AsOrdinaryUser(const std::filesystem::path& folder, const std::function<void()>& body);

}  // namespace places
