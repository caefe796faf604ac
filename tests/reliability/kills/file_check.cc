// Checks of a file at rest, through the engine's calls and through the store's.
#include "file_check.h"

#include <algorithm>
#include <set>

#include "broken_promise.h"
#include "mdb.h"
#include "writer_script.h"

namespace kills {
namespace {

constexpr CEPROPID kKey = 0x10013;
constexpr CEPROPID kCounter = 0x20013;
constexpr CEPROPID kState = 0x12;
constexpr CEPROPID kCreationNumber = 0x40013;
constexpr size_t kSystemProperties = 5;

void Require(bool holds, const std::string& what) {
  if (!holds) throw BrokenPromise(what);
}

void RequireOk(MDbStatus status, const char* call) {
  Require(status == MDbStatusOk, std::string(call) + " answers " + std::to_string(static_cast<uint32_t>(status)));
}

const std::vector<Record>& RecordsOf(const DurableState& state, const char16_t* name) {
  const auto at = state.databases.find(name);
  Require(at != state.databases.end(), "a database of the file is missing");
  return at->second.records;
}

// Every object of the catalogue once, and none besides.
void CheckCatalogue(const std::vector<Record>& objects) {
  std::set<uint64_t> expected = {0x10000, 0x20000, 0x40000, 0x40001, 0x50000, 0x60000};
  for (uint64_t field = 0; field < WriterScript::FieldTypes().size(); ++field) {
    expected.insert(field);
    expected.insert(0x30000 + field);
  }
  std::set<uint64_t> found;
  for (const Record& object : objects) {
    Require(found.insert(NumberOf(object, kKey)).second, "two catalogue objects of one key");
  }
  Require(found == expected, "the catalogue's objects are not those of the file's making");
}

uint64_t CounterOf(const std::vector<Record>& objects, uint64_t index) {
  for (const Record& object : objects) {
    if (NumberOf(object, kKey) == 0x40000 + index) return NumberOf(object, kCounter);
  }
  throw BrokenPromise("a creation counter is missing");
}

// All different and below the counter; the numbers themselves, for the log.
std::set<uint64_t> CheckNumbers(const std::vector<Record>& records, uint64_t counter, const std::string& of) {
  std::set<uint64_t> numbers;
  for (const Record& record : records) {
    const uint64_t number = NumberOf(record, kCreationNumber);
    Require(number < counter, "a number of the " + of + " is not below its counter");
    Require(numbers.insert(number).second, "two records of the " + of + " have one number");
    Require(record.size() == kSystemProperties + WriterScript::FieldTypes().size(),
            "a record of the " + of + " is not whole");
    const bool deleted = (NumberOf(record, kState) & RecStateDeleted) != 0;
    Require(deleted == (of == "log"), "a record of the " + of + " has the wrong state");
  }
  return numbers;
}

// An environment with the file open for as long as it lives.
class OpenFile {
 public:
  explicit OpenFile(const std::u16string& path) {
    MDbEnvInitialize(&env_);
    RequireOk(MDbInit(&env_, nullptr, 0), "MDbInit");
    RequireOk(MDbAgentOpenDb(&env_, path.c_str()), "MDbAgentOpenDb, after the kill,");
  }
  ~OpenFile() {
    (void)MDbAgentCloseDb(&env_);
    (void)MDbShutdown(&env_, 0, 0);
  }
  OpenFile(const OpenFile&) = delete;
  OpenFile& operator=(const OpenFile&) = delete;

  void Close() { RequireOk(MDbAgentCloseDb(&env_), "MDbAgentCloseDb, after the kill,"); }

  std::vector<plain::Record> Live() {
    uint32_t count = 0;
    RequireOk(MDbDataTblGetRecCount(&env_, ref(), table(), &count), "MDbDataTblGetRecCount");
    std::vector<plain::Record> records;
    for (uint32_t i = 0; i < count; ++i) {
      MDbDataRec record;
      MDbDataRecInitialize(&record);
      RequireOk(MDbDataTblCursSetInx(&env_, ref(), table(), static_cast<int16_t>(i)), "MDbDataTblCursSetInx");
      RequireOk(MDbDataTblOpenRec(&env_, ref(), table(), &record, nullptr), "MDbDataTblOpenRec");
      records.push_back(Read(record));
    }
    return records;
  }
  std::vector<plain::Record> Log() {
    uint32_t count = 0;
    RequireOk(MDbDeleteTblGetRecCount(&env_, ref(), table(), &count), "MDbDeleteTblGetRecCount");
    std::vector<plain::Record> records;
    for (uint32_t i = 0; i < count; ++i) {
      MDbDataRec record;
      MDbDataRecInitialize(&record);
      RequireOk(MDbDeleteTblOpenRec(&env_, ref(), table(), &record, static_cast<int16_t>(i), nullptr),
                "MDbDeleteTblOpenRec");
      records.push_back(Read(record));
    }
    return records;
  }

