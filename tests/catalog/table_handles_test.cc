// Opening and closing the four tables inside the catalogue, which differ in nothing but their handle records.
#include "engine_fixture.h"
#include "seam_lines.h"

namespace {

struct SchemaTable {
  using Handle = MDbSchemaTbl;
  static void Initialize(Handle* table) { MDbSchemaTblInitialize(table); }
  static MDbStatus Open(MDbEnv* env, MDbRef* ref, Handle* table) { return MDbSchemaTblOpen(env, ref, table); }
  static MDbStatus Close(MDbEnv* env, MDbRef* ref, Handle* table) { return MDbSchemaTblClose(env, ref, table); }
  static uint8_t IsOpened(MDbEnv* env, MDbRef* ref, Handle* table) { return MDbSchemaTblIsOpened(env, ref, table); }
};

struct AttributeTable {
  using Handle = MDbAttrTbl;
  static void Initialize(Handle* table) { MDbAttrTblInitialize(table); }
  static MDbStatus Open(MDbEnv* env, MDbRef* ref, Handle* table) { return MDbAttrTblOpen(env, ref, table); }
  static MDbStatus Close(MDbEnv* env, MDbRef* ref, Handle* table) { return MDbAttrTblClose(env, ref, table); }
  static uint8_t IsOpened(MDbEnv* env, MDbRef* ref, Handle* table) { return MDbAttrTblIsOpened(env, ref, table); }
};

struct FieldOptionTable {
  using Handle = MDbFieldOpTbl;
  static void Initialize(Handle* table) { MDbFieldOpTblInitialize(table); }
  static MDbStatus Open(MDbEnv* env, MDbRef* ref, Handle* table) { return MDbFieldOpTblOpen(env, ref, table, 0); }
  static MDbStatus Close(MDbEnv* env, MDbRef* ref, Handle* table) { return MDbFieldOpTblClose(env, ref, table); }
  static uint8_t IsOpened(MDbEnv* env, MDbRef* ref, Handle* table) { return MDbFieldOpTblIsOpened(env, ref, table); }
};

struct ValueListTable {
  using Handle = MDbValListTbl;
  static void Initialize(Handle* table) { MDbValListTblInitialize(table); }
  static MDbStatus Open(MDbEnv* env, MDbRef* ref, Handle* table) { return MDbValListTblOpen(env, ref, table); }
  static MDbStatus Close(MDbEnv* env, MDbRef* ref, Handle* table) { return MDbValListTblClose(env, ref, table); }
  static uint8_t IsOpened(MDbEnv* env, MDbRef* ref, Handle* table) { return MDbValListTblIsOpened(env, ref, table); }
};

template <typename Table>
class TableHandles : public enginetest::EngineTest {
 protected:
  void SetUp() override {
    ASSERT_EQ(MDbCreate(&env, path.c_str(), ref()), MDbStatusOk);
    Table::Initialize(&table);
  }
  bool IsOpened() { return Table::IsOpened(&env, ref(), &table) != 0; }

  typename Table::Handle table;
};

using Tables = ::testing::Types<SchemaTable, AttributeTable, FieldOptionTable, ValueListTable>;
TYPED_TEST_SUITE(TableHandles, Tables);

TYPED_TEST(TableHandles, OpeningSetsTheFlagClosingClearsItAndStorageIsNotTouched) {
  seam::PlatformSeam seam;
  EXPECT_FALSE(this->IsOpened());
  EXPECT_EQ(TypeParam::Open(&this->env, this->ref(), &this->table), MDbStatusOk);
  EXPECT_EQ(this->table.opened, 1);
  EXPECT_TRUE(this->IsOpened());
  EXPECT_EQ(TypeParam::Close(&this->env, this->ref(), &this->table), MDbStatusOk);
  EXPECT_EQ(this->table.opened, 0);
  EXPECT_FALSE(this->IsOpened());
  EXPECT_TRUE(seam.calls().empty());
}

TYPED_TEST(TableHandles, AnOpenHandleIsNotOpenedAgain) {
  EXPECT_EQ(TypeParam::Open(&this->env, this->ref(), &this->table), MDbStatusOk);
  EXPECT_EQ(TypeParam::Open(&this->env, this->ref(), &this->table), MDbStatusFailed);
  EXPECT_TRUE(this->IsOpened());
}

TYPED_TEST(TableHandles, TwoHandlesOfOneTableMayBeOpen) {
  typename TypeParam::Handle second;
  TypeParam::Initialize(&second);
  EXPECT_EQ(TypeParam::Open(&this->env, this->ref(), &this->table), MDbStatusOk);
  EXPECT_EQ(TypeParam::Open(&this->env, this->ref(), &second), MDbStatusOk);
}

TYPED_TEST(TableHandles, ClosingAClosedHandleIsFine) {
  EXPECT_EQ(TypeParam::Close(&this->env, this->ref(), &this->table), MDbStatusOk);
  EXPECT_EQ(TypeParam::Close(&this->env, this->ref(), &this->table), MDbStatusOk);
}

TYPED_TEST(TableHandles, NothingOpensOnAClosedVolume) {
  ASSERT_EQ(MDbClose(&this->env, this->ref()), MDbStatusOk);
  EXPECT_EQ(TypeParam::Open(&this->env, this->ref(), &this->table), MDbStatusFailed);
  EXPECT_EQ(this->table.opened, 0);
}

TYPED_TEST(TableHandles, AHandleIsOpenedOnlyWhileItsVolumeIs) {
  EXPECT_EQ(TypeParam::Open(&this->env, this->ref(), &this->table), MDbStatusOk);
  ASSERT_EQ(MDbClose(&this->env, this->ref()), MDbStatusOk);
  EXPECT_EQ(this->table.opened, 1) << "closing the volume closes no table";
  EXPECT_FALSE(this->IsOpened());
}

}  // namespace
