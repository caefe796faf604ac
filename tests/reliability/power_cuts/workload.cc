// See workload.h. The calls of the object store that make something durable pass through here, by the linker's wrap.
#include "workload.h"

#include <cstring>
#include <functional>
#include <random>
#include <stdexcept>

#include "database_recipe.h"

namespace powercut {

namespace {

// Receives a milestone for each flush while it lives.
class MilestoneKeeper;
MilestoneKeeper* keeper = nullptr;

class MilestoneKeeper {
 public:
  explicit MilestoneKeeper(History& history) : history_(history) { keeper = this; }
  ~MilestoneKeeper() { keeper = nullptr; }
  MilestoneKeeper(const MilestoneKeeper&) = delete;
  MilestoneKeeper& operator=(const MilestoneKeeper&) = delete;

  size_t Begin() {
    history_.milestones.push_back({.begun = Now()});
    return history_.milestones.size() - 1;
  }
  void Holds(size_t milestone, const CEGUID& volume) { history_.milestones[milestone].state = StateOf(volume); }
  void Returned(size_t milestone) { history_.milestones[milestone].returned = Now(); }
  // A file without a name cannot be asked for; what is seen of it is its absence.
  void Absent() { history_.milestones.push_back({.begun = Now(), .absent = true}); }

 private:
  size_t Now() const { return history_.journal->operations().size(); }

  History& history_;
};

class Life {
 public:
  Life(std::u16string path, uint64_t seed) : path_(std::move(path)), random_(seed) {
    MDbEnvInitialize(&env_);
    MDbRecsetInitialize(&recset_);
    Try("init", MDbInit(&env_, nullptr, 0));
  }
  ~Life() { (void)MDbShutdown(&env_, 0, 0); }
  Life(const Life&) = delete;
  Life& operator=(const Life&) = delete;

  void RunAfterCut() {
    names_ = 1000000;  // other names than those of the life before
    Try("open", MDbAgentOpenDb(&env_, path_.c_str()));
    Days(2);
    Try("close", MDbAgentCloseDb(&env_));
  }

  void Run() {
    Create();
    Load(10 + Below(80));
    Try("open", MDbAgentOpenDb(&env_, path_.c_str()));
    Days(25);
    Try("close", MDbAgentCloseDb(&env_));
    Try("open", MDbAgentOpenDb(&env_, path_.c_str()));
    Days(10);
    if (Below(8) == 0) Edits(250);  // long enough for the side file to be taken up on the way
    DeleteAll();
    Days(3);
    Try("close", MDbAgentCloseDb(&env_));
    keeper->Absent();
    Try("delete", MDbDelete(&env_, path_.c_str()));
    Create();
    Try("open", MDbAgentOpenDb(&env_, path_.c_str()));
    Days(2);
    Try("close", MDbAgentCloseDb(&env_));
  }

 private:
  static void Try(const char* what, uint32_t status) {
    if (status != 0) throw std::runtime_error(std::string("the workload's ") + what + ": " + std::to_string(status));
  }
  size_t Below(size_t limit) { return random_() % limit; }

  std::u16string Text() {
    std::u16string text;
    const size_t length = Below(8) == 0 ? Below(600) : Below(30);
    for (size_t i = 0; i < length; ++i) text.push_back(static_cast<char16_t>(u'a' + Below(26)));
    return text;
  }
  std::u16string NewName() {
    const std::string digits = std::to_string(++names_);
    return u"n" + std::u16string(digits.begin(), digits.end());
  }

  // Often with records: the first flush of a new file is written in another way than all later ones.
  void Create() {
    enginetest::Recipe recipe;
    recipe.content = [this](MDbRef* ref) {
      AddAll(ref, Below(2) * Below(80));
      if (Below(3) == 0) {
        if (!CeFlushDBVol(&ref->volume)) return MDbStatusFailed;
        AddAll(ref, Below(2) * Below(20));
      }
      return MDbStatusOk;
    };
    recipe.fields = {
        {MDbFieldText, u"name"}, {MDbFieldText, u"note"}, {MDbFieldNumber, u"count"}, {MDbFieldDate, u"day"}};
    Try("creation", enginetest::CreateDatabaseFile(&env_, path_, recipe));
  }

