// See library_calls.h.
#include "library_calls.h"

#include <gtest/gtest.h>

#include "database_recipe.h"

namespace places {

LibraryCalls::LibraryCalls() {
  MDbEnvInitialize(&env_);
  EXPECT_EQ(MDbInit(&env_, nullptr, 0), MDbStatusOk);
}

LibraryCalls::~LibraryCalls() { EXPECT_EQ(MDbShutdown(&env_, 0, 0), MDbStatusOk); }

void LibraryCalls::MakeDatabase(const std::u16string& path, const std::vector<std::u16string>& names) {
  enginetest::Recipe recipe;
  recipe.fields = {{MDbFieldText, u"name"}};
  ASSERT_EQ(enginetest::CreateDatabaseFile(&env_, path, recipe), MDbStatusOk) << "last error " << GetLastError();
  ASSERT_EQ(MDbAgentOpenDb(&env_, path.c_str()), MDbStatusOk) << "last error " << GetLastError();
  for (const std::u16string& name : names) ASSERT_EQ(Add(name), MDbStatusOk);
  ASSERT_EQ(MDbAgentCloseDb(&env_), MDbStatusOk);
}

MDbStatus LibraryCalls::Add(const std::u16string& name) {
  const MDbRecInfo no_info{};
  const MDbChar* texts[] = {name.c_str()};
  return MDbDataTblAddRec(&env_, &env_.agentRef, &env_.dataTbl, &no_info, texts, 1, 1, nullptr, nullptr);
}

std::vector<std::u16string> LibraryCalls::RecordsOfOpen() {
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

std::vector<std::u16string> LibraryCalls::Records(const std::u16string& path) {
  const MDbStatus status = MDbAgentOpenDb(&env_, path.c_str());
  EXPECT_EQ(status, MDbStatusOk) << "last error " << GetLastError();
  if (status != MDbStatusOk) return {};
  std::vector<std::u16string> names = RecordsOfOpen();
  EXPECT_EQ(MDbAgentCloseDb(&env_), MDbStatusOk) << "last error " << GetLastError();
  return names;
}

DWORD LibraryCalls::Create(const std::u16string& path) {
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

DWORD LibraryCalls::Open(const std::u16string& path) {
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

DWORD LibraryCalls::OpenAgent(const std::u16string& path) {
  const MDbStatus status = MDbAgentOpenDb(&env_, path.c_str());
  const DWORD error = GetLastError();
  EXPECT_TRUE(status == MDbStatusOk || status == MDbStatusCannotOpen) << "status " << status;
  EXPECT_EQ(MDbIsOpened(&env_, &env_.agentRef), status == MDbStatusOk ? 1 : 0);
  if (status != MDbStatusOk) return error;
  EXPECT_EQ(MDbAgentCloseDb(&env_), MDbStatusOk);
  return kDone;
}

DWORD LibraryCalls::Delete(const std::u16string& path) {
  const MDbStatus status = MDbDelete(&env_, path.c_str());
  return status == MDbStatusOk ? kDone : GetLastError();
}

DWORD LibraryCalls::Find(const std::u16string& pattern) {
  MDbHandle handle = 0;
  MDbChar name[MDB_MAX_PATH] = {};
  if (MDbFindFirstFile(&handle, pattern.c_str(), name, sizeof name) != MDbStatusOk) return GetLastError();
  EXPECT_EQ(MDbFindClose(&handle), MDbStatusOk);
  return kDone;
}

DWORD LibraryCalls::MakeFolder(const std::u16string& path) {
  return MDbCreateDirectory(path.c_str()) == MDbStatusOk ? kDone : GetLastError();
}

}  // namespace places
