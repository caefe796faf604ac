// See place_test.h.
#include "place_test.h"

#include <grp.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <fstream>
#include <iterator>

#include "child_process.h"

namespace places {

namespace fs = std::filesystem;

PlaceTest::PlaceTest() : descriptors_before_(OpenDescriptors()), working_folder_before_(fs::current_path()) {
  alarm(280);
  fs::current_path(folder_.path());
  MakeDatabase(u"sound.xdb", {u"one", u"two"});
}

PlaceTest::~PlaceTest() {
  EXPECT_EQ(MDbAgentCloseDb(env()), MDbStatusOk);
  EXPECT_EQ(OpenDescriptors(), descriptors_before_) << "descriptors that were left open";
  fs::current_path(working_folder_before_);
  alarm(0);
}

std::string PlaceTest::Bytes(const fs::path& file) {
  std::ifstream stream(file, std::ios::binary);
  return {std::istreambuf_iterator<char>(stream), std::istreambuf_iterator<char>()};
}

void PlaceTest::WriteBytes(const fs::path& file, const std::string& bytes) {
  std::ofstream stream(file, std::ios::binary);
  stream << bytes;
  ASSERT_TRUE(stream.flush().good()) << file;
}

std::vector<std::string> PlaceTest::Names() const {
  std::vector<std::string> names;
  for (const auto& entry : fs::directory_iterator(folder_.path())) names.push_back(entry.path().filename().string());
  std::sort(names.begin(), names.end());
  return names;
}

void AsOrdinaryUser(const fs::path& folder, const std::function<void()>& body) {
  if (geteuid() != 0) return body();
  constexpr uid_t kNobody = 65534;
  ASSERT_EQ(chmod(folder.c_str(), 0755), 0);
  ASSERT_EQ(chown(folder.c_str(), kNobody, kNobody), 0);
  for (const auto& entry : fs::recursive_directory_iterator(folder))
    ASSERT_EQ(lchown(entry.path().c_str(), kNobody, kNobody), 0) << entry.path();
  RunInChildThatDies([&body] {
    ASSERT_EQ(setgroups(0, nullptr), 0);
    ASSERT_EQ(setresgid(kNobody, kNobody, kNobody), 0);
    ASSERT_EQ(setresuid(kNobody, kNobody, kNobody), 0);
    body();
  });
}

}  // namespace places
