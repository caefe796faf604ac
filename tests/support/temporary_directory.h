// A fresh empty folder for one test, removed with everything in it when the test ends.
#pragma once

#include <filesystem>
#include <random>
#include <stdexcept>
#include <string>
#include <string_view>

class TemporaryDirectory {
 public:
  TemporaryDirectory() {
    std::random_device random;
    std::error_code error;
    // A name that is taken is somebody else's; so many of them in a row are no accident.
    for (int attempt = 0; attempt < 100; ++attempt) {
      path_ = std::filesystem::temp_directory_path() / ("xkrdb-test-" + std::to_string(random()));
      if (std::filesystem::create_directory(path_, error)) return;
    }
    throw std::runtime_error("no temporary folder: " + path_.string() + ": " + error.message());
  }
  ~TemporaryDirectory() {
    std::error_code ignored;
    std::filesystem::remove_all(path_, ignored);
  }
  TemporaryDirectory(const TemporaryDirectory&) = delete;
  TemporaryDirectory& operator=(const TemporaryDirectory&) = delete;

  const std::filesystem::path& path() const { return path_; }
  // The path of an entry, as the engine takes it.
  std::u16string operator/(std::u16string_view name) const { return (path_ / std::filesystem::path(name)).u16string(); }

 private:
  std::filesystem::path path_;
};
