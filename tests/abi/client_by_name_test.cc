// A client that knows the engine by the names of its calls alone: it includes none of our headers, declares prototypes
// and records by hand with the widths that a client of the interface has always used, and finds each call at run time.
#include <dlfcn.h>
#include <gtest/gtest.h>

#include <cstdint>
#include <cstring>
#include <stdexcept>
#include <string>

#include "temporary_directory.h"

namespace {

using Env = void*;
using Ref = void*;
using Table = void*;
using Text = char16_t*;
using ConstText = const char16_t*;

// Where the client finds the environment's own records: bytes from its start.
constexpr size_t kAgentRef = 4;
constexpr size_t kDataTable = 100;
constexpr size_t kSchemaTable = 128;
constexpr size_t kRefSize = 96;

// Loaded once and never unloaded: the store keeps what it shares among volumes until the process ends.
class Engine {
 public:
  Engine() : library_(dlopen(XKRDB_ENGINE_LIBRARY, RTLD_NOW | RTLD_LOCAL)) {
    EXPECT_NE(library_, nullptr) << dlerror();
  }
  Engine(const Engine&) = delete;
  Engine& operator=(const Engine&) = delete;

  template <typename Function>
  Function* Find(const char* name) const {
    void* address = dlsym(library_, name);
    if (address == nullptr) throw std::runtime_error(std::string("no such call: ") + name);
    return reinterpret_cast<Function*>(address);
  }

 private:
  void* library_;
};

class ClientByName : public ::testing::Test {
 protected:
  ClientByName() {
    engine.Find<void(Env)>("MDbEnvInitialize")(env);
    EXPECT_EQ(engine.Find<uint32_t(Env, const void*, uint32_t)>("MDbInit")(env, "", 0), 0u);
    std::memset(ref, 0, sizeof ref);
    std::memcpy(ref + 4, u"OBJG_0", 14);
  }
  ~ClientByName() override { EXPECT_EQ(engine.Find<uint32_t(Env, uint32_t, uint32_t)>("MDbShutdown")(env, 0, 0), 0u); }

  void CreateFile() {
    uint8_t definitions[3][18] = {};
    definitions[0][0] = 1;
    definitions[1][0] = 2;
    definitions[2][0] = 3;
    const ConstText names[] = {u"Title", u"Pages", u"Published"};
    uint8_t attributes[78] = {};
    attributes[24] = '/';
    const ConstText lists[] = {u"paper\nebook"};
    const auto create = engine.Find<uint32_t(Env, ConstText, Ref)>("MDbCreate");
    const auto create_fields =
        engine.Find<uint32_t(Env, Ref, const void*, const ConstText*, int16_t)>("MDbSchemaTblCreateEx");
    const auto create_attributes = engine.Find<uint32_t(Env, Ref, const void*, ConstText)>("MDbAttrTblCreateEx");
    const auto create_lists = engine.Find<uint32_t(Env, Ref, const ConstText*, int16_t)>("MDbValListTblCreateEx");
    const auto create_data = engine.Find<uint32_t(Env, Ref, const uint16_t*)>("MDbDataTblCreate");
    ASSERT_EQ(create(env, path.c_str(), ref), 0u);
    ASSERT_EQ(create_fields(env, ref, definitions, names, 3), 0u);
    ASSERT_EQ(create_attributes(env, ref, attributes, u"Books"), 0u);
    ASSERT_EQ(create_lists(env, ref, lists, 1), 0u);
    ASSERT_EQ(create_data(env, ref, nullptr), 0u);
    ASSERT_EQ((engine.Find<uint32_t(Env, Ref, uint32_t)>("MDbWriteChecksome")(env, ref, 1)), 0u);
    ASSERT_EQ((engine.Find<uint32_t(Env, Ref)>("MDbClose")(env, ref)), 0u);
  }

  void AddBook(ConstText title, ConstText pages, ConstText published) {
    using AddRec = uint32_t(Env, Ref, Table, const void*, const ConstText*, int16_t, uint8_t, uint32_t*, uint16_t*);
    const uint8_t info[10] = {};
    const ConstText texts[] = {title, pages, published};
    uint32_t oid = 0;
    uint16_t position = 0xFFFF;
    ASSERT_EQ(engine.Find<AddRec>("MDbDataTblAddRec")(env, env + kAgentRef, env + kDataTable, info, texts, 3, 0, &oid,
                                                      &position),
              0u);
    EXPECT_NE(oid, 0u);
    EXPECT_NE(position, 0xFFFF);
  }

