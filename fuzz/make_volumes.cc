// Makes the volumes that the volume fuzzer damages, with the store and the engine themselves: a database of the engine,
// the same with a side file left beside it, a volume with every type of property and sort order, and one with a packed
// column. Run by hand when the format changes: fuzz_make_volumes <folder>.
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <string>
#include <vector>

#include "mdb.h"
#include "object_store.h"
#include "requirement.h"

namespace {

namespace fs = std::filesystem;

constexpr CEPROPID Property(uint32_t number, uint32_t type) { return number << 16 | type; }

CEGUID Mount(const fs::path& path) {
  CEGUID guid{};
  FUZZ_REQUIRE(CeMountDBVol(&guid, path.u16string().c_str(), CREATE_NEW), "a new volume is mounted");
  return guid;
}

HANDLE MakeDatabase(const CEGUID& guid, const char16_t* name, const std::vector<SORTORDERSPEC>& orders) {
  CEDBASEINFO info{};
  info.dwFlags = CEDB_VALIDNAME | CEDB_VALIDTYPE | CEDB_VALIDSORTSPEC;
  for (size_t i = 0; name[i] != 0; ++i) info.szDbaseName[i] = name[i];
  info.dwDbaseType = 7;
  info.wNumSortOrder = static_cast<WORD>(orders.size());
  for (size_t i = 0; i < orders.size(); ++i) info.rgSortSpecs[i] = orders[i];
  CEOID oid = CeCreateDatabaseEx(&guid, &info);
  const HANDLE handle = CeOpenDatabaseEx(&guid, &oid, nullptr, 0, 0, nullptr);
  FUZZ_REQUIRE(handle != INVALID_HANDLE_VALUE, "a new database is opened");
  return handle;
}

std::vector<CEPROPVAL> EveryType(uint32_t number, std::u16string& text, std::vector<BYTE>& bytes) {
  std::vector<CEPROPVAL> values(9);
  std::memset(values.data(), 0, values.size() * sizeof(CEPROPVAL));
  constexpr uint32_t kTypes[] = {CEVT_UI4, CEVT_LPWSTR, CEVT_BLOB,     CEVT_I2, CEVT_R8,
                                 CEVT_I4,  CEVT_BOOL,   CEVT_FILETIME, CEVT_UI2};
  for (uint32_t i = 0; i < values.size(); ++i) values[i].propid = Property(i + 1, kTypes[i]);
  values[0].val.ulVal = number * 77777;
  values[1].val.lpwstr = text.data();
  values[2].val.blob = {static_cast<DWORD>(bytes.size()), bytes.data()};
  values[3].val.iVal = static_cast<int16_t>(5 - static_cast<int>(number));
  values[4].val.dblVal = 0.5 * number;
  values[5].val.lVal = -static_cast<int32_t>(number);
  values[6].val.boolVal = number % 2 == 0;
  values[7].val.filetime = {number, number};
  values[8].val.uiVal = static_cast<uint16_t>(number);
  return values;
}

void MakeTypes(const fs::path& path) {
  const CEGUID guid = Mount(path);
  const HANDLE all = MakeDatabase(guid, u"Types",
                                  {{Property(2, CEVT_LPWSTR), CEDB_SORT_CASEINSENSITIVE},
                                   {Property(1, CEVT_UI4), CEDB_SORT_DESCENDING | CEDB_SORT_UNIQUE},
                                   {Property(8, CEVT_FILETIME), CEDB_SORT_UNKNOWNFIRST},
                                   {Property(5, CEVT_R8), 0}});
  const HANDLE empty = MakeDatabase(guid, u"Empty", {});
  for (uint32_t i = 0; i < 5; ++i) {
    std::u16string text(i, static_cast<char16_t>(u'a' + i));
    std::vector<BYTE> bytes(3 * i, static_cast<BYTE>(i));
    auto values = EveryType(i, text, bytes);
    const auto count = static_cast<WORD>(values.size() - i % 3);
    FUZZ_REQUIRE(CeWriteRecordProps(all, 0, count, values.data()) != 0, "a record is written");
  }
  FUZZ_REQUIRE(CloseHandle(all) && CloseHandle(empty) && CeUnmountDBVol(&guid), "the volume is unmounted");
}

// A flush that finds one number changed in many records writes it as a column.
void MakePacked(const fs::path& path) {
  const CEGUID guid = Mount(path);
  const HANDLE handle = MakeDatabase(guid, u"Packed", {{Property(1, CEVT_UI4), 0}});
  std::vector<CEOID> oids;
  for (uint32_t i = 0; i < 70; ++i) {
    CEPROPVAL value{};
    value.propid = Property(1, CEVT_UI4);
    value.val.ulVal = i;
    oids.push_back(CeWriteRecordProps(handle, 0, 1, &value));
  }
  FUZZ_REQUIRE(CeFlushDBVol(&guid), "the volume is flushed");
  for (const CEOID oid : oids) {
    CEPROPVAL value{};
    value.propid = Property(1, CEVT_UI4);
    value.val.ulVal = 1000 - oid;
    FUZZ_REQUIRE(CeWriteRecordProps(handle, oid, 1, &value) == oid, "a record is changed");
  }
  FUZZ_REQUIRE(CloseHandle(handle) && CeUnmountDBVol(&guid), "the volume is unmounted");
}

void Require(MDbStatus status, const char* what) { FUZZ_REQUIRE(status == MDbStatusOk, what); }

constexpr uint8_t kFieldTypes[] = {MDbFieldText, MDbFieldNumber, MDbFieldDate, MDbFieldTime};

void CreateTables(MDbEnv* env, MDbRef* ref) {
  MDbFldInfo definitions[4]{};
  MDbFldOptionPair options[4]{};
  const MDbChar* names[] = {u"Name", u"Flights", u"Launch", u"Hour"};
  for (uint8_t i = 0; i < 4; ++i) {
    definitions[i].type = kFieldTypes[i];
    Require(MDbFieldOpTblGetDefOptionEx(&options[i].optionEx, i, 4), "a default option");
  }
  MDbAttrs attrs{};
  attrs.dateFormat = {u'-', MDbDateOrderYearMonthDay, 1, 1, 0};
  attrs.timeFormat.separator = u':';
  attrs.timeFormat.morningSuffix[0] = u'A';
  attrs.timeFormat.afternoonSuffix[0] = u'P';
  const MDbChar* lists[] = {u"red\ngreen", u"one"};
  Require(MDbSchemaTblCreateEx(env, ref, definitions, names, 4), "fields");
  Require(MDbFieldOpTblCreateEx(env, ref, options, 4), "options");
  Require(MDbAttrTblCreateEx(env, ref, &attrs, u"Crew"), "attributes");
  Require(MDbValListTblCreateEx(env, ref, lists, 2), "value lists");
  Require(MDbDataTblCreate(env, ref, nullptr), "data table");
  Require(MDbWriteChecksome(env, ref, 1), "mark");
}

void AddRecords(MDbEnv* env) {
  const MDbChar* rows[][4] = {{u"Valentina Tereshkova", u"1", u"1963-06-16", u"09:29"},
                              {u"Sally Ride", u"2", u"1983-06-18", u"11:33:00"},
                              {u"Светлана Савицкая", u"2", u"1982-08-19", u"5 P"},
                              {u"", u"", u"", u""},
                              {u"Mae Jemison", u"one", u"12.9.92", u"-1:30"}};
  MDbRecInfo info = {{1, 2, 3, 4, 5, 6, 7, 8, 9, 10}};
  for (const auto& row : rows) {
    Require(MDbDataTblAddRec(env, &env->agentRef, &env->dataTbl, &info, row, 4, 1, nullptr, nullptr), "a record");
  }
  MDbRecset recset;
  MDbRecsetInitialize(&recset);
  Require(MDbAgentQuery(env, &recset, nullptr), "a query");
  Require(MDbRecsetDelRec(env, &recset, 3, 0), "a deletion");
  Require(MDbRecsetDestroy(env, &recset), "the end of a record set");
}

void MakeEngine(const fs::path& path, const fs::path& with_side_file) {
  MDbEnv env;
  MDbEnvInitialize(&env);
  Require(MDbInit(&env, nullptr, 0), "the environment");
  const std::u16string wide = path.u16string();
  MDbRef ref;
  MDbRefInitialize(&ref);
  Require(MDbCreate(&env, wide.c_str(), &ref), "a new database");
  CreateTables(&env, &ref);
  Require(MDbClose(&env, &ref), "the database is closed");
  Require(MDbAgentOpenDb(&env, wide.c_str()), "the database opens");
  AddRecords(&env);
  fs::copy_file(path, with_side_file, fs::copy_options::overwrite_existing);
  fs::copy_file(path.string() + "-wal", with_side_file.string() + "-wal", fs::copy_options::overwrite_existing);
  Require(MDbAgentCloseDb(&env), "the database is closed");
  Require(MDbShutdown(&env, 0, 0), "the environment ends");
}

}  // namespace

int main(int argc, char** argv) {
  if (argc != 2) {
    std::fprintf(stderr, "fuzz_make_volumes <folder>\n");
    return 2;
  }
  const fs::path folder = argv[1];
  for (const char* name : {"engine.vol", "flushed.vol", "flushed.vol-wal", "types.vol", "packed.vol"}) {
    fs::remove(folder / name);
  }
  MakeTypes(folder / "types.vol");
  MakePacked(folder / "packed.vol");
  MakeEngine(folder / "engine.vol", folder / "flushed.vol");
  // The side file's room of zeros is of no use here.
  const fs::path side_file = folder / "flushed.vol-wal";
  std::FILE* file = std::fopen(side_file.c_str(), "rb");
  size_t used = 0;
  for (int byte, at = 1; (byte = std::fgetc(file)) != EOF; ++at) {
    if (byte != 0) used = static_cast<size_t>(at);
  }
  std::fclose(file);
  fs::resize_file(side_file, used);
  return 0;
}
