// XKRVolumeCheck and XKRVolumeRepair as a program calls them: what they answer, what they leave alone, and what they say of
// damage that has to be put there by hand.
#include <fcntl.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <functional>
#include <iterator>

#include "child_process.h"
#include "sample_volumes.h"
#include "temporary_directory.h"
#include "volume_content.h"
#include "xkrvolume.h"

namespace {

using std::filesystem::path;

constexpr size_t kPageBytes = 4096;

std::string Bytes(const path& file) {
  std::ifstream stream(file, std::ios::binary);
  return {std::istreambuf_iterator<char>(stream), std::istreambuf_iterator<char>()};
}
void WriteBytes(const path& file, const std::string& bytes) { std::ofstream(file, std::ios::binary) << bytes; }

struct Told {
  std::vector<uint32_t> codes;
  std::vector<std::u16string> databases;
  int stop_after = -1;  // findings
};

int TakeFinding(void* context, const XKRVolumeFinding* finding) {
  Told& told = *static_cast<Told*>(context);
  told.codes.push_back(finding->code);
  return told.stop_after >= 0 && told.codes.size() > static_cast<size_t>(told.stop_after) ? 1 : 0;
}
int TakeSaved(void* context, const XKRVolumeSaved* saved) {
  static_cast<Told*>(context)->databases.emplace_back(saved->database);
  return 0;
}

class Examine : public ::testing::Test {
 protected:
  Examine() {
    damage::MakeEveryTypeVolume(file().u16string());
    sound_ = Bytes(file());
  }
  path file() const { return folder_.path() / "some.vol"; }
  path saved() const { return folder_.path() / "saved.vol"; }
  uint32_t Check(Told* told = nullptr) const {
    return XKRVolumeCheck(file().u16string().c_str(), told != nullptr ? TakeFinding : nullptr, told);
  }
  uint32_t Repair(Told* told = nullptr) const {
    const XKRVolumeRepairOptions options = {nullptr, 0, TakeFinding, TakeSaved, told};
    return XKRVolumeRepair(file().u16string().c_str(), saved().u16string().c_str(),
                           told != nullptr ? &options : nullptr);
  }
  void Damage(size_t at) const {
    std::string bytes = sound_;
    bytes[at] = static_cast<char>(bytes[at] ^ 8);
    WriteBytes(file(), bytes);
  }
  void ZeroPage(size_t page) const {
    std::string bytes = sound_;
    WriteBytes(file(), bytes.replace((page - 1) * kPageBytes, kPageBytes, std::string(kPageBytes, '\0')));
  }

