// See random_workload.h.
#include "random_workload.h"

#include <random>

namespace {

struct Database {
  std::vector<SORTORDERSPEC> orders;
  std::vector<size_t> records;  // their numbers in the world
  bool open = false;
  size_t handle = 0;  // without AUTOINCREMENT, on the first order
  bool deleted = false;
};

class Draw {
 public:
  explicit Draw(uint64_t seed) : chance_(seed) {}

  Workload Make() {
    Add(MountStep(CREATE_NEW));
    CreateDatabase();
    const size_t length = 10 + Below(50);
    while (steps_.size() < length) AddOne();
    Add(UnmountStep());
    return {"random", nullptr, std::move(steps_)};
  }

 private:
  size_t Below(size_t limit) { return static_cast<size_t>(chance_() % limit); }
  void Add(Step step) { steps_.push_back(std::move(step)); }

  void AddOne() {
    const size_t kind = Below(100);
    if (kind < 4) return CreateDatabase();
    if (kind < 16) return Add(Below(4) == 0 ? FlushAllStep() : FlushStep());
    if (kind < 20) return Remount();
    const size_t number = Below(databases_.size());
    Database& database = databases_[number];
    if (database.deleted) return;
    if (kind < 24) return Close(number);
    Open(number);
    if (kind < 60 || database.records.empty()) return AddRecord(database);
    const size_t place = Below(database.records.size());
    const size_t record = database.records[place];
    if (kind < 80) return Add(EditStep(database.handle, record, Values()));
    if (kind < 90) {
      Add(DeleteStep(database.handle, record));
      database.records.erase(database.records.begin() + static_cast<ptrdiff_t>(place));
      return;
    }
    Add(SeekRecordStep(database.handle, record));
    Add(ReadStep(database.handle));
    if (kind < 95) Add(DescribeRecordStep(record));
  }

  void CreateDatabase() {
    static constexpr CEPROPID kSorted[] = {kNumber, kText, kTime, kPositive, kReal};
    static constexpr DWORD kFlags[] = {0, CEDB_SORT_DESCENDING, CEDB_SORT_UNKNOWNFIRST, CEDB_SORT_CASEINSENSITIVE};
    Database database;
    const size_t first = Below(5);
    for (size_t i = 0, count = Below(4); i < count; ++i) {
      database.orders.push_back({kSorted[(first + i) % 5], kFlags[Below(4)]});
    }
    Add(CreateStep(u"database " + std::u16string(1, static_cast<char16_t>(u'0' + databases_.size())), database.orders));
    databases_.push_back(database);
  }

  void Open(size_t number) {
    Database& database = databases_[number];
    if (database.open) return;
    Add(OpenStep(number, 0));
    database.open = true;
    database.handle = handles_++;
  }

  // What is closed may be deleted or sorted otherwise.
  void Close(size_t number) {
    Database& database = databases_[number];
    if (database.open) Add(CloseStep(database.handle));
    database.open = false;
    const size_t next = Below(4);
    if (next == 0 && databases_.size() > 1) {
      Add(DeleteDatabaseStep(number));
      database.deleted = true;
    } else if (next == 1) {
      Add(DescribeStep(number, u"other " + std::u16string(1, static_cast<char16_t>(u'0' + number)),
                       {{kText, CEDB_SORT_DESCENDING}, {kNumber, 0}}));
    }
  }

  void Remount() {
    Add(UnmountStep());
    Add(MountStep(OPEN_EXISTING));
    handles_ = 0;
    for (Database& database : databases_) database.open = false;
  }

  void AddRecord(Database& database) {
    Add(AddStep(database.handle, Values()));
    database.records.push_back(records_++);
  }

  std::vector<Given> Values() {
    static constexpr CEPROPID kProperties[] = {kNumber, kText, kTime, kBytes, kSmall, kPositive, kReal, kTruth};
    std::vector<Given> values;
    const size_t first = Below(8);
    for (size_t i = 0, count = 1 + Below(4); i < count; ++i) {
      Given given;
      given.property = kProperties[(first + i) % 8];
      given.number = static_cast<int64_t>(Below(30));
      const size_t length = Below(10) == 0 ? 200 + Below(6000) : Below(12);
      given.text = std::u16string(length, static_cast<char16_t>(u'a' + Below(26)));
      values.push_back(given);
    }
    return values;
  }

  std::mt19937_64 chance_;
  std::vector<Step> steps_;
  std::vector<Database> databases_;
  size_t handles_ = 0;
  size_t records_ = 0;
};

}  // namespace

Workload RandomWorkload(uint64_t seed) { return Draw(seed).Make(); }
