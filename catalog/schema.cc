// The schema: one catalogue object per field, holding its definition and its name.
#include "schema.h"

#include "catalog_table.h"

namespace mdb {

constexpr CEPROPID kFieldDefinition = Prop(2, CEVT_BLOB);
constexpr CEPROPID kFieldName = Prop(3, CEVT_LPWSTR);
static_assert(kFieldDefinition == 0x20041 && kFieldName == 0x3001F);
static_assert(sizeof(MDbFldInfo) == 18);

// The definition's declared length when it is overwritten: as long as an attribute record, on purpose.
constexpr uint32_t kOverwrittenDefinitionSize = 78;

// Limits in bytes: the more fields a database has, the shorter each text may be.
constexpr int16_t kFewFields = 20;
constexpr int16_t kManyFields = 30;
constexpr uint32_t kTextSizeWithFewFields = 2049;
constexpr uint32_t kTextSizeWithMoreFields = 1537;
constexpr uint32_t kTextSizeWithManyFields = 1025;
constexpr uint32_t kValueSize = 256;

MDbStatus MDbSchemaTblGetFieldMaxSize(MDbEnv* env, MDbRef* ref, MDbSchemaTbl* table, int16_t index, uint32_t* size) {
  uint8_t type = 0;
  MDB_TRY(MDbSchemaTblReadFldType(env, ref, table, index, &type));
  switch (type) {
    case MDbFieldText: {
      int16_t fields = 0;
      MDB_TRY(MDbSchemaTblGetCount(env, ref, table, &fields));
      *size = fields <= kFewFields    ? kTextSizeWithFewFields
              : fields <= kManyFields ? kTextSizeWithMoreFields
                                      : kTextSizeWithManyFields;
      return MDbStatusOk;
    }
    case MDbFieldNumber:
    case MDbFieldDate:
    case MDbFieldTime:
      *size = kValueSize;
      return MDbStatusOk;
    default:
      *size = 0;
      return MDbStatusFailed;
  }
}

MDbStatus MDbSchemaTblWriteFldInfo(MDbEnv*, MDbRef* ref, MDbSchemaTbl* table, int16_t index, const void* info) {
  if (table->opened == 0) return MDbStatusFailed;
  return CatalogUpdate(*ref, ObjectKind::Schema, ObjectIndex(index),
                       PropBlob(kFieldDefinition, info, kOverwrittenDefinitionSize));
}

MDbStatus MDbSchemaTblWriteFldName(MDbEnv*, MDbRef* ref, MDbSchemaTbl* table, int16_t index, const MDbChar* name) {
  if (table->opened == 0) return MDbStatusFailed;
  return CatalogUpdate(*ref, ObjectKind::Schema, ObjectIndex(index), PropText(kFieldName, name));
}

}  // namespace mdb

using namespace mdb;

MDbStatus MDbSchemaTblCreateEx(MDbEnv* env, MDbRef* ref, const MDbFldInfo* definitions, const MDbChar* const* names,
                               int16_t count) {
  MDB_TRY(RequireNotCreated(env, ref, ObjectKind::Schema));
  for (int16_t i = 0; i < count; ++i) {
    MDB_TRY(CatalogWrite(
        *ref, ObjectKind::Schema, ObjectIndex(i),
        {PropBlob(kFieldDefinition, &definitions[i], sizeof(MDbFldInfo)), PropText(kFieldName, names[i])}));
  }
  return MDbStatusOk;
}

MDbStatus MDbSchemaTblDelete(MDbEnv*, MDbRef* ref) { return CatalogDeleteAll(*ref, ObjectKind::Schema); }

MDbStatus MDbSchemaTblOpen(MDbEnv* env, MDbRef* ref, MDbSchemaTbl* table) { return OpenCatalogTable(env, ref, table); }

MDbStatus MDbSchemaTblClose(MDbEnv*, MDbRef*, MDbSchemaTbl* table) {
  table->opened = 0;
  return MDbStatusOk;
}

uint8_t MDbSchemaTblIsOpened(const MDbEnv* env, const MDbRef* ref, const MDbSchemaTbl* table) {
  return IsCatalogTableOpened(env, ref, table);
}

MDbStatus MDbSchemaTblGetCount(MDbEnv*, MDbRef* ref, MDbSchemaTbl*, int16_t* count) {
  return CountObjects(*ref, ObjectKind::Schema, count);
}

MDbStatus MDbSchemaTblRead(MDbEnv*, MDbRef* ref, MDbSchemaTbl* table, int16_t index, MDbFldInfo* info, MDbChar* name,
                           uint32_t size) {
  if (table->opened == 0) return MDbStatusFailed;
  PropertyBlock block;
  MDB_TRY(ReadAllProps(*ref, ObjectKind::Schema, ObjectIndex(index), {kFieldDefinition, kFieldName}, &block));
  if (!block) return MDbStatusOk;
  CopyBlob(block[0], info, sizeof(*info));
  CopyText(block[1], name, size);
  return MDbStatusOk;
}

MDbStatus MDbSchemaTblReadFldInfo(MDbEnv*, MDbRef* ref, MDbSchemaTbl* table, int16_t index, MDbFldInfo* info) {
  if (table->opened == 0) return MDbStatusFailed;
  PropertyBlock block;
  MDB_TRY(ReadAllProps(*ref, ObjectKind::Schema, ObjectIndex(index), {kFieldDefinition}, &block));
  if (block) CopyBlob(block[0], info, sizeof(*info));
  return MDbStatusOk;
}

MDbStatus MDbSchemaTblReadFldType(MDbEnv*, MDbRef* ref, MDbSchemaTbl* table, int16_t index, uint8_t* type) {
  if (table->opened == 0) return MDbStatusFailed;
  PropertyBlock block;
  MDB_TRY(ReadAllProps(*ref, ObjectKind::Schema, ObjectIndex(index), {kFieldDefinition}, &block));
  if (block) CopyBlob(block[0], type, sizeof(*type));
  return MDbStatusOk;
}

MDbStatus MDbSchemaTblReadFldName(MDbEnv*, MDbRef* ref, MDbSchemaTbl* table, int16_t index, MDbChar* name,
                                  uint32_t size) {
  if (table->opened == 0) return MDbStatusFailed;
  PropertyBlock block;
  MDB_TRY(ReadAllProps(*ref, ObjectKind::Schema, ObjectIndex(index), {kFieldName}, &block));
  if (block) CopyText(block[0], name, size);
  return MDbStatusOk;
}

MDbStatus MDbSchemaTblGetNameSize(MDbEnv*, MDbRef* ref, MDbSchemaTbl* table, int16_t index, uint32_t* size) {
  if (table->opened == 0) return MDbStatusFailed;
  return CatalogTextSize(*ref, ObjectKind::Schema, ObjectIndex(index), kFieldName, size);
}