  void Add(MDbRef* ref, MDbDataTbl* table) {
    const std::u16string name = NewName();
    const std::u16string note = Text();
    const std::string number = std::to_string(Below(1000));
    const std::u16string count(number.begin(), number.end());
    const MDbChar* texts[] = {name.c_str(), note.c_str(), count.c_str(), u"7/20/1969"};
    const MDbRecInfo info = {};
    Try("addition", MDbDataTblAddRec(&env_, ref, table, &info, texts, 4, Below(3) != 0, nullptr, nullptr));
  }

  // Through a reference of its own: durable when that is closed.
  void Load(size_t records) {
    MDbRef ref;
    MDbRefInitialize(&ref);
    Try("load's open", MDbOpen(&env_, path_.c_str(), &ref));
    AddAll(&ref, records);
    Try("load's close", MDbClose(&env_, &ref));
  }
  void AddAll(MDbRef* ref, size_t records) {
    MDbDataTbl table;
    MDbDataTblInitialize(&table);
    Try("load's table", MDbDataTblOpen(&env_, ref, &table, nullptr));
    Try("load's cache", StartCreationSeqCache(&env_, ref, &table));
    for (size_t i = 0; i < records; ++i) Add(ref, &table);
    Try("load's counter", EndCreationSeqCache(&env_, ref, &table));
    Try("load's table", MDbDataTblClose(&env_, ref, &table));
  }

  uint32_t Count() {
    uint32_t count = 0;
    Try("count", MDbRecsetGetRecCount(&env_, &recset_, &count));
    return count;
  }
  int16_t AnyIndex() { return static_cast<int16_t>(Below(Count())); }

  void Edit(int16_t index, int16_t field, const std::u16string& text) {
    Try("cursor", MDbRecsetSetInx(&env_, &recset_, index));
    Try("record", MDbRecsetOpenRec(&env_, &recset_));
    Try("edit", MDbRecsetSetField(&env_, &recset_, field, text.c_str()));
    Try("record's close", MDbRecsetCloseRec(&env_, &recset_));
  }
  void Edits(size_t count) {
    Try("query", MDbAgentQuery(&env_, &recset_, nullptr));
    while (Count() < 5) Add(&env_.agentRef, &env_.dataTbl);
    for (size_t i = 0; i < count; ++i) Edit(AnyIndex(), 1, Text());
    Try("end of the set", MDbRecsetDestroy(&env_, &recset_));
  }

  // One sitting with a record set.
  void Day() {
    const MDbQuery words = {1, MDbQueryByWords, u"a"};
    Try("query", MDbAgentQuery(&env_, &recset_, Below(4) == 0 ? &words : nullptr));
    if (Below(3) == 0)
      Try("sort", MDbRecsetSort(&env_, &recset_, static_cast<int16_t>(Below(4)), static_cast<uint32_t>(Below(2))));
    for (size_t step = 1 + Below(3); step > 0; --step) Step();
    Try("end of the set", MDbRecsetDestroy(&env_, &recset_));
    if (Below(8) == 0) Try("setting", MDbAgentSetAttr(&env_, static_cast<int16_t>(Below(4)), names_));
  }
  void Days(size_t count) {
    for (size_t i = 0; i < count; ++i) Day();
  }

