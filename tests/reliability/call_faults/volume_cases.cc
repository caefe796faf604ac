// The environment, database files, the integrity mark, file listing and folders.
#include "fault_case.h"

namespace callfaults {
namespace {

constexpr auto kNothing = [](World&) {};

uint32_t Open(World& world) { return MDbOpen(&world.env, world.path.c_str(), world.ref()); }
uint32_t Create(World& world) { return MDbCreate(&world.env, world.path.c_str(), world.ref()); }
uint32_t Close(World& world) { return MDbClose(&world.env, world.ref()); }
uint32_t Delete(World& world) { return MDbDelete(&world.env, world.path.c_str()); }
uint32_t WriteMark(World& world) { return MDbWriteChecksome(&world.env, world.ref(), 1); }
uint32_t VerifyMark(World& world) { return MDbVerifyChecksome(&world.env, world.ref()); }
uint32_t FindFirst(World& world) {
  const std::u16string pattern = (world.folder / "*").u16string();
  return MDbFindFirstFile(&world.listing, pattern.c_str(), world.out.text, sizeof world.out.text);
}
uint32_t FindNext(World& world) { return MDbFindNextFile(&world.listing, world.out.text, sizeof world.out.text); }
uint32_t FindClose(World& world) { return MDbFindClose(&world.listing); }
uint32_t MakeFolder(World& world) { return MDbCreateDirectory((world.folder / "made").u16string().c_str()); }

void CloseFirst(World& world) { ASSERT_EQ(Close(world), MDbStatusOk); }
void WithoutEnvironment(World& world) { MDbEnvInitialize(&world.env); }

// A listing of two files, with the first one given out.
void Listing(World& world) {
  std::filesystem::copy_file(world.path, world.folder / "chart.xdb");
  ASSERT_EQ(FindFirst(world), MDbStatusOk);
  world.out = Outputs();
}
void ListingAtItsEnd(World& world) {
  Listing(world);
  ASSERT_EQ(FindNext(world), MDbStatusOk);
  world.out = Outputs();
}
void InvalidListing(World& world) { world.listing = MDB_INVALID_HANDLE; }

Cases EnvironmentCases() {
  const auto none = Platform::kUnused;
  Cases cases = {
      {"MDbEnvInitialize", "of an initialised one", Template::kNone, kNothing,
       [](World& world) { return MDbEnvInitialize(&world.env), MDbStatusOk; }},
      {"MDbVolFSpecInitialize", "of any record", Template::kNone, kNothing,
       [](World& world) { return MDbVolFSpecInitialize(&world.out.path), MDbStatusOk; }},
      {"MDbRefIsOpened",
       "open",
       Template::kUsual,
       OpenVolume,
       [](World& world) -> uint32_t { return MDbRefIsOpened(world.ref()); },
       {},
       1},
      {"MDbRefIsOpened", "closed", Template::kNone, kNothing,
       [](World& world) -> uint32_t { return MDbRefIsOpened(world.ref()); }},
      {"MDbIsOpened",
       "open",
       Template::kUsual,
       OpenVolume,
       [](World& world) -> uint32_t { return MDbIsOpened(&world.env, world.ref()); },
       {},
       1},
      {"MDbIsOpened", "closed", Template::kNone, kNothing,
       [](World& world) -> uint32_t { return MDbIsOpened(&world.env, world.ref()); }},
      {"MDbInit", "without a word breaker", Template::kNone, WithoutEnvironment,
       [](World& world) -> uint32_t { return MDbInit(&world.env, nullptr, 0); }},
      {"MDbInit",
       "of an initialised one",
       Template::kNone,
       kNothing,
       [](World& world) -> uint32_t { return MDbInit(&world.env, "", 0); },
       {},
       MDbStatusFailed},
  };
  for (FaultCase& fault_case : cases) fault_case.platform = none;
  cases.push_back({"MDbInit",
                   "with a word breaker",
                   Template::kNone,
                   WithoutEnvironment,
                   [](World& world) -> uint32_t { return MDbInit(&world.env, "", 0); },
                   {{"XKRWbrInit(*", Fails(MDbStatusWordBreakerFailed).Handles(Held::kAfter).AgainAnswers(1)}}});
  cases.push_back({"MDbShutdown", "of an initialised one", Template::kNone, kNothing,
                   [](World& world) -> uint32_t { return MDbShutdown(&world.env, 0, 0); }});
  cases.back().platform = Platform::kInfallible;
  cases.push_back({"MDbShutdown",
                   "of one never initialised",
                   Template::kNone,
                   WithoutEnvironment,
                   [](World& world) -> uint32_t { return MDbShutdown(&world.env, 0, 0); },
                   {},
                   MDbStatusFailed});
  cases.back().platform = Platform::kInfallible;
  return cases;
}

Cases CreatingAndDeleting() {
  // A creation that fails leaves its volume mounted: the file is there then, and a second creation is refused.
  const auto mounted = [](std::vector<std::string> handles) {
    handles.push_back("ref.volume=set");
    return Fails().Handles(Held::kBefore, handles).Volume(Held::kBetween).AgainAnswers(1).StaysMounted();
  };
  const Rules creating = {
      {"CeMountDBVol(*", Fails()},
      {"CeCreateDatabaseEx(*", mounted({})},
      {"CeOpenDatabaseEx(*", mounted({"ref.catalog.isOpen=1"})},
      {"CeSeekDatabase(*", GoesOn()},  // the header is not there
      {"CeWriteRecordProps(*", mounted({"ref.catalog.isOpen=1", "ref.catalog.oid=set"})},
  };
  Cases cases = {
      {"MDbCreate", "a new file", Template::kNone, kNothing, Create, creating},
      {"MDbCreate", "over a file", Template::kUsual, kNothing, Create, {}, MDbStatusFailed},
      {"MDbDelete", "a file", Template::kUsual, kNothing, Delete},
      {"MDbDelete", "a missing file", Template::kNone, kNothing, Delete, {}, MDbStatusFailed},
      {"MDbDelete", "an open file", Template::kUsual, OpenVolume, Delete, {}, MDbStatusFailed},
  };
  // The other answer by which an open of the platform fails.
  cases.push_back({"MDbCreate", "a new file, the catalogue's handle 0", Template::kNone, kNothing, Create,
                   Rules{{"CeOpenDatabaseEx(*", mounted({})}} + creating});
  cases.back().failures = {{"CeOpenDatabaseEx", {0, ERROR_OUTOFMEMORY}}};
  return cases;
}

Cases OpeningAndClosing() {
  const auto left_open = [](uint32_t status) { return Fails(status).Handles(Held::kAfter).Recover(CloseFirst); };
  const Rules opening = {
      {"CeMountDBVol(*", Fails(MDbStatusCannotOpen)},
      {"CeOpenDatabaseEx(*",
       Fails(MDbStatusCannotOpen).Handles(Held::kAfter, {"ref.catalog.oid=0"}).Recover(CloseFirst)},
      {"LocalAlloc(*", left_open(MDbStatusBadFormat)},
      {"CeReadRecordPropsEx(*, size=*", left_open(MDbStatusBadFormat)},
      {"*", left_open(MDbStatusCannotOpen)},
  };
  Cases cases = {
      {"MDbOpen", "a database", Template::kUsual, kNothing, Open, opening},
      {"MDbOpen", "a database with a header alone", Template::kHeaderOnly, kNothing, Open, opening},
      {"MDbOpen", "another version", Template::kOtherVersion, kNothing, Open, opening, MDbStatusBadFormat},
      {"MDbOpen", "a volume without a catalogue", Template::kForeign, kNothing, Open, opening, MDbStatusCannotOpen},
      {"MDbOpen",
       "a missing file",
       Template::kNone,
       kNothing,
       Open,
       {{"*", Fails(MDbStatusCannotOpen)}},
       MDbStatusCannotOpen},
  };
  // A catalogue that answers 0 is closed again with its volume.
  cases.push_back({"MDbOpen", "the catalogue's handle 0", Template::kUsual, kNothing, Open,
                   Rules{{"CeOpenDatabaseEx(*", Fails(MDbStatusCannotOpen)

                                                    .Onwards({"ref.volume=set", "ref.opened=1"})}} +
                       opening});
  cases.back().failures = {{"CeOpenDatabaseEx", {0, ERROR_OUTOFMEMORY}}};

  // The catalogue's handle goes with the volume, whether or not it closes; a volume that does not unmount stays open.
  cases.push_back({"MDbClose",
                   "an open database",
                   Template::kUsual,
                   OpenVolume,
                   Close,
                   {{"CloseHandle(OBJG_0)", GoesOn()},
                    {"CeUnmountDBVol(*", Fails().Handles(Held::kAfter, {"ref.volume=set", "ref.opened=1"})}}});
  cases.back().onwards = {{"CloseHandle(OBJG_0)", Fails()}};
  cases.push_back({"MDbClose", "a closed reference", Template::kUsual, kNothing, Close, {}, MDbStatusFailed});
  cases.back().platform = Platform::kUnused;
  return cases;
}

Cases MarkCases() {
  // A mark that is taken for missing is written beside the one there is.
  const Rules replacing = {{"CeSeekDatabase(*", GoesOn().Volume(Held::kBeside)}};
  Cases cases = {
      {"MDbWriteChecksome",
       "the first mark",
       Template::kNoMark,
       OpenVolume,
       WriteMark,
       {{"CeSeekDatabase(*", GoesOn()}}},
      {"MDbWriteChecksome", "over another mark", Template::kBadMark, OpenVolume, WriteMark, replacing},
      {"MDbVerifyChecksome", "a good mark", Template::kUsual, OpenVolume, VerifyMark},
      {"MDbVerifyChecksome", "another mark", Template::kBadMark, OpenVolume, VerifyMark, {}, MDbStatusChecksumMismatch},
      {"MDbVerifyChecksome", "no mark", Template::kNoMark, OpenVolume, VerifyMark, {}, MDbStatusFailed},
      {"MDbWriteChecksome", "closed", Template::kUsual, kNothing, WriteMark, {}, MDbStatusFailed},
      {"MDbVerifyChecksome", "closed", Template::kUsual, kNothing, VerifyMark, {}, MDbStatusFailed},
  };
  cases[5].platform = cases[6].platform = Platform::kUnused;
  return cases;
}

Cases ListingCases() {
  const Rules first = {{"FindFirstFileW(*", Fails().Handles(Held::kBefore, {"listing=invalid"})}};
  const auto empty_folder = [](World& world) { std::filesystem::remove(world.path); };
  const auto folder_there = [](World& world) { std::filesystem::create_directory(world.folder / "made"); };
  Cases cases = {
      {"MDbFindFirstFile", "two files", Template::kUsual, kNothing, FindFirst, first},
      {"MDbFindFirstFile", "no file", Template::kUsual, empty_folder, FindFirst, first, MDbStatusFailed},
      {"MDbFindNextFile", "a second file", Template::kUsual, Listing, FindNext},
      {"MDbFindNextFile",
       "no further file",
       Template::kUsual,
       ListingAtItsEnd,
       FindNext,
       {{"FindClose(*", GoesOn()}},
       MDbStatusNoMoreItems},
      {"MDbFindNextFile",
       "after a listing that failed",
       Template::kNone,
       InvalidListing,
       FindNext,
       {},
       MDbStatusFailed},
      {"MDbFindClose", "a listing", Template::kUsual, Listing, FindClose},
      {"MDbFindClose", "a listing that failed", Template::kNone, InvalidListing, FindClose, {}, MDbStatusFailed},
      {"MDbCreateDirectory", "a new folder", Template::kNone, kNothing, MakeFolder},
      {"MDbCreateDirectory", "a folder that is there", Template::kNone, folder_there, MakeFolder, {}, MDbStatusFailed},
      {"MDbFindNextFile", "without a listing", Template::kNone, kNothing, FindNext, {}, MDbStatusFailed},
      {"MDbFindClose", "without a listing", Template::kNone, kNothing, FindClose, {}, MDbStatusFailed},
  };
  cases[9].platform = cases[10].platform = Platform::kUnused;
  return cases;
}

}  // namespace

Cases VolumeCases() {
  Cases all = EnvironmentCases();
  for (const auto& more : {CreatingAndDeleting(), OpeningAndClosing(), MarkCases(), ListingCases()}) {
    all.insert(all.end(), more.begin(), more.end());
  }
  return all;
}

}  // namespace callfaults
