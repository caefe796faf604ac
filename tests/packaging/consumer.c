/* A program of somebody else's, written against the installed package: makes a database of one field in the working
 * folder, opens it with all its tables, adds a record and reads it back, and has the file checked. Compiles as C11 and as C++20. */
#include <mdb.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <xkrvolume.h>

static void Require(MDbStatus status, const char* step) {
  if (status == MDbStatusOk) return;
  (void)fprintf(stderr, "%s: status %u\n", step, (unsigned)status);
  exit(1);
}

static void Create(MDbEnv* env, const MDbChar* path) {
  static const MDbChar field_name[] = MDB_TEXT("Name");
  const MDbChar* names[1];
  MDbFldInfo definition;
  MDbFldOptionPair options;
  MDbAttrs attributes;
  MDbRef ref;
  names[0] = field_name;
  memset(&definition, 0, sizeof definition);
  memset(&options, 0, sizeof options);
  memset(&attributes, 0, sizeof attributes);
  definition.type = MDbFieldText;
  MDbRefInitialize(&ref);
  Require(MDbCreate(env, path, &ref), "MDbCreate");
  Require(MDbSchemaTblCreateEx(env, &ref, &definition, names, 1), "MDbSchemaTblCreateEx");
  Require(MDbAttrTblCreateEx(env, &ref, &attributes, field_name), "MDbAttrTblCreateEx");
  Require(MDbFieldOpTblCreateEx(env, &ref, &options, 1), "MDbFieldOpTblCreateEx");
  Require(MDbValListTblCreateEx(env, &ref, NULL, 0), "MDbValListTblCreateEx");
  Require(MDbDataTblCreate(env, &ref, NULL), "MDbDataTblCreate");
  Require(MDbWriteChecksome(env, &ref, 1), "MDbWriteChecksome");
  Require(MDbClose(env, &ref), "MDbClose");
}

int main(void) {
  static const MDbChar path[] = MDB_TEXT("consumer.xdb");
  static const MDbChar value[] = MDB_TEXT("Ada");
  MDbEnv env;
  MDbRecset recset;
  MDbChar read[16] = {0};
  uint16_t index = 0;
  uint32_t count = 0;

  MDbEnvInitialize(&env);
  Require(MDbInit(&env, NULL, 0), "MDbInit");
  Create(&env, path);

  Require(MDbAgentOpenDb(&env, path), "MDbAgentOpenDb");
  MDbRecsetInitialize(&recset);
  Require(MDbAgentQuery(&env, &recset, NULL), "MDbAgentQuery");
  Require(MDbRecsetNewRec(&env, &recset, &index), "MDbRecsetNewRec");
  Require(MDbRecsetSetInx(&env, &recset, (int16_t)index), "MDbRecsetSetInx");
  Require(MDbRecsetOpenRec(&env, &recset), "MDbRecsetOpenRec");
  Require(MDbRecsetSetField(&env, &recset, 0, value), "MDbRecsetSetField");
  Require(MDbRecsetGetField(&env, &recset, 0, read, sizeof read), "MDbRecsetGetField");
  Require(MDbRecsetCloseRec(&env, &recset), "MDbRecsetCloseRec");
  Require(MDbRecsetGetRecCount(&env, &recset, &count), "MDbRecsetGetRecCount");
  Require(MDbRecsetDestroy(&env, &recset), "MDbRecsetDestroy");
  Require(MDbAgentCloseDb(&env), "MDbAgentCloseDb");
  Require(MDbShutdown(&env, 0, 0), "MDbShutdown");

  if (XKRVolumeCheck(path, NULL, NULL) != XKRVolumeSound) {
    (void)fprintf(stderr, "the file is not sound\n");
    return 1;
  }
  if (count != 1 || memcmp(read, value, sizeof value) != 0) {
    (void)fprintf(stderr, "%u records, and the field does not hold what was written\n", (unsigned)count);
    return 1;
  }
  printf("one record written and read\n");
  return 0;
}
