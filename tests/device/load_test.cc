// The library as a loader meets it: at the address that it was linked for, and a second copy of it anywhere else.
#include <dlfcn.h>
#include <gtest/gtest.h>

#include <cstdint>
#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

#include "mdb.h"
#include "temporary_directory.h"

namespace {

std::vector<std::string> ExportedNames() {
  std::vector<std::string> names;
  std::ifstream list(XKRDB_EXPORTS);
  for (std::string name; std::getline(list, name);) names.push_back(name);
  return names;
}

template <typename Function>
Function* Find(void* library, const char* name) {
  return reinterpret_cast<Function*>(dlsym(library, name));
}

TEST(Load, EveryListedCallIsFoundByItsName) {
  void* const library = dlopen("XKRDBCEPPC.dll", RTLD_NOW);
  ASSERT_NE(library, nullptr) << dlerror();
  const std::vector<std::string> names = ExportedNames();
  ASSERT_EQ(names.size(), 122u);
  for (const std::string& name : names) EXPECT_NE(dlsym(library, name.c_str()), nullptr) << name;
  EXPECT_EQ(dlsym(library, "DllEntry"), nullptr);
}

// The second copy finds its address taken. Constants and imports are where its relocations say, or it does not get far.
TEST(Load, ACopyThatIsMovedToAnotherAddressWorksAsWell) {
  void* const library = dlopen("XKRDBCEPPC.dll", RTLD_NOW);
  ASSERT_NE(library, nullptr) << dlerror();
  std::filesystem::remove("moved.dll");  // an earlier run's
  std::filesystem::copy_file("XKRDBCEPPC.dll", "moved.dll");
  void* const moved = dlopen("moved.dll", RTLD_NOW);
  ASSERT_NE(moved, nullptr) << dlerror();
  EXPECT_EQ(reinterpret_cast<uintptr_t>(library), 0x10000000u);
  EXPECT_NE(moved, library);

  using Create = uint32_t(MDbEnv*, const MDbChar*, MDbRef*);
  using Mark = uint32_t(MDbEnv*, MDbRef*, uint32_t);
  using OnReference = uint32_t(MDbEnv*, MDbRef*);
  const TemporaryDirectory folder;
  const std::u16string path = folder / u"moved.xdb";
  MDbEnv env;
  Find<void(MDbEnv*)>(moved, "MDbEnvInitialize")(&env);
  EXPECT_EQ((Find<uint32_t(MDbEnv*, const void*, uint32_t)>(moved, "MDbInit")(&env, nullptr, 0)), 0u);
  MDbRef ref;
  MDbRefInitialize(&ref);
  EXPECT_EQ(Find<Create>(moved, "MDbCreate")(&env, path.c_str(), &ref), 0u);
  EXPECT_EQ(Find<Mark>(moved, "MDbWriteChecksome")(&env, &ref, 1), 0u);
  EXPECT_EQ(Find<OnReference>(moved, "MDbClose")(&env, &ref), 0u);
  EXPECT_EQ(Find<Create>(library, "MDbOpen")(&env, path.c_str(), &ref), 0u) << "the one that stayed reads it";
  EXPECT_EQ(Find<OnReference>(library, "MDbVerifyChecksome")(&env, &ref), 0u);
  EXPECT_EQ(Find<OnReference>(library, "MDbClose")(&env, &ref), 0u);
  EXPECT_EQ((Find<uint32_t(MDbEnv*, uint32_t, uint32_t)>(moved, "MDbShutdown")(&env, 0, 0)), 0u);
}

}  // namespace
