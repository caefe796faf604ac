#include "call_stream.h"

#include <gtest/gtest.h>

#include "engine_fixture.h"

namespace plain {
namespace {

// The last field is ordered and copied but never searched for words, so it may hold any script.
constexpr int16_t kLabelField = 5;
const std::vector<uint8_t> kTypes = {MDbFieldText, MDbFieldNumber, MDbFieldDate,
                                     MDbFieldTime, MDbFieldNone,   MDbFieldText};

#define EXPECT_SAME_STATUS(expected, call) EXPECT_EQ(expected, static_cast<uint32_t>(call))

}  // namespace

CallStream::CallStream(std::u16string path, Choices choices, MDbEnv* shared)
    : path_(std::move(path)),
      choices_(std::move(choices)),
      env_(shared != nullptr ? *shared : own_env_),
      database_(kTypes),
      model_(database_) {
  MDbRecsetInitialize(&recset_);
  if (shared == nullptr) {
    MDbEnvInitialize(&env_);
    EXPECT_EQ(MDbStatusOk, MDbInit(&env_, nullptr, 0));
  }
  CreateDatabase();
  Open();
}

CallStream::~CallStream() {
  (void)MDbRecsetDestroy(&env_, &recset_);
  Close();
  if (&env_ == &own_env_) (void)MDbShutdown(&env_, 0, 0);
}

void CallStream::CreateDatabase() {
  enginetest::Recipe recipe;
  for (const uint8_t type : kTypes) recipe.fields.push_back({type, u"field"});
  ASSERT_EQ(MDbStatusOk, enginetest::CreateDatabaseFile(&env_, path_, recipe));
}

void CallStream::Open() { ASSERT_EQ(MDbStatusOk, MDbAgentOpenDb(&env_, path_.c_str())); }

void CallStream::Close() { EXPECT_EQ(MDbStatusOk, MDbAgentCloseDb(&env_)); }

void CallStream::Run(int steps) {
  for (int step = 0; step < steps && !::testing::Test::HasFailure(); ++step) {
    SCOPED_TRACE("call " + std::to_string(step));
    Step();
    CompareOutside();
    if (step % 8 == 0) CompareContents();
    if (step % 64 == 0) CompareLog();
  }
  CompareContents();
  CompareLog();
}

void CallStream::Step() {
  const uint32_t kind = Draw(100);
  if (kind < 20) return StepOfHost();
  if (model_.valid()) return StepWithRecordSet();
  if (kind < 25) return CallsInvalid();
  Queries();
}

void CallStream::StepOfHost() {
  const uint32_t kind = Draw(20);
  if (kind < 12 && database_.live().size() < 80) return HostAdds();
  if (kind < 14) return OtherRecordSetDeletes();
  if (kind < 16) return OtherRecordSetWantsView();
  if (kind < 17) return Reopens();
  if (kind < 19) return Queries();  // refused while the record set is valid
  Destroys();
}

void CallStream::StepWithRecordSet() {
  const uint32_t kind = Draw(100);
  if (kind < 14) return Sorts();
  if (kind < 24) return AddsNew();
  if (kind < 34) return Duplicates();
  if (kind < 64) return Edits();
  if (kind < 76) return DeletesOne();
  if (kind < 78) return DeletesAll();
  if (kind < 80) return DeletesWithRecordOpen();
  if (kind < 92) return MovesCursor();
  Destroys();
}

void CallStream::HostAdds() {
  Info info{};
  ++host_info_;
  for (size_t i = 0; i < info.size(); ++i) info[i] = static_cast<uint8_t>(host_info_ >> (i % 4 * 8));
  std::vector<Text> fields;
  for (size_t field = 0; field < kTypes.size(); ++field) fields.push_back(DrawFieldText(static_cast<int16_t>(field)));
  std::vector<const MDbChar*> texts;
  for (const Text& text : fields) texts.push_back(text.c_str());
  const bool known = Draw(3) != 0;
  MDbRecInfo block;
  std::copy(info.begin(), info.end(), block.bytes);
  uint32_t oid = 0;
  EXPECT_SAME_STATUS(kOk, MDbDataTblAddRec(&env_, &env_.agentRef, &env_.dataTbl, &block, texts.data(),
                                           static_cast<int16_t>(texts.size()), known ? 1 : 0, &oid, nullptr));
  database_.Add(fields, info, known ? uint8_t{0} : uint8_t{RecStateTouched | RecStateNew});
}

void CallStream::Queries() {
  std::optional<Criteria> criteria;
  if (Draw(4) != 0) {
    const int16_t field = static_cast<int16_t>(Draw(kLabelField));
    const int16_t mode = Draw(3) == 0 ? int16_t{MDbQueryByWords} : int16_t{MDbQueryByValue};
    criteria = Criteria{field, mode, DrawSearch(kTypes[static_cast<size_t>(field)])};
    criteria_texts_.push_back(criteria->text);
  }
  MDbQuery query{};
  if (criteria) query = {criteria->field, criteria->mode, criteria_texts_.back().c_str()};
  const bool direct = !criteria && !model_.valid();
  EXPECT_SAME_STATUS(model_.Query(criteria, false), MDbAgentQuery(&env_, &recset_, criteria ? &query : nullptr));
  if (direct) model_.ForgetCursor();
}

void CallStream::Sorts() {
  constexpr int16_t kNoFields[] = {-1, 6, 7};
  const int16_t field = Draw(12) == 0 ? kNoFields[Draw(3)] : DrawField();
  const uint32_t mode = Draw(4);
  SCOPED_TRACE("sort by field " + std::to_string(field) + ", mode " + std::to_string(mode));
  EXPECT_SAME_STATUS(model_.Sort(field, mode), MDbRecsetSort(&env_, &recset_, field, mode));
  CompareContents();
}

void CallStream::Destroys() {
  model_.Destroy();
  EXPECT_SAME_STATUS(kOk, MDbRecsetDestroy(&env_, &recset_));
}

void CallStream::AddsNew() {
  uint16_t expected = 0;
  uint16_t index = 0;
  EXPECT_SAME_STATUS(model_.New(expected), MDbRecsetNewRec(&env_, &recset_, &index));
  EXPECT_EQ(expected, index);
}

void CallStream::Duplicates() {
  const int16_t source = DrawIndex();
  uint16_t expected = 0xABCD;
  uint16_t index = 0xABCD;
  EXPECT_SAME_STATUS(model_.Duplicate(source, expected), MDBRecsetDupRec(&env_, &recset_, source, &index));
  EXPECT_EQ(expected, index) << "copy of " << source;
}

void CallStream::Edits() {
  const int16_t index = DrawIndex();
  const int16_t field = DrawField();
  const Text text = DrawFieldText(field);
  model_.SetCursor(index);
  EXPECT_SAME_STATUS(kOk, MDbRecsetSetInx(&env_, &recset_, index));
  const bool exists = model_.At(index) != nullptr;
  ASSERT_EQ(exists ? kOk : kFailed, static_cast<uint32_t>(MDbRecsetOpenRec(&env_, &recset_))) << "index " << index;
  if (!exists) return;
  EXPECT_SAME_STATUS(model_.Write(field, text), MDbRecsetSetField(&env_, &recset_, field, text.c_str()));
  CompareOpenRecord(*model_.At(index));
  EXPECT_SAME_STATUS(kOk, MDbRecsetCloseRec(&env_, &recset_));
}

void CallStream::DeletesOne() {
  const int16_t index = DrawIndex();
  const bool no_log = Draw(3) == 0;
  EXPECT_SAME_STATUS(model_.Delete(index, no_log), MDbRecsetDelRec(&env_, &recset_, index, no_log ? 1 : 0));
}

void CallStream::DeletesAll() {
  const bool no_log = Draw(2) == 0;
  EXPECT_SAME_STATUS(model_.DeleteAll(no_log), MDbRecsetDelAllRec(&env_, &recset_, no_log ? 1 : 0));
}

void CallStream::DeletesWithRecordOpen() {
  const int16_t index = DrawIndex();
  if (model_.At(index) == nullptr) return;
  model_.SetCursor(index);
  EXPECT_SAME_STATUS(kOk, MDbRecsetSetInx(&env_, &recset_, index));
  ASSERT_EQ(MDbStatusOk, MDbRecsetOpenRec(&env_, &recset_));
  EXPECT_SAME_STATUS(kFailed, MDbRecsetOpenRec(&env_, &recset_));
  EXPECT_SAME_STATUS(kFailed, MDbRecsetDelRec(&env_, &recset_, index, 0));
  EXPECT_SAME_STATUS(kFailed, MDbRecsetDelAllRec(&env_, &recset_, 1));
  EXPECT_SAME_STATUS(kOk, MDbRecsetCloseRec(&env_, &recset_));
  EXPECT_SAME_STATUS(kFailed, MDbRecsetCloseRec(&env_, &recset_));
}

void CallStream::MovesCursor() {
  const int16_t index = DrawIndex();
  model_.SetCursor(index);
  EXPECT_SAME_STATUS(kOk, MDbRecsetSetInx(&env_, &recset_, index));
}

void CallStream::Reopens() {
  Destroys();
  Close();
  Open();
}

void CallStream::OtherRecordSetDeletes() {
  MDbRecset other;
  MDbRecsetInitialize(&other);
  RecordSet other_model(database_);
  EXPECT_SAME_STATUS(other_model.Query(std::nullopt, false), MDbAgentQuery(&env_, &other, nullptr));
  const int16_t index = static_cast<int16_t>(Draw(static_cast<uint32_t>(database_.live().size()) + 1));
  const bool no_log = Draw(2) == 0;
  EXPECT_SAME_STATUS(other_model.Delete(index, no_log), MDbRecsetDelRec(&env_, &other, index, no_log ? 1 : 0));
  EXPECT_SAME_STATUS(kOk, MDbRecsetDestroy(&env_, &other));
  if (!model_.has_view()) model_.ForgetCursor();  // both walk with the table's cursor
}

void CallStream::OtherRecordSetWantsView() {
  if (!model_.has_view()) return;
  MDbRecset other;
  MDbRecsetInitialize(&other);
  const MDbQuery query = {0, MDbQueryByWords, u"oak"};
  EXPECT_SAME_STATUS(kFailed, MDbAgentQuery(&env_, &other, &query));
  EXPECT_EQ(0, other.valid);
  EXPECT_SAME_STATUS(kOk, MDbRecsetDestroy(&env_, &other));
  CompareContents();
}

void CallStream::CallsInvalid() {
  uint16_t index = 0xABCD;
  uint32_t count = 0xABCD;
  EXPECT_SAME_STATUS(kFailed, MDbRecsetSort(&env_, &recset_, 0, 0));
  EXPECT_SAME_STATUS(kFailed, MDbRecsetNewRec(&env_, &recset_, &index));
  EXPECT_SAME_STATUS(kFailed, MDBRecsetDupRec(&env_, &recset_, 0, &index));
  EXPECT_SAME_STATUS(kFailed, MDbRecsetDelRec(&env_, &recset_, 0, 1));
  EXPECT_SAME_STATUS(kFailed, MDbRecsetDelAllRec(&env_, &recset_, 1));
  EXPECT_SAME_STATUS(kFailed, MDbRecsetGetRecCount(&env_, &recset_, &count));
  EXPECT_SAME_STATUS(kFailed, MDbRecsetSetInx(&env_, &recset_, 0));
  EXPECT_SAME_STATUS(kFailed, MDbRecsetOpenRec(&env_, &recset_));
  EXPECT_EQ(0xABCD, index);
}

Text CallStream::DrawFieldText(int16_t field) {
  return field == kLabelField ? DrawLabel() : DrawText(kTypes[static_cast<size_t>(field)]);
}

}  // namespace plain
