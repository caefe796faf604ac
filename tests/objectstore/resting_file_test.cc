// A volume's file that lies at rest, up to the first flush of a mount: what is read without SQLite is what SQLite would
// read, pages that lead astray are refused, and SQLite gets no other file later on.
#include "volume_file_fixture.h"

namespace {

namespace fs = std::filesystem;

constexpr size_t kPage = 4096;
constexpr uint32_t kRecordRoot = 4;
constexpr uint32_t kPackedRoot = 5;

// The bytes of a file, page by page.
class Pages {
 public:
  explicit Pages(std::string bytes) : bytes_(std::move(bytes)) {}
  const std::string& bytes() const { return bytes_; }
  uint32_t count() const { return static_cast<uint32_t>(bytes_.size() / kPage); }

  uint32_t Get(uint32_t page, size_t place, size_t width) const {
    uint32_t number = 0;
    for (size_t i = 0; i < width; ++i) number = number << 8 | static_cast<uint8_t>(bytes_[At(page, place) + i]);
    return number;
  }
  void Put(uint32_t page, size_t place, size_t width, uint32_t number) {
    for (size_t i = width; i-- > 0; number >>= 8) bytes_[At(page, place) + i] = static_cast<char>(number & 0xFF);
  }
  void Add(size_t bytes) { bytes_.append(bytes, '\0'); }

  size_t PlaceOfCell(uint32_t page, size_t index) const { return Get(page, (IsLeaf(page) ? 8 : 12) + 2 * index, 2); }
  void MoveCell(uint32_t page, size_t index, uint32_t place) {
    Put(page, (IsLeaf(page) ? 8 : 12) + 2 * index, 2, place);
  }
  uint32_t Child(uint32_t page, size_t index) const { return Get(page, PlaceOfCell(page, index), 4); }
  void SetChild(uint32_t page, size_t index, uint32_t child) { Put(page, PlaceOfCell(page, index), 4, child); }
  bool IsLeaf(uint32_t page) const { return bytes_[At(page, 0)] == 13; }
  uint32_t FirstLeaf() const {
    uint32_t page = kRecordRoot;
    while (!IsLeaf(page)) page = Child(page, 0);
    return page;
  }

  // An interior page of so many cells that all lead to one child and say that it holds the keys up to this one.
  void MakeInterior(uint32_t page, uint32_t cells, uint32_t child, uint64_t last_key) {
    constexpr uint32_t kCell = 4000;
    bytes_.replace(At(page, 0), kPage, kPage, '\0');
    Put(page, 0, 1, 5);
    Put(page, 3, 2, cells);
    Put(page, 8, 4, child);
    for (size_t i = 0; i < cells; ++i) Put(page, 12 + 2 * i, 2, kCell);
    Put(page, kCell, 4, child);
    Put(page, kCell + 12, 1, last_key & 0xFF);
    last_key >>= 8;
    for (uint32_t place = kCell + 11; place >= kCell + 4; --place, last_key >>= 7) {
      Put(page, place, 1, 0x80 | (last_key & 0x7F));
    }
  }

 private:
  static size_t At(uint32_t page, size_t place) { return (page - 1) * kPage + place; }
  std::string bytes_;
};

// One database of 3000 records, of which the first has a text of several pages, behind one of a single record.
class RestingFile : public VolumeFileTest {
 protected:
  void SetUp() override {
    const CEGUID guid = Mount(CREATE_NEW);
    Write(Open(guid, Create(guid, u"single")), 0, 1, u"in front");
    database_ = Create(guid, u"a");
    const HANDLE handle = Open(guid, database_);
    Write(handle, 0, 0, std::u16string(15000, u'x'));
    for (uint32_t i = 1; i < 3000; ++i) Write(handle, 0, i, std::u16string(i % 200, u'y'), i);
    contents_ = Contents(guid, database_);
    Unmount(guid);
    sound_ = Bytes(File());
    Pages pages(sound_);
    ASSERT_FALSE(pages.IsLeaf(kRecordRoot));
    ASSERT_TRUE(pages.IsLeaf(kPackedRoot));
  }

  void WriteOneMore(const CEGUID& guid) { contents_[Write(Open(guid, database_), 0, 7, u"new", 8)] = "7 new 8"; }

