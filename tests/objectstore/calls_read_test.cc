// Reading records: which properties come, in which order, and how the returned block is laid out.
#include <string.h>

#include <algorithm>
#include <array>
#include <limits>

#include "local_heap.h"
#include "store_test.h"

namespace {

constexpr CEPROPID kNumber = Prop(1, CEVT_I4);
constexpr CEPROPID kText = Prop(2, CEVT_LPWSTR);
constexpr CEPROPID kBytes = Prop(3, CEVT_BLOB);
constexpr DWORD kHeader = sizeof(CEPROPVAL);

const BYTE kFive[] = {1, 2, 3, 4, 5};

class Reads : public DatabaseTest {
 protected:
  void SetUp() override {
    DatabaseTest::SetUp();
    Create();
  }
  // A record that the pointer stands on.
  CEOID Make(const std::vector<CEPROPVAL>& values) {
    CEOID record = Write(handle_, 0, values);
    EXPECT_EQ(SeekTo(handle_, record), record);
    return record;
  }
};

TEST_F(Reads, AllPropertiesComeInTheOrderOfTheirFirstWrite) {
  CEOID record = Make({Text(2, u"b"), I4(1, 1), Blob(3, kFive, 5)});
  Reading reading = ReadAll(handle_);
  EXPECT_EQ(reading.oid, record);
  EXPECT_EQ(reading.values, Values({Text(2, u"b"), I4(1, 1), Blob(3, kFive, 5)}));

  Write(handle_, record, {I4(1, 7), I2(9, 9), Text(2, u"longer than before")});
  EXPECT_EQ(ReadAll(handle_).values, Values({Text(2, u"longer than before"), I4(1, 7), Blob(3, kFive, 5), I2(9, 9)}))
      << "an update keeps its place, a new property comes last";

  Write(handle_, record, {Deleted(kText)});
  Write(handle_, record, {Text(2, u"back")});
  EXPECT_EQ(ReadAll(handle_).values, Values({I4(1, 7), Blob(3, kFive, 5), I2(9, 9), Text(2, u"back")}))
      << "a deleted property comes back at the end";

  Remount();
  handle_ = Open();
  EXPECT_EQ(ReadAll(handle_).values, Values({I4(1, 7), Blob(3, kFive, 5), I2(9, 9), Text(2, u"back")}));
}

TEST_F(Reads, CountNeedsNoValueWhenAllAreRead) {
  Make({I4(1, 1), I4(2, 2)});
  for (WORD before : {WORD{0}, WORD{1}, WORD{0xFFFF}}) {
    WORD count = before;
    std::array<CEPROPVAL, 8> values;
    BYTE* buffer = reinterpret_cast<BYTE*>(values.data());
    DWORD size = sizeof(values);
    EXPECT_NE(CeReadRecordPropsEx(handle_, 0, &count, nullptr, &buffer, &size, 0), 0u);
    EXPECT_EQ(count, 2u);
  }
}

TEST_F(Reads, WantedPropertiesComeInTheOrderAsked) {
  CEOID record = Make({Text(2, u"b"), I4(1, 1), Blob(3, kFive, 5)});
  Reading reading = Read(handle_, {kNumber, kBytes, kText, kNumber});
  EXPECT_EQ(reading.oid, record);
  EXPECT_EQ(reading.values, Values({I4(1, 1), Blob(3, kFive, 5), Text(2, u"b"), I4(1, 1)}));
}

TEST_F(Reads, AbsentPropertyIsMarkedAndTheReadSucceeds) {
  Make({I4(1, 7)});
  const CEPROPID kIds[] = {kText, kNumber, Prop(1, CEVT_I2), kBytes};
  std::array<CEPROPVAL, 4> values;
  memset(values.data(), 0xCC, sizeof(values));
  BYTE* buffer = reinterpret_cast<BYTE*>(values.data());
  DWORD size = sizeof(values);
  WORD count = 4;
  ASSERT_NE(CeReadRecordPropsEx(handle_, 0, &count, kIds, &buffer, &size, 0), 0u);
  EXPECT_EQ(count, 4u) << "as many as were asked for";
  EXPECT_EQ(size, sizeof(values));
  for (size_t i = 0; i < 4; i++) {
    EXPECT_EQ(values[i].propid, kIds[i]);
    EXPECT_EQ(values[i].wLenData, 0u);
    EXPECT_EQ(values[i].wFlags, i == 1 ? 0u : DWORD{CEDB_PROPNOTFOUND}) << i;
  }
  EXPECT_EQ(values[1].val.lVal, 7);
  const CEVALUNION kZero{};
  for (size_t i : {0u, 2u, 3u}) EXPECT_EQ(memcmp(&values[i].val, &kZero, sizeof(kZero)), 0) << i;
}

TEST_F(Reads, NoneOfTheWantedPropertiesIsNoDataWithAValidBlock) {
  Make({I4(1, 7)});
  Reading reading = Read(handle_, {kText, Prop(7, CEVT_I4)});
  EXPECT_EQ(reading.oid, 0u);
  EXPECT_EQ(reading.error, DWORD{ERROR_NO_DATA});
  ASSERT_EQ(reading.values.size(), 2u);
  EXPECT_EQ(reading.values[0], (Stored{kText, CEDB_PROPNOTFOUND, {}}));
  EXPECT_EQ(reading.values[1], (Stored{Prop(7, CEVT_I4), CEDB_PROPNOTFOUND, {}}));

  const CEPROPID kIds[] = {kText, kBytes};
  std::array<CEPROPVAL, 4> values;
  BYTE* buffer = reinterpret_cast<BYTE*>(values.data());
  DWORD size = sizeof(values);
  WORD count = 2;
  EXPECT_REFUSED(CeReadRecordPropsEx(handle_, 0, &count, kIds, &buffer, &size, 0), ERROR_NO_DATA);
  EXPECT_EQ(size, 2 * kHeader);
  EXPECT_EQ(buffer, reinterpret_cast<BYTE*>(values.data()));
}

struct Layout {
  const char* why;
  std::vector<CEPROPVAL> values;
  std::vector<DWORD> offsets;  // of each value's text or bytes, counted from the end of the headers; 0 for numbers
  DWORD data;                  // bytes after the headers
};

// The block ends with its last payload: a client takes the headers off its size to learn how long a single text is.
const Layout kLayouts[] = {
    {"numbers only", {I4(1, 1), I2(2, 2), R8(3, 3)}, {0, 0, 0}, 0},
    {"a text of one character", {Text(1, u"a")}, {0}, 4},
    {"a text of two characters is not filled up", {Text(1, u"ab")}, {0}, 6},
    {"an empty text is its terminator", {Text(1, u"")}, {0}, 2},
    {"an odd number of bytes", {Blob(1, kFive, 5)}, {0}, 5},
    {"four bytes", {Blob(1, kFive, 4)}, {0}, 4},
    {"texts stand at even places", {Text(1, u""), Text(2, u""), Text(3, u"abc")}, {0, 2, 4}, 12},
    {"bytes stand at places of four", {Text(1, u""), Blob(2, kFive, 5)}, {0, 4}, 9},
    {"a text after an odd number of bytes", {Blob(1, kFive, 5), Text(2, u"a")}, {0, 6}, 10},
    {"bytes after bytes", {Blob(1, kFive, 1), Blob(2, kFive, 1), Blob(3, kFive, 1)}, {0, 4, 8}, 9},
    {"numbers between take no place", {Text(1, u"a"), I4(2, 1), Text(3, u"b")}, {0, 0, 4}, 8},
};

TEST_F(Reads, BlockIsHeadersThenTextsAndBytesInTheirOrder) {
  for (const Layout& row : kLayouts) {
    SCOPED_TRACE(row.why);
    Make(row.values);
    WORD count = 0;
    BYTE* block = nullptr;
    DWORD size = 0;
    ASSERT_NE(CeReadRecordPropsEx(handle_, CEDB_ALLOWREALLOC, &count, nullptr, &block, &size, 0), 0u);
    EXPECT_EQ(count, row.values.size());
    EXPECT_EQ(size, count * kHeader + row.data);
    EXPECT_GE(LocalSize(block), size);
    const CEPROPVAL* values = reinterpret_cast<const CEPROPVAL*>(block);
    BYTE* data = block + count * kHeader;
    for (size_t i = 0; i < row.values.size(); i++) {
      EXPECT_EQ(CopyOf(values[i]), CopyOf(row.values[i])) << i;
      EXPECT_EQ(values[i].wLenData, 0u) << i;
      WORD type = TypeOf(values[i].propid);
      if (type == CEVT_LPWSTR) {
        EXPECT_EQ(reinterpret_cast<BYTE*>(values[i].val.lpwstr), data + row.offsets[i]) << i;
      }
      if (type == CEVT_BLOB) {
        EXPECT_EQ(values[i].val.blob.lpb, data + row.offsets[i]) << i;
      }
    }
    LocalFree(block);
  }
}

TEST_F(Reads, EmptyBlobHasAPlaceInTheBlockAndNoBytes) {
  const std::vector<CEPROPVAL> kRecords[] = {{Blob(1, nullptr, 0)},
                                             {Blob(1, nullptr, 0), Text(2, u"abc")},
                                             {Text(2, u"abc"), Blob(1, nullptr, 0)},
                                             {Blob(1, kFive, 0), Blob(2, kFive, 5), Blob(3, kFive, 0)}};
  for (const auto& record : kRecords) {
    Make(record);
    WORD count = 0;
    BYTE* block = nullptr;
    DWORD size = 0;
    ASSERT_NE(CeReadRecordPropsEx(handle_, CEDB_ALLOWREALLOC, &count, nullptr, &block, &size, 0), 0u);
    ASSERT_EQ(count, record.size());
    const CEPROPVAL* values = reinterpret_cast<const CEPROPVAL*>(block);
    for (size_t i = 0; i < count; i++) {
      if (values[i].propid != record[i].propid || TypeOf(values[i].propid) != CEVT_BLOB) continue;
      EXPECT_EQ(values[i].val.blob.dwCount, record[i].val.blob.dwCount);
      EXPECT_GE(values[i].val.blob.lpb, block);
      EXPECT_LE(values[i].val.blob.lpb, block + size);
    }
    LocalFree(block);
  }
}

struct Buffer {
  const char* why;
  int32_t spare;  // bytes more or fewer than the block needs; kNone for no buffer at all
  bool reallocate;
  bool done;
};

constexpr int32_t kNone = -10000;

const Buffer kBuffers[] = {
    {"no buffer", kNone, false, false},
    {"one byte too small", -1, false, false},
    {"headers only", -12, false, false},
    {"exact", 0, false, true},
    {"larger", 100, false, true},
    {"no buffer, allocated", kNone, true, true},
    {"too small, allocated anew", -1, true, true},
    {"exact, nothing allocated", 0, true, true},
    {"larger, nothing allocated", 100, true, true},
};

TEST_F(Reads, BufferIsFilledReplacedOrRefused) {
  CEOID record = Make({I4(1, 1), Text(2, u"abcde")});
  const DWORD needed = 2 * kHeader + 12;
  for (const Buffer& row : kBuffers) {
    SCOPED_TRACE(row.why);
    DWORD size = row.spare == kNone ? 0 : static_cast<DWORD>(static_cast<int32_t>(needed) + row.spare);
    DWORD before = size;
    BYTE* mine = row.spare == kNone ? nullptr : static_cast<BYTE*>(LocalAlloc(LMEM_FIXED, size));
    BYTE* buffer = mine;
    WORD count = 0;
    SetLastError(kUntouched);
    CEOID read =
        CeReadRecordPropsEx(handle_, row.reallocate ? CEDB_ALLOWREALLOC : 0, &count, nullptr, &buffer, &size, 0);
    EXPECT_EQ(read, row.done ? record : 0);
    EXPECT_EQ(size, needed) << "what it takes, filled or refused";
    if (!row.done) {
      EXPECT_EQ(GetLastError(), DWORD{ERROR_INSUFFICIENT_BUFFER});
    }
    if (!row.reallocate || before >= needed) {
      EXPECT_EQ(buffer, mine) << "the caller's buffer stays";
    }
    if (row.done) {
      ASSERT_NE(buffer, nullptr);
      EXPECT_EQ(count, 2u);
      EXPECT_EQ(CopyOf(reinterpret_cast<CEPROPVAL*>(buffer)[1]), CopyOf(Text(2, u"abcde")));
      EXPECT_GE(LocalSize(buffer), needed);
    }
    LocalFree(buffer);
  }
}

TEST_F(Reads, BytesBehindTheBlockAreNotTouched) {
  Make({Text(2, u"ab")});
  std::array<CEPROPVAL, 3> space;
  memset(space.data(), 0xCC, sizeof(space));
  BYTE* buffer = reinterpret_cast<BYTE*>(space.data());
  DWORD size = sizeof(space);
  WORD count = 0;
  ASSERT_NE(CeReadRecordPropsEx(handle_, 0, &count, nullptr, &buffer, &size, 0), 0u);
  ASSERT_EQ(size, kHeader + 6);
  for (size_t i = size; i < sizeof(space); i++) EXPECT_EQ(buffer[i], 0xCC) << i;
}

// Of one length behind the other, in a block that is as long as it must be: short texts are written from the last one
// to the first, each over what stands before it.
TEST_F(Reads, ListsOfTextsOfAllLengthsFillTheirBlockAndNothingElse) {
  const size_t kLengths[] = {0, 1, 3, 6, 7, 8, 9, 14, 15, 16, 17, 40};
  const auto text_of = [](size_t length, WCHAR first) {
    std::u16string text;
    for (size_t i = 0; i < length; ++i) text.push_back(static_cast<WCHAR>(first + i));
    return text;
  };
  for (const size_t one : kLengths) {
    for (const size_t two : kLengths) {
      for (const WCHAR first : {u'A', u'\u3041'}) {
        SCOPED_TRACE(testing::Message() << one << ", " << two << ", " << static_cast<uint32_t>(first));
        const std::u16string texts[] = {text_of(one, u'a'), text_of(two, first), text_of(5, u'0')};
        Make({I4(1, 7), Text(2, texts[0].c_str()), Text(3, texts[1].c_str()), Text(4, texts[2].c_str())});
        const CEPROPID ids[] = {Prop(2, CEVT_LPWSTR), Prop(3, CEVT_LPWSTR), Prop(4, CEVT_LPWSTR)};
        for (WORD count = 1; count <= 3; ++count) {
          size_t bytes = count * sizeof(CEPROPVAL);
          for (size_t i = 0; i < count; ++i) bytes += (texts[i].size() + 1) * sizeof(WCHAR);
          constexpr size_t kGuard = 32;
          std::vector<BYTE> memory(bytes + 2 * kGuard, 0xCC);
          BYTE* block = memory.data() + kGuard;
          DWORD size = 0;
          WORD asked = count;
          BYTE* none = nullptr;
          EXPECT_REFUSED(CeReadRecordPropsEx(handle_, 0, &asked, ids, &none, &size, 0), ERROR_INSUFFICIENT_BUFFER);
          ASSERT_EQ(size, bytes);
          ASSERT_NE(CeReadRecordPropsEx(handle_, 0, &asked, ids, &block, &size, 0), 0u);
          const auto* values = reinterpret_cast<const CEPROPVAL*>(block);
          const BYTE* place = block + count * sizeof(CEPROPVAL);
          for (size_t i = 0; i < count; ++i) {
            EXPECT_EQ(values[i].propid, ids[i]);
            EXPECT_EQ(values[i].wLenData | values[i].wFlags, 0);
            EXPECT_EQ(reinterpret_cast<const BYTE*>(values[i].val.lpwstr), place);
            EXPECT_EQ(memcmp(place, texts[i].c_str(), (texts[i].size() + 1) * sizeof(WCHAR)), 0) << i;
            place += (texts[i].size() + 1) * sizeof(WCHAR);
          }
          EXPECT_EQ(std::count(memory.begin(), memory.begin() + kGuard, 0xCC), ptrdiff_t{kGuard});
          EXPECT_EQ(std::count(memory.end() - kGuard, memory.end(), 0xCC), ptrdiff_t{kGuard});
        }
      }
    }
  }
}

TEST_F(Reads, OneBlockServesManyReadsAndIsFreedOnce) {
  const WCHAR* const kTexts[] = {u"a", u"abcdefghijklmnopqrstuvwxyz", u"", u"abc"};
  for (const WCHAR* text : kTexts) Write(handle_, 0, {Text(2, text)});
  HANDLE stepping = Open(0, CEDB_AUTOINCREMENT);
  BYTE* block = nullptr;
  DWORD capacity = 0;
  for (const WCHAR* text : kTexts) {
    WORD count = 0;
    DWORD size = capacity;
    ASSERT_NE(CeReadRecordPropsEx(stepping, CEDB_ALLOWREALLOC, &count, nullptr, &block, &size, 0), 0u);
    EXPECT_EQ(CopyOf(*reinterpret_cast<CEPROPVAL*>(block)), CopyOf(Text(2, text)));
    capacity = std::max(capacity, size);
  }
  LocalFree(block);
}

TEST_F(Reads, RecordWithoutPropertiesIsThereAndHasNone) {
  CEOID record = Make({I4(1, 1)});
  EXPECT_EQ(Write(handle_, record, {Deleted(kNumber)}), record);
  for (DWORD flags : {DWORD{0}, DWORD{CEDB_ALLOWREALLOC}}) {
    BYTE* block = static_cast<BYTE*>(LocalAlloc(LMEM_FIXED, 64));
    DWORD size = 64;
    WORD count = 77;
    EXPECT_EQ(CeReadRecordPropsEx(handle_, flags, &count, nullptr, &block, &size, 0), record);
    EXPECT_EQ(count, 0u);
    EXPECT_EQ(size, 0u);
    LocalFree(block);
  }
  EXPECT_EQ(Read(handle_, {kNumber}).error, DWORD{ERROR_NO_DATA});
}

TEST_F(Reads, ReadNeedsItsOutputs) {
  Make({I4(1, 1)});
  WORD count = 1;
  BYTE* block = nullptr;
  DWORD size = 0;
  EXPECT_REFUSED(CeReadRecordPropsEx(handle_, CEDB_ALLOWREALLOC, nullptr, nullptr, &block, &size, 0),
                 ERROR_INVALID_PARAMETER);
  EXPECT_REFUSED(CeReadRecordPropsEx(handle_, CEDB_ALLOWREALLOC, &count, nullptr, nullptr, &size, 0),
                 ERROR_INVALID_PARAMETER);
  EXPECT_REFUSED(CeReadRecordPropsEx(handle_, CEDB_ALLOWREALLOC, &count, nullptr, &block, nullptr, 0),
                 ERROR_INVALID_PARAMETER);
  EXPECT_EQ(block, nullptr);
}

TEST_F(Reads, EveryTypeComesBackAsItWasWritten) {
  const std::vector<BYTE> large(CEDB_MAXPROPDATASIZE, 0xA5);
  const struct {
    const char* why;
    std::vector<CEPROPVAL> values;
  } kRecords[] = {
      {"I2", {I2(1, -32768), I2(2, 32767)}},
      {"UI2", {UI2(1, 0), UI2(2, 65535)}},
      {"I4", {I4(1, std::numeric_limits<int32_t>::min()), I4(2, std::numeric_limits<int32_t>::max())}},
      {"UI4", {UI4(1, 0), UI4(2, 0xFFFFFFFF)}},
      {"BOOL", {Bool(1, FALSE), Bool(2, TRUE)}},
      {"R8", {R8(1, -0.0), R8(2, 5e-324), R8(3, std::numeric_limits<double>::infinity())}},
      {"FILETIME", {Time(1, 0), Time(2, ~uint64_t{0}), Time(3, 0x01234567'89ABCDEF)}},
      {"LPWSTR", {Text(1, u""), Text(2, u"\u00E9\U0001F4D6\xFFFF"), Text(3, u"\xD800 alone")}},
      {"BLOB", {Blob(1, nullptr, 0), Blob(2, kFive, 5), Blob(3, large)}},
      {"the same number with every type", {I2(1, 1), I4(1, 2), Text(1, u"3"), Blob(1, kFive, 1), R8(1, 5)}},
      {"number 0 and number 65535", {I4(0, 1), I4(0xFFFF, 2)}},
  };
  std::vector<std::pair<CEOID, std::vector<Stored>>> written;
  for (const auto& row : kRecords) {
    SCOPED_TRACE(row.why);
    std::vector<Stored> expected;
    for (const CEPROPVAL& value : row.values) expected.push_back(CopyOf(value));
    written.push_back({Make(row.values), expected});
    EXPECT_EQ(ReadAll(handle_).values, expected);
  }
  Remount();
  handle_ = Open();
  for (const auto& [record, expected] : written) {
    SeekTo(handle_, record);
    EXPECT_EQ(ReadAll(handle_).values, expected) << "after a remount";
  }
}

}  // namespace
