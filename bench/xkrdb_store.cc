// XKRDB through its exported interface, as a client uses it: a record set over the environment's database.
#include <fmt/format.h>

#include <array>
#include <stdexcept>

#include "mdb.h"
#include "measured_store.h"

namespace bench {
namespace {

[[noreturn, gnu::noinline]] void Fail(MDbStatus status, const char* what) {
  throw std::runtime_error(fmt::format("{}: status {}", what, static_cast<uint32_t>(status)));
}

void Require(MDbStatus status, const char* what) {
  if (status != MDbStatusOk) Fail(status, what);
}

using Pointers = std::array<const MDbChar*, kFieldCount>;

Pointers PointersOf(const Record& record) {
  Pointers pointers{};
  for (size_t i = 0; i < kFieldCount; ++i) pointers[i] = record.texts[i].wide.c_str();
  return pointers;
}

constexpr std::array<uint8_t, kFieldCount> kTypes = {MDbFieldText, MDbFieldText, MDbFieldNumber, MDbFieldDate,
                                                     MDbFieldTime, MDbFieldText, MDbFieldText,   MDbFieldText};
constexpr std::array<const MDbChar*, kFieldCount> kNames = {u"name", u"city",     u"number", u"date",
                                                            u"time", u"category", u"notes",  u"code"};
constexpr auto kCount = static_cast<int16_t>(kFieldCount);
constexpr uint8_t kKnownOutside = 1;  // so that deletions are logged
constexpr MDbRecInfo kNoInfo = {};

class XkrdbStore : public Store {
 public:
  std::string Name() const override { return "xkrdb"; }
  std::string Version() const override { return XKRDB_VERSION; }
  void StartLibrary() override;

  void Load(const std::string& path, std::span<const Record> records) override;
  void Open(const std::string& path) override;
  void Close() override;

  void ReadFirst(size_t count, Copies& copies) override;
  void ReadAll(Copies& copies) override;
  void ReadAt(std::span<const uint32_t> positions, Views& views) override;

  bool Sort(SortBy by) override;
  void ReadSorted(Views& views) override { ViewAll(records_, views); }
  void FindNumber(const Text& text, int32_t value) override;
  void FindWord(const Text& word) override;
  void ReadHits(Views& views) override { ViewAll(hits_, views); }
  void ForgetHits() override { Require(MDbRecsetDestroy(&env_, &hits_), "ending the search"); }

  void Add(const Record& record) override;
  void EditCity(const Place& place, const Text& city) override;
  void EditFirstOfSorted(const Text& city) override { EditCity({0, 0}, city); }
  void Delete(const Place& place) override { DeleteAt(place, 1); }
  void DeleteLogged(const Place& place) override { DeleteAt(place, 0); }
  void DeleteAll() override { Require(MDbRecsetDelAllRec(&env_, &records_, 1), "deleting all"); }
  size_t LogCount() override;

 private:
  void CreateTables(MDbRef* ref);
  void AddAll(MDbRef* ref, std::span<const Record> records);
  uint32_t Count(MDbRecset& recset);
  void OpenRecord(MDbRecset& recset, size_t position);
  void CloseRecord(MDbRecset& recset) { Require(MDbRecsetCloseRec(&env_, &recset), "closing a record"); }
  void CopyUpTo(size_t count, Copies& copies);
  void ViewAt(MDbRecset& recset, size_t position, Views& views);
  void ViewAll(MDbRecset& recset, Views& views);
  void DeleteAt(const Place& place, uint32_t no_log);

