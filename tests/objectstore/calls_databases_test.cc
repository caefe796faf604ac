// Creating, opening and deleting databases: their names, what is taken from a description, which sort order a handle
// gets, and who may delete.
#include "store_test.h"

namespace {

constexpr CEPROPID kNumber = Prop(1, CEVT_I4);
constexpr CEPROPID kText = Prop(2, CEVT_LPWSTR);
constexpr CEPROPID kBlob = Prop(3, CEVT_BLOB);

using Databases = DatabaseTest;

TEST_F(Databases, CreationAnswersAnIdentifierAndOpensNothing) {
  CEOID database = CreateDatabase(volume_, u"records");
  ASSERT_NE(database, 0u);
  EXPECT_EQ(CeDeleteDatabaseEx(&volume_, database), TRUE) << "nobody holds it open";
}

TEST_F(Databases, NameExistsOnceInAVolumeWhateverItsCase) {
  ASSERT_NE(CreateDatabase(volume_, u"Records"), 0u);
  EXPECT_REFUSED(CreateDatabase(volume_, u"Records"), ERROR_DUP_NAME);
  EXPECT_REFUSED(CreateDatabase(volume_, u"rECORDS"), ERROR_DUP_NAME);
  EXPECT_EQ(DatabaseNames(volume_), std::vector<std::u16string>{u"Records"}) << "its own case is kept";

  CEGUID other = kNoVolume;
  ASSERT_EQ(CeMountDBVol(&other, (directory_ / u"other.cdb").c_str(), CREATE_NEW), TRUE);
  EXPECT_NE(CreateDatabase(other, u"Records"), 0u) << "names of another volume do not count";
  EXPECT_EQ(CeUnmountDBVol(&other), TRUE);
}

TEST_F(Databases, CaseOfNamesIsFoldedCharacterByCharacter) {
  const struct {
    const char* why;
    const WCHAR* first;
    const WCHAR* second;
    bool same;
  } kNames[] = {
      {"letters beyond ASCII have cases, too", u"\u00E9t\u00E9", u"\u00C9T\u00C9", true},
      {"Greek", u"\u03B1\u03B2", u"\u0391\u0392", true},
      {"one character never stands for two", u"stra\u00DFe", u"STRASSE", false},
      {"accents count", u"resume", u"r\u00E9sum\u00E9", false},
      {"composed and decomposed are two names", u"\u00E5", u"a\u030A", false},
      {"a space counts", u"a b", u"ab", false},
  };
  for (const auto& row : kNames) {
    SCOPED_TRACE(row.why);
    CEOID first = CreateDatabase(volume_, row.first);
    ASSERT_NE(first, 0u);
    CEOID second = CreateDatabase(volume_, row.second);
    EXPECT_EQ(second == 0, row.same);
    CeDeleteDatabaseEx(&volume_, first);
    CeDeleteDatabaseEx(&volume_, second);
  }
}

TEST_F(Databases, NameIsGivenAndNeitherEmptyNorEndsInABackslash) {
  const struct {
    const char* why;
    const WCHAR* name;
    bool accepted;
  } kNames[] = {
      {"an empty name", u"", false},
      {"a trailing backslash", u"records\\", false},
      {"nothing but a backslash", u"\\", false},
      {"a backslash elsewhere", u"\\rec\\ords", true},
      {"one character", u"r", true},
      {"31 characters", u"1234567890123456789012345678901", true},
  };
  for (const auto& row : kNames) {
    SCOPED_TRACE(row.why);
    if (!row.accepted) {
      EXPECT_REFUSED(CreateDatabase(volume_, row.name), ERROR_INVALID_PARAMETER);
      continue;
    }
    CEOID database = CreateDatabase(volume_, row.name);
    ASSERT_NE(database, 0u);
    EXPECT_EQ(NameOf(Describe(volume_, database)), row.name);
    EXPECT_EQ(CeDeleteDatabaseEx(&volume_, database), TRUE);
  }
  EXPECT_TRUE(DatabaseNames(volume_).empty()) << "a refused creation leaves nothing";
}

TEST_F(Databases, NameWithoutATerminatorCountsAs31Characters) {
  CEDBASEINFO info = DatabaseInfo(u"1234567890123456789012345678901");
  info.szDbaseName[31] = u'x';
  CEOID database = CeCreateDatabaseEx(&volume_, &info);
  ASSERT_NE(database, 0u);
  CEDBASEINFO stored = Describe(volume_, database);
  EXPECT_EQ(NameOf(stored), u"1234567890123456789012345678901");
  EXPECT_EQ(stored.szDbaseName[31], u'\0');
  info.szDbaseName[31] = u'y';
  EXPECT_REFUSED(CeCreateDatabaseEx(&volume_, &info), ERROR_DUP_NAME);
}

TEST_F(Databases, DescriptionCountsOnlyWhereItsFlagsSaySo) {
  CEDBASEINFO info = DatabaseInfo(u"records", {{kNumber, 0}}, 77);
  info.dwFlags = CEDB_VALIDNAME;
  CEDBASEINFO stored = Describe(volume_, CeCreateDatabaseEx(&volume_, &info));
  EXPECT_EQ(stored.dwDbaseType, 0u) << "no type without its flag";
  EXPECT_EQ(stored.wNumSortOrder, 0u) << "no sort orders without their flag";

  info = DatabaseInfo(u"others", {{kNumber, 0}}, 77);
  info.dwFlags = CEDB_VALIDNAME | CEDB_VALIDTYPE;
  EXPECT_EQ(Describe(volume_, CeCreateDatabaseEx(&volume_, &info)).dwDbaseType, 77u);

  info = DatabaseInfo(u"nameless");
  info.dwFlags = CEDB_VALIDTYPE | CEDB_VALIDSORTSPEC;
  EXPECT_REFUSED(CeCreateDatabaseEx(&volume_, &info), ERROR_INVALID_PARAMETER);
  EXPECT_REFUSED(CeCreateDatabaseEx(&volume_, nullptr), ERROR_INVALID_PARAMETER);
}

TEST_F(Databases, CompressionFlagsAreKeptAndHaveNoEffect) {
  for (DWORD flags : {DWORD{0}, DWORD{CEDB_NOCOMPRESS}, DWORD{CEDB_SYSTEMDB}, DWORD{CEDB_NOCOMPRESS | CEDB_SYSTEMDB}}) {
    CEDBASEINFO info = DatabaseInfo(u"records");
    info.dwFlags |= flags;
    CEOID database = CeCreateDatabaseEx(&volume_, &info);
    EXPECT_EQ(Describe(volume_, database).dwFlags & 0xFFFF0000u, flags);
    HANDLE handle = OpenDatabase(volume_, database);
    EXPECT_NE(SeekTo(handle, Write(handle, 0, {I4(1, 1)})), 0u);
    EXPECT_EQ(ReadAll(handle).values, Values({I4(1, 1)}));
    EXPECT_EQ(CloseHandle(handle), TRUE);
    EXPECT_EQ(CeDeleteDatabaseEx(&volume_, database), TRUE);
  }
}

TEST_F(Databases, SortOrdersAreAtMostFourOnDifferentPropertiesAndNoBlob) {
  const struct {
    const char* why;
    WORD count;
    SORTORDERSPEC orders[CEDB_MAXSORTORDER];
    bool accepted;
  } kOrders[] = {
      {"one", 1, {{kNumber, 0}}, true},
      {"four", 4, {{kNumber, 0}, {kText, 0}, {Prop(3, CEVT_I2), 0}, {Prop(4, CEVT_R8), 0}}, true},
      {"five", 5, {{kNumber, 0}, {kText, 0}, {Prop(3, CEVT_I2), 0}, {Prop(4, CEVT_R8), 0}}, false},
      {"very many", 0xFFFF, {{kNumber, 0}, {kText, 0}, {Prop(3, CEVT_I2), 0}, {Prop(4, CEVT_R8), 0}}, false},
      {"a blob", 1, {{kBlob, 0}}, false},
      {"a blob behind others", 2, {{kNumber, 0}, {kBlob, 0}}, false},
      {"one property twice", 2, {{kNumber, 0}, {kNumber, 0}}, false},
      {"one property up and down", 3, {{kNumber, 0}, {kText, 0}, {kNumber, CEDB_SORT_DESCENDING}}, false},
      {"one number with two types is two properties", 2, {{kNumber, 0}, {Prop(1, CEVT_I2), 0}}, true},
  };
  for (const auto& row : kOrders) {
    SCOPED_TRACE(row.why);
    CEDBASEINFO info = DatabaseInfo(u"records");
    info.wNumSortOrder = row.count;
    std::copy(std::begin(row.orders), std::end(row.orders), info.rgSortSpecs);
    if (!row.accepted) {
      EXPECT_REFUSED(CeCreateDatabaseEx(&volume_, &info), ERROR_INVALID_PARAMETER);
      EXPECT_TRUE(DatabaseNames(volume_).empty());
      continue;
    }
    CEOID database = CeCreateDatabaseEx(&volume_, &info);
    ASSERT_NE(database, 0u);
    CEDBASEINFO stored = Describe(volume_, database);
    ASSERT_EQ(stored.wNumSortOrder, row.count);
    for (WORD i = 0; i < row.count; i++) EXPECT_EQ(stored.rgSortSpecs[i].propid, row.orders[i].propid);
    EXPECT_EQ(CeDeleteDatabaseEx(&volume_, database), TRUE);
  }
}

TEST_F(Databases, WithoutSortOrdersAPlaceholderStandsInTheFirstPlace) {
  const std::vector<SORTORDERSPEC> kInputs[] = {{}, {{0, CEDB_SORT_GENERICORDER}}};
  for (const auto& orders : kInputs) {
    SCOPED_TRACE(orders.empty() ? "no order given" : "the placeholder given");
    CEOID database = CreateDatabase(volume_, u"records", orders);
    ASSERT_NE(database, 0u);
    CEDBASEINFO stored = Describe(volume_, database);
    EXPECT_EQ(stored.wNumSortOrder, 0u);
    EXPECT_EQ(stored.rgSortSpecs[0].propid, 0u);
    EXPECT_EQ(stored.rgSortSpecs[0].dwFlags, DWORD{CEDB_SORT_GENERICORDER});
    EXPECT_EQ(CeDeleteDatabaseEx(&volume_, database), TRUE);
  }
}

TEST_F(Databases, OpenByIdentifierIgnoresTheName) {
  CEOID database = CreateDatabase(volume_, u"records");
  CreateDatabase(volume_, u"others");
  for (const WCHAR* name : {static_cast<const WCHAR*>(nullptr), u"", u"others", u"missing"}) {
    CEOID oid = database;
    HANDLE handle = CeOpenDatabaseEx(&volume_, &oid, name, 0, 0, nullptr);
    ASSERT_NE(handle, INVALID_HANDLE_VALUE);
    EXPECT_EQ(oid, database);
    CEOIDINFO info{};
    ASSERT_EQ(CeOidGetInfoEx(&volume_, Write(handle, 0, {I4(1, 1)}), &info), TRUE);
    EXPECT_EQ(info.infRecord.oidParent, database);
  }
}

TEST_F(Databases, OpenByNameWritesTheIdentifierBack) {
  CEOID database = CreateDatabase(volume_, u"Records");
  for (const WCHAR* name : {u"Records", u"RECORDS", u"records"}) {
    CEOID oid = 0;
    EXPECT_NE(CeOpenDatabaseEx(&volume_, &oid, name, 0, 0, nullptr), INVALID_HANDLE_VALUE);
    EXPECT_EQ(oid, database);
  }
}

TEST_F(Databases, OpenSaysWhyItFindsNothing) {
  CEOID database = CreateDatabase(volume_, u"records");
  CEOID record = Write(OpenDatabase(volume_, database), 0, {I4(1, 1)});
  CEOID none = 0;
  EXPECT_NO_HANDLE(CeOpenDatabaseEx(&volume_, &none, u"missing", 0, 0, nullptr), ERROR_FILE_NOT_FOUND);
  EXPECT_EQ(none, 0u);
  EXPECT_NO_HANDLE(CeOpenDatabaseEx(&volume_, &none, nullptr, 0, 0, nullptr), ERROR_INVALID_PARAMETER);
  EXPECT_NO_HANDLE(CeOpenDatabaseEx(&volume_, nullptr, u"records", 0, 0, nullptr), ERROR_INVALID_PARAMETER);
  EXPECT_NO_HANDLE(OpenDatabase(volume_, record), ERROR_INVALID_PARAMETER);
  EXPECT_NO_HANDLE(OpenDatabase(volume_, record + 1000), ERROR_INVALID_PARAMETER);
}

TEST_F(Databases, OpenTakesOnlyAPropertyThatIsASortOrderToTheBit) {
  CEOID database = CreateDatabase(volume_, u"records", {{kNumber, 0}, {kText, 0}});
  EXPECT_NE(OpenDatabase(volume_, database, kNumber), INVALID_HANDLE_VALUE);
  EXPECT_NE(OpenDatabase(volume_, database, kText), INVALID_HANDLE_VALUE);
  EXPECT_NO_HANDLE(OpenDatabase(volume_, database, Prop(1, CEVT_I2)), ERROR_INVALID_PARAMETER);
  EXPECT_NO_HANDLE(OpenDatabase(volume_, database, Prop(7, CEVT_I4)), ERROR_INVALID_PARAMETER);
  CEOID unsorted = CreateDatabase(volume_, u"unsorted");
  EXPECT_NO_HANDLE(OpenDatabase(volume_, unsorted, kNumber), ERROR_INVALID_PARAMETER);
  EXPECT_NE(OpenDatabase(volume_, unsorted), INVALID_HANDLE_VALUE);
}

TEST_F(Databases, PropertyZeroOpensTheFirstSortOrder) {
  Create({{kNumber, CEDB_SORT_DESCENDING}, {kText, 0}});
  std::vector<CEOID> records = WriteKeys({10, 30, 20});
  std::vector<CEOID> expected = {records[1], records[2], records[0]};
  EXPECT_EQ(Order(Open()), expected);
}

TEST_F(Databases, PropertyZeroWithoutSortOrdersIsTheOrderOfCreation) {
  Create();
  std::vector<CEOID> records = WriteKeys({10, 30, 20});
  EXPECT_EQ(Order(Open()), records);
}

TEST_F(Databases, OpenStandsOnTheFirstRecord) {
  Create({{kNumber, 0}});
  EXPECT_EQ(ReadAll(handle_).error, DWORD{ERROR_NO_MORE_ITEMS}) << "an empty database is at its end";
  std::vector<CEOID> records = WriteKeys({30, 10, 20});
  EXPECT_EQ(ReadAll(Open(kNumber)).oid, records[1]);
  EXPECT_EQ(ReadAll(Open(kNumber, CEDB_AUTOINCREMENT)).oid, records[1]);
}

TEST_F(Databases, HandlesHaveOrdersAndPointersOfTheirOwn) {
  Create({{kNumber, 0}, {kText, 0}});
  CEOID first = Write(handle_, 0, {I4(1, 1), Text(2, u"z")});
  CEOID second = Write(handle_, 0, {I4(1, 2), Text(2, u"a")});
  HANDLE by_number = Open(kNumber);
  HANDLE by_text = Open(kText);
  HANDLE by_number_too = Open(kNumber);
  EXPECT_EQ(Seek(by_number_too, CEDB_SEEK_CURRENT, 1), second);
  EXPECT_EQ(ReadAll(by_number).oid, first);
  EXPECT_EQ(ReadAll(by_text).oid, second);
}

TEST_F(Databases, OnlyTheAutomaticStepIsTakenFromTheOpenFlags) {
  Create({{kNumber, 0}});
  std::vector<CEOID> records = WriteKeys({10, 20});
  const struct {
    DWORD flags;
    bool steps;
  } kFlags[] = {{0, false}, {CEDB_AUTOINCREMENT, true}, {0xFFFE, false}, {0xFFFF, true}};
  for (const auto& row : kFlags) {
    HANDLE handle = Open(kNumber, row.flags);
    ASSERT_NE(handle, INVALID_HANDLE_VALUE);
    EXPECT_EQ(ReadAll(handle).oid, records[0]);
    EXPECT_EQ(ReadAll(handle).oid, records[row.steps ? 1 : 0]) << "flags " << row.flags;
  }
}

TEST_F(Databases, HandleIsNeitherZeroNorTheInvalidOneAndCountsOnce) {
  Create();
  HANDLE a = Open();
  HANDLE b = Open();
  for (HANDLE handle : {handle_, a, b}) {
    EXPECT_NE(handle, 0u);
    EXPECT_NE(handle, INVALID_HANDLE_VALUE);
  }
  EXPECT_NE(a, b);
  EXPECT_EQ(CloseHandle(a), TRUE);
  EXPECT_REFUSED(CloseHandle(a), ERROR_INVALID_HANDLE);
  EXPECT_EQ(ReadAll(b).error, DWORD{ERROR_NO_MORE_ITEMS}) << "the other handle lives on";
}

// More of them than the store keeps at hand.
TEST_F(Databases, ManyHandlesMeanEachItsOwnDatabase) {
  constexpr size_t kMany = 80;
  struct Opened {
    CEOID database;
    CEOID record;
    HANDLE handle;
  };
  std::vector<Opened> all;
  for (size_t i = 0; i < kMany; ++i) {
    const std::u16string name = {u'm', static_cast<char16_t>(u'0' + i / 10), static_cast<char16_t>(u'0' + i % 10)};
    const CEOID database = CreateDatabase(volume_, name.c_str());
    const HANDLE handle = OpenDatabase(volume_, database);
    all.push_back({database, Write(handle, 0, {I4(1, static_cast<int32_t>(i))}), handle});
  }
  const auto expect_all = [&] {
    for (const Opened& one : all) {
      if (one.handle == 0) continue;
      EXPECT_EQ(Seek(one.handle, CEDB_SEEK_BEGINNING, 0), one.record);
      EXPECT_EQ(ReadAll(one.handle).oid, one.record);
    }
  };
  expect_all();
  for (size_t i = 0; i < kMany; i += 3) {
    EXPECT_EQ(CloseHandle(all[i].handle), TRUE);
    EXPECT_REFUSED(Seek(all[i].handle, CEDB_SEEK_BEGINNING, 0), ERROR_INVALID_HANDLE);
    EXPECT_EQ(ReadAll(all[i].handle).error, DWORD{ERROR_INVALID_HANDLE});
    all[i].handle = 0;
  }
  expect_all();
  for (Opened& one : all) {
    if (one.handle == 0) one.handle = OpenDatabase(volume_, one.database);
  }
  expect_all();
}

TEST_F(Databases, DeletionTakesTheRecordsWithIt) {
  Create({{kNumber, 0}});
  std::vector<CEOID> records = WriteKeys({10, 20});
  EXPECT_EQ(CloseHandle(handle_), TRUE);
  EXPECT_EQ(CeDeleteDatabaseEx(&volume_, database_), TRUE);
  for (CEOID oid : {database_, records[0], records[1]}) {
    CEOIDINFO info{};
    EXPECT_REFUSED(CeOidGetInfoEx(&volume_, oid, &info), ERROR_INVALID_HANDLE);
  }
  EXPECT_NO_HANDLE(OpenDatabase(volume_, database_), ERROR_INVALID_PARAMETER);
  EXPECT_REFUSED(CeDeleteDatabaseEx(&volume_, database_), ERROR_INVALID_PARAMETER);
  Remount();
  EXPECT_TRUE(DatabaseNames(volume_).empty());
}

TEST_F(Databases, DeletionWaitsUntilEveryHandleIsClosed) {
  Create();
  HANDLE other = Open();
  EXPECT_REFUSED(CeDeleteDatabaseEx(&volume_, database_), ERROR_SHARING_VIOLATION);
  EXPECT_EQ(CloseHandle(handle_), TRUE);
  EXPECT_REFUSED(CeDeleteDatabaseEx(&volume_, database_), ERROR_SHARING_VIOLATION);
  EXPECT_EQ(CloseHandle(other), TRUE);
  EXPECT_EQ(CeDeleteDatabaseEx(&volume_, database_), TRUE);
}

TEST_F(Databases, DeletionNeedsTheIdentifierOfADatabase) {
  Create();
  CEOID record = WriteKeys({1})[0];
  EXPECT_REFUSED(CeDeleteDatabaseEx(&volume_, 0), ERROR_INVALID_PARAMETER);
  EXPECT_REFUSED(CeDeleteDatabaseEx(&volume_, record), ERROR_INVALID_PARAMETER);
  EXPECT_REFUSED(CeDeleteDatabaseEx(&volume_, record + 1000), ERROR_INVALID_PARAMETER);
}

TEST_F(Databases, NameOfADeletedDatabaseIsFreeAgain) {
  CEOID first = CreateDatabase(volume_, u"records");
  EXPECT_EQ(CeDeleteDatabaseEx(&volume_, first), TRUE);
  CEOID second = CreateDatabase(volume_, u"records");
  EXPECT_NE(second, 0u);
  EXPECT_NE(second, first);
  Remount();
  EXPECT_EQ(DatabaseNames(volume_).size(), 1u);
}

}  // namespace
