// The workloads of the sweeps: small enough to be run thousands of times, and between them through every call of the
// store.
#include <stdexcept>

#include "fault_workload.h"
#include "faults.h"

namespace {

namespace fs = std::filesystem;

constexpr WCHAR kLetters[] = u"abcdefgh";

std::vector<Given> Person(int64_t number) {
  const size_t letter = static_cast<size_t>(number) % 8;
  std::vector<Given> values = {{kNumber, number * 37 % 11},
                               {kText, 0, std::u16string(1, kLetters[letter]) + u"\u00E9"}};
  if (number % 3 != 0) values.push_back({kTime, number});
  return values;
}

std::vector<Given> OneOfEachType(int64_t number) {
  return {{kNumber, -number},   {kText, 0, u"\u00E0 la carte"}, {kTime, number << 33}, {kBytes, 0, u"\x01\xFF"},
          {kSmall, -3},         {kSmallPositive, 65535},        {kPositive, number},   {kReal, number},
          {kTruth, number % 2}, {kSecondText, 0, u""}};
}

std::vector<SORTORDERSPEC> PeopleOrders() {
  return {{kNumber, CEDB_SORT_DESCENDING}, {kText, 0}, {kTime, CEDB_SORT_UNKNOWNFIRST}};
}

void Append(std::vector<Step>& steps, const std::vector<Step>& more) {
  steps.insert(steps.end(), more.begin(), more.end());
}

void MustBe(bool done, const std::string& what) {
  if (!done) throw std::runtime_error("a workload cannot be prepared: " + what);
}

// Goes through steps before a run begins, when nothing fails.
void Play(const fs::path& folder, const std::vector<Step>& steps, World& world) {
  world.path = (folder / kVolumeName).u16string();
  for (const Step& step : steps) MustBe(step.act(world), step.name);
}

std::vector<Step> TwoDatabases() {
  std::vector<Step> steps = {MountStep(CREATE_NEW), CreateStep(u"people", PeopleOrders()), CreateStep(u"plain", {}),
                             OpenStep(0, kNumber), OpenStep(1, 0)};
  for (int64_t i = 0; i < 6; ++i) steps.push_back(AddStep(0, Person(i)));
  Append(steps, {AddStep(1, OneOfEachType(7)), AddStep(1, {{kBytes, 0, std::u16string(3000, u'x')}})});
  return steps;
}

void PrepareTwoDatabases(const fs::path& folder, World& world) {
  std::vector<Step> steps = TwoDatabases();
  steps.push_back(UnmountStep());
  Play(folder, steps, world);
}

// What a process leaves that ends after a flush: the file and the one beside it. The latter without most of the zeros at
// its end, so that it is quickly copied and compared.
void PrepareRemains(const fs::path& folder, World& world) {
  constexpr uintmax_t kLogBytes = 128 << 10;
  std::vector<Step> steps = TwoDatabases();
  Append(steps, {UnmountStep(), MountStep(OPEN_EXISTING), OpenStep(0, kNumber), AddStep(0, Person(9)), FlushStep(),
                 EditStep(0, 2, {{kText, 0, u"changed"}}), DeleteStep(0, 1), FlushStep()});
  Play(folder, steps, world);
  const fs::path file = folder / kVolumeName;
  const fs::path side_file = file.string() + "-wal";
  fs::copy_file(file, folder / "file");
  fs::copy_file(side_file, folder / "side");
  fs::resize_file(folder / "side", kLogBytes);
  Play(folder, {UnmountStep()}, world);
  fs::rename(folder / "file", file);
  fs::rename(folder / "side", side_file);
}

// The files beside a volume that is gone.
void PrepareOrphans(const fs::path& folder, World& world) {
  PrepareRemains(folder, world);
  const fs::path file = folder / kVolumeName;
  fs::copy_file(file, file.string() + "-journal");
  fs::remove(file);
  world.databases.clear();
  world.records.clear();
}

std::vector<Step> LooksAtPeople() {
  std::vector<Step> steps = {SeekStep(0, CEDB_SEEK_BEGINNING, 0),
                             ReadStep(0),
                             SeekStep(0, CEDB_SEEK_CURRENT, 2),
                             SeekStep(0, CEDB_SEEK_END, 1),
                             ReadSelectedStep(0, {kText, kReal, kTime}),
                             SeekRecordStep(1, 2),
                             SeekValueStep(0, CEDB_SEEK_VALUEGREATER, {kNumber, 4}),
                             SeekValueStep(0, CEDB_SEEK_VALUESMALLER, {kNumber, 4}),
                             SeekValueStep(1, CEDB_SEEK_VALUEFIRSTEQUAL, {kText, 0, u"c\u00E9"}),
                             SeekValueStep(1, CEDB_SEEK_VALUEGREATER, {kText, 0, std::u16string(900, u'a')})};
  steps.push_back(SeekStep(2, CEDB_SEEK_BEGINNING, 0));
  for (int i = 0; i < 3; ++i) steps.push_back(ReadStep(2));
  return steps;
}

std::vector<Step> WholeLife() {
  std::vector<Step> steps = {MountStep(CREATE_NEW),
                             CreateStep(u"people", PeopleOrders()),
                             CreateStep(u"plain", {}),
                             OpenStep(0, kNumber),
                             OpenStep(0, kText),
                             OpenStep(0, kNumber, true),
                             OpenStep(1, 0)};
  for (int64_t i = 0; i < 8; ++i) steps.push_back(AddStep(0, Person(i)));
  Append(steps, {AddStep(0, OneOfEachType(3)), AddStep(0, {{kText, 0, std::u16string(900, u'\u00E9')}}),
                 AddStep(3, OneOfEachType(4)), AddStep(3, {{kBytes, 0, std::u16string(5000, u'y')}})});
  Append(steps, LooksAtPeople());
  Append(steps, {FlushStep(), SeekRecordStep(1, 4), EditStep(0, 4, {{kNumber, 99}, {kText, 0, u"zz"}}),
                 EditStep(0, 5, {{kTime, 0, u"", true}, {kSecondText, 0, u"late"}}),
                 EditStep(0, 1, {{kText, 0, std::u16string(700, u'\u00E4')}})});
  // More moves than an order makes one by one, and then a question.
  for (int64_t i = 0; i < 20; ++i) steps.push_back(EditStep(0, static_cast<size_t>(i) % 8, {{kNumber, i * 37 % 23}}));
  Append(steps, {SeekStep(0, CEDB_SEEK_BEGINNING, 3), SeekRecordStep(1, 3), DeleteStep(0, 3), DeleteStep(0, 8),
                 SeekStep(1, CEDB_SEEK_CURRENT, 1), DescribeDatabaseStep(0), DescribeRecordStep(2), ListStep(),
                 ListNextStep(), ListNextStep(), ListEndStep(), FlushStep()});
  Append(steps, {CloseStep(0), CloseStep(1), CloseStep(2), CloseStep(3),
                 DescribeStep(0, u"renamed", {{kText, CEDB_SORT_CASEINSENSITIVE}, {kNumber, 0}}),
                 DescribeStep(0, u"renamed", {{kText, CEDB_SORT_NONNULL}}), OpenStep(0, kText),
                 CreateStep(u"unique", {{kText, CEDB_SORT_UNIQUE | CEDB_SORT_IGNORENONSPACE}}), OpenStep(2, 0),
                 AddStep(5, {{kText, 0, u"one"}}), AddStep(5, {{kText, 0, u"two"}}), CloseStep(5),
                 DeleteDatabaseStep(1), FlushAllStep(), DeleteDatabaseStep(2), FlushStep(), UnmountStep()});
  return steps;
}

std::vector<Step> Reopened() {
  std::vector<Step> steps = {MountStep(OPEN_EXISTING), DescribeRecordStep(1), OpenByNameStep(u"PEOPLE"), OpenStep(1, 0),
                             OpenStep(0, kText),       MountAgainStep(),      UnmountOnceStep()};
  steps[1].unseen = steps[2].unseen = true;
  Append(steps, {SeekStep(0, CEDB_SEEK_BEGINNING, 0), ReadStep(0), EditStep(0, 2, {{kText, 0, u"changed"}}),
                 FlushStep(), FlushStep(), AddStep(1, OneOfEachType(11)), DeleteStep(0, 3), UnmountStep(),
                 MountStep(OPEN_ALWAYS), OpenStep(1, 0), AddStep(0, OneOfEachType(12)), UnmountStep()});
  return steps;
}

// Orders that look at what is there already need every key while they are checked.
std::vector<Step> ConstrainedOrders() {
  return {MountStep(OPEN_EXISTING),
          DescribeStep(0, u"people", {{kText, CEDB_SORT_UNIQUE | CEDB_SORT_IGNOREWIDTH}, {kNumber, CEDB_SORT_NONNULL}}),
          OpenStep(0, kText),
          AddStep(0, {{kText, 0, u"single"}, {kNumber, 1}}),
          DeleteDatabaseStep(1),
          UnmountStep()};
}

std::vector<Step> OpenedAndEdited(DWORD disposition, const char16_t* name) {
  return {MountStep(disposition), OpenByNameStep(name), EditStep(0, 3, {{kText, 0, u"after"}}), FlushStep(),
          AddStep(0, Person(20)), UnmountStep()};
}

std::vector<Step> MadeAnew(DWORD disposition, StepKind kind) {
  return {MountStep(disposition, kind),
          CreateStep(u"new", {{kText, 0}}),
          OpenStep(0, 0),
          AddStep(0, {{kText, 0, u"first"}}),
          FlushStep(),
          AddStep(0, {{kText, 0, u"second"}}),
          FlushStep(),
          UnmountStep()};
}

// Brings a workload to where it becomes interesting, with calls that nothing disturbs.
Step Undisturbed(size_t calls, const std::function<Step(size_t)>& step_of) {
  return {"many calls", StepKind::kChange,
          [=](World& world) {
            return faults::Sheltered([&] {
              bool done = true;
              for (size_t i = 0; i < calls; ++i) done = done && step_of(i).act(world);
              return done;
            });
          },
          true};
}

// So many records changed in one number alone go into one row.
std::vector<Step> ColumnOfNumbers() {
  constexpr size_t kRecords = 70;
  const auto add = [](size_t i) { return AddStep(0, {{kPositive, static_cast<int64_t>(i)}, {kText, 0, u"row"}}); };
  const auto renumber = [](size_t i) { return EditStep(0, i, {{kPositive, static_cast<int64_t>(900 - i)}}); };
  return {MountStep(CREATE_NEW),
          CreateStep(u"numbers", {{kPositive, 0}}),
          OpenStep(0, 0),
          Undisturbed(kRecords, add),
          FlushStep(),
          Undisturbed(kRecords, renumber),
          FlushStep(),
          EditStep(0, 5, {{kPositive, 5}}),
          DeleteStep(0, 6),
          UnmountStep(),
          MountStep(OPEN_EXISTING),
          OpenStep(0, kPositive),
          UnmountStep()};
}

// Enough pages for the log to be taken up by the flush that makes it so long.
std::vector<Step> LongLog() {
  constexpr size_t kRecords = 36;
  const auto add = [](size_t i) {
    return AddStep(0, {{kBytes, 0, std::u16string(32000, static_cast<char16_t>(u'a' + i % 26))}});
  };
  const auto change = [](size_t i) {
    return EditStep(0, i, {{kBytes, 0, std::u16string(32000, static_cast<char16_t>(u'A' + i % 26))}});
  };
  return {MountStep(CREATE_NEW), CreateStep(u"bytes", {}),
          OpenStep(0, 0),        Undisturbed(kRecords, add),
          FlushStep(),           Undisturbed(kRecords, change),
          FlushStep(),           AddStep(0, {{kText, 0, u"last"}}),
          FlushStep(),           UnmountStep()};
}

std::vector<Workload> MakeWorkloads() {
  return {{"whole life", nullptr, WholeLife()},
          {"reopened", PrepareTwoDatabases, Reopened()},
          {"constrained orders", PrepareTwoDatabases, ConstrainedOrders()},
          {"log of a process that died", PrepareRemains, OpenedAndEdited(OPEN_ALWAYS, u"people")},
          {"replaced", PrepareTwoDatabases, MadeAnew(CREATE_ALWAYS, StepKind::kReplace)},
          {"replaced with its log", PrepareRemains, MadeAnew(TRUNCATE_EXISTING, StepKind::kReplace)},
          {"new beside an old log", PrepareOrphans, MadeAnew(OPEN_ALWAYS, StepKind::kMount)},
          {"column of numbers", nullptr, ColumnOfNumbers()},
          {"long log", nullptr, LongLog()}};
}

}  // namespace

const std::vector<Workload>& Workloads() {
  static const std::vector<Workload> workloads = MakeWorkloads();
  return workloads;
}

const Workload& WorkloadOf(const std::string& name) {
  for (const Workload& workload : Workloads()) {
    if (name == workload.name) return workload;
  }
  throw std::runtime_error("no such workload: " + name);
}