  TemporaryDirectory folder;
  std::u16string path = folder / u"books.xdb";
  Engine engine;
  alignas(8) uint8_t env[168];
  alignas(8) uint8_t ref[kRefSize];
  alignas(8) uint8_t recset[112];
};

// field, mode and text of a query, as a client lays them out.
struct Query {
  int16_t field;
  int16_t mode;
  ConstText text;
};

TEST_F(ClientByName, CreatesFillsQueriesAndClosesADatabase) {
  CreateFile();
  ASSERT_EQ((engine.Find<uint32_t(Env, ConstText)>("MDbAgentOpenDb")(env, path.c_str())), 0u);
  int16_t fields = 0;
  const auto count_fields = engine.Find<uint32_t(Env, Ref, Table, int16_t*)>("MDbSchemaTblGetCount");
  ASSERT_EQ(count_fields(env, env + kAgentRef, env + kSchemaTable, &fields), 0u);
  EXPECT_EQ(fields, 3);
  AddBook(u"Oak and Ash", u"212", u"5/17/1998");
  AddBook(u"A Walk by the Sea", u"98", u"1/2/2001");
  AddBook(u"Sea Birds", u"340", u"11/30/1987");

  engine.Find<void(void*)>("MDbRecsetInitialize")(recset);
  const Query sea = {0, 1, u"sea"};
  ASSERT_EQ((engine.Find<uint32_t(Env, void*, const void*)>("MDbAgentQuery")(env, recset, &sea)), 0u);
  uint32_t found = 0;
  ASSERT_EQ((engine.Find<uint32_t(Env, void*, uint32_t*)>("MDbRecsetGetRecCount")(env, recset, &found)), 0u);
  EXPECT_EQ(found, 2u);
  ASSERT_EQ((engine.Find<uint32_t(Env, void*, int16_t, uint32_t)>("MDbRecsetSort")(env, recset, 1, 1)), 0u);

  std::u16string titles;
  const auto open = engine.Find<uint32_t(Env, void*)>("MDbRecsetOpenRec");
  const auto read = engine.Find<uint32_t(Env, void*, int16_t, Text, uint32_t)>("MDbRecsetGetField");
  for (int16_t i = 0; i < 2; ++i) {
    char16_t title[64] = {};
    ASSERT_EQ((engine.Find<uint32_t(Env, void*, int16_t)>("MDbRecsetSetInx")(env, recset, i)), 0u);
    ASSERT_EQ(open(env, recset), 0u);
    ASSERT_EQ(read(env, recset, 0, title, sizeof title), 0u);
    ASSERT_EQ((engine.Find<uint32_t(Env, void*)>("MDbRecsetCloseRec")(env, recset)), 0u);
    titles += title + std::u16string(u";");
  }
  EXPECT_EQ(titles, u"Sea Birds;A Walk by the Sea;") << "by pages, descending";

  char16_t name[20] = {};
  EXPECT_EQ((engine.Find<uint32_t(Env, Text, uint32_t)>("MDbAgentGetDbName")(env, name, sizeof name)), 0u);
  EXPECT_EQ(std::u16string(name), u"Books");
  EXPECT_EQ((engine.Find<uint32_t(Env, void*)>("MDbRecsetDestroy")(env, recset)), 0u);
  EXPECT_EQ(engine.Find<uint32_t(Env)>("MDbAgentCloseDb")(env), 0u);
  EXPECT_EQ((engine.Find<uint32_t(Env, ConstText)>("MDbDelete")(env, path.c_str())), 0u);
}

TEST_F(ClientByName, PredicatesAnswerOneByte) {
  CreateFile();
  const auto is_opened = engine.Find<uint8_t(Env, Ref)>("MDbIsOpened");
  EXPECT_EQ(is_opened(env, env + kAgentRef), 0);
  ASSERT_EQ((engine.Find<uint32_t(Env, ConstText)>("MDbAgentOpenDb")(env, path.c_str())), 0u);
  EXPECT_EQ(is_opened(env, env + kAgentRef), 1);
  EXPECT_EQ((engine.Find<uint8_t(Env, Ref, Table)>("MDbDataTblIsOpened")(env, env + kAgentRef, env + kDataTable)), 1);
  EXPECT_EQ(engine.Find<uint32_t(Env)>("MDbAgentCloseDb")(env), 0u);
  EXPECT_EQ(is_opened(env, env + kAgentRef), 0);
}

}  // namespace