  TemporaryDirectory folder_;
  std::string sound_;
};

TEST_F(Examine, ASoundVolumeIsSoundAndItsCopyHoldsTheSame) {
  Told told;
  EXPECT_EQ(Check(&told), uint32_t{XKRVolumeSound});
  EXPECT_EQ(Repair(&told), uint32_t{XKRVolumeSound});
  EXPECT_EQ(told.codes, std::vector<uint32_t>());
  EXPECT_EQ(told.databases.size(), 3u);
  EXPECT_EQ(damage::TextOfFile(saved().u16string(), damage::Times::kWith),
            damage::TextOfFile(file().u16string(), damage::Times::kWith));
}

TEST_F(Examine, WhatIsInTheWayHasAnAnswerOfItsOwn) {
  const std::u16string some = file().u16string();
  const std::u16string nowhere = folder_ / u"nowhere/a.vol";
  EXPECT_EQ(XKRVolumeCheck(nullptr, nullptr, nullptr), uint32_t{XKRVolumeDenied});
  EXPECT_EQ(XKRVolumeCheck(nowhere.c_str(), nullptr, nullptr), uint32_t{XKRVolumeMissing});
  EXPECT_EQ(XKRVolumeCheck(folder_.path().u16string().c_str(), nullptr, nullptr), uint32_t{XKRVolumeDenied});
  EXPECT_EQ(XKRVolumeRepair(some.c_str(), nullptr, nullptr), uint32_t{XKRVolumeDenied});
  EXPECT_EQ(XKRVolumeRepair(some.c_str(), some.c_str(), nullptr), uint32_t{XKRVolumeExists});
  EXPECT_EQ(XKRVolumeRepair(some.c_str(), nowhere.c_str(), nullptr), uint32_t{XKRVolumeMissing});
  WriteBytes(file(), "no volume");
  EXPECT_EQ(Check(), uint32_t{XKRVolumeNone});
  EXPECT_EQ(Repair(), uint32_t{XKRVolumeNone});
  EXPECT_FALSE(exists(saved()));
}

// Closing any descriptor of a file drops the locks that a process holds on it: a mounted file must not even be opened.
TEST_F(Examine, AMountedVolumeIsNotExaminedAndStaysLocked) {
  CEGUID volume;
  ASSERT_TRUE(CeMountDBVol(&volume, file().u16string().c_str(), OPEN_EXISTING));
  EXPECT_EQ(Check(), uint32_t{XKRVolumeInUse});
  EXPECT_EQ(Repair(), uint32_t{XKRVolumeInUse});
  RunInChildThatDies([this] {
    struct flock query = {};
    query.l_type = F_WRLCK;
    query.l_whence = SEEK_SET;
    const int descriptor = open(file().c_str(), O_RDONLY);
    EXPECT_EQ(fcntl(descriptor, F_GETLK, &query), 0);
    EXPECT_NE(query.l_type, F_UNLCK);  // the parent's lock is still there
  });
  EXPECT_TRUE(CeUnmountDBVol(&volume));
  EXPECT_EQ(Check(), uint32_t{XKRVolumeSound});
}

TEST_F(Examine, ASinkThatWantsNoMoreEndsTheCallAndNothingIsMade) {
  ZeroPage(3);
  Told told;
  told.stop_after = 0;
  EXPECT_EQ(Check(&told), uint32_t{XKRVolumeStopped});
  EXPECT_EQ(told.codes.size(), 1u);
  told = {};
  told.stop_after = 0;
  EXPECT_EQ(Repair(&told), uint32_t{XKRVolumeStopped});
  EXPECT_FALSE(exists(saved()));
  EXPECT_EQ(Repair(), uint32_t{XKRVolumeDamaged});
}

TEST_F(Examine, DatabasesWithoutTheirRowsAreCalledLost) {
  ZeroPage(3);
  Told told;
  ASSERT_EQ(Repair(&told), uint32_t{XKRVolumeDamaged});
  EXPECT_EQ(told.databases, (std::vector<std::u16string>{u"LOST_1", u"LOST_2"}));  // the third had no records
  const damage::VolumeText text = damage::TextOfFile(saved().u16string());
  EXPECT_EQ(text.error, 0u);
  EXPECT_NE(text.text.find("database 1 \"LOST_1\" type 0x0 flags 0x1f records 25 "), std::string::npos);
  EXPECT_NE(text.text.find("\"record c\""), std::string::npos);
}

TEST_F(Examine, EveryKindOfDamageHasItsCode) {
  const size_t row = sound_.find("record d");
  ASSERT_NE(row, std::string::npos);
  const struct {
    const char* what;
    std::function<void()> damage;
    uint32_t code;
  } kRows[] = {
      {"the magic", [this] { Damage(0); }, XKRFindingHeader},
      {"a record", [this, row] { Damage(row); }, XKRFindingRow},
      {"a record, so that it is missing", [this, row] { Damage(row); }, XKRFindingMissing},
      {"the volume's row", [this] { ZeroPage(2); }, XKRFindingVolumeRow},
      {"the databases' rows", [this] { ZeroPage(3); }, XKRFindingDescription},
      {"the records' first page", [this] { ZeroPage(4); }, XKRFindingPage},
      {"the kind of the records' page, so that rows are loose", [this] { Damage(3 * kPageBytes); }, XKRFindingLoose},
      {"the end", [this] { WriteBytes(file(), sound_.substr(0, sound_.size() - 100)); }, XKRFindingCut},
      {"a journal", [this] { WriteBytes(file().string() + "-journal", "x"); }, XKRFindingJournal},
      {"a statement of the table of tables", [this] { Damage(sound_.find("CREATE TABLE packed")); },
       XKRFindingStructure},
      {"the list of free pages", [this] { Damage(35); }, XKRFindingStructure},
  };
  for (const auto& one : kRows) {
    WriteBytes(file(), sound_);
    one.damage();
    Told told;
    EXPECT_EQ(Check(&told), uint32_t{XKRVolumeDamaged}) << one.what;
    EXPECT_NE(std::find(told.codes.begin(), told.codes.end(), one.code), told.codes.end()) << one.what;
    unlink((file().string() + "-journal").c_str());
  }
}

class ExamineLog : public ::testing::Test {
 protected:
  static constexpr size_t kFrameBytes = 24 + kPageBytes;
  ExamineLog() {
    damage::MakeEngineDatabase(file().u16string(), 12);
    states_ = damage::LeaveKilledWriter(file().u16string(), 4);
    log_ = Bytes(log());
  }
  path file() const { return folder_.path() / "killed.xdb"; }
  path log() const { return file().string() + "-wal"; }
  path saved() const { return folder_.path() / "saved.xdb"; }
  void DamageFrame(size_t index) const {
    std::string bytes = log_;
    bytes[32 + index * kFrameBytes + 24 + 100] ^= 1;
    WriteBytes(log(), bytes);
  }
  // The frames that are the last of a flush.
  std::vector<size_t> Commits() const {
    std::vector<size_t> commits;
    for (size_t i = 0; 32 + (i + 1) * kFrameBytes <= log_.size(); ++i) {
      if (log_.substr(32 + i * kFrameBytes + 4, 4) != std::string(4, '\0')) commits.push_back(i);
    }
    return commits;
  }

  TemporaryDirectory folder_;
  std::vector<std::string> states_;
  std::string log_;
};

TEST_F(ExamineLog, FlushesBehindADamagedFrameAreReportedAsLostIfTheyHadReachedTheDisk) {
  const std::vector<size_t> commits = Commits();
  ASSERT_GE(commits.size(), 4u);
  DamageFrame(commits[1]);
  Told told;
  EXPECT_EQ(XKRVolumeCheck(file().u16string().c_str(), TakeFinding, &told), uint32_t{XKRVolumeDamaged});
  EXPECT_EQ(told.codes, std::vector<uint32_t>{XKRFindingLog});
  EXPECT_EQ(XKRVolumeRepair(file().u16string().c_str(), saved().u16string().c_str(), nullptr),
            uint32_t{XKRVolumeDamaged});
  EXPECT_EQ(damage::TextOfFile(saved().u16string()).text, states_[1]);
  EXPECT_EQ(damage::TextOfFile(file().u16string()).text, states_[1]);
}

// As far as anybody can tell the power went while the last flush was being written.
TEST_F(ExamineLog, ALastFlushThatDoesNotHoldIsNoDamage) {
  DamageFrame(Commits()[3]);
  EXPECT_EQ(XKRVolumeCheck(file().u16string().c_str(), nullptr, nullptr), uint32_t{XKRVolumeSound});
  EXPECT_EQ(XKRVolumeRepair(file().u16string().c_str(), saved().u16string().c_str(), nullptr),
            uint32_t{XKRVolumeSound});
  EXPECT_EQ(damage::TextOfFile(saved().u16string()).text, states_[3]);
}

}  // namespace
