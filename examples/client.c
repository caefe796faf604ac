/* A client of XKRDB from the first call to the last: it makes a database of planets, fills it, walks it sorted,
 * searches it, and closes it. Usage: client FILE.xdb, which must not exist. */
#include <limits.h>
#include <locale.h>
#include <stdio.h>
#include <stdlib.h>

#include "mdb.h"

enum { FIELD_NAME, FIELD_DIAMETER, FIELD_DISCOVERED, FIELD_COUNT };

static const MDbChar* const kNames[FIELD_COUNT] = {u"planet", u"diameter_km", u"discovered"};
static const MDbFldInfo kFields[FIELD_COUNT] = {
    {.type = MDbFieldText}, {.type = MDbFieldNumber}, {.type = MDbFieldDate}};
static const MDbChar* const kPlanets[][FIELD_COUNT] = {{u"Mercury", u"4879", u""},
                                                       {u"Venus", u"12104", u""},
                                                       {u"Earth", u"12756", u""},
                                                       {u"Mars", u"6792", u""},
                                                       {u"Jupiter", u"142984", u""},
                                                       {u"Saturn", u"120536", u""},
                                                       {u"Uranus", u"51118", u"1781-03-13"},
                                                       {u"Neptune", u"49528", u"1846-09-23"}};
enum { PLANET_COUNT = sizeof kPlanets / sizeof kPlanets[0] };

/* Every status is looked at; a real program would say more than this one. */
static void require(MDbStatus status, const char* what) {
  if (status == MDbStatusOk) return;
  fprintf(stderr, "%s: status %u\n", what, (unsigned)status);
  exit(EXIT_FAILURE);
}

static void print_text(const MDbChar* text) {
  mbstate_t state = {0};
  char bytes[MB_LEN_MAX];
  for (; *text != 0; ++text) {
    const size_t size = c16rtomb(bytes, *text, &state);
    if (size != (size_t)-1) fwrite(bytes, 1, size, stdout);
  }
}

static void create(MDbEnv* env, const MDbChar* path) {
  MDbRef ref;
  MDbFldOptionPair options[FIELD_COUNT] = {0};
  MDbAttrs attrs = {0};
  attrs.dateFormat = (DateFormat){u'-', MDbDateOrderYearMonthDay, 1, 1, 0};
  attrs.timeFormat = (TimeFormat){.separator = u':', .morningSuffix = u"AM", .afternoonSuffix = u"PM"};
  for (uint8_t i = 0; i < FIELD_COUNT; ++i) MDbFieldOpTblGetDefOptionEx(&options[i].optionEx, i, FIELD_COUNT);
  MDbRefInitialize(&ref);
  require(MDbCreate(env, path, &ref), "making the file");
  require(MDbSchemaTblCreateEx(env, &ref, kFields, kNames, FIELD_COUNT), "writing the fields");
  require(MDbAttrTblCreateEx(env, &ref, &attrs, u"Planets"), "writing the settings");
  require(MDbFieldOpTblCreateEx(env, &ref, options, FIELD_COUNT), "writing the options");
  require(MDbDataTblCreate(env, &ref, NULL), "making the data table");
  require(MDbWriteChecksome(env, &ref, 1), "writing the mark");
  require(MDbClose(env, &ref), "closing the file");
}

static void print_records(MDbEnv* env, MDbRecset* records) {
  uint32_t count = 0;
  require(MDbRecsetGetRecCount(env, records, &count), "counting");
  for (uint32_t i = 0; i < count; ++i) {
    require(MDbRecsetSetInx(env, records, (int16_t)i), "moving");
    require(MDbRecsetOpenRec(env, records), "opening a record");
    for (int16_t field = 0; field < FIELD_COUNT; ++field) {
      const MDbChar* text = u"";
      require(MDbRecsetGetFieldPtr(env, records, field, &text), "reading a field");
      printf(field == 0 ? "  " : "\t");
      print_text(text);
    }
    putchar('\n');
    require(MDbRecsetCloseRec(env, records), "closing a record");
  }
}

int main(int argc, char** argv) {
  MDbEnv env;
  MDbRecset records;
  MDbChar path[MDB_MAX_PATH] = {0};
  const MDbRecInfo no_info = {{0}};
  const MDbQuery by_words = {FIELD_NAME, MDbQueryByWords, u"ma"};
  setlocale(LC_ALL, "");
  if (argc != 2) return fprintf(stderr, "usage: client FILE.xdb\n"), EXIT_FAILURE;
  /* A path of ASCII characters: each is one UTF-16 unit. */
  for (size_t i = 0; argv[1][i] != '\0' && i + 1 < MDB_MAX_PATH; ++i) path[i] = (MDbChar)(unsigned char)argv[1][i];

  MDbEnvInitialize(&env);
  require(MDbInit(&env, "", 0), "starting");
  create(&env, path);
  require(MDbAgentOpenDb(&env, path), "opening the database");
  for (size_t i = 0; i < PLANET_COUNT; ++i) {
    require(MDbDataTblAddRec(&env, &env.agentRef, &env.dataTbl, &no_info, kPlanets[i], FIELD_COUNT, 0, NULL, NULL),
            "adding");
  }
  MDbRecsetInitialize(&records);
  require(MDbAgentQuery(&env, &records, NULL), "reading");
  require(MDbRecsetSort(&env, &records, FIELD_DIAMETER, MDbSortDescending), "sorting");
  printf("%d planets, the largest first:\n", (int)PLANET_COUNT);
  print_records(&env, &records);
  require(MDbRecsetDestroy(&env, &records), "ending the record set");

  require(MDbAgentQuery(&env, &records, &by_words), "searching");
  printf("Planets with a word that begins with \"ma\":\n");
  print_records(&env, &records);
  require(MDbRecsetDestroy(&env, &records), "ending the record set");
  require(MDbAgentCloseDb(&env), "closing the database");
  require(MDbShutdown(&env, 0, 0), "stopping");
  return EXIT_SUCCESS;
}