  MDbEnv env_;
  MDbRecset records_;
  MDbRecset hits_;
};

std::u16string WidePath(const std::string& path) { return MakeText(path).wide; }

void XkrdbStore::StartLibrary() {
  MDbEnvInitialize(&env_);
  Require(MDbInit(&env_, "", 0), "starting");
  MDbRecsetInitialize(&records_);
  MDbRecsetInitialize(&hits_);
}

void XkrdbStore::CreateTables(MDbRef* ref) {
  std::array<MDbFldInfo, kFieldCount> definitions{};
  std::array<MDbFldOptionPair, kFieldCount> options{};
  for (size_t i = 0; i < kFieldCount; ++i) {
    definitions[i].type = kTypes[i];
    Require(MDbFieldOpTblGetDefOptionEx(&options[i].optionEx, static_cast<uint8_t>(i), kCount), "an option");
  }
  MDbAttrs attrs{};
  attrs.dateFormat = {u'-', MDbDateOrderYearMonthDay, 1, 1, 0};
  attrs.timeFormat.separator = u':';
  Require(MDbSchemaTblCreateEx(&env_, ref, definitions.data(), kNames.data(), kCount), "writing the fields");
  Require(MDbAttrTblCreateEx(&env_, ref, &attrs, u"Benchmark"), "writing the settings");
  Require(MDbFieldOpTblCreateEx(&env_, ref, options.data(), kCount), "writing the options");
  Require(MDbDataTblCreate(&env_, ref, nullptr), "making the data table");
}

void XkrdbStore::AddAll(MDbRef* ref, std::span<const Record> records) {
  MDbDataTbl table;
  MDbDataTblInitialize(&table);
  Require(MDbDataTblOpen(&env_, ref, &table, nullptr), "opening the data table");
  Require(StartCreationSeqCache(&env_, ref, &table), "reading the creation counter");
  for (const Record& record : records) {
    const Pointers texts = PointersOf(record);
    Require(MDbDataTblAddRec(&env_, ref, &table, &kNoInfo, texts.data(), kCount, kKnownOutside, nullptr, nullptr),
            "adding");
  }
  Require(EndCreationSeqCache(&env_, ref, &table), "writing the creation counter");
  Require(MDbDataTblClose(&env_, ref, &table), "closing the data table");
}

// Through a reference of its own, which makes everything durable at MDbClose and nothing before.
void XkrdbStore::Load(const std::string& path, std::span<const Record> records) {
  MDbRef ref;
  MDbRefInitialize(&ref);
  Require(MDbCreate(&env_, WidePath(path).c_str(), &ref), "making the file");
  CreateTables(&ref);
  AddAll(&ref, records);
  Require(MDbWriteChecksome(&env_, &ref, 1), "writing the mark");
  Require(MDbClose(&env_, &ref), "closing the file");
}

void XkrdbStore::Open(const std::string& path) {
  Require(MDbAgentOpenDb(&env_, WidePath(path).c_str()), "opening");
  Require(MDbAgentQuery(&env_, &records_, nullptr), "querying");
}

void XkrdbStore::Close() {
  Require(MDbRecsetDestroy(&env_, &records_), "ending the record set");
  Require(MDbAgentCloseDb(&env_), "closing");
}

uint32_t XkrdbStore::Count(MDbRecset& recset) {
  uint32_t count = 0;
  Require(MDbRecsetGetRecCount(&env_, &recset, &count), "counting");
  return count;
}

void XkrdbStore::OpenRecord(MDbRecset& recset, size_t position) {
  Require(MDbRecsetSetInx(&env_, &recset, static_cast<int16_t>(position)), "moving");
  Require(MDbRecsetOpenRec(&env_, &recset), "opening a record");
}

// A pointer to any field loads the whole record; the fields are then copied from it, and the store is asked once.
void XkrdbStore::CopyUpTo(size_t count, Copies& copies) {
  for (size_t position = 0; position < count; ++position) {
    const MDbChar* text = nullptr;
    OpenRecord(records_, position);
    Require(MDbRecsetGetFieldPtr(&env_, &records_, 0, &text), "loading a record");
    for (size_t field = 0; field < kFieldCount; ++field) {
      Require(
          MDbRecsetGetField(&env_, &records_, static_cast<int16_t>(field), copies.WideRoom(field), Copies::kRoomBytes),
          "reading a field");
      copies.TookWide(field);
    }
    CloseRecord(records_);
  }
}

void XkrdbStore::ReadFirst(size_t count, Copies& copies) { CopyUpTo(count, copies); }
void XkrdbStore::ReadAll(Copies& copies) { CopyUpTo(Count(records_), copies); }

void XkrdbStore::ViewAt(MDbRecset& recset, size_t position, Views& views) {
  OpenRecord(recset, position);
  for (size_t field = 0; field < kFieldCount; ++field) {
    const MDbChar* text = u"";
    Require(MDbRecsetGetFieldPtr(&env_, &recset, static_cast<int16_t>(field), &text), "reading a field");
    views.Take(text);
  }
  CloseRecord(recset);
}

void XkrdbStore::ReadAt(std::span<const uint32_t> positions, Views& views) {
  for (const uint32_t position : positions) ViewAt(records_, position, views);
}

void XkrdbStore::ViewAll(MDbRecset& recset, Views& views) {
  const uint32_t count = Count(recset);
  for (uint32_t position = 0; position < count; ++position) ViewAt(recset, position, views);
}

bool XkrdbStore::Sort(SortBy by) {
  if (by == SortBy::kNameByBytes) return false;
  const size_t field = by == SortBy::kNameByCollation ? kName : by == SortBy::kNumber ? kNumber : kDate;
  Require(MDbRecsetSort(&env_, &records_, static_cast<int16_t>(field), MDbSortAscending), "sorting");
  return true;
}

void XkrdbStore::FindNumber(const Text& text, int32_t) {
  const MDbQuery query = {static_cast<int16_t>(kNumber), MDbQueryByValue, text.wide.c_str()};
  Require(MDbAgentQuery(&env_, &hits_, &query), "searching for a number");
}

void XkrdbStore::FindWord(const Text& word) {
  const MDbQuery query = {static_cast<int16_t>(kNotes), MDbQueryByWords, word.wide.c_str()};
  Require(MDbAgentQuery(&env_, &hits_, &query), "searching for a word");
}

void XkrdbStore::Add(const Record& record) {
  const Pointers texts = PointersOf(record);
  Require(MDbDataTblAddRec(&env_, &env_.agentRef, &env_.dataTbl, &kNoInfo, texts.data(), kCount, kKnownOutside, nullptr,
                           nullptr),
          "adding");
}

void XkrdbStore::EditCity(const Place& place, const Text& city) {
  OpenRecord(records_, place.position);
  Require(MDbRecsetSetField(&env_, &records_, static_cast<int16_t>(kCity), city.wide.c_str()), "writing a field");
  CloseRecord(records_);
}

void XkrdbStore::DeleteAt(const Place& place, uint32_t no_log) {
  Require(MDbRecsetDelRec(&env_, &records_, static_cast<int16_t>(place.position), no_log), "deleting");
}

size_t XkrdbStore::LogCount() {
  uint32_t count = 0;
  Require(MDbDeleteTblGetRecCount(&env_, &env_.agentRef, &env_.dataTbl, &count), "counting the log");
  return count;
}

}  // namespace

std::unique_ptr<Store> MakeStore() { return std::make_unique<XkrdbStore>(); }

}  // namespace bench
