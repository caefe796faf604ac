// A test with an initialised environment and one database file in a fresh folder.
//
// CreateDatabase makes the file from a recipe through the creation calls, OpenDatabase opens it with all its tables in
// env. At the end of each test the database is closed, and no heap block, handle or mount of the engine may be left.
#pragma once

#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <string>
#include <vector>

#include "database_recipe.h"
#include "mdb.h"
#include "platform_seam.h"
#include "temporary_directory.h"

namespace enginetest {

class EngineTest : public ::testing::Test {
 protected:
  EngineTest() {
    MDbEnvInitialize(&env);
    EXPECT_EQ(MDbInit(&env, nullptr, 0), MDbStatusOk);
  }

  ~EngineTest() override {
    EXPECT_EQ(MDbAgentCloseDb(&env), MDbStatusOk);
    (void)MDbShutdown(&env, 0, 0);  // 1 after a test that shut it down itself
    EXPECT_EQ(seam::LiveBlocks(), blocks_before_) << "heap blocks that the engine did not give back";
    EXPECT_EQ(seam::LiveHandles(), handles_before_) << "handles that the engine did not close";
    EXPECT_EQ(seam::LiveMounts(), mounts_before_) << "volumes that are still mounted";
  }

  void CreateDatabase(const Recipe& recipe) {
    ASSERT_EQ(CreateDatabaseFile(&env, path, recipe), MDbStatusOk) << "the database could not be made";
  }
  void CreateDatabase(std::vector<Field> fields) {
    Recipe recipe;
    recipe.fields = std::move(fields);
    CreateDatabase(recipe);
  }
  void OpenDatabase() { ASSERT_EQ(MDbAgentOpenDb(&env, path.c_str()), MDbStatusOk) << "the database does not open"; }

  MDbRef* ref() { return &env.agentRef; }

  TemporaryDirectory folder;
  std::u16string path = folder / u"book.xdb";
  MDbEnv env;

 private:
  size_t blocks_before_ = seam::LiveBlocks();
  size_t handles_before_ = seam::LiveHandles();
  size_t mounts_before_ = seam::LiveMounts();
};

}  // namespace enginetest
