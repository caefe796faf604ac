// See place_test.h.
#include "place_test.h"

#include <grp.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <fstream>
#include <iterator>

#include "child_process.h"
#include "engine_fixture.h"

namespace places {

namespace fs = std::filesystem;

PlaceTest::PlaceTest() : descriptors_before_(OpenDescriptors()), working_folder_before_(fs::current_path()) {
  alarm(120);
  fs::current_path(folder_.path());
  MDbEnvInitialize(&env_);
  EXPECT_EQ(MDbInit(&env_, nullptr, 0), MDbStatusOk);
  MakeDatabase(u"sound.xdb", {u"one", u"two"});
}

PlaceTest::~PlaceTest() {
  EXPECT_EQ(MDbAgentCloseDb(&env_), MDbStatusOk);
  EXPECT_EQ(MDbShutdown(&env_, 0, 0), MDbStatusOk);
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

void PlaceTest::MakeDatabase(const std::u16string& path, const std::vector<std::u16string>& names) {
  enginetest::Recipe recipe;
  recipe.fields = {{MDbFieldText, u"name"}};
  ASSERT_EQ(enginetest::CreateDatabaseFile(&env_, path, recipe), MDbStatusOk) << "last error " << GetLastError();
  ASSERT_EQ(MDbAgentOpenDb(&env_, path.c_str()), MDbStatusOk) << "last error " << GetLastError();
  for (const std::u16string& name : names) ASSERT_EQ(Add(name), MDbStatusOk);
  ASSERT_EQ(MDbAgentCloseDb(&env_), MDbStatusOk);
}

MDbStatus PlaceTest::Add(const std::u16string& name) {
  const MDbRecInfo no_info{};
  const MDbChar* texts[] = {name.c_str()};
  return MDbDataTblAddRec(&env_, &env_.agentRef, &env_.dataTbl, &no_info, texts, 1, 1, nullptr, nullptr);
}

std::vector<std::u16string> PlaceTest::RecordsOfOpen() {
  std::vector<std::u16string> names;
  MDbRecset all;
  MDbRecsetInitialize(&all);
  EXPECT_EQ(MDbAgentQuery(&env_, &all, nullptr), MDbStatusOk);
  uint32_t count = 0;
  EXPECT_EQ(MDbRecsetGetRecCount(&env_, &all, &count), MDbStatusOk);
  for (uint32_t i = 0; i < count; ++i) {
    const MDbChar* text = nullptr;
    EXPECT_EQ(MDbRecsetSetInx(&env_, &all, static_cast<int16_t>(i)), MDbStatusOk);
    EXPECT_EQ(MDbRecsetOpenRec(&env_, &all), MDbStatusOk);
    EXPECT_EQ(MDbRecsetGetFieldPtr(&env_, &all, 0, &text), MDbStatusOk);
    names.emplace_back(text != nullptr ? text : u"(no text)");
    EXPECT_EQ(MDbRecsetCloseRec(&env_, &all), MDbStatusOk);
  }
  EXPECT_EQ(MDbRecsetDestroy(&env_, &all), MDbStatusOk);
  return names;
}

std::vector<std::u16string> PlaceTest::Records(const std::u16string& path) {
  const MDbStatus status = MDbAgentOpenDb(&env_, path.c_str());
  EXPECT_EQ(status, MDbStatusOk) << "last error " << GetLastError();
  if (status != MDbStatusOk) return {};
  std::vector<std::u16string> names = RecordsOfOpen();
  EXPECT_EQ(MDbAgentCloseDb(&env_), MDbStatusOk) << "last error " << GetLastError();
  return names;
}

DWORD PlaceTest::Create(const std::u16string& path) {
  MDbRef ref;
  MDbRefInitialize(&ref);
  const MDbStatus status = MDbCreate(&env_, path.c_str(), &ref);
  const DWORD error = GetLastError();
  EXPECT_TRUE(status == MDbStatusOk || status == MDbStatusFailed) << "status " << status;
  EXPECT_EQ(ref.opened, status == MDbStatusOk ? 1 : 0);
  if (status != MDbStatusOk) return error;
  EXPECT_EQ(MDbClose(&env_, &ref), MDbStatusOk);
  return kDone;
}

DWORD PlaceTest::Open(const std::u16string& path) {
  MDbRef ref;
  MDbRefInitialize(&ref);
  const MDbStatus status = MDbOpen(&env_, path.c_str(), &ref);
  const DWORD error = GetLastError();
  EXPECT_TRUE(status == MDbStatusOk || status == MDbStatusCannotOpen) << "status " << status;
  EXPECT_EQ(ref.opened, status == MDbStatusOk ? 1 : 0);
  const bool closed = ref.opened == 0 || MDbClose(&env_, &ref) == MDbStatusOk;
  EXPECT_TRUE(closed);
  return status == MDbStatusOk ? kDone : error;
}

DWORD PlaceTest::OpenAgent(const std::u16string& path) {
  const MDbStatus status = MDbAgentOpenDb(&env_, path.c_str());
  const DWORD error = GetLastError();
  EXPECT_TRUE(status == MDbStatusOk || status == MDbStatusCannotOpen) << "status " << status;
  EXPECT_EQ(MDbIsOpened(&env_, &env_.agentRef), status == MDbStatusOk ? 1 : 0);
  if (status != MDbStatusOk) return error;
  EXPECT_EQ(MDbAgentCloseDb(&env_), MDbStatusOk);
  return kDone;
}

DWORD PlaceTest::Delete(const std::u16string& path) {
  const MDbStatus status = MDbDelete(&env_, path.c_str());
  return status == MDbStatusOk ? kDone : GetLastError();
}

DWORD PlaceTest::Find(const std::u16string& pattern) {
  MDbHandle handle = 0;
  MDbChar name[MDB_MAX_PATH] = {};
  if (MDbFindFirstFile(&handle, pattern.c_str(), name, sizeof name) != MDbStatusOk) return GetLastError();
  EXPECT_EQ(MDbFindClose(&handle), MDbStatusOk);
  return kDone;
}

DWORD PlaceTest::MakeFolder(const std::u16string& path) {
  return MDbCreateDirectory(path.c_str()) == MDbStatusOk ? kDone : GetLastError();
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
