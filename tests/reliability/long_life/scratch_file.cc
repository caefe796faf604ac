// Every table of a database through a handle of its own.
#include "scratch_file.h"

#include <gtest/gtest.h>

#include <cstring>

#include "database_recipe.h"

namespace longlife {
namespace {

const enginetest::Recipe& ScratchRecipe() {
  static const enginetest::Recipe recipe = [] {
    enginetest::Recipe two_fields;
    two_fields.fields = {{MDbFieldText, u"name"}, {MDbFieldNumber, u"flights"}};
    two_fields.value_lists = {u"one", u"two"};
    return two_fields;
  }();
  return recipe;
}

}  // namespace

ScratchFile::ScratchFile(MDbEnv& env, std::u16string path, uint32_t seed)
    : env_(env), path_(std::move(path)), random_(seed) {
  MDbVolFSpec unused;
  MDbVolFSpecInitialize(&unused);
  MDbRefInitialize(&ref_);
  MDbSchemaTblInitialize(&schema_);
  MDbAttrTblInitialize(&attrs_);
  MDbFieldOpTblInitialize(&options_);
  MDbValListTblInitialize(&lists_);
  MDbDataTblInitialize(&data_);
}

int32_t ScratchFile::Draw(uint32_t below) { return static_cast<int32_t>(random_() % below); }

void ScratchFile::OpenTables() {
  const uint32_t flags = Draw(2) == 0 ? uint32_t{MDbFieldOptionsCached} : 0;
  EXPECT_EQ(MDbStatusOk, MDbSchemaTblOpen(&env_, &ref_, &schema_));
  EXPECT_EQ(MDbStatusOk, MDbAttrTblOpen(&env_, &ref_, &attrs_));
  EXPECT_EQ(MDbStatusOk, MDbFieldOpTblOpen(&env_, &ref_, &options_, flags));
  EXPECT_EQ(MDbStatusOk, MDbValListTblOpen(&env_, &ref_, &lists_));
  EXPECT_EQ(MDbStatusOk, MDbDataTblOpen(&env_, &ref_, &data_, nullptr));
  EXPECT_EQ(MDbStatusFailed, MDbAttrTblOpen(&env_, &ref_, &attrs_)) << "it is open";
  EXPECT_EQ(1, MDbAttrTblIsOpened(&env_, &ref_, &attrs_));
  EXPECT_EQ(1, MDbFieldOpTblIsOpened(&env_, &ref_, &options_));
  EXPECT_EQ(1, MDbValListTblIsOpened(&env_, &ref_, &lists_));
  EXPECT_NE(0, MDbDataTblIsOpened(&env_, &ref_, &data_));
}

void ScratchFile::CloseTables() {
  EXPECT_EQ(MDbStatusOk, MDbDataTblClose(&env_, &ref_, &data_));
  EXPECT_EQ(MDbStatusOk, MDbValListTblClose(&env_, &ref_, &lists_));
  EXPECT_EQ(MDbStatusOk, MDbFieldOpTblClose(&env_, &ref_, &options_));
  EXPECT_EQ(MDbStatusOk, MDbAttrTblClose(&env_, &ref_, &attrs_));
  EXPECT_EQ(MDbStatusOk, MDbSchemaTblClose(&env_, &ref_, &schema_));
  EXPECT_EQ(0, MDbAttrTblIsOpened(&env_, &ref_, &attrs_));
}

void ScratchFile::ReadTables() {
  const auto& recipe = ScratchRecipe();
  int16_t count = -1;
  EXPECT_EQ(MDbStatusOk, MDbFieldOpTblGetCount(&env_, &ref_, &options_, &count));
  EXPECT_EQ(2, count);
  int16_t orders[3] = {-1, -1, -1};
  EXPECT_EQ(MDbStatusOk, MDbFieldOpTblGetDisplayOrders(&env_, &ref_, &options_, orders, 3));
  for (int16_t i = 0; i < 3; ++i) EXPECT_EQ(i, orders[i]);
  for (int16_t i = 0; i < 2; ++i) {
    MDbChar text[32] = u"as was";
    EXPECT_EQ(MDbStatusOk, MDbSchemaTblReadFldName(&env_, &ref_, &schema_, i, text, sizeof text));
    EXPECT_EQ(recipe.fields[static_cast<size_t>(i)].name, std::u16string(text));
    EXPECT_EQ(MDbStatusOk, MDbValListTblRead(&env_, &ref_, &lists_, i, text, sizeof text));
    EXPECT_EQ(recipe.value_lists[static_cast<size_t>(i)], std::u16string(text));
  }
}

void ScratchFile::ReadRecord(uint32_t oid, const std::u16string& expected) {
  MDbDataRec record;
  MDbDataRecInitialize(&record);
  EXPECT_EQ(0, MDbDataRecIsOpened(&record));
  ASSERT_EQ(MDbStatusOk, MDbDataTblOpenRec(&env_, &ref_, &data_, &record, &oid));
  EXPECT_EQ(1, MDbDataRecIsOpened(&record));
  const MDbChar* text = nullptr;
  ASSERT_EQ(MDbStatusOk, MDbDataRecGetFieldPtr(&env_, &ref_, &data_, &schema_, &record, 0, &text));
  EXPECT_EQ(expected, std::u16string(text));
  EXPECT_EQ(MDbStatusOk, MDbDataTblCloseRec(&env_, &ref_, &data_, &record));
}

void ScratchFile::Records() {
  const std::u16string name(static_cast<size_t>(Draw(200)), u'n');
  const MDbChar* const texts[] = {name.c_str(), u"12"};
  const MDbRecInfo info = {{9}};
  uint32_t added = 0;
  uint32_t blank = 0;
  uint16_t position = 9;
  EXPECT_EQ(MDbStatusOk, MDbDataTblAddRec(&env_, &ref_, &data_, &info, texts, 2, 1, &added, &position));
  EXPECT_EQ(0, position);
  EXPECT_EQ(MDbStatusOk, MDbDataTblNewRec(&env_, &ref_, &data_, &schema_, &blank, &position));
  EXPECT_EQ(1, position);
  ReadRecord(added, name);
  ReadRecord(blank, u"");
  uint16_t cursor = 0;
  EXPECT_EQ(MDbStatusOk, MDbDataTblCursSetInx(&env_, &ref_, &data_, -1));
  EXPECT_EQ(MDbStatusOk, MDbDataTblCursGetInx(&env_, &ref_, &data_, &cursor));
  EXPECT_EQ(0xFFFF, cursor);
}

// The same file through the agent calls: what was added is there, and options go through a record set.
void ScratchFile::OptionsThroughRecordSet() {
  EXPECT_EQ(MDbStatusOk, MDbAgentInit());
  ASSERT_EQ(MDbStatusOk, MDbAgentOpenDb(&env_, path_.c_str()));
  MDbRecset records;
  MDbRecsetInitialize(&records);
  ASSERT_EQ(MDbStatusOk, MDbAgentQuery(&env_, &records, nullptr));
  uint32_t count = 0;
  EXPECT_EQ(MDbStatusOk, MDbRecsetGetRecCount(&env_, &records, &count));
  EXPECT_EQ(2u, count);
  EXPECT_EQ(MDbStatusOk, MDbRecsetSetInx(&env_, &records, 0));
  ASSERT_EQ(MDbStatusOk, MDbRecsetOpenRec(&env_, &records));
  uint32_t size = 0;
  EXPECT_EQ(MDbStatusOk, MDbRecsetGetFieldSize(&env_, &records, 1, &size));
  EXPECT_EQ(6u, size);
  EXPECT_EQ(MDbStatusOk, MDbRecsetCloseRec(&env_, &records));
  MDbFldOption option{};
  MDbFldOptionEx extended{};
  EXPECT_EQ(MDbStatusOk, MDbRecsetGetFldOption(&env_, &records, 1, &option));
  EXPECT_EQ(MDbStatusOk, MDbRecsetGetFldOptionEx(&env_, &records, 1, &extended));
  EXPECT_EQ(1, extended.displayOrder);
  option.bytes[0] = 0x5A;
  extended.setting8 = 0xA5;
  EXPECT_EQ(MDbStatusOk, MDbRecsetSetFldOption(&env_, &records, 1, &option));
  EXPECT_EQ(MDbStatusOk, MDbRecsetSetFldOptionEx(&env_, &records, 1, &extended));
  MDbFldOption stored{};
  MDbFldOptionEx stored_extended{};
  EXPECT_EQ(MDbStatusOk, MDbRecsetGetFldOption(&env_, &records, 1, &stored));
  EXPECT_EQ(MDbStatusOk, MDbRecsetGetFldOptionEx(&env_, &records, 1, &stored_extended));
  EXPECT_EQ(0, std::memcmp(&option, &stored, sizeof option));
  EXPECT_EQ(0, std::memcmp(&extended, &stored_extended, sizeof extended));
  EXPECT_EQ(MDbStatusOk, MDbRecsetDestroy(&env_, &records));
  EXPECT_EQ(MDbStatusOk, MDbAgentCloseDb(&env_));
  EXPECT_EQ(MDbStatusOk, MDbAgentShutdown());
}

// Each part of the catalogue is removed and made again.
void ScratchFile::TakeApart() {
  const auto& recipe = ScratchRecipe();
  const auto definitions = enginetest::Definitions(recipe.fields);
  const auto options = enginetest::OptionPairs(recipe.fields.size());
  const MDbChar* const names[] = {recipe.fields[0].name.c_str(), recipe.fields[1].name.c_str()};
  const MDbChar* const lists[] = {recipe.value_lists[0].c_str(), recipe.value_lists[1].c_str()};
  EXPECT_EQ(MDbStatusOk, MDbSchemaTblDelete(&env_, &ref_));
  EXPECT_EQ(MDbStatusOk, MDbFieldOpTblDelete(&env_, &ref_));
  EXPECT_EQ(MDbStatusOk, MDbAttrTblDelete(&env_, &ref_));
  EXPECT_EQ(MDbStatusOk, MDbValListTblDelete(&env_, &ref_));
  EXPECT_EQ(MDbStatusOk, MDbSchemaTblCreateEx(&env_, &ref_, definitions.data(), names, 2));
  EXPECT_EQ(MDbStatusOk, MDbFieldOpTblCreateEx(&env_, &ref_, options.data(), 2));
  EXPECT_EQ(MDbStatusOk, MDbAttrTblCreateEx(&env_, &ref_, &recipe.attrs, recipe.name.c_str()));
  EXPECT_EQ(MDbStatusOk, MDbValListTblCreateEx(&env_, &ref_, lists, 2));
}

void ScratchFile::Live() {
  SCOPED_TRACE("the scratch file");
  ASSERT_EQ(MDbStatusOk, enginetest::CreateDatabaseFile(&env_, path_, ScratchRecipe()));
  EXPECT_EQ(MDbStatusFailed, MDbCreate(&env_, path_.c_str(), &ref_)) << "it exists";
  ASSERT_EQ(MDbStatusOk, MDbOpen(&env_, path_.c_str(), &ref_));
  TakeApart();
  OpenTables();
  ReadTables();
  Records();
  CloseTables();
  EXPECT_EQ(MDbStatusOk, MDbClose(&env_, &ref_));
  OptionsThroughRecordSet();
  EXPECT_EQ(MDbStatusOk, MDbDelete(&env_, path_.c_str()));
  EXPECT_EQ(MDbStatusCannotOpen, MDbAgentOpenDb(&env_, path_.c_str())) << "it is gone";
}

}  // namespace longlife
