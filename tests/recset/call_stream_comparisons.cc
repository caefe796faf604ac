// What the stream of calls compares between the engine and the model: the record set's own answers after every call,
// its contents and the deletion log every few calls.
#include <gtest/gtest.h>

#include <algorithm>

#include "call_stream.h"

namespace plain {

void CallStream::CompareOutside() {
  MDbSortDef sort{};
  EXPECT_EQ(MDbStatusOk, MDbRecsetGetSortDef(&env_, &recset_, &sort));
  EXPECT_EQ(static_cast<uint16_t>(model_.sort_field()), sort.field);
  EXPECT_EQ(model_.ascending() ? 1 : 0, sort.ascending);
  uint32_t count = 0;
  uint8_t filtered = 9;
  uint8_t dirty = 9;
  uint16_t cursor = 0;
  const MDbStatus expected = model_.valid() ? MDbStatusOk : MDbStatusFailed;
  EXPECT_EQ(expected, MDbRecsetGetRecCount(&env_, &recset_, &count));
  EXPECT_EQ(expected, MDbRecsetIsFiltered(&env_, &recset_, &filtered));
  EXPECT_EQ(expected, MDbRecsetIsFilteredDirty(&env_, &recset_, &dirty));
  EXPECT_EQ(expected, MDbRecsetGetInx(&env_, &recset_, &cursor));
  if (!model_.valid()) return;
  EXPECT_EQ(model_.Contents().size(), count);
  EXPECT_EQ(model_.filtered() ? 1 : 0, filtered);
  EXPECT_EQ(model_.dirty() ? 1 : 0, dirty);
  if (model_.cursor()) {
    EXPECT_EQ(static_cast<uint16_t>(*model_.cursor()), cursor);
  }
}

void CallStream::CompareContents() {
  if (!model_.valid() || ::testing::Test::HasFailure()) return;
  const size_t count = model_.Contents().size();
  for (size_t i = 0; i < count; ++i) {
    SCOPED_TRACE("record at " + std::to_string(i) + " of " + std::to_string(count));
    const int16_t index = static_cast<int16_t>(i);
    ASSERT_EQ(MDbStatusOk, MDbRecsetSetInx(&env_, &recset_, index));
    const Record* expected = model_.At(index);
    ASSERT_EQ(expected ? MDbStatusOk : MDbStatusFailed, MDbRecsetOpenRec(&env_, &recset_));
    if (expected == nullptr) continue;
    CompareOpenRecord(*expected);
    ASSERT_EQ(MDbStatusOk, MDbRecsetCloseRec(&env_, &recset_));
    if (::testing::Test::HasFailure()) return;
  }
  model_.SetCursor(-1);
  EXPECT_EQ(MDbStatusOk, MDbRecsetSetInx(&env_, &recset_, -1));
}

// Size and text of each field, first one by one and then from the loaded record.
void CallStream::CompareOpenRecord(const Record& expected) {
  CompareRecord(recset_.record, expected);
  for (int16_t field = 0; field < static_cast<int16_t>(expected.fields.size()); ++field) {
    const MDbChar* text = nullptr;
    ASSERT_EQ(MDbStatusOk, MDbRecsetGetFieldPtr(&env_, &recset_, field, &text));
    ASSERT_NE(nullptr, text);
    EXPECT_EQ(expected.fields[static_cast<size_t>(field)], Text(text)) << "pointer to field " << field;
  }
}

void CallStream::CompareRecord(MDbDataRec& record, const Record& expected) {
  MDbRef* ref = &env_.agentRef;
  uint8_t state = 0xEE;
  EXPECT_EQ(MDbStatusOk, MDbDataRecGetState(&env_, ref, &env_.dataTbl, &record, &state));
  EXPECT_EQ(expected.state, state);
  MDbRecInfo info{};
  EXPECT_EQ(MDbStatusOk, MDbDataRecGetRecInfo(&env_, ref, &env_.dataTbl, &record, &info));
  EXPECT_TRUE(std::equal(expected.info.begin(), expected.info.end(), info.bytes)) << "info block";
  for (size_t field = 0; field < expected.fields.size(); ++field) {
    const Text& text = expected.fields[field];
    uint32_t size = 0;
    MDbChar buffer[128] = u"not read";
    const int16_t index = static_cast<int16_t>(field);
    EXPECT_EQ(MDbStatusOk, MDbDataRecGetFieldSize(&env_, ref, &env_.dataTbl, &record, index, &size));
    EXPECT_EQ((text.size() + 1) * 2, size) << "size of field " << field;
    EXPECT_EQ(MDbStatusOk, MDbDataRecReadField(&env_, ref, &env_.dataTbl, &record, index, buffer, sizeof buffer));
    EXPECT_EQ(text, Text(buffer)) << "field " << field;
  }
}

void CallStream::CompareLog() {
  uint32_t count = 0;
  ASSERT_EQ(MDbStatusOk, MDbDeleteTblGetRecCount(&env_, &env_.agentRef, &env_.dataTbl, &count));
  ASSERT_EQ(database_.log().size(), count);
  for (uint32_t i = 0; i < count && !::testing::Test::HasFailure(); ++i) {
    SCOPED_TRACE("log entry " + std::to_string(i));
    MDbDataRec record;
    MDbDataRecInitialize(&record);
    ASSERT_EQ(MDbStatusOk,
              MDbDeleteTblOpenRec(&env_, &env_.agentRef, &env_.dataTbl, &record, static_cast<int16_t>(i), nullptr));
    CompareRecord(record, database_.log()[i]);
    EXPECT_EQ(MDbStatusOk, MDbDataTblCloseRec(&env_, &env_.agentRef, &env_.dataTbl, &record));
  }
}

}  // namespace plain
