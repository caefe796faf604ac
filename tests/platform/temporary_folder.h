// A fresh folder for one test, removed with all that it holds.
#pragma once

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <string>
#include <string_view>

class TemporaryFolder : public testing::Test {
 protected:
  TemporaryFolder() {
    std::string pattern = (std::filesystem::temp_directory_path() / "platform_test_XXXXXX").string();
    if (mkdtemp(pattern.data()) != nullptr) folder_ = pattern;
  }
  ~TemporaryFolder() override {
    if (!folder_.empty()) std::filesystem::remove_all(folder_);
  }
  void SetUp() override { ASSERT_FALSE(folder_.empty()); }

  std::string Narrow(std::string_view name) const { return folder_ + "/" + std::string(name); }

  std::u16string Wide(std::u16string_view name) const {
    return std::u16string(folder_.begin(), folder_.end()) + u"/" + std::u16string(name);
  }

  void Write(std::string_view name, std::string_view contents = "") const {
    std::ofstream(Narrow(name), std::ios::binary) << contents;
  }

 private:
  std::string folder_;
};
