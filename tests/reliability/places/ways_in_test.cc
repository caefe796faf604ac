// Every way into the library, led to every kind of place that is no database: each answers its documented status at
// once, changes nothing, and keeps nothing open, locked or allocated.
#include <fcntl.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/sysmacros.h>
#include <sys/un.h>
#include <unistd.h>

#include "allocation_watch.h"
#include "place_test.h"

namespace places {
namespace {

namespace fs = std::filesystem;

constexpr DWORD kNotFound = ERROR_FILE_NOT_FOUND;
constexpr DWORD kNoPath = ERROR_PATH_NOT_FOUND;
constexpr DWORD kDenied = ERROR_ACCESS_DENIED;
constexpr DWORD kInvalid = ERROR_INVALID_PARAMETER;
constexpr DWORD kExists = ERROR_ALREADY_EXISTS;
constexpr DWORD kCorrupt = ERROR_FILE_CORRUPT;
constexpr DWORD kFound = 0;
constexpr DWORD kGone = 0;          // deleting takes away this entry and nothing else
constexpr DWORD kNotTried = 99999;  // deleting would leave the test's own folder

bool MakeLink(const char* to, const char* name) { return symlink(to, name) == 0; }
bool MakeFile(const char* name, const std::string& bytes) {
  const int file = open(name, O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0600);
  const bool made = file >= 0 && write(file, bytes.data(), bytes.size()) == static_cast<ssize_t>(bytes.size());
  return close(file) == 0 && made;
}
bool MakeSparse(const char* name, const std::string& bytes, off_t size) {
  return MakeFile(name, bytes) && truncate(name, size) == 0;
}
std::string Head(size_t bytes) {
  std::string head(bytes, '\0');
  const int file = open("sound.xdb", O_RDONLY | O_CLOEXEC);
  const ssize_t count = pread(file, head.data(), bytes, 0);
  close(file);
  head.resize(static_cast<size_t>(count));
  return head;
}
bool MakeSocket(const char* name) {
  const int descriptor = socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
  sockaddr_un address = {};
  address.sun_family = AF_UNIX;
  std::char_traits<char>::copy(address.sun_path, name, std::char_traits<char>::length(name));
  const bool made = bind(descriptor, reinterpret_cast<const sockaddr*>(&address), sizeof address) == 0;
  return close(descriptor) == 0 && made;
}
bool MakeDevice(unsigned minor_number) { return mknod("device.xdb", S_IFCHR | 0600, makedev(1, minor_number)) == 0; }
bool Nothing() { return true; }

struct Place {
  const char* why;
  std::u16string path;
  bool (*make)();  // false: this user cannot make one, and the row is passed over
  DWORD open, create, remove, find, list, folder;
  bool looks_sound = false;  // up to its header, so that a side file comes and goes
};

const std::u16string kHalfPair{u'a', char16_t{0xD800}, u'b'};
const std::u16string kLongName(200, u'\u00E4');  // 400 bytes

const Place kPlaces[] = {
    {"a link to a database", u"link.xdb", [] { return MakeLink("sound.xdb", "link.xdb"); },  //
     kCorrupt, kExists, kGone, kFound, kNoPath, kExists},
    {"a link that leads nowhere", u"link.xdb", [] { return MakeLink("nowhere", "link.xdb"); },  //
     kCorrupt, kExists, kGone, kFound, kNoPath, kExists},
    {"a link to itself", u"link.xdb", [] { return MakeLink("link.xdb", "link.xdb"); },  //
     kCorrupt, kExists, kGone, kFound, kNoPath, kExists},
    {"a link to a folder", u"link.xdb",
     [] { return mkdir("folder", 0700) == 0 && MakeFile("folder/x", "x") && MakeLink("folder", "link.xdb"); },  //
     kCorrupt, kExists, kGone, kFound, kFound, kExists},
    {"a loop of links on the way", u"link/book.xdb", [] { return MakeLink("link", "link"); },  //
     kNoPath, kNoPath, kNoPath, kNoPath, kNoPath, kNoPath},
    {"a link that leads nowhere on the way", u"link/book.xdb", [] { return MakeLink("nowhere", "link"); },  //
     kNoPath, kNoPath, kNotFound, kNoPath, kNoPath, kNoPath},
    {"a file on the way", u"sound.xdb/book.xdb", Nothing,  //
     kNoPath, kNoPath, kNoPath, kNoPath, kNoPath, kNoPath},
    {"a missing folder on the way", u"nowhere/book.xdb", Nothing,  //
     kNoPath, kNoPath, kNotFound, kNoPath, kNoPath, kNoPath},
    {"a folder", u"folder.xdb", [] { return mkdir("folder.xdb", 0700) == 0; },  //
     kCorrupt, kExists, kDenied, kFound, kNotFound, kExists},
    {"a pipe", u"pipe.xdb", [] { return mkfifo("pipe.xdb", 0600) == 0; },  //
     kCorrupt, kExists, kGone, kFound, kNoPath, kExists},
    {"a pipe on the way", u"pipe/book.xdb", [] { return mkfifo("pipe", 0600) == 0; },  //
     kNoPath, kNoPath, kNoPath, kNoPath, kNoPath, kNoPath},
    {"a socket", u"socket.xdb", [] { return MakeSocket("socket.xdb"); },  //
     kCorrupt, kExists, kGone, kFound, kNoPath, kExists},
    {"a device that swallows", u"device.xdb", [] { return MakeDevice(3); },  //
     kCorrupt, kExists, kGone, kFound, kNoPath, kExists},
    {"a device that is always full", u"device.xdb", [] { return MakeDevice(7); },  //
     kCorrupt, kExists, kGone, kFound, kNoPath, kExists},
    {"a device without an end", u"device.xdb", [] { return MakeDevice(5); },  //
     kCorrupt, kExists, kGone, kFound, kNoPath, kExists},
    {"the system's device that swallows", u"/dev/null", Nothing,  //
     kCorrupt, kExists, kNotTried, kFound, kNoPath, kExists},
    {"the system's full device", u"/dev/full", Nothing,  //
     kCorrupt, kExists, kNotTried, kFound, kNoPath, kExists},
    {"the system's device without an end", u"/dev/zero", Nothing,  //
     kCorrupt, kExists, kNotTried, kFound, kNoPath, kExists},
    {"an empty file", u"file.xdb", [] { return MakeFile("file.xdb", ""); },  //
     kCorrupt, kExists, kGone, kFound, kNoPath, kExists},
    {"a header alone", u"file.xdb", [] { return MakeFile("file.xdb", Head(100)); },  //
     kCorrupt, kExists, kGone, kFound, kNoPath, kExists, true},
    {"a page alone", u"file.xdb", [] { return MakeFile("file.xdb", Head(4096)); },  //
     kCorrupt, kExists, kGone, kFound, kNoPath, kExists, true},
    {"two gigabytes of zeros", u"file.xdb", [] { return MakeSparse("file.xdb", "", off_t{2} << 30); },  //
     kCorrupt, kExists, kGone, kFound, kNoPath, kExists},
    {"a header and two gigabytes of zeros", u"file.xdb",
     [] { return MakeSparse("file.xdb", Head(100), off_t{2} << 30); },  //
     kCorrupt, kExists, kGone, kFound, kNoPath, kExists, true},
    {"a first page and more than a database may have", u"file.xdb",
     [] { return MakeSparse("file.xdb", Head(4096), off_t{65} << 30); },  //
     kCorrupt, kExists, kGone, kFound, kNoPath, kExists},
    {"no path", u"", Nothing,  //
     kInvalid, kInvalid, kNotFound, kNotFound, kNotTried, kNoPath},
    {"this folder", u".", Nothing,  //
     kCorrupt, kExists, kDenied, kNotFound, kFound, kExists},
    {"the folder above", u"..", Nothing,  //
     kCorrupt, kExists, kDenied, kNotFound, kFound, kExists},
    {"a folder's name with a separator behind it", u"folder/", [] { return mkdir("folder", 0700) == 0; },  //
     kNoPath, kNoPath, kDenied, kNotFound, kNotFound, kExists},
    {"a database's name with a separator behind it", u"sound.xdb/", Nothing,  //
     kNoPath, kNoPath, kNoPath, kNoPath, kNoPath, kExists},
    {"the root", u"/", Nothing,  //
     kNoPath, kNoPath, kNotTried, kNotFound, kFound, kExists},
    {"half a surrogate pair", kHalfPair, Nothing,  //
     kInvalid, kInvalid, kNotFound, kNotFound, kNoPath, kNoPath},
    {"a name of 400 bytes", kLongName, Nothing,  //
     kNoPath, kNoPath, kNoPath, kNotFound, kNoPath, kNoPath},
    {"a folder of 400 bytes on the way", kLongName + u"/book.xdb", Nothing,  //
     kNoPath, kNoPath, kNoPath, kNoPath, kNoPath, kNoPath},
    {"260 characters", std::u16string(260, u'n'), Nothing,  //
     kInvalid, kInvalid, kNoPath, kNotFound, kNoPath, kNoPath},
};

class WaysIn : public PlaceTest {
 protected:
  // A call that changes nothing, repeated: the last error each time, and no memory more than after the first two.
  template <typename Call>
  void ExpectHarmless(const char* way, const Place& place, DWORD expected, Call call) {
    constexpr int kRounds = 6;
    const OwnTime own_time = place.looks_sound ? OwnTime::kLeftOut : OwnTime::kTaken;
    const Lines before = SnapshotOfFolder(folder_.path(), own_time);
    const Lines descriptors = OpenDescriptors();
    DWORD errors[kRounds];
    size_t held = 0;
    StartWatchingRequests();
    for (int round = 0; round < kRounds; ++round) {
      errors[round] = call();
      if (round == 1) held = HeldBytes();
    }
    EXPECT_LE(HeldBytes(), held + kUncertainBytes) << way << ": memory grew";
    EXPECT_LE(LargestRequest(), 1u << 20) << way;
    EXPECT_LE(MostHeldBySqlite(), 4u << 20) << way;
    for (const DWORD error : errors) EXPECT_EQ(error, expected) << way;
    EXPECT_EQ(OpenDescriptors(), descriptors) << way;
    EXPECT_EQ(SnapshotOfFolder(folder_.path(), own_time), before) << way;
  }

