// Sort orders: how values of each type compare, where records without the property stand, and that equal keys stand in
// the order of their identifiers, whatever the direction.
#include <pthread.h>

#include <algorithm>
#include <functional>
#include <limits>
#include <random>

#include "store_test.h"

namespace {

constexpr CEPROPID kText = Prop(1, CEVT_LPWSTR);

using SortOrders = DatabaseTest;

// The values in ascending order; those of one group are equal.
using Groups = std::vector<std::vector<CEPROPVAL>>;

std::vector<CEOID> Flat(std::vector<std::vector<CEOID>> groups, bool reversed) {
  if (reversed) std::reverse(groups.begin(), groups.end());
  std::vector<CEOID> all;
  for (auto& group : groups) {
    std::sort(group.begin(), group.end());
    all.insert(all.end(), group.begin(), group.end());
  }
  return all;
}

// Writes the values in a scrambled order and expects them sorted up and down, now and after a remount.
void ExpectSorted(const CEGUID& volume, const std::function<void()>& remount, const Groups& groups, DWORD flags = 0) {
  CEPROPID property = groups[0][0].propid;
  CEOID up = CreateDatabase(volume, u"up", {{property, flags}});
  CEOID down = CreateDatabase(volume, u"down", {{property, flags | CEDB_SORT_DESCENDING}});
  for (CEOID database : {up, down}) {
    HANDLE handle = OpenDatabase(volume, database);
    std::vector<std::pair<size_t, CEPROPVAL>> values;
    for (size_t i = 0; i < groups.size(); i++) {
      for (const CEPROPVAL& value : groups[i]) values.push_back({i, value});
    }
    std::shuffle(values.begin(), values.end(), std::minstd_rand(1));
    std::vector<std::vector<CEOID>> records(groups.size());
    for (const auto& [group, value] : values) records[group].push_back(Write(handle, 0, {value}));
    EXPECT_EQ(Order(handle), Flat(records, database == down));
    EXPECT_EQ(CloseHandle(handle), TRUE);
    remount();
    handle = OpenDatabase(volume, database);
    EXPECT_EQ(Order(handle), Flat(records, database == down)) << "after a remount";
    EXPECT_EQ(CloseHandle(handle), TRUE);
  }
  CeDeleteDatabaseEx(&volume, up);
  CeDeleteDatabaseEx(&volume, down);
}

TEST_F(SortOrders, EveryTypeIsSortedByItsValue) {
  constexpr double kInfinity = std::numeric_limits<double>::infinity();
  const struct {
    const char* type;
    Groups ascending;
  } kTypes[] = {
      {"I2",
       {{I2(1, -32768)}, {I2(1, -1)}, {I2(1, 0), I2(1, 0)}, {I2(1, 1)}, {I2(1, 255)}, {I2(1, 256)}, {I2(1, 32767)}}},
      {"UI2", {{UI2(1, 0)}, {UI2(1, 255)}, {UI2(1, 256)}, {UI2(1, 0x7FFF)}, {UI2(1, 0x8000)}, {UI2(1, 0xFFFF)}}},
      {"I4",
       {{I4(1, std::numeric_limits<int32_t>::min())},
        {I4(1, -65536)},
        {I4(1, -1)},
        {I4(1, 0)},
        {I4(1, 65536)},
        {I4(1, std::numeric_limits<int32_t>::max()), I4(1, std::numeric_limits<int32_t>::max())}}},
      {"UI4", {{UI4(1, 0)}, {UI4(1, 0x7FFFFFFF)}, {UI4(1, 0x80000000)}, {UI4(1, 0xFFFFFFFF)}}},
      {"BOOL, any true like any other", {{Bool(1, FALSE), Bool(1, FALSE)}, {Bool(1, TRUE), Bool(1, 5), Bool(1, -1)}}},
      {"FILETIME without a sign",
       {{Time(1, 0)},
        {Time(1, 0xFFFFFFFF)},
        {Time(1, 0x1'00000000)},
        {Time(1, 0x80000000'00000000)},
        {Time(1, ~uint64_t{0})}}},
      {"R8",
       {{R8(1, -kInfinity)},
        {R8(1, -1e300)},
        {R8(1, -1)},
        {R8(1, -5e-324)},
        {R8(1, 0.0), R8(1, -0.0), R8(1, 0.0)},
        {R8(1, 5e-324)},
        {R8(1, 1)},
        {R8(1, 1e300)},
        {R8(1, kInfinity)}}},
      {"LPWSTR",
       {{Text(1, u"")},
        {Text(1, u" ")},
        {Text(1, u"1")},
        {Text(1, u"10")},
        {Text(1, u"2")},
        {Text(1, u"a"), Text(1, u"a")},
        {Text(1, u"A")},
        {Text(1, u"ab")},
        {Text(1, u"b")},
        {Text(1, u"B")},
        {Text(1, u"e")},
        {Text(1, u"\u00E9"), Text(1, u"e\u0301")},
        {Text(1, u"f")},
        {Text(1, u"z")},
        {Text(1, u"\u03B1")},
        {Text(1, u"\u0430")}}},
  };
  for (const auto& row : kTypes) {
    SCOPED_TRACE(row.type);
    ExpectSorted(
        volume_, [this] { Remount(); }, row.ascending);
  }
}

// As long as texts may be, in a thread whose stack is small.
TEST_F(SortOrders, TheLongestTextsThatAgreeTakeNoMoreOfTheStackThanOthers) {
  constexpr size_t kStackBytes = 512 * 1024;
  Create({{kText, 0}});
  const std::u16string alike(30000, u'a');
  const std::u16string texts[] = {alike + u"b", alike, alike + u"b", alike};
  std::vector<CEOID> records;
  for (const std::u16string& text : texts) records.push_back(Write(handle_, 0, {Text(1, text.c_str())}));
  Remount();
  struct Job {
    const std::function<std::vector<CEOID>()> order;
    std::vector<CEOID> found;
  } job = {[this] { return Order(Open()); }, {}};
  pthread_attr_t attributes;
  ASSERT_EQ(pthread_attr_init(&attributes), 0);
  ASSERT_EQ(pthread_attr_setstacksize(&attributes, kStackBytes), 0);
  pthread_t thread;
  const auto run = [](void* of_job) -> void* {
    static_cast<Job*>(of_job)->found = static_cast<Job*>(of_job)->order();
    return nullptr;
  };
  ASSERT_EQ(pthread_create(&thread, &attributes, run, &job), 0);
  ASSERT_EQ(pthread_join(thread, nullptr), 0);
  pthread_attr_destroy(&attributes);
  EXPECT_EQ(job.found, (std::vector<CEOID>{records[1], records[3], records[0], records[2]}));
}

// A key is compared eight bytes at a time: the texts differ, end and are equal at every place of such a piece.
TEST_F(SortOrders, TextsThatBeginAlikeAreSortedByWhatFollowsHoweverFarBehind) {
  constexpr size_t kMostAlike = 40;
  std::vector<std::u16string> ascending;
  for (size_t alike = 1; alike <= kMostAlike; ++alike) ascending.emplace_back(alike, u'a');
  for (size_t alike = kMostAlike + 1; alike-- > 0;) ascending.push_back(std::u16string(alike, u'a') + u'b');
  Groups groups;
  for (const std::u16string& text : ascending) groups.push_back({Text(1, text.c_str()), Text(1, text.c_str())});
  ExpectSorted(
      volume_, [this] { Remount(); }, groups);
}

TEST_F(SortOrders, TextsThatBeginAlikeDifferAtTheirEnds) {
  const std::u16string kStart(300, u'\u00E9');
  const std::u16string kTexts[] = {kStart, kStart + u"a", kStart + u"A", kStart + u"aa", kStart + u"b"};
  Groups groups = {{Text(1, u"abcdefghijklmn")},
                   {Text(1, u"abcdefghijklmo"), Text(1, u"abcdefghijklmo")},
                   {Text(1, u"abcdefghijklmO")},
                   {Text(1, u"abcdefghijklmp")}};
  for (const std::u16string& text : kTexts) groups.push_back({Text(1, text.c_str())});
  ExpectSorted(
      volume_, [this] { Remount(); }, groups);
}

TEST_F(SortOrders, NotANumberIsTheLastOfTheNumbers) {
  Create({{Prop(1, CEVT_R8), 0}});
  CEOID none = Write(handle_, 0, {I4(9, 1)});
  CEOID nan = Write(handle_, 0, {R8(1, std::numeric_limits<double>::quiet_NaN())});
  CEOID infinite = Write(handle_, 0, {R8(1, std::numeric_limits<double>::infinity())});
  CEOID negative_nan = Write(handle_, 0, {R8(1, -std::numeric_limits<double>::quiet_NaN())});
  CEOID one = Write(handle_, 0, {R8(1, 1)});
  std::vector<CEOID> expected = {one, infinite, nan, negative_nan, none};
  EXPECT_EQ(Order(handle_), expected);
}

TEST_F(SortOrders, CaseInsensitiveOrderKeepsAccents) {
  ExpectSorted(
      volume_, [this] { Remount(); },
      {{Text(1, u"a"), Text(1, u"A"), Text(1, u"a")},
       {Text(1, u"ab"), Text(1, u"AB"), Text(1, u"aB"), Text(1, u"Ab")},
       {Text(1, u"b"), Text(1, u"B")},
       {Text(1, u"e"), Text(1, u"E")},
       {Text(1, u"\u00E9"), Text(1, u"\u00C9"), Text(1, u"E\u0301")},
       {Text(1, u"f"), Text(1, u"F")}},
      CEDB_SORT_CASEINSENSITIVE);
}

TEST_F(SortOrders, CaseFlagMeansNothingToNumbers) {
  ExpectSorted(
      volume_, [this] { Remount(); }, {{I4(1, -1)}, {I4(1, 97)}, {I4(1, 98)}}, CEDB_SORT_CASEINSENSITIVE);
}

TEST_F(SortOrders, OtherFlagsAreAcceptedAndKept) {
  constexpr DWORD kFlags[] = {CEDB_SORT_GENERICORDER,   CEDB_SORT_IGNORENONSPACE, CEDB_SORT_IGNORESYMBOLS,
                              CEDB_SORT_IGNOREKANATYPE, CEDB_SORT_IGNOREWIDTH,    CEDB_SORT_STRINGSORT,
                              CEDB_SORT_UNIQUE,         CEDB_SORT_NONNULL,        0x07F7};
  for (DWORD flags : kFlags) {
    SCOPED_TRACE(flags);
    Remount();
    CeDeleteDatabaseEx(&volume_, database_);
    Create({{kText, flags}, {Prop(2, CEVT_I4), flags}});
    EXPECT_EQ(Describe(volume_, database_).rgSortSpecs[0].dwFlags, flags);
    EXPECT_EQ(Describe(volume_, database_).rgSortSpecs[1].dwFlags, flags);
    std::vector<CEOID> records;
    for (int32_t i = 0; i < 5; i++) {
      const WCHAR text[] = {static_cast<WCHAR>(u'a' + i), 0};
      records.push_back(Write(handle_, 0, {Text(1, text), I4(2, i)}));
    }
    if ((flags & CEDB_SORT_DESCENDING) != 0) std::reverse(records.begin(), records.end());
    EXPECT_EQ(Order(Open(kText)), records) << "plain letters keep their order";
    EXPECT_EQ(Order(Open(Prop(2, CEVT_I4))), records);
  }
}

TEST_F(SortOrders, FlagAloneDecidesWhereRecordsWithoutThePropertyStand) {
  for (bool first : {false, true}) {
    for (bool descending : {false, true}) {
      SCOPED_TRACE(testing::Message() << "unknown first " << first << ", descending " << descending);
      DWORD flags = (first ? DWORD{CEDB_SORT_UNKNOWNFIRST} : 0) | (descending ? DWORD{CEDB_SORT_DESCENDING} : 0);
      Remount();
      CeDeleteDatabaseEx(&volume_, database_);
      Create({{Prop(1, CEVT_I4), flags}});
      std::vector<CEOID> absent = {Write(handle_, 0, {I4(2, 9)})};
      CEOID high = Write(handle_, 0, {I4(1, 2)});
      absent.push_back(Write(handle_, 0, {Deleted(kText)}));
      CEOID low = Write(handle_, 0, {I4(1, 1)});
      absent.push_back(Write(handle_, 0, {I2(1, 0)}));
      std::vector<CEOID> present = descending ? std::vector<CEOID>{high, low} : std::vector<CEOID>{low, high};
      std::vector<CEOID> expected = first ? absent : present;
      expected.insert(expected.end(), first ? present.begin() : absent.begin(), first ? present.end() : absent.end());
      EXPECT_EQ(Order(handle_), expected);
      Remount();
      EXPECT_EQ(Order(Open()), expected) << "after a remount";
    }
  }
}

TEST_F(SortOrders, WritesMoveRecordsAmongThoseWithAndWithoutTheProperty) {
  Create({{Prop(1, CEVT_I4), CEDB_SORT_DESCENDING}});
  std::vector<CEOID> r = WriteKeys({30, 20, 10});
  Write(handle_, r[0], {Deleted(Prop(1, CEVT_I4))});
  EXPECT_EQ(Order(handle_), (std::vector<CEOID>{r[1], r[2], r[0]}));
  Write(handle_, r[1], {Deleted(Prop(1, CEVT_I4))});
  EXPECT_EQ(Order(handle_), (std::vector<CEOID>{r[2], r[0], r[1]})) << "by identifier, not by time of the write";
  Write(handle_, r[1], {I4(1, 5)});
  EXPECT_EQ(Order(handle_), (std::vector<CEOID>{r[2], r[1], r[0]}));
}

TEST_F(SortOrders, TiesStayInTheOrderOfIdentifiersThroughWrites) {
  for (DWORD flags : {DWORD{0}, DWORD{CEDB_SORT_DESCENDING}}) {
    Remount();
    CeDeleteDatabaseEx(&volume_, database_);
    Create({{Prop(1, CEVT_I4), flags}});
    std::vector<CEOID> records = WriteKeys({7, 7, 7, 7});
    Write(handle_, records[1], {I4(1, 8)});
    Write(handle_, records[3], {I4(1, 6)});
    Write(handle_, records[3], {I4(1, 7)});
    Write(handle_, records[1], {I4(1, 7)});
    Write(handle_, records[0], {I4(1, 7), I4(2, 1)});
    EXPECT_EQ(Order(handle_), records);
    Remount();
    EXPECT_EQ(Order(Open()), records);
  }
}

TEST_F(SortOrders, FourOrdersOfOneDatabaseHoldTheSameRecords) {
  constexpr CEPROPID kProperties[] = {Prop(1, CEVT_I4), Prop(2, CEVT_LPWSTR), Prop(3, CEVT_R8), Prop(4, CEVT_FILETIME)};
  Create({{kProperties[0], 0},
          {kProperties[1], CEDB_SORT_DESCENDING | CEDB_SORT_CASEINSENSITIVE},
          {kProperties[2], CEDB_SORT_UNKNOWNFIRST},
          {kProperties[3], CEDB_SORT_DESCENDING | CEDB_SORT_UNKNOWNFIRST}});
  CEOID a = Write(handle_, 0, {I4(1, 2), Text(2, u"x"), R8(3, 1.5), Time(4, 9)});
  CEOID b = Write(handle_, 0, {I4(1, 1), Text(2, u"Y"), Time(4, 10)});
  CEOID c = Write(handle_, 0, {Text(2, u"X"), R8(3, -1.5)});
  const std::vector<CEOID> kExpected[] = {{b, a, c}, {b, a, c}, {b, c, a}, {c, b, a}};
  for (int round = 0; round < 2; round++) {
    for (size_t i = 0; i < std::size(kProperties); i++) EXPECT_EQ(Order(Open(kProperties[i])), kExpected[i]) << i;
    Remount();
  }
}

TEST_F(SortOrders, CanonicallyEquivalentTextsAreEqual) {
  Create({{kText, CEDB_SORT_UNIQUE}});
  const struct {
    const char* why;
    const WCHAR* first;
    const WCHAR* second;
  } kPairs[] = {
      {"composed and decomposed", u"\u00E9", u"e\u0301"},
      {"a sign and its letter", u"\u212B", u"\u00C5"},
      {"two marks in either order", u"a\u0323\u0307", u"a\u0307\u0323"},
  };
  for (const auto& row : kPairs) {
    SCOPED_TRACE(row.why);
    EXPECT_NE(Write(handle_, 0, {Text(1, row.first)}), 0u);
    EXPECT_REFUSED(Write(handle_, 0, {Text(1, row.second)}), ERROR_ALREADY_EXISTS);
  }
}

}  // namespace