  void Step() {
    const size_t kind = Below(10);
    if (kind < 3 || Count() == 0) return Add(&env_.agentRef, &env_.dataTbl);
    if (kind < 6) return Edit(AnyIndex(), static_cast<int16_t>(1 + Below(3)), Text());
    if (kind < 8) return Try("deletion", MDbRecsetDelRec(&env_, &recset_, AnyIndex(), Below(4) == 0));
    uint16_t index = 0;
    if (kind == 8) {
      Try("new record", MDbRecsetNewRec(&env_, &recset_, &index));
    } else {
      Try("duplicate", MDBRecsetDupRec(&env_, &recset_, AnyIndex(), &index));
    }
    Edit(static_cast<int16_t>(index), 0, NewName());
  }

  void DeleteAll() {
    Try("query", MDbAgentQuery(&env_, &recset_, nullptr));
    Try("deletion of all", MDbRecsetDelAllRec(&env_, &recset_, static_cast<uint8_t>(Below(2))));
    Try("end of the set", MDbRecsetDestroy(&env_, &recset_));
  }

  std::u16string path_;
  std::mt19937_64 random_;
  MDbEnv env_;
  MDbRecset recset_;
  uint32_t names_ = 0;
};

}  // namespace

namespace {

std::u16string PathIn(const std::string& directory) {
  const std::string path = directory + "/" + kFileName;
  return {path.begin(), path.end()};
}

History Watched(const std::string& directory, const std::vector<std::string>& files, const Milestone& first,
                Forgotten forgotten, const std::function<void()>& life) {
  History history;
  history.journal = std::make_unique<DiskJournal>(directory, files, forgotten);
  history.milestones.push_back(first);
  const MilestoneKeeper milestones(history);
  life();
  history.journal->Stop();
  return history;
}

}  // namespace

History RunWorkload(const std::string& directory, uint64_t seed, Forgotten forgotten) {
  return Watched(directory, {}, {.begun = 0, .absent = true}, forgotten, [&] { Life(PathIn(directory), seed).Run(); });
}

History RunAfterCut(const std::string& directory, const std::vector<std::string>& files, const Milestone& found,
                    uint64_t seed, Forgotten forgotten) {
  return Watched(directory, files, found, forgotten, [&] { Life(PathIn(directory), seed).RunAfterCut(); });
}

}  // namespace powercut

// ---- the calls that make something durable

using powercut::keeper;

extern "C" {

BOOL __real_CeMountDBVol(CEGUID* volume, const WCHAR* path, DWORD disposition);
BOOL __wrap_CeMountDBVol(CEGUID* volume, const WCHAR* path, DWORD disposition);
BOOL __real_CeFlushDBVol(const CEGUID* volume);
BOOL __wrap_CeFlushDBVol(const CEGUID* volume);
BOOL __real_CeUnmountDBVol(const CEGUID* volume);
BOOL __wrap_CeUnmountDBVol(const CEGUID* volume);

// A new volume is there from some moment on, and nothing is promised about it before its first flush.
BOOL __wrap_CeMountDBVol(CEGUID* volume, const WCHAR* path, DWORD disposition) {
  if (keeper == nullptr || disposition == OPEN_EXISTING) return __real_CeMountDBVol(volume, path, disposition);
  const size_t milestone = keeper->Begin();
  const BOOL mounted = __real_CeMountDBVol(volume, path, disposition);
  if (mounted) keeper->Holds(milestone, *volume);
  return mounted;
}

static BOOL WatchedFlush(const CEGUID* volume, BOOL (*real)(const CEGUID*)) {
  constexpr CEGUID kSystemStore = {};
  if (keeper == nullptr || std::memcmp(volume, &kSystemStore, sizeof kSystemStore) == 0) return real(volume);
  const size_t milestone = keeper->Begin();
  keeper->Holds(milestone, *volume);
  const BOOL done = real(volume);
  if (done) keeper->Returned(milestone);
  return done;
}

BOOL __wrap_CeFlushDBVol(const CEGUID* volume) { return WatchedFlush(volume, __real_CeFlushDBVol); }

BOOL __wrap_CeUnmountDBVol(const CEGUID* volume) { return WatchedFlush(volume, __real_CeUnmountDBVol); }

}  // extern "C"
