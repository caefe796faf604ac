// Templates: made through the engine's own creation calls, and where the engine cannot make one, through the store's.
#include "call_templates.h"

#include "temporary_directory.h"

namespace callfaults {
namespace {

using enginetest::Field;
using enginetest::Recipe;

const TemporaryDirectory& Folder() {
  static const TemporaryDirectory folder;
  return folder;
}

Recipe RecipeOf(Template file) {
  Recipe recipe;
  recipe.fields = {{MDbFieldText, u"name"},
                   {MDbFieldNumber, u"count"},
                   {MDbFieldDate, u"day"},
                   {MDbFieldTime, u"at"},
                   {MDbFieldNone, u"rest"}};
  recipe.value_lists = {u"red\ngreen", u""};
  recipe.attrs.dateFormat.order = MDbDateOrderDayMonthYear;
  switch (file) {
    case Template::kWide:
      recipe.fields.assign(12, Field{MDbFieldText, u"text"});
      break;
    case Template::kFull:
      recipe.fields.assign(1, Field{MDbFieldText, u"name"});
      break;
    case Template::kLong:
      recipe.value_lists = {std::u16string(3000, u'v')};
      recipe.name = std::u16string(3000, u'n');
      break;
    case Template::kNoMark:
      recipe.mark = false;
      break;
    case Template::kBadMark:
      recipe.mark_value = 2;
      break;
    case Template::kNoTables:
      recipe.data_table = false;
      break;
    case Template::kFewOptions:
      recipe.field_options = false;
      break;
    case Template::kBare:
      recipe.fields.clear();
      recipe.value_lists.clear();
      recipe.data_table = recipe.mark = false;
      break;
    default:
      break;
  }
  return recipe;
}

// Two records that stay and one that is deleted into the log, or as the template has it.
struct Contents {
  size_t records = 3;
  int16_t fields = 5;
  bool known = true;  // the first record
  bool logged = true;
  bool long_texts = false;
};

Contents ContentsOf(Template file) {
  switch (file) {
    case Template::kEmpty:
      return {0, 5, true, false, false};
    case Template::kFewer:
      return {3, 2, true, true, false};
    case Template::kLong:
      return {3, 5, true, true, true};
    case Template::kWide:
      return {2, 12, true, false, false};
    case Template::kNewRecord:
      return {3, 5, false, true, false};
    case Template::kFull:
      return {MDB_MAX_RECORDS, 1, true, false, false};
    default:
      return {};
  }
}

void AddRecords(MDbEnv* env, const Contents& contents) {
  const std::u16string long_text(3000, u'w');
  static const MDbChar* const kNames[] = {u"oak", u"elm", u"oak tree", u"ash"};
  static const MDbChar* const kNumbers[] = {u"2", u"1", u"none", u"7"};
  static const MDbChar* const kDays[] = {u"2/1/2024", u"1/2/2024", u"13/1/2024", u"5/5/2020"};
  static const MDbChar* const kTimes[] = {u"2:30 PM", u"1:00 AM", u"?", u"3:15 PM"};
  const MDbRecInfo info = {{1, 2, 3, 4, 5, 6, 7, 8, 9, 10}};
  const size_t count = contents.records + (contents.logged ? 1 : 0);
  for (size_t i = 0; i < count; ++i) {
    const size_t row = i < 3 ? i : 3;
    const MDbChar* texts[12] = {kNames[row], kNumbers[row], kDays[row], kTimes[row], u"rest", u"",
                                u"6",        u"7",          u"8",       u"9",        u"10",   u"11"};
    if (contents.long_texts) texts[0] = texts[4] = long_text.c_str();
    const uint8_t known = i > 0 || contents.known;
    ASSERT_EQ(
        MDbDataTblAddRec(env, &env->agentRef, &env->dataTbl, &info, texts, contents.fields, known, nullptr, nullptr),
        MDbStatusOk);
  }
}

// The last record goes into the log.
void DeleteLast(MDbEnv* env, int16_t position) {
  MDbRecset set;
  MDbRecsetInitialize(&set);
  ASSERT_EQ(MDbAgentQuery(env, &set, nullptr), MDbStatusOk);
  ASSERT_EQ(MDbRecsetDelRec(env, &set, position, 0), MDbStatusOk);
  ASSERT_EQ(MDbRecsetDestroy(env, &set), MDbStatusOk);
}

// One flush for all records: through an environment whose reference names no volume while they are added.
void FillTables(MDbEnv* env, const std::u16string& path, Template file) {
  const Contents contents = ContentsOf(file);
  ASSERT_EQ(MDbAgentOpenDb(env, path.c_str()), MDbStatusOk);
  if (file == Template::kFull) {
    const MDbVolumeId volume = env->agentRef.volume;
    ASSERT_EQ(StartCreationSeqCache(env, &env->agentRef, &env->dataTbl), MDbStatusOk);
    MDbRef own = env->agentRef;
    env->agentRef.volume = {};
    const MDbRecInfo info = {};
    const MDbChar* const texts[] = {u"x"};
    for (int i = 0; i < MDB_MAX_RECORDS; ++i) {
      ASSERT_EQ(MDbDataTblAddRec(env, &own, &env->dataTbl, &info, texts, 1, 1, nullptr, nullptr), MDbStatusOk);
    }
    env->agentRef.volume = volume;
    ASSERT_EQ(EndCreationSeqCache(env, &env->agentRef, &env->dataTbl), MDbStatusOk);
  } else {
    AddRecords(env, contents);
    if (contents.logged) DeleteLast(env, static_cast<int16_t>(contents.records));
  }
  ASSERT_EQ(MDbAgentCloseDb(env), MDbStatusOk);
}

void AddTwoOptions(MDbEnv* env, const std::u16string& path) {
  const auto pairs = enginetest::OptionPairs(2);
  ASSERT_EQ(MDbOpen(env, path.c_str(), &env->agentRef), MDbStatusOk);
  ASSERT_EQ(MDbFieldOpTblCreateEx(env, &env->agentRef, pairs.data(), 2), MDbStatusOk);
  ASSERT_EQ(MDbClose(env, &env->agentRef), MDbStatusOk);
}

// Sets one property of the catalogue's object with this key.
void SetProperty(const std::u16string& path, uint32_t key, CEPROPVAL property) {
  const seam::Unseen unseen;
  CEGUID volume;
  ASSERT_TRUE(CeMountDBVol(&volume, path.c_str(), OPEN_EXISTING));
  CEOID oid = 0;
  const HANDLE catalogue = CeOpenDatabaseEx(&volume, &oid, u"OBJG_0", 0x10013, 0, nullptr);
  ASSERT_NE(catalogue, INVALID_HANDLE_VALUE);
  CEPROPVAL wanted{};
  wanted.propid = 0x10013;
  wanted.val.ulVal = key;
  const CEOID object =
      CeSeekDatabase(catalogue, CEDB_SEEK_VALUEFIRSTEQUAL, reinterpret_cast<DWORD_PTR>(&wanted), nullptr);
  ASSERT_NE(object, 0u);
  ASSERT_EQ(CeWriteRecordProps(catalogue, object, 1, &property), object);
  ASSERT_TRUE(CloseHandle(catalogue));
  ASSERT_TRUE(CeUnmountDBVol(&volume));
}

void SetCounter(const std::u16string& path, uint32_t index, uint32_t value) {
  CEPROPVAL property{};
  property.propid = 0x20013;
  property.val.ulVal = value;
  SetProperty(path, 0x40000 | index, property);
}

void MakeVersion30(const std::u16string& path) {
  BYTE header[] = {'T', 'R', 'F', 'C', 3, 0, 0, 0};
  CEPROPVAL property{};
  property.propid = 0x30041;
  property.val.blob = {sizeof header, header};
  SetProperty(path, 0x50000, property);
}

void MakeForeign(const std::u16string& path) {
  const seam::Unseen unseen;
  CEGUID volume;
  ASSERT_TRUE(CeMountDBVol(&volume, path.c_str(), CREATE_NEW));
  ASSERT_TRUE(CeUnmountDBVol(&volume));
}

void MakeHeaderOnly(MDbEnv* env, const std::u16string& path) {
  ASSERT_EQ(MDbCreate(env, path.c_str(), &env->agentRef), MDbStatusOk);
  ASSERT_EQ(MDbClose(env, &env->agentRef), MDbStatusOk);
}

void Make(Template file, const std::u16string& path) {
  MDbEnv env;
  MDbEnvInitialize(&env);
  ASSERT_EQ(MDbInit(&env, nullptr, 0), MDbStatusOk);
  if (file == Template::kForeign) return MakeForeign(path);
  if (file == Template::kHeaderOnly) return MakeHeaderOnly(&env, path);
  const Recipe recipe = RecipeOf(file);
  ASSERT_EQ(enginetest::CreateDatabaseFile(&env, path, recipe), MDbStatusOk);
  if (recipe.data_table && recipe.mark && recipe.mark_value == 1) FillTables(&env, path, file);
  if (file == Template::kFewOptions) AddTwoOptions(&env, path);
  if (file == Template::kOtherVersion) MakeVersion30(path);
  if (file == Template::kNumbersRunOut) {
    SetCounter(path, 0, 0xFFFFFFFE);
    SetCounter(path, 1, 0xFFFFFFFE);
  }
}

}  // namespace

std::filesystem::path TemplateFile(Template file) {
  if (file == Template::kNone) return {};
  std::filesystem::path made = Folder().path() / ("template" + std::to_string(static_cast<int>(file)));
  if (!std::filesystem::exists(made)) Make(file, made.u16string());
  return made;
}

std::filesystem::path FreshFolder() {
  std::filesystem::path folder = Folder().path() / "run";
  std::filesystem::remove_all(folder);
  std::filesystem::create_directory(folder);
  return folder;
}

}  // namespace callfaults