  void ExpectDeleted(const Place& place) {
    Lines before = SnapshotOfFolder(folder_.path());
    const std::string line = "./" + fs::path(place.path).string() + ": ";
    std::erase_if(before, [&line](const std::string& entry) { return entry.starts_with(line); });
    EXPECT_EQ(Delete(place.path), kDone) << place.why;
    EXPECT_EQ(SnapshotOfFolder(folder_.path()), before) << place.why << ": only the entry itself may go";
  }

  void Clear() {
    for (const std::string& name : Names()) {
      if (name != "sound.xdb") fs::remove_all(File(name));
    }
  }
};

TEST_F(WaysIn, NoPlaceIsOpenedCreatedListedOrDeletedByMistake) {
  size_t made = 0;
  for (const Place& place : kPlaces) {
    SCOPED_TRACE(place.why);
    if (!place.make()) {
      EXPECT_NE(geteuid(), 0u) << "the administrator can make everything";
      Clear();
      continue;
    }
    ++made;
    ExpectHarmless("MDbOpen", place, place.open, [&] { return Open(place.path); });
    ExpectHarmless("MDbAgentOpenDb", place, place.open, [&] { return OpenAgent(place.path); });
    ExpectHarmless("MDbCreate", place, place.create, [&] { return Create(place.path); });
    ExpectHarmless("MDbFindFirstFile", place, place.find, [&] { return Find(place.path); });
    if (place.list != kNotTried)
      ExpectHarmless("MDbFindFirstFile of what is below", place, place.list, [&] { return Find(place.path + u"/*"); });
    ExpectHarmless("MDbCreateDirectory", place, place.folder, [&] { return MakeFolder(place.path); });
    EXPECT_FALSE(IsLocked(fs::path(place.path == kHalfPair ? u"." : place.path)));
    if (place.remove == kGone) {
      ExpectDeleted(place);
    } else if (place.remove != kNotTried) {
      ExpectHarmless("MDbDelete", place, place.remove, [&] { return Delete(place.path); });
    }
    Clear();
  }
  EXPECT_GE(made, 30u);
  EXPECT_EQ(Records(u"sound.xdb"), (std::vector<std::u16string>{u"one", u"two"}));
}

// What is odd about a name but no reason to refuse it.
TEST_F(WaysIn, AnyNameThatIsTextNamesADatabase) {
  const std::u16string kNames[] = {u"line\nfeed.xdb",
                                   u"\u001B[31mred.xdb",
                                   u"-n",
                                   u" ",
                                   u"*?.xdb",
                                   u"file:x?mode=ro&cache=shared",
                                   u":memory:",
                                   u"\u202Egnp.xdb",
                                   u"\U0001F4D6",
                                   u"%s%n",
                                   u"'; DROP TABLE volume;--"};
  for (const std::u16string& name : kNames) {
    SCOPED_TRACE(fs::path(name).string());
    MakeDatabase(name, {u"x"});
    EXPECT_TRUE(fs::is_regular_file(fs::path(name)));
    EXPECT_EQ(Records(name), std::vector<std::u16string>{u"x"});
    EXPECT_EQ(Names().size(), 2u);
    EXPECT_EQ(Create(name), kExists);
    EXPECT_EQ(Delete(name), kDone);
    EXPECT_EQ(Names(), std::vector<std::string>{"sound.xdb"});
  }
}

TEST_F(WaysIn, AFolderThatIsReachedThroughALinkIsAFolder) {
  fs::create_directory("folder");
  fs::create_directory_symlink("folder", "way");
  MakeDatabase(u"way/../way/book.xdb", {u"x"});
  EXPECT_TRUE(fs::exists("folder/book.xdb"));
  EXPECT_EQ(Records(u"./way/book.xdb"), std::vector<std::u16string>{u"x"});
  EXPECT_EQ(Find(u"way/*.xdb"), kFound);
  EXPECT_EQ(Delete(u"way/book.xdb"), kDone);
  EXPECT_TRUE(fs::is_empty("folder"));
}

// 259 characters and no more: behind them stands the terminator of a path of the platform.
TEST_F(WaysIn, APathOf259CharactersIsTakenByEveryCallAndOneOf260ByNone) {
  std::u16string path = u"./";
  while (path.size() < 200) {
    path += u"folder-of-a-long-path/";
    fs::create_directory(fs::path(path));
  }
  path += std::u16string(259 - path.size(), u'v');
  MakeDatabase(path, {u"x"});
  EXPECT_EQ(Records(path), std::vector<std::u16string>{u"x"});
  EXPECT_EQ(Find(path), kFound);
  EXPECT_EQ(Delete(path), kDone);
  const Lines before = SnapshotOfFolder(folder_.path(), OwnTime::kTaken);
  EXPECT_EQ(Create(path + u'v'), kInvalid);
  EXPECT_EQ(Open(path + u'v'), kInvalid);
  EXPECT_EQ(OpenAgent(path + u'v'), kInvalid);
  EXPECT_EQ(SnapshotOfFolder(folder_.path(), OwnTime::kTaken), before);
}

}  // namespace
}  // namespace places
