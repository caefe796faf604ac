// A test with one record set on an open database, and short ways to query it and to read what it holds.
#pragma once

#include "record_fixture.h"

namespace enginetest {

class RecordSetTest : public RecordTest {
 protected:
  RecordSetTest() { MDbRecsetInitialize(&recset); }
  ~RecordSetTest() override { EXPECT_EQ(MDbStatusOk, MDbRecsetDestroy(&env, &recset)); }

  MDbStatus Query(int16_t field, int16_t mode, const MDbChar* text) {
    const MDbQuery query = {field, mode, text};
    return MDbAgentQuery(&env, &recset, &query);
  }
  MDbStatus QueryAll() { return MDbAgentQuery(&env, &recset, nullptr); }
  MDbStatus Sort(int16_t field, uint32_t mode = MDbSortAscending) { return MDbRecsetSort(&env, &recset, field, mode); }
  MDbStatus Destroy() { return MDbRecsetDestroy(&env, &recset); }

  uint32_t SetCount() {
    uint32_t count = 0xDEAD;
    EXPECT_EQ(MDbStatusOk, MDbRecsetGetRecCount(&env, &recset, &count));
    return count;
  }
  uint16_t Cursor() {
    uint16_t index = 0xDEAD;
    EXPECT_EQ(MDbStatusOk, MDbRecsetGetInx(&env, &recset, &index));
    return index;
  }
  void OpenAt(int16_t index) {
    ASSERT_EQ(MDbStatusOk, MDbRecsetSetInx(&env, &recset, index));
    ASSERT_EQ(MDbStatusOk, MDbRecsetOpenRec(&env, &recset)) << "index " << index;
  }
  MDbStatus CloseRecord() { return MDbRecsetCloseRec(&env, &recset); }
  void Edit(int16_t index, int16_t field, const MDbChar* text) {
    ASSERT_NO_FATAL_FAILURE(OpenAt(index));
    EXPECT_EQ(MDbStatusOk, MDbRecsetSetField(&env, &recset, field, text));
    EXPECT_EQ(MDbStatusOk, CloseRecord());
  }

  // A field of every record of the record set, in its order. The cursor is as before.
  Texts Contents(int16_t field) {
    Texts contents;
    const uint16_t cursor = Cursor();
    const int16_t count = static_cast<int16_t>(SetCount());
    for (int16_t index = 0; index < count; ++index) {
      MDbChar text[256] = u"not read";
      EXPECT_EQ(MDbStatusOk, MDbRecsetSetInx(&env, &recset, index));
      EXPECT_EQ(MDbStatusOk, MDbRecsetOpenRec(&env, &recset)) << "index " << index;
      EXPECT_EQ(MDbStatusOk, MDbRecsetGetField(&env, &recset, field, text, sizeof text));
      EXPECT_EQ(MDbStatusOk, CloseRecord());
      contents.emplace_back(text);
    }
    EXPECT_EQ(MDbStatusOk, MDbRecsetSetInx(&env, &recset, static_cast<int16_t>(cursor)));
    return contents;
  }

  MDbRecset recset;
};

}  // namespace enginetest
