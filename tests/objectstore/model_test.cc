// A random stream of calls, made both to a mounted volume and to a plain model of it: every answer must be the same.
//
// A stream is told by its seed, which is printed. XKRDB_MODEL_SEED and XKRDB_MODEL_STEPS choose another one:
//   XKRDB_MODEL_SEED=17 XKRDB_MODEL_STEPS=100000 objectstore_model_test --gtest_filter='*OneSeed*'
#include <stdlib.h>

#include <algorithm>
#include <fstream>
#include <iterator>
#include <limits>
#include <random>
#include <sstream>

#include "child_process.h"
#include "store_model.h"
#include "store_test.h"

namespace {

constexpr size_t kMostDatabases = 4;
constexpr size_t kMostHandles = 6;
constexpr size_t kMostRecords = 20;  // of one database; the model sorts them anew for every question

constexpr WORD kTypes[] = {CEVT_I4,   CEVT_LPWSTR, CEVT_R8, CEVT_UI2, CEVT_FILETIME,
                           CEVT_BOOL, CEVT_BLOB,   CEVT_I2, CEVT_UI4, CEVT_LPWSTR};
const WCHAR* const kTexts[] = {u"",
                               u"a",
                               u"A",
                               u"b",
                               u"B",
                               u"ab",
                               u"aB",
                               u"\u00E9",
                               u"e",
                               u"f",
                               u"e1",
                               u"\u00C9",
                               u"z z",
                               u"\u03B1",
                               u"zz",
                               u"-a",
                               u"a-",
                               u"\U0001F4D6",
                               u"a common start, b",
                               u"a common start, B",
                               u"a common start, a"};
const WCHAR* const kNames[] = {u"one", u"ONE", u"two", u"Two", u"three", u"four", u"five", u"", u"bad\\"};
const double kReals[] = {-1.5, -0.0, 0.0, 2, 1e300, -std::numeric_limits<double>::infinity()};
const uint64_t kTimes[] = {0, 1, 0x1'00000000, 0x80000000'00000000, ~uint64_t{0}};
const BYTE kBytes[] = {1, 2, 3, 4, 5, 6, 7, 8, 9};

class ModelRun {
 public:
  ModelRun(const std::u16string& path, uint64_t seed) : path_(path), random_(seed) { Mount(CREATE_NEW); }

  // One random call; what it was, for the message of a failure.
  void Step();
  void ExpectSame() { EXPECT_EQ(TextOfVolume(volume_), model_.Text()); }
  void Unmount();
  const std::string& call() const { return call_; }

  // Where the state of each flush is written, for a process that looks at it after this one has died.
  std::string journal;

 private:
  uint64_t Below(uint64_t limit) { return random_() % limit; }
  bool OneIn(uint64_t times) { return Below(times) == 0; }
  template <class Items>
  const auto& Any(const Items& items) {
    return *std::next(std::begin(items), static_cast<ptrdiff_t>(Below(std::size(items))));
  }
  HANDLE AnyHandle() { return Any(model_.handles()).first; }
  CEOID AnyDatabase() { return model_.databases().empty() ? 77 : Any(model_.databases()).first; }
  CEOID AnyRecord(HANDLE handle);

  void Mount(DWORD disposition);
  void WriteJournal();
  CEPROPVAL AnyValue(WORD id);
  CEPROPID AnyProperty();
  std::vector<CEPROPVAL> AnyEntries();
  CEDBASEINFO AnyInfo();

  void CreateADatabase();
  void ChangeADatabase();
  void DeleteADatabase();
  void OpenAHandle();
  void CloseAHandle();
  void SeekSomewhere();
  void SeekAValue();
  void ReadARecord();
  void WriteARecord();
  void WriteManyRecords();
  void DeleteARecord();
  void DescribeADatabase();
  void FlushOrRemount();

  void ExpectAnswer(bool done, const Refusals& refusals);
  void ExpectNew(CEOID created);

