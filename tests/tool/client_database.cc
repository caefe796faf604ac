// The library, called as any client calls it. Paths of the tests are ASCII.
#include "client_database.h"

#include <gtest/gtest.h>

namespace xkrdb::test {
namespace {

std::u16string Wide(const std::string& path) { return {path.begin(), path.end()}; }

std::vector<const MDbChar*> Pointers(const std::vector<std::u16string>& texts) {
  std::vector<const MDbChar*> pointers;
  for (const std::u16string& text : texts) pointers.push_back(text.c_str());
  return pointers;
}

}  // namespace

void MakeClientDatabase(const std::string& path, const ClientDatabase& database) {
  MDbEnv env;
  MDbEnvInitialize(&env);
  ASSERT_EQ(MDbInit(&env, "", 0), MDbStatusOk);
  MDbRef ref;
  MDbRefInitialize(&ref);
  ASSERT_EQ(MDbCreate(&env, Wide(path).c_str(), &ref), MDbStatusOk);
  const auto count = static_cast<int16_t>(database.fields.size());
  std::vector<MDbFldInfo> definitions;
  std::vector<const MDbChar*> names;
  std::vector<MDbFldOptionPair> options;
  for (const ClientField& field : database.fields) {
    definitions.push_back({field.type, {}});
    names.push_back(field.name.c_str());
    options.emplace_back();
    (void)MDbFieldOpTblGetDefOptionEx(&options.back().optionEx, field.display_order, count);
  }
  MDbAttrs attrs{};
  attrs.dateFormat = {u'-', database.date_order, 1, 1, 0};
  attrs.timeFormat.separator = u':';
  ASSERT_EQ(MDbSchemaTblCreateEx(&env, &ref, definitions.data(), names.data(), count), MDbStatusOk);
  ASSERT_EQ(MDbAttrTblCreateEx(&env, &ref, &attrs, u"A client's"), MDbStatusOk);
  ASSERT_EQ(MDbFieldOpTblCreateEx(&env, &ref, options.data(), count), MDbStatusOk);
  ASSERT_EQ(MDbValListTblCreateEx(&env, &ref, Pointers(database.value_lists).data(),
                                  static_cast<int16_t>(database.value_lists.size())),
            MDbStatusOk);
  ASSERT_EQ(MDbDataTblCreate(&env, &ref, nullptr), MDbStatusOk);
  MDbDataTbl table;
  MDbDataTblInitialize(&table);
  ASSERT_EQ(MDbDataTblOpen(&env, &ref, &table, nullptr), MDbStatusOk);
  const MDbRecInfo no_info{};
  for (const std::vector<std::u16string>& record : database.records) {
    ASSERT_EQ(MDbDataTblAddRec(&env, &ref, &table, &no_info, Pointers(record).data(), count, 1, nullptr, nullptr),
              MDbStatusOk);
  }
  ASSERT_EQ(MDbDataTblClose(&env, &ref, &table), MDbStatusOk);
  if (database.write_mark) {
    ASSERT_EQ(MDbWriteChecksome(&env, &ref, database.mark), MDbStatusOk);
  }
  ASSERT_EQ(MDbClose(&env, &ref), MDbStatusOk);
  ASSERT_EQ(MDbShutdown(&env, 0, 0), MDbStatusOk);
}

HeldDatabase::HeldDatabase(const std::string& path) {
  MDbEnvInitialize(&env_);
  EXPECT_EQ(MDbInit(&env_, "", 0), MDbStatusOk);
  EXPECT_EQ(MDbAgentOpenDb(&env_, Wide(path).c_str()), MDbStatusOk);
}

HeldDatabase::~HeldDatabase() {
  EXPECT_EQ(MDbAgentCloseDb(&env_), MDbStatusOk);
  EXPECT_EQ(MDbShutdown(&env_, 0, 0), MDbStatusOk);
}

}  // namespace xkrdb::test