  // Unmounts; the next mount has the same contents.
  void ExpectContentsLast(const CEGUID& guid) {
    Unmount(guid);
    EXPECT_EQ(Names(), std::vector<std::string>{"test.vol"});
    const CEGUID again = Mount(OPEN_EXISTING);
    EXPECT_EQ(Contents(again, database_), contents_);
    Unmount(again);
  }

  CEOID database_ = 0;
  std::map<CEOID, std::string> contents_;
  std::string sound_;
};

TEST_F(RestingFile, ItStandsAloneUntilTheFirstFlush) {
  const CEGUID guid = Mount(OPEN_EXISTING);
  EXPECT_EQ(Contents(guid, database_), contents_);
  EXPECT_TRUE(CeFlushDBVol(&guid)) << "of nothing";
  EXPECT_EQ(Names(), std::vector<std::string>{"test.vol"});
  WriteOneMore(guid);
  EXPECT_EQ(Names(), std::vector<std::string>{"test.vol"});
  EXPECT_TRUE(CeFlushDBVol(&guid));
  EXPECT_EQ(Names(), (std::vector<std::string>{"test.vol", "test.vol-wal"}));
  EXPECT_EQ(Contents(guid, database_), contents_);
  ExpectContentsLast(guid);
}

TEST_F(RestingFile, WhatSqliteReadsOfAFileThatLooksUnusualIsTheSame) {
  const struct {
    const char* why;
    void (*change)(Pages& pages);
  } kRows[] = {
      {"another program wrote it last", [](Pages& pages) { pages.Put(1, 92, 4, 7); }},
      {"and took its length for another", [](Pages& pages) { pages.Put(1, 92, 4, 7), pages.Put(1, 28, 4, 3); }},
      {"it has a page more than it says", [](Pages& pages) { pages.Add(kPage); }},
      {"it has a part of a page more", [](Pages& pages) { pages.Add(100); }},
  };
  for (const auto& row : kRows) {
    SCOPED_TRACE(row.why);
    Pages pages(sound_);
    row.change(pages);
    WriteBytes(File(), pages.bytes());
    const CEGUID guid = Mount(OPEN_EXISTING);
    EXPECT_TRUE(fs::exists(File("test.vol-wal"))) << "SQLite has looked at it";
    EXPECT_EQ(Contents(guid, database_), contents_);
    Unmount(guid);
  }
}

// What stands beside the file by then came from elsewhere: nothing was there when the lock was taken.
TEST_F(RestingFile, ALogThatAppearsBeforeTheFirstFlushIsNotTakenUp) {
  const CEGUID other = Mount(CREATE_NEW, "other.vol");
  Create(other, u"other");
  ASSERT_TRUE(CeFlushDBVol(&other));
  const std::string log = Bytes(File("other.vol-wal"));
  Unmount(other);
  fs::remove(File("other.vol"));
  for (const bool folder : {false, true}) {
    SCOPED_TRACE(folder);
    const CEGUID guid = Mount(OPEN_EXISTING);
    if (folder) {
      fs::create_directory(File("test.vol-wal"));
    } else {
      WriteBytes(File("test.vol-wal"), log);
    }
    Write(Open(guid, database_), 0, 7, u"new");
    EXPECT_FALSE(CeFlushDBVol(&guid));
    EXPECT_EQ(GetLastError(), static_cast<DWORD>(ERROR_FILE_CORRUPT));
    EXPECT_FALSE(CeUnmountDBVol(&guid));
    Unmount(guid);
    EXPECT_EQ(Bytes(File()), sound_);
    if (!folder) {
      EXPECT_EQ(Bytes(File("test.vol-wal")), log);
    }
    fs::remove(File("test.vol-wal"));
  }
  const CEGUID guid = Mount(OPEN_EXISTING);
  EXPECT_EQ(Contents(guid, database_), contents_);
  Unmount(guid);
}

// An empty one is no log: whatever made it, SQLite begins its own there. One that was nobody's goes with the mount.
TEST_F(RestingFile, AnEmptyFileInThePlaceOfTheLogIsUsed) {
  const CEGUID guid = Mount(OPEN_EXISTING);
  WriteBytes(File("test.vol-wal"), "");
  WriteOneMore(guid);
  EXPECT_TRUE(CeFlushDBVol(&guid));
  ExpectContentsLast(guid);
}

TEST_F(RestingFile, PagesThatLeadAstrayAreRefused) {
  const struct {
    const char* why;
    void (*change)(Pages& pages);
  } kRows[] = {
      {"the root is its own first child", [](Pages& p) { p.SetChild(kRecordRoot, 0, kRecordRoot); }},
      {"the root is its own last child", [](Pages& p) { p.Put(kRecordRoot, 8, 4, kRecordRoot); }},
      {"a child that is no page", [](Pages& p) { p.SetChild(kRecordRoot, 0, 0); }},
      {"a child behind the file's end", [](Pages& p) { p.SetChild(kRecordRoot, 0, p.count() + 1); }},
      {"a child behind what any file holds", [](Pages& p) { p.SetChild(kRecordRoot, 0, 0xFFFFFFFF); }},
      {"the first page as a child", [](Pages& p) { p.SetChild(kRecordRoot, 0, 1); }},
      {"the root of an empty table as a child", [](Pages& p) { p.SetChild(kRecordRoot, 0, kPackedRoot); }},
      {"a child twice", [](Pages& p) { p.SetChild(kRecordRoot, 1, p.Child(kRecordRoot, 0)); }},
      {"two children in each other's place",
       [](Pages& p) {
         const uint32_t first = p.Child(kRecordRoot, 0);
         p.SetChild(kRecordRoot, 0, p.Child(kRecordRoot, 1));
         p.SetChild(kRecordRoot, 1, first);
       }},
      {"the root has no cells", [](Pages& p) { p.Put(kRecordRoot, 3, 2, 0); }},
      {"the root has more cells than there can be", [](Pages& p) { p.Put(kRecordRoot, 3, 2, 682); }},
      {"as many as can be written", [](Pages& p) { p.Put(kRecordRoot, 3, 2, 0xFFFF); }},
      {"a cell of the root behind its page", [](Pages& p) { p.MoveCell(kRecordRoot, 0, 4096); }},
      {"a cell that ends behind its page", [](Pages& p) { p.MoveCell(kRecordRoot, 0, 4093); }},
      {"a cell whose key ends behind its page",
       [](Pages& p) {
         p.Put(kRecordRoot, 4092, 4, p.Child(kRecordRoot, 0));
         p.MoveCell(kRecordRoot, 0, 4092);
       }},
      {"the root is a page of an index", [](Pages& p) { p.Put(kRecordRoot, 0, 1, 2); }},
      {"the root is a page of no kind", [](Pages& p) { p.Put(kRecordRoot, 0, 1, 0); }},
      {"a leaf without rows", [](Pages& p) { p.Put(p.FirstLeaf(), 3, 2, 0); }},
      {"a leaf with a row less", [](Pages& p) { p.Put(p.FirstLeaf(), 3, 2, p.Get(p.FirstLeaf(), 3, 2) - 1); }},
      {"a leaf with more rows than there can be", [](Pages& p) { p.Put(p.FirstLeaf(), 3, 2, 682); }},
      {"a row behind its page", [](Pages& p) { p.MoveCell(p.FirstLeaf(), 1, 0xFFFF); }},
      {"a row that ends behind its page", [](Pages& p) { p.MoveCell(p.FirstLeaf(), 1, 4090); }},
      {"a row within the page's header", [](Pages& p) { p.MoveCell(p.FirstLeaf(), 1, 0); }},
      {"a row twice", [](Pages& p) { p.MoveCell(p.FirstLeaf(), 1, p.Get(p.FirstLeaf(), 8, 2)); }},
      {"rows in each other's place",
       [](Pages& p) {
         const uint32_t leaf = p.FirstLeaf();
         const uint32_t first = p.Get(leaf, 8, 2);
         p.MoveCell(leaf, 0, p.Get(leaf, 10, 2));
         p.MoveCell(leaf, 1, first);
       }},
  };
  for (const auto& row : kRows) {
    SCOPED_TRACE(row.why);
    Pages pages(sound_);
    row.change(pages);
    ASSERT_NE(pages.bytes(), sound_);
    WriteBytes(File(), pages.bytes());
    const CEGUID guid = Mount(OPEN_EXISTING);
    CEOID oid = database_;
    // With a handle that steps by itself all of it is read at once.
    EXPECT_EQ(CeOpenDatabaseEx(&guid, &oid, nullptr, 0, CEDB_AUTOINCREMENT, nullptr), INVALID_HANDLE_VALUE);
    EXPECT_EQ(GetLastError(), static_cast<DWORD>(ERROR_FILE_CORRUPT));
    Unmount(guid);
    EXPECT_EQ(Bytes(File()), pages.bytes());
    EXPECT_EQ(Names(), std::vector<std::string>{"test.vol"});
  }
}

TEST_F(RestingFile, ABodyThatGoesOnWhereItCannotIsRefused) {
  const uint32_t leaf = Pages(sound_).FirstLeaf();
  // The link stands behind the part of the body that is on the row's own page.
  const size_t cell = Pages(sound_).PlaceOfCell(leaf, 1);
  size_t link = 0;
  for (size_t place = cell; place + 4 <= kPage && link == 0; ++place) {
    const uint32_t page = Pages(sound_).Get(leaf, place, 4);
    if (page > kPackedRoot && page <= Pages(sound_).count() && place > cell + 100) link = place;
  }
  ASSERT_NE(link, 0u);
  const uint32_t next = Pages(sound_).Get(leaf, link, 4);
  for (const uint32_t wrong : {0u, 1u, next + 1, leaf, Pages(sound_).count() + 1, 0xFFFFFFFFu}) {
    SCOPED_TRACE(wrong);
    Pages pages(sound_);
    pages.Put(leaf, link, 4, wrong);
    WriteBytes(File(), pages.bytes());
    const CEGUID guid = Mount(OPEN_EXISTING);
    CEOID oid = database_;
    EXPECT_EQ(CeOpenDatabaseEx(&guid, &oid, nullptr, 0, 0, nullptr), INVALID_HANDLE_VALUE);
    EXPECT_EQ(GetLastError(), static_cast<DWORD>(ERROR_FILE_CORRUPT));
    Unmount(guid);
  }
  Pages pages(sound_);
  pages.Put(next, 0, 4, next);  // and on and on
  WriteBytes(File(), pages.bytes());
  const CEGUID guid = Mount(OPEN_EXISTING);
  CEOID oid = database_;
  EXPECT_EQ(CeOpenDatabaseEx(&guid, &oid, nullptr, 0, 0, nullptr), INVALID_HANDLE_VALUE);
  Unmount(guid);
}

// Each page leads to the next one 600 times, and says of none that it is the last: were every way gone, there would be no
// end to it.
TEST_F(RestingFile, PagesThatMultiplyEndSoon) {
  const struct {
    const char* why;
    uint32_t rows_of_last;
  } kRows[] = {{"to a leaf without rows", 0}, {"to a leaf of one row, of the database in front", 1}};
  for (const auto& row : kRows) {
    for (const uint32_t levels : {3u, 15u, 30u}) {
      SCOPED_TRACE(std::string(row.why) + " over so many pages: " + std::to_string(levels));
      Pages pages(sound_);
      const uint32_t leaf = pages.FirstLeaf();
      uint32_t page = kRecordRoot;
      for (uint32_t next = pages.count(), level = 1; level <= levels; ++level, --next) {
        pages.MakeInterior(page, 600, level == levels ? leaf : next, (uint64_t{database_} << 32) + 7000);
        page = next;
      }
      pages.Put(leaf, 3, 2, row.rows_of_last);
      WriteBytes(File(), pages.bytes());
      const CEGUID guid = Mount(OPEN_EXISTING);
      CEOID oid = database_;
      EXPECT_EQ(CeOpenDatabaseEx(&guid, &oid, nullptr, 0, CEDB_AUTOINCREMENT, nullptr), INVALID_HANDLE_VALUE);
      EXPECT_EQ(GetLastError(), static_cast<DWORD>(ERROR_FILE_CORRUPT));
      Unmount(guid);
    }
  }
}

}  // namespace
