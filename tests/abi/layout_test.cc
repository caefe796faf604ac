// The layout of every public record as C++ sees it, and that C sees the same.
#include <gtest/gtest.h>

#include <cstddef>

#include "mdb.h"

extern "C" int abi_c11_initialises_handle_records(void);

namespace {

struct Row {
  const char* what;
  size_t actual;
  size_t expected;
};

#define SIZE_ROW(record, bytes) {"size of " #record, sizeof(record), (bytes)},
#define FIELD_ROW(record, field, offset) {"offset of " #record "." #field, offsetof(record, field), (offset)},
const Row kRows[] = {
#include "layout_rows.h"
};

TEST(Layout, EveryRecordHasTheSizeAndTheOffsetsThatWereCountedByHand) {
  for (const Row& row : kRows) EXPECT_EQ(row.actual, row.expected) << row.what;
}

TEST(Layout, CInitialisesHandleRecordsAsCxxDoes) { EXPECT_EQ(abi_c11_initialises_handle_records(), 1); }

}  // namespace