 private:
  MDbRef* ref() { return &env_.agentRef; }
  MDbDataTbl* table() { return &env_.dataTbl; }

  plain::Record Read(MDbDataRec& record) {
    plain::Record read;
    MDbRecInfo info{};
    RequireOk(MDbDataRecGetState(&env_, ref(), table(), &record, &read.state), "MDbDataRecGetState");
    RequireOk(MDbDataRecGetRecInfo(&env_, ref(), table(), &record, &info), "MDbDataRecGetRecInfo");
    std::copy(std::begin(info.bytes), std::end(info.bytes), read.info.begin());
    for (int16_t field = 0; field < static_cast<int16_t>(WriterScript::FieldTypes().size()); ++field) {
      static MDbChar text[4096];
      text[0] = 0;
      RequireOk(MDbDataRecReadField(&env_, ref(), table(), &record, field, text, sizeof text), "MDbDataRecReadField");
      read.fields.emplace_back(text);
    }
    RequireOk(MDbDataTblCloseRec(&env_, ref(), table(), &record), "MDbDataTblCloseRec");
    return read;
  }

  MDbEnv env_;
};

void RequireSame(const std::vector<plain::Record>& model, const std::vector<plain::Record>& found, const char* of) {
  Require(model.size() == found.size(), std::to_string(found.size()) + " records of the " + of +
                                            " where the model has " + std::to_string(model.size()));
  for (size_t i = 0; i < model.size(); ++i) {
    Require(model[i].state == found[i].state && model[i].info == found[i].info && model[i].fields == found[i].fields,
            "record " + std::to_string(i) + " of the " + of + " is not the model's");
  }
}

}  // namespace

void CheckLeftovers(const std::filesystem::path& volume, pid_t writer) {
  const std::string name = volume.filename().string();
  const std::set<std::string> allowed = {name, name + "-wal", name + ".new-" + std::to_string(writer)};
  for (const auto& entry : std::filesystem::directory_iterator(volume.parent_path())) {
    Require(allowed.contains(entry.path().filename().string()), "left in the folder: " + entry.path().string());
  }
}

void CheckAgreement(const DurableState& state) {
  const auto& catalogue = RecordsOf(state, u"OBJG_0");
  const auto& live = RecordsOf(state, u"DATA_0");
  const auto& log = RecordsOf(state, u"DELT_0");
  for (const auto& [name, database] : state.databases) {
    Require(name == u"OBJG_0" || name == u"DATA_0" || name == u"DELT_0" || name == u"VTBL_0", "an unknown database");
  }
  CheckCatalogue(catalogue);
  CheckNumbers(live, CounterOf(catalogue, 0), "table");
  const uint64_t logged = CounterOf(catalogue, 1);
  Require(CheckNumbers(log, logged, "log").size() == logged, "the log's counter is not its number of entries");
}

plain::Database CheckThroughCalls(const std::u16string& path, const plain::Database* model) {
  OpenFile file(path);
  const std::vector<plain::Record> live = file.Live();
  const std::vector<plain::Record> log = file.Log();
  file.Close();
  if (model != nullptr) {
    RequireSame(model->live(), live, "table");
    RequireSame(model->log(), log, "log");
  }
  plain::Database read(WriterScript::FieldTypes());
  for (const plain::Record& entry : log) read.Delete(read.Add(entry.fields, entry.info, entry.state), false);
  for (const plain::Record& record : live) read.Add(record.fields, record.info, record.state);
  return read;
}

void CheckRefused(const std::u16string& path) {
  MDbEnv env;
  MDbEnvInitialize(&env);
  RequireOk(MDbInit(&env, nullptr, 0), "MDbInit");
  const MDbStatus status = MDbAgentOpenDb(&env, path.c_str());
  (void)MDbShutdown(&env, 0, 0);
  Require(status == MDbStatusCannotOpen,
          "a file that was never finished is opened with status " + std::to_string(static_cast<uint32_t>(status)));
}

}  // namespace kills
