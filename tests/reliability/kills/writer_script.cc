// What a writer does: makes a file, adds one by one and in bulk, edits, sorts and edits again, copies, deletes with and
// without a log, deletes all, closes and opens again.
#include "writer_script.h"

#include <array>

#include "broken_promise.h"
#include "database_recipe.h"

namespace kills {
namespace {

constexpr size_t kName = 0;
constexpr size_t kCount = 1;
constexpr size_t kDay = 2;
constexpr size_t kNote = 3;
constexpr uint32_t kManyRecords = 40;

const char16_t* const kWords[] = {u"oak", u"Oak", u"elm", u"birch", u"north", u"gate", u"river", u"bank", u"zebra"};
const char16_t* const kScripts[] = {u"é", u"Straße", u"日本", u"한국", u"𝒳", u"co-op"};

std::u16string Wide(uint32_t number) {
  const std::string digits = std::to_string(number);
  return {digits.begin(), digits.end()};
}

enginetest::Recipe RecipeOfScripts() {
  enginetest::Recipe recipe;
  for (const uint8_t type : WriterScript::FieldTypes()) recipe.fields.push_back({type, u"field"});
  return recipe;
}

}  // namespace

// With the five properties of the system more than ten, so that a record is written in two steps.
const std::vector<uint8_t>& WriterScript::FieldTypes() {
  static const std::vector<uint8_t> types = {MDbFieldText, MDbFieldNumber, MDbFieldDate,
                                             MDbFieldText, MDbFieldNone,   MDbFieldText};
  return types;
}

WriterScript::WriterScript(std::u16string path, uint32_t seed, CallObserver& observer, plain::Database* model)
    : path_(std::move(path)),
      random_(seed),
      observer_(observer),
      model_(model),
      no_model_(FieldTypes()),
      set_model_(model != nullptr ? *model : no_model_) {
  MDbEnvInitialize(&env_);
  MDbRecsetInitialize(&recset_);
  MDbRefInitialize(&own_ref_);
  MDbDataTblInitialize(&own_table_);
  (void)MDbInit(&env_, nullptr, 0);
}

WriterScript::~WriterScript() {
  (void)MDbRecsetDestroy(&env_, &recset_);
  (void)MDbAgentCloseDb(&env_);
  (void)MDbClose(&env_, &own_ref_);
  (void)MDbShutdown(&env_, 0, 0);
}

template <typename Act, typename Apply>
void WriterScript::Make(const char* name, Act act, Apply apply) {
  observer_.Begins(calls_, name);
  const MDbStatus status = act();
  if (status != MDbStatusOk) {
    throw BrokenPromise("call " + std::to_string(calls_) + ", " + name + ", answered " +
                        std::to_string(static_cast<uint32_t>(status)));
  }
  if (model_ != nullptr) apply();
  observer_.Returned(calls_++);
}

template <typename Act>
void WriterScript::Make(const char* name, Act act) {
  Make(name, act, [] {});
}

uint32_t WriterScript::Draw(uint32_t below) { return static_cast<uint32_t>(random_()) % below; }

std::u16string WriterScript::DrawName() {
  std::u16string name = kWords[Draw(std::size(kWords))];
  for (uint32_t more = Draw(3); more > 0; --more) name += std::u16string(u" ") + kWords[Draw(std::size(kWords))];
  return name;
}

std::u16string WriterScript::DrawField(size_t field) {
  switch (field) {
    case kName:
      return DrawName();
    case kCount:
      return Wide(Draw(100));
    case kDay:
      return Wide(1 + Draw(12)) + u"/" + Wide(1 + Draw(28)) + u"/2024";
    case kNote:
      return std::u16string(Draw(8) == 0 ? Draw(1500) : Draw(40), static_cast<char16_t>(u'a' + Draw(26)));
    default:
      return Draw(3) == 0 ? std::u16string() : kScripts[Draw(std::size(kScripts))] + Wide(Draw(1000));
  }
}

std::vector<std::u16string> WriterScript::DrawFields() {
  std::vector<std::u16string> fields;
  for (size_t field = 0; field < FieldTypes().size(); ++field) fields.push_back(DrawField(field));
  return fields;
}

int16_t WriterScript::Count() {
  uint32_t count = 0;
  if (MDbRecsetGetRecCount(&env_, &recset_, &count) != MDbStatusOk) throw BrokenPromise("no record count");
  if (model_ != nullptr && count != set_model_.Contents().size()) {
    throw BrokenPromise("the record set has " + std::to_string(count) + " records and the model " +
                        std::to_string(set_model_.Contents().size()));
  }
  return static_cast<int16_t>(count);
}

int16_t WriterScript::DrawIndex(int16_t count) { return static_cast<int16_t>(Draw(static_cast<uint32_t>(count))); }

// ---- files

void WriterScript::MakeFile() {
  const enginetest::Recipe recipe = RecipeOfScripts();
  const auto definitions = enginetest::Definitions(recipe.fields);
  const auto options = enginetest::OptionPairs(recipe.fields.size());
  const auto names = enginetest::Pointers(
      recipe.fields, [](const enginetest::Field& field) -> const auto& { return field.name; });
  const MDbChar* const lists[] = {recipe.value_lists.front().c_str()};
  const auto count = static_cast<int16_t>(names.size());
  MDbRef* ref = &own_ref_;
  Make("MDbCreate", [&] { return MDbCreate(&env_, path_.c_str(), ref); });
  Make("MDbSchemaTblCreateEx",
       [&] { return MDbSchemaTblCreateEx(&env_, ref, definitions.data(), names.data(), count); });
  Make("MDbFieldOpTblCreateEx", [&] { return MDbFieldOpTblCreateEx(&env_, ref, options.data(), count); });
  Make("MDbAttrTblCreateEx", [&] { return MDbAttrTblCreateEx(&env_, ref, &recipe.attrs, recipe.name.c_str()); });
  Make("MDbValListTblCreateEx", [&] { return MDbValListTblCreateEx(&env_, ref, lists, 1); });
  Make("MDbDataTblCreate", [&] { return MDbDataTblCreate(&env_, ref, nullptr); });
  Make("MDbWriteChecksome", [&] { return MDbWriteChecksome(&env_, ref, 1); });
  Make("MDbClose", [&] { return MDbClose(&env_, ref); });
}

void WriterScript::Open() {
  Make("MDbAgentOpenDb", [&] { return MDbAgentOpenDb(&env_, path_.c_str()); });
}

void WriterScript::CloseAndComeBack() {
  DestroyRecordSet();
  Make("MDbAgentCloseDb", [&] { return MDbAgentCloseDb(&env_); });
  if (Draw(2) == 0) BulkLoad();
  Open();
}

// Through a reference of the script's own: durable at its close, all together.
void WriterScript::BulkLoad() {
  Make("MDbOpen", [&] { return MDbOpen(&env_, path_.c_str(), &own_ref_); });
  Make("MDbDataTblOpen", [&] { return MDbDataTblOpen(&env_, &own_ref_, &own_table_, nullptr); });
  Make("StartCreationSeqCache", [&] { return StartCreationSeqCache(&env_, &own_ref_, &own_table_); });
  for (uint32_t more = Draw(12); more > 0; --more) {
    const auto fields = DrawFields();
    const auto texts = enginetest::Pointers(
        fields, [](const auto& field) -> const auto& { return field; });
    const MDbRecInfo info = {{0xB0}};
    Make(
        "MDbDataTblAddRec, in bulk",
        [&] {
          return MDbDataTblAddRec(&env_, &own_ref_, &own_table_, &info, texts.data(),
                                  static_cast<int16_t>(texts.size()), 1, nullptr, nullptr);
        },
        [&] { model_->Add(fields, {0xB0}, 0); });
  }
  Make("EndCreationSeqCache", [&] { return EndCreationSeqCache(&env_, &own_ref_, &own_table_); });
  Make("MDbDataTblClose", [&] { return MDbDataTblClose(&env_, &own_ref_, &own_table_); });
  Make("MDbClose", [&] { return MDbClose(&env_, &own_ref_); });
}

// ---- records

void WriterScript::AddOne() {
  const auto fields = DrawFields();
  const auto texts = enginetest::Pointers(
      fields, [](const auto& field) -> const auto& { return field; });
  MDbRecInfo info = {};
  plain::Info same{};
  ++infos_;
  for (size_t i = 0; i < same.size(); ++i) same[i] = info.bytes[i] = static_cast<uint8_t>(infos_ + i);
  const bool known = Draw(4) != 0;
  Make(
      "MDbDataTblAddRec",
      [&] {
        return MDbDataTblAddRec(&env_, &env_.agentRef, &env_.dataTbl, &info, texts.data(),
                                static_cast<int16_t>(texts.size()), known ? 1 : 0, nullptr, nullptr);
      },
      [&] { model_->Add(fields, same, known ? uint8_t{0} : uint8_t{RecStateTouched | RecStateNew}); });
}

void WriterScript::Query() {
  std::optional<plain::Criteria> criteria;
  if (Draw(2) == 0) {
    criteria_ = kWords[Draw(std::size(kWords))];
    criteria = plain::Criteria{kName, MDbQueryByWords, criteria_};
  }
  const MDbQuery query = {kName, MDbQueryByWords, criteria_.c_str()};
  Make(
      "MDbAgentQuery", [&] { return MDbAgentQuery(&env_, &recset_, criteria ? &query : nullptr); },
      [&] { (void)set_model_.Query(criteria, false); });
}

void WriterScript::SortSometimes() {
  const auto field = static_cast<int16_t>(Draw(4));
  const uint32_t mode = Draw(2);
  Make(
      "MDbRecsetSort", [&] { return MDbRecsetSort(&env_, &recset_, field, mode); },
      [&] { (void)set_model_.Sort(field, mode); });
}

void WriterScript::Edit() {
  const int16_t count = Count();
  if (count == 0) return;
  const int16_t index = DrawIndex(count);
  const auto field = static_cast<int16_t>(Draw(static_cast<uint32_t>(FieldTypes().size())));
  const std::u16string text = DrawField(static_cast<size_t>(field));
  set_model_.SetCursor(index);
  if (MDbRecsetSetInx(&env_, &recset_, index) != MDbStatusOk) throw BrokenPromise("the cursor cannot be set");
  if (MDbRecsetOpenRec(&env_, &recset_) != MDbStatusOk) throw BrokenPromise("a record cannot be opened");
  Make(
      "MDbRecsetSetField", [&] { return MDbRecsetSetField(&env_, &recset_, field, text.c_str()); },
      [&] { (void)set_model_.Write(field, text); });
  if (MDbRecsetCloseRec(&env_, &recset_) != MDbStatusOk) throw BrokenPromise("a record cannot be closed");
}

void WriterScript::AddNew() {
  uint16_t index = 0;
  Make(
      "MDbRecsetNewRec", [&] { return MDbRecsetNewRec(&env_, &recset_, &index); },
      [&] { (void)set_model_.New(index); });
}

void WriterScript::Duplicate() {
  const int16_t count = Count();
  if (count == 0) return;
  const int16_t source = DrawIndex(count);
  uint16_t index = 0;
  Make(
      "MDBRecsetDupRec", [&] { return MDBRecsetDupRec(&env_, &recset_, source, &index); },
      [&] { (void)set_model_.Duplicate(source, index); });
}

void WriterScript::DeleteOne() {
  const int16_t count = Count();
  if (count == 0) return;
  const int16_t index = DrawIndex(count);
  const bool no_log = Draw(3) == 0;
  Make(
      "MDbRecsetDelRec", [&] { return MDbRecsetDelRec(&env_, &recset_, index, no_log ? 1 : 0); },
      [&] { (void)set_model_.Delete(index, no_log); });
}

void WriterScript::DeleteAll() {
  const bool no_log = Draw(2) == 0;
  Make(
      "MDbRecsetDelAllRec", [&] { return MDbRecsetDelAllRec(&env_, &recset_, no_log ? 1 : 0); },
      [&] { (void)set_model_.DeleteAll(no_log); });
}

// Becomes durable with whatever is flushed next.
void WriterScript::ChangeSetting() {
  const auto value = static_cast<uint32_t>(random_());
  Make("MDbAgentSetAttr", [&] { return MDbAgentSetAttr(&env_, 2, value); });
}

void WriterScript::DestroyRecordSet() {
  Make(
      "MDbRecsetDestroy", [&] { return MDbRecsetDestroy(&env_, &recset_); }, [&] { set_model_.Destroy(); });
}

// ---- the order of things

void WriterScript::StepWithRecordSet() {
  const uint32_t kind = Draw(100);
  const bool many = Count() > static_cast<int16_t>(kManyRecords);
  if (kind < 34) return Edit();
  if (kind < 46) return many ? DeleteOne() : Duplicate();
  if (kind < 54) return many ? DeleteOne() : AddNew();
  if (kind < 70) return DeleteOne();
  if (kind < 82) return SortSometimes();
  if (kind < 86 || (many && kind < 90)) return DeleteAll();
  DestroyRecordSet();
}

void WriterScript::Step() {
  const uint32_t kind = Draw(100);
  if (kind < 6) return CloseAndComeBack();
  if (kind < 10) return ChangeSetting();
  if (kind < 30) return AddOne();
  if (recset_.valid != 0) return StepWithRecordSet();
  Query();
}

void WriterScript::Run(bool make_file) {
  if (make_file) {
    MakeFile();
    BulkLoad();
  } else if (Draw(4) == 0) {
    BulkLoad();
  }
  Open();
  for (;;) Step();
}

}  // namespace kills
