// Changing a database's description: only what the flags select, all of it or nothing, and sort orders only while
// nobody holds the database open.
#include <functional>

#include "store_test.h"

namespace {

constexpr CEPROPID kNumber = Prop(1, CEVT_I4);
constexpr CEPROPID kText = Prop(2, CEVT_LPWSTR);
constexpr CEPROPID kBlob = Prop(3, CEVT_BLOB);

class SetInformation : public DatabaseTest {
 protected:
  void SetUp() override {
    DatabaseTest::SetUp();
    Create({{kNumber, 0}, {kText, 0}});
  }
  CEDBASEINFO Describe() const { return ::Describe(volume_, database_); }
  BOOL Set(const CEDBASEINFO& info) { return CeSetDatabaseInfoEx(&volume_, database_, &info); }
  BOOL SetOrders(const std::vector<SORTORDERSPEC>& orders) {
    CEDBASEINFO info = DatabaseInfo(u"", orders);
    info.dwFlags = CEDB_VALIDSORTSPEC;
    return Set(info);
  }
  void CloseAll() {
    EXPECT_EQ(CloseHandle(handle_), TRUE);
    handle_ = INVALID_HANDLE_VALUE;
  }
};

bool SameDescription(const CEDBASEINFO& a, const CEDBASEINFO& b) {
  bool same = NameOf(a) == NameOf(b) && a.dwDbaseType == b.dwDbaseType && a.dwFlags == b.dwFlags &&
              a.wNumRecords == b.wNumRecords && a.dwSize == b.dwSize && a.wNumSortOrder == b.wNumSortOrder;
  for (WORD i = 0; same && i < a.wNumSortOrder; i++) {
    same = a.rgSortSpecs[i].propid == b.rgSortSpecs[i].propid && a.rgSortSpecs[i].dwFlags == b.rgSortSpecs[i].dwFlags;
  }
  return same;
}

TEST_F(SetInformation, ChangesOnlyWhatItsFlagsSelect) {
  WriteKeys({1, 2});
  CloseAll();
  // Every member differs from what is stored; each row selects one of them.
  CEDBASEINFO given = DatabaseInfo(u"Renamed", {{kText, CEDB_SORT_DESCENDING}}, 55);
  given.wNumRecords = 9999;
  given.dwSize = 9999;
  given.ftLastModified = {0, 0x02F00000};
  const struct {
    const char* what;
    DWORD flags;
    std::function<void(CEDBASEINFO& expected)> apply;
  } kSelections[] = {
      {"nothing", 0, [](CEDBASEINFO&) {}},
      {"the name", CEDB_VALIDNAME,
       [](CEDBASEINFO& expected) { std::u16string(u"Renamed").copy(expected.szDbaseName, 31); }},
      {"the type", CEDB_VALIDTYPE, [](CEDBASEINFO& expected) { expected.dwDbaseType = 55; }},
      {"the sort orders", CEDB_VALIDSORTSPEC,
       [](CEDBASEINFO& expected) {
         expected.wNumSortOrder = 1;
         expected.rgSortSpecs[0] = {kText, CEDB_SORT_DESCENDING};
       }},
      {"the time", CEDB_VALIDMODTIME, [](CEDBASEINFO&) {}},
      {"the flags", CEDB_VALIDDBFLAGS | CEDB_NOCOMPRESS,
       [](CEDBASEINFO& expected) { expected.dwFlags |= CEDB_NOCOMPRESS; }},
  };
  for (const auto& row : kSelections) {
    SCOPED_TRACE(row.what);
    CEDBASEINFO expected = Describe();
    given.dwFlags = row.flags;
    EXPECT_EQ(Set(given), TRUE);
    row.apply(expected);
    EXPECT_TRUE(SameDescription(Describe(), expected));
    bool time_given = Describe().ftLastModified.dwHighDateTime >= 0x02F00000;
    EXPECT_EQ(time_given, (row.flags & CEDB_VALIDMODTIME) != 0 || row.flags > CEDB_VALIDMODTIME) << "time";
    CEDBASEINFO stored = Describe();
    Remount();
    EXPECT_TRUE(SameDescription(Describe(), stored)) << "the same after a remount";
  }
}

TEST_F(SetInformation, SortOrdersChangeOnlyWhileNobodyHoldsTheDatabaseOpen) {
  HANDLE other = Open(kText);
  const std::vector<SORTORDERSPEC> kOthers[] = {
      {},
      {{kNumber, 0}},
      {{kText, 0}, {kNumber, 0}},
      {{kNumber, 0}, {kText, CEDB_SORT_DESCENDING}},
      {{kNumber, 0}, {kText, 0}, {Prop(4, CEVT_I2), 0}},
  };
  for (const auto& orders : kOthers) EXPECT_REFUSED(SetOrders(orders), ERROR_SHARING_VIOLATION);
  EXPECT_EQ(SetOrders({{kNumber, 0}, {kText, 0}}), TRUE) << "the list that is in force";
  CloseAll();
  EXPECT_REFUSED(SetOrders({{kNumber, 0}}), ERROR_SHARING_VIOLATION);  // one handle is enough
  EXPECT_EQ(CloseHandle(other), TRUE);
  EXPECT_EQ(SetOrders({{kNumber, 0}}), TRUE);
}

TEST_F(SetInformation, NameTypeAndTimeChangeOnOpenDatabases) {
  CEDBASEINFO info = DatabaseInfo(u"renamed", {}, 5);
  info.dwFlags = CEDB_VALIDNAME | CEDB_VALIDTYPE | CEDB_VALIDMODTIME;
  info.ftLastModified = {0, 0x02F00000};
  EXPECT_EQ(Set(info), TRUE);
  EXPECT_EQ(NameOf(Describe()), u"renamed");
  EXPECT_EQ(Describe().dwDbaseType, 5u);
  EXPECT_NE(Write(handle_, 0, {I4(1, 1)}), 0u) << "the handle lives on";
  CEOID found = 0;
  EXPECT_NO_HANDLE(CeOpenDatabaseEx(&volume_, &found, u"records", 0, 0, nullptr), ERROR_FILE_NOT_FOUND);
  EXPECT_NE(CeOpenDatabaseEx(&volume_, &found, u"renamed", 0, 0, nullptr), INVALID_HANDLE_VALUE);
}

TEST_F(SetInformation, NewSortOrdersAreBuiltFromTheRecordsThatAreThere) {
  CEOID a = Write(handle_, 0, {I4(1, 1), Text(2, u"b"), I2(4, 5)});
  CEOID b = Write(handle_, 0, {I4(1, 2), Text(2, u"a")});
  CEOID c = Write(handle_, 0, {I4(1, 3), Text(2, u"c"), I2(4, 1)});
  CloseAll();
  ASSERT_EQ(SetOrders({{Prop(4, CEVT_I2), 0}, {kNumber, CEDB_SORT_DESCENDING}}), TRUE);
  for (bool again : {false, true}) {
    if (again) Remount();
    std::vector<CEOID> by_short = {c, a, b};
    std::vector<CEOID> by_number = {c, b, a};
    EXPECT_EQ(Order(Open()), by_short);
    EXPECT_EQ(Order(Open(kNumber)), by_number);
    EXPECT_NO_HANDLE(Open(kText), ERROR_INVALID_PARAMETER);
  }
}

TEST_F(SetInformation, FlagsOfATextOrderChangeWithoutARemount) {
  CEOID big = Write(handle_, 0, {Text(2, u"A")});
  CEOID small = Write(handle_, 0, {Text(2, u"a")});
  CEOID next = Write(handle_, 0, {Text(2, u"b")});
  CloseAll();
  const struct {
    std::vector<SORTORDERSPEC> orders;
    std::vector<CEOID> expected;
  } kChanges[] = {
      {{{kText, CEDB_SORT_CASEINSENSITIVE}}, {big, small, next}},
      {{{kText, CEDB_SORT_DESCENDING}}, {next, big, small}},
      {{{kNumber, 0}, {kText, 0}}, {small, big, next}},
      {{{kText, CEDB_SORT_CASEINSENSITIVE | CEDB_SORT_DESCENDING}, {kNumber, 0}}, {next, big, small}},
      {{{kText, 0}}, {small, big, next}},
  };
  for (const auto& row : kChanges) {
    ASSERT_EQ(SetOrders(row.orders), TRUE);
    HANDLE handle = Open(kText);
    EXPECT_EQ(Order(handle), row.expected);
    EXPECT_EQ(Write(handle, small, {Text(2, u"a")}), small);
    EXPECT_EQ(Order(handle), row.expected);
    EXPECT_EQ(CloseHandle(handle), TRUE);
  }
}

TEST_F(SetInformation, SortOrdersCanBeTakenAway) {
  std::vector<CEOID> records = WriteKeys({3, 1, 2});
  for (std::vector<SORTORDERSPEC> none : {std::vector<SORTORDERSPEC>{}, {{0, CEDB_SORT_GENERICORDER}}}) {
    Remount();
    ASSERT_EQ(SetOrders(none), TRUE);
    EXPECT_EQ(Describe().wNumSortOrder, 0u);
    EXPECT_EQ(Describe().rgSortSpecs[0].propid, 0u);
    EXPECT_EQ(Describe().rgSortSpecs[0].dwFlags, DWORD{CEDB_SORT_GENERICORDER});
    EXPECT_EQ(Order(Open()), records);
    Remount();
    ASSERT_EQ(SetOrders({{kNumber, 0}}), TRUE);
  }
}

TEST_F(SetInformation, RefusedChangeLeavesEverythingAsItWas) {
  CEOID other = CreateDatabase(volume_, u"Other");
  ASSERT_NE(other, 0u);
  Write(handle_, 0, {I4(1, 1), Text(2, u"a"), I4(5, 1)});
  Write(handle_, 0, {I4(1, 1), Text(2, u"A"), I4(5, 2)});
  Write(handle_, 0, {I4(1, 2), Text(2, u"b")});
  const std::vector<CEOID> order = Order(handle_);
  CloseAll();
  const SORTORDERSPEC kFive[4] = {{kNumber, 0}, {kText, 0}, {Prop(4, CEVT_I2), 0}, {Prop(5, CEVT_I4), 0}};
  const struct {
    const char* why;
    const WCHAR* name;
    std::vector<SORTORDERSPEC> orders;
    WORD count;
    DWORD error;
  } kChanges[] = {
      {"a name in use", u"oTHER", {{kNumber, 0}}, 1, ERROR_DUP_NAME},
      {"an empty name", u"", {{kNumber, 0}}, 1, ERROR_INVALID_PARAMETER},
      {"a trailing backslash", u"x\\", {{kNumber, 0}}, 1, ERROR_INVALID_PARAMETER},
      {"a blob order", u"new", {{kBlob, 0}}, 1, ERROR_INVALID_PARAMETER},
      {"one property twice", u"new", {{kText, 0}, {kText, 1}}, 2, ERROR_INVALID_PARAMETER},
      {"five orders", u"new", {std::begin(kFive), std::end(kFive)}, 5, ERROR_INVALID_PARAMETER},
      {"unique over equal keys", u"new", {{kNumber, CEDB_SORT_UNIQUE}}, 1, ERROR_ALREADY_EXISTS},
      {"unique over keys that differ in case only",
       u"new",
       {{kText, CEDB_SORT_UNIQUE | CEDB_SORT_CASEINSENSITIVE}},
       1,
       ERROR_ALREADY_EXISTS},
      {"non-null over a record without it", u"new", {{Prop(5, CEVT_I4), CEDB_SORT_NONNULL}}, 1, ERROR_ACCESS_DENIED},
      {"unique implies non-null", u"new", {{Prop(5, CEVT_I4), CEDB_SORT_UNIQUE}}, 1, ERROR_ACCESS_DENIED},
      {"a good order before a bad one",
       u"new",
       {{kText, 0}, {Prop(5, CEVT_I4), CEDB_SORT_NONNULL}},
       2,
       ERROR_ACCESS_DENIED},
  };
  CEDBASEINFO before = Describe();
  for (const auto& row : kChanges) {
    SCOPED_TRACE(row.why);
    CEDBASEINFO info = DatabaseInfo(row.name, row.orders, 99);
    info.wNumSortOrder = row.count;
    EXPECT_REFUSED(Set(info), row.error);
    EXPECT_TRUE(SameDescription(Describe(), before));
    HANDLE handle = Open(kText);
    EXPECT_EQ(Order(handle), order);
    EXPECT_EQ(SeekValue(handle, CEDB_SEEK_VALUEFIRSTEQUAL, Text(2, u"A")), order[1]);
    EXPECT_EQ(CloseHandle(handle), TRUE);
  }
}

TEST_F(SetInformation, RefusedForAnOpenHandleChangesNotEvenTheName) {
  CEDBASEINFO before = Describe();
  CEDBASEINFO info = DatabaseInfo(u"new", {{kText, 0}}, 99);
  EXPECT_REFUSED(Set(info), ERROR_SHARING_VIOLATION);
  EXPECT_TRUE(SameDescription(Describe(), before));
}

TEST_F(SetInformation, ConstraintsThatTheRecordsMeetAreTaken) {
  Write(handle_, 0, {I4(1, 1), Text(2, u"a")});
  Write(handle_, 0, {I4(1, 2), Text(2, u"A")});
  CloseAll();
  ASSERT_EQ(SetOrders({{kNumber, CEDB_SORT_UNIQUE}, {kText, CEDB_SORT_NONNULL}}), TRUE);
  handle_ = Open();
  EXPECT_REFUSED(Write(handle_, 0, {I4(1, 2), Text(2, u"b")}), ERROR_ALREADY_EXISTS);
  EXPECT_REFUSED(Write(handle_, 0, {I4(1, 3)}), ERROR_ACCESS_DENIED);
  CloseAll();
  ASSERT_EQ(SetOrders({{kNumber, 0}}), TRUE);
  handle_ = Open();
  EXPECT_NE(Write(handle_, 0, {I4(1, 2)}), 0u) << "constraints go with their order";
}

TEST_F(SetInformation, RenamesToItsOwnNameInAnotherCase) {
  CEDBASEINFO info = DatabaseInfo(u"RECORDS");
  info.dwFlags = CEDB_VALIDNAME;
  EXPECT_EQ(Set(info), TRUE);
  EXPECT_EQ(NameOf(Describe()), u"RECORDS");
}

TEST_F(SetInformation, OldNameIsFreeAfterARename) {
  CEDBASEINFO info = DatabaseInfo(u"renamed");
  info.dwFlags = CEDB_VALIDNAME;
  ASSERT_EQ(Set(info), TRUE);
  EXPECT_NE(CreateDatabase(volume_, u"records"), 0u);
  EXPECT_REFUSED(CreateDatabase(volume_, u"Renamed"), ERROR_DUP_NAME);
}

TEST_F(SetInformation, NeedsTheIdentifierOfADatabase) {
  CEOID record = WriteKeys({1})[0];
  CEDBASEINFO info = DatabaseInfo(u"renamed");
  info.dwFlags = CEDB_VALIDNAME;
  for (CEOID oid : {CEOID{0}, record, record + 1000}) {
    EXPECT_REFUSED(CeSetDatabaseInfoEx(&volume_, oid, &info), ERROR_INVALID_PARAMETER);
  }
  EXPECT_REFUSED(CeSetDatabaseInfoEx(&volume_, database_, nullptr), ERROR_INVALID_PARAMETER);
}

}  // namespace