  std::u16string path_;
  std::mt19937_64 random_;
  CEGUID volume_ = kNoVolume;
  StoreModel model_;
  CEOID highest_ = 0;
  std::string call_;
};

void ModelRun::Mount(DWORD disposition) {
  ASSERT_EQ(CeMountDBVol(&volume_, path_.c_str(), disposition), TRUE) << GetLastError();
}

void ModelRun::Unmount() {
  ASSERT_EQ(CeUnmountDBVol(&volume_), TRUE) << GetLastError();
  model_.Flush();
  model_.CloseAll();
}

void ModelRun::WriteJournal() {
  if (!journal.empty()) std::ofstream(journal, std::ios::binary | std::ios::trunc) << model_.FlushedText();
}

void ModelRun::ExpectAnswer(bool done, const Refusals& refusals) {
  DWORD error = GetLastError();
  EXPECT_EQ(done, refusals.empty()) << "last error " << error;
  if (!done && !refusals.empty()) {
    EXPECT_EQ(refusals.count(error), 1u) << "last error " << error;
  }
}

void ModelRun::ExpectNew(CEOID created) {
  if (created == 0) return;
  EXPECT_GT(created, highest_) << "an identifier was given out again";
  highest_ = created;
}

CEPROPID ModelRun::AnyProperty() {
  WORD id = static_cast<WORD>(1 + Below(std::size(kTypes)));
  return Prop(id, kTypes[id - 1]);
}

CEPROPVAL ModelRun::AnyValue(WORD id) {
  switch (kTypes[id - 1]) {
    case CEVT_I2:
      return I2(id, static_cast<int16_t>(static_cast<int>(Below(5)) - 2));
    case CEVT_UI2:
      return UI2(id, static_cast<uint16_t>(Below(3) * 30000));
    case CEVT_I4:
      return I4(id, static_cast<int32_t>(Below(7)) - 3);
    case CEVT_UI4:
      return UI4(id, static_cast<uint32_t>(Below(4) * 0x40000001));
    case CEVT_BOOL:
      return Bool(id, OneIn(2) ? TRUE : FALSE);
    case CEVT_R8:
      return R8(id, Any(kReals));
    case CEVT_FILETIME:
      return Time(id, Any(kTimes));
    case CEVT_LPWSTR:
      return Text(id, Any(kTexts));
    default:
      return Blob(id, kBytes, static_cast<DWORD>(Below(std::size(kBytes) + 1)));
  }
}

std::vector<CEPROPVAL> ModelRun::AnyEntries() {
  std::vector<CEPROPVAL> entries;
  for (uint64_t count = OneIn(30) ? 0 : 1 + Below(6); count > 0; count--) {
    CEPROPID property = AnyProperty();
    entries.push_back(OneIn(5) ? Deleted(property) : AnyValue(static_cast<WORD>(property >> 16)));
  }
  if (OneIn(40)) entries.push_back(Text(2, nullptr));
  return entries;
}

CEDBASEINFO ModelRun::AnyInfo() {
  std::vector<SORTORDERSPEC> orders;
  for (uint64_t count = Below(CEDB_MAXSORTORDER + 1); count > 0; count--) {
    CEPROPID property = AnyProperty();
    bool taken = std::any_of(orders.begin(), orders.end(), [&](const auto& spec) { return spec.propid == property; });
    if ((taken || TypeOf(property) == CEVT_BLOB) && !OneIn(10)) continue;
    DWORD flags = static_cast<DWORD>(Below(8));
    if (OneIn(12)) flags |= CEDB_SORT_UNIQUE;
    if (OneIn(12)) flags |= CEDB_SORT_NONNULL;
    orders.push_back({property, flags});
  }
  CEDBASEINFO info = DatabaseInfo(Any(kNames), orders, static_cast<DWORD>(Below(3)));
  if (OneIn(3)) info.dwFlags |= CEDB_NOCOMPRESS;
  return info;
}

CEOID ModelRun::AnyRecord(HANDLE handle) {
  const auto& records = model_.databases().at(model_.handles().at(handle).database).records;
  if (records.empty() || OneIn(20)) return static_cast<CEOID>(1 + Below(highest_ + 2));
  return Any(records).first;
}

void ModelRun::CreateADatabase() {
  if (model_.databases().size() >= kMostDatabases) return;
  call_ = "create a database";
  CEDBASEINFO info = AnyInfo();
  CEOID created = CeCreateDatabaseEx(&volume_, &info);
  ExpectAnswer(created != 0, model_.CreateDatabase(info, created));
  ExpectNew(created);
}

void ModelRun::ChangeADatabase() {
  if (model_.databases().empty()) return;
  CEOID database = AnyDatabase();
  CEDBASEINFO info = AnyInfo();
  const auto& orders = model_.databases().at(database).orders;
  if (OneIn(4)) {  // the orders that it has
    info.wNumSortOrder = static_cast<WORD>(orders.size());
    std::copy(orders.begin(), orders.end(), info.rgSortSpecs);
  }
  const DWORD kSelections[] = {CEDB_VALIDNAME, CEDB_VALIDTYPE, CEDB_VALIDSORTSPEC, CEDB_VALIDDBFLAGS,
                               CEDB_VALIDNAME | CEDB_VALIDTYPE | CEDB_VALIDSORTSPEC};
  info.dwFlags = (info.dwFlags & 0xFFFF0000u) | Any(kSelections);
  call_ = "change database " + std::to_string(database) + ", flags " + std::to_string(info.dwFlags);
  bool done = CeSetDatabaseInfoEx(&volume_, database, &info);
  ExpectAnswer(done, model_.ChangeDatabase(database, info));
}

void ModelRun::DeleteADatabase() {
  CEOID database = AnyDatabase();
  call_ = "delete database " + std::to_string(database);
  bool done = CeDeleteDatabaseEx(&volume_, database);
  ExpectAnswer(done, model_.DeleteDatabase(database));
}

void ModelRun::OpenAHandle() {
  if (model_.handles().size() >= kMostHandles) return;
  CEOID database = AnyDatabase();
  CEPROPID order = OneIn(3) ? 0 : AnyProperty();
  if (model_.databases().count(database) != 0 && !model_.databases().at(database).orders.empty() && !OneIn(4)) {
    order = Any(model_.databases().at(database).orders).propid;
  }
  bool steps = OneIn(2);
  call_ = "open database " + std::to_string(database) + " in the order of " + std::to_string(order);
  HANDLE handle = OpenDatabase(volume_, database, order, steps ? CEDB_AUTOINCREMENT : 0);
  ExpectAnswer(handle != INVALID_HANDLE_VALUE, model_.Open(database, order, steps, handle));
}

void ModelRun::CloseAHandle() {
  HANDLE handle = AnyHandle();
  call_ = "close a handle";
  EXPECT_EQ(CloseHandle(handle), TRUE);
  model_.Close(handle);
}

void ModelRun::SeekSomewhere() {
  HANDLE handle = AnyHandle();
  const DWORD kKinds[] = {CEDB_SEEK_CEOID, CEDB_SEEK_BEGINNING, CEDB_SEEK_END, CEDB_SEEK_CURRENT, CEDB_SEEK_CURRENT};
  DWORD type = Any(kKinds);
  int32_t count = static_cast<int32_t>(Below(type == CEDB_SEEK_CURRENT ? 7 : 24)) - 3;
  if (type == CEDB_SEEK_CEOID) count = static_cast<int32_t>(AnyRecord(handle));
  // Whether a seek of no distance ends what an automatic step meant is nobody's business.
  if (type == CEDB_SEEK_CURRENT && count == 0 && model_.handles().at(handle).reached_by_step) count = 1;
  call_ = "seek of type " + std::to_string(type) + " by " + std::to_string(count);
  DWORD index = 0;
  CEOID found = Seek(handle, type, count, &index);
  DWORD error = found == 0 ? GetLastError() : 0;
  ModelSeek expected = type == CEDB_SEEK_CEOID ? model_.SeekRecord(handle, static_cast<CEOID>(count))
                                               : model_.SeekPosition(handle, type, count);
  EXPECT_EQ(found, expected.record);
  EXPECT_EQ(index, expected.index);
  EXPECT_EQ(error, expected.error);
}

void ModelRun::SeekAValue() {
  HANDLE handle = AnyHandle();
  const DWORD kKinds[] = {CEDB_SEEK_VALUESMALLER, CEDB_SEEK_VALUEFIRSTEQUAL, CEDB_SEEK_VALUEGREATER,
                          CEDB_SEEK_VALUENEXTEQUAL};
  DWORD type = Any(kKinds);
  const ModelHandle& state = model_.handles().at(handle);
  CEPROPID property = AnyProperty();
  if (state.order >= 0 && !OneIn(10)) {
    property = model_.databases().at(state.database).orders[static_cast<size_t>(state.order)].propid;
  }
  CEPROPVAL value = AnyValue(static_cast<WORD>(property >> 16));
  call_ = "seek of type " + std::to_string(type) + " to a value of " + std::to_string(property);
  DWORD index = 0;
  CEOID found = SeekValue(handle, type, value, &index);
  DWORD error = found == 0 ? GetLastError() : 0;
  ModelSeek expected = model_.SeekValue(handle, type, CopyOf(value));
  EXPECT_EQ(found, expected.record);
  EXPECT_EQ(index, expected.index);
  EXPECT_EQ(error, expected.error);
}

void ModelRun::ReadARecord() {
  HANDLE handle = AnyHandle();
  bool all = OneIn(2);
  std::vector<CEPROPID> ids;
  for (uint64_t count = 1 + Below(3); count > 0; count--) ids.push_back(AnyProperty());
  call_ = all ? "read everything" : "read some properties";
  Reading reading = all ? ReadAll(handle) : Read(handle, ids);
  Reading expected = model_.Read(handle, all ? nullptr : &ids);
  EXPECT_EQ(reading.oid, expected.oid);
  EXPECT_EQ(reading.error, expected.error);
  EXPECT_EQ(reading.values, expected.values);
}

void ModelRun::WriteARecord() {
  HANDLE handle = AnyHandle();
  const auto& records = model_.databases().at(model_.handles().at(handle).database).records;
  CEOID record = records.size() < kMostRecords && OneIn(2) ? 0 : AnyRecord(handle);
  std::vector<CEPROPVAL> entries = AnyEntries();
  call_ = "write record " + std::to_string(record);
  CEOID written = Write(handle, record, entries);
  ExpectAnswer(written != 0, model_.Write(handle, record, entries, written));
  if (record == 0) ExpectNew(written);
  if (record != 0 && written != 0) {
    EXPECT_EQ(written, record);
  }
}

// So many changes without a question between them that the store may put off sorting.
void ModelRun::WriteManyRecords() {
  for (int i = 0; i < 40; i++) {
    OneIn(10) ? DeleteARecord() : WriteARecord();
  }
}

void ModelRun::DeleteARecord() {
  HANDLE handle = AnyHandle();
  const ModelHandle& state = model_.handles().at(handle);
  CEOID record = state.record != 0 && OneIn(3) ? state.record : AnyRecord(handle);
  bool own_step = state.steps && state.place == ModelHandle::kAt && state.record == record;
  call_ = "delete record " + std::to_string(record);
  bool done = CeDeleteRecord(handle, record);
  ExpectAnswer(done, model_.DeleteRecord(handle, record));
  // Whether that step counts as an automatic one is left open: a seek to the same place settles it.
  if (own_step && state.place == ModelHandle::kAt) {
    EXPECT_EQ(SeekTo(handle, state.record), state.record);
    model_.SeekRecord(handle, state.record);
  }
}

void ModelRun::DescribeADatabase() {
  if (model_.databases().empty()) return;
  CEOID database = AnyDatabase();
  call_ = "describe database " + std::to_string(database);
  CEDBASEINFO info = Describe(volume_, database);
  const ModelDatabase& expected = model_.databases().at(database);
  EXPECT_EQ(NameOf(info), expected.name);
  EXPECT_EQ(info.dwDbaseType, expected.type);
  EXPECT_EQ(info.wNumRecords, expected.records.size());
  EXPECT_EQ(info.wNumSortOrder, expected.orders.size());
  EXPECT_EQ(info.dwSize, model_.Size(database));
}

void ModelRun::FlushOrRemount() {
  if (OneIn(3)) {
    call_ = "unmount and mount";
    Unmount();
    WriteJournal();
    Mount(OPEN_EXISTING);
    return;
  }
  call_ = "flush";
  EXPECT_EQ(CeFlushDBVol(OneIn(2) ? nullptr : &volume_), TRUE) << GetLastError();
  model_.Flush();
  WriteJournal();
}

void ModelRun::Step() {
  call_ = "nothing";
  uint64_t choice = Below(100);
  if (model_.databases().empty() || choice < 3) return CreateADatabase();
  if (choice < 5) return ChangeADatabase();
  if (choice < 7) return DeleteADatabase();
  if (choice < 9) return DescribeADatabase();
  if (choice < 11) return FlushOrRemount();
  if (model_.handles().empty() || choice < 17) return OpenAHandle();
  if (choice < 21) return CloseAHandle();
  if (choice < 38) return SeekSomewhere();
  if (choice < 53) return SeekAValue();
  if (choice < 68) return ReadARecord();
  if (choice < 89) return WriteARecord();
  if (choice < 90) return WriteManyRecords();
  return DeleteARecord();
}

void RunSteps(ModelRun& run, uint64_t seed, uint64_t steps) {
  for (uint64_t step = 0; step < steps; step++) {
    run.Step();
    if (step % 100 == 99) run.ExpectSame();
    ASSERT_FALSE(testing::Test::HasFailure()) << "seed " << seed << ", step " << step << ": " << run.call();
  }
}

uint64_t FromEnvironment(const char* name, uint64_t otherwise) {
  const char* text = getenv(name);
  return text == nullptr ? otherwise : strtoull(text, nullptr, 10);
}

void RunSeed(uint64_t seed, uint64_t steps) {
  printf("seed %llu, %llu steps\n", static_cast<unsigned long long>(seed), static_cast<unsigned long long>(steps));
  TemporaryDirectory directory;
  ModelRun run(directory / u"model.cdb", seed);
  RunSteps(run, seed, steps);
  run.ExpectSame();
  run.Unmount();
}

TEST(StoreModelTest, OneSeed) {
  RunSeed(FromEnvironment("XKRDB_MODEL_SEED", 1), FromEnvironment("XKRDB_MODEL_STEPS", 1500));
}

TEST(StoreModelTest, FixedSeeds) {
  for (uint64_t seed = 2; seed <= 9 && !HasFailure(); seed++) RunSeed(seed, 1500);
}

// A process dies in the middle of a stream; what the next one mounts is the state of the last flush.
TEST(StoreModelTest, DeathLeavesTheStateOfTheLastFlush) {
  for (uint64_t seed = 100; seed < 110 && !HasFailure(); seed++) {
    printf("seed %llu\n", static_cast<unsigned long long>(seed));
    TemporaryDirectory directory;
    std::u16string path = directory / u"model.cdb";
    std::string journal = (directory.path() / "journal").string();
    RunInChildThatDies([&] {
      ModelRun run(path, seed);
      run.journal = journal;
      RunSteps(run, seed, 150 + seed % 10 * 40);
    });
    std::ostringstream expected;
    expected << std::ifstream(journal, std::ios::binary).rdbuf();
    CEGUID volume = kNoVolume;
    ASSERT_EQ(CeMountDBVol(&volume, path.c_str(), OPEN_EXISTING), TRUE) << GetLastError();
    EXPECT_EQ(TextOfVolume(volume), expected.str()) << "seed " << seed;
    EXPECT_EQ(CeUnmountDBVol(&volume), TRUE);
  }
}

}  // namespace
