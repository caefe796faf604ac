// What survives the end of a process: exactly the state of the last flush that returned. Each crash is a child process
// that ends without any clean-up. And the store between processes: one at a time.
#include <signal.h>
#include <sys/resource.h>

#include <functional>

#include "child_process.h"
#include "store_test.h"

namespace {

constexpr CEPROPID kNumber = Prop(1, CEVT_I4);
constexpr CEPROPID kText = Prop(2, CEVT_LPWSTR);

// Nothing is mounted in this process while a child runs: a child would inherit the mount.
class Durability : public DatabaseTest {
 protected:
  void SetUp() override {
    DatabaseTest::SetUp();
    Create({{kNumber, 0}});
    records_ = WriteKeys({10, 20, 30});
    Unmount();
  }

  // Mounts the volume in a child process, opens the database and changes something there; then the process dies.
  void ChangeAndDie(const std::function<void()>& change) {
    RunInChildThatDies([this, &change] {
      Mount();
      handle_ = Open();
      change();
    });
    Mount();
    handle_ = Open();
  }

  std::vector<std::vector<Stored>> Contents() {
    std::vector<std::vector<Stored>> contents;
    for (CEOID record : Order(handle_)) {
      SeekTo(handle_, record);
      contents.push_back(ReadAll(handle_).values);
    }
    return contents;
  }

  std::vector<CEOID> records_;  // keys 10, 20, 30
  const std::vector<std::vector<Stored>> kBefore = {Values({I4(1, 10)}), Values({I4(1, 20)}), Values({I4(1, 30)})};
};

TEST_F(Durability, UnflushedChangesAreLost) {
  ChangeAndDie([this] {
    EXPECT_NE(Write(handle_, 0, {I4(1, 40)}), 0u);
    EXPECT_NE(Write(handle_, records_[0], {I4(1, 11)}), 0u);
    EXPECT_EQ(CeDeleteRecord(handle_, records_[1]), TRUE);
    EXPECT_NE(CreateDatabase(volume_, u"others"), 0u);
  });
  EXPECT_EQ(Contents(), kBefore);
  EXPECT_EQ(Order(handle_), records_);
  EXPECT_EQ(DatabaseNames(volume_).size(), 1u);
}

TEST_F(Durability, ClosingAHandleStoresNothing) {
  ChangeAndDie([this] {
    EXPECT_NE(Write(handle_, 0, {I4(1, 40)}), 0u);
    EXPECT_EQ(CloseHandle(handle_), TRUE);
  });
  EXPECT_EQ(Contents(), kBefore);
}

TEST_F(Durability, FlushedChangesSurviveAndLaterOnesAreLost) {
  ChangeAndDie([this] {
    EXPECT_NE(Write(handle_, 0, {I4(1, 40), Text(2, u"flushed")}), 0u);
    EXPECT_EQ(Write(handle_, records_[2], {I4(1, 5)}), records_[2]);
    EXPECT_EQ(CeDeleteRecord(handle_, records_[1]), TRUE);
    EXPECT_NE(CreateDatabase(volume_, u"others", {{kText, 0}}, 7), 0u);
    EXPECT_EQ(CeFlushDBVol(&volume_), TRUE);
    EXPECT_NE(Write(handle_, 0, {I4(1, 50)}), 0u);
    EXPECT_EQ(Write(handle_, records_[2], {I4(1, 99), Text(2, u"lost")}), records_[2]);
    EXPECT_EQ(CeDeleteRecord(handle_, records_[0]), TRUE);
    EXPECT_NE(CreateDatabase(volume_, u"lost"), 0u);
  });
  EXPECT_EQ(Contents(), (std::vector<std::vector<Stored>>{Values({I4(1, 5)}), Values({I4(1, 10)}),
                                                          Values({I4(1, 40), Text(2, u"flushed")})}));
  EXPECT_EQ(DatabaseNames(volume_), (std::vector<std::u16string>{u"records", u"others"}));
}

TEST_F(Durability, FlushCoversEveryDatabaseOfTheVolume) {
  ChangeAndDie([this] {
    HANDLE other = OpenDatabase(volume_, CreateDatabase(volume_, u"others"));
    EXPECT_NE(Write(other, 0, {I4(1, 1)}), 0u);
    EXPECT_EQ(CloseHandle(other), TRUE);
    EXPECT_NE(Write(handle_, 0, {I4(1, 40)}), 0u);
    EXPECT_EQ(CeFlushDBVol(&volume_), TRUE);
  });
  EXPECT_EQ(Order(handle_).size(), 4u);
  CEOID found = 0;
  HANDLE other = CeOpenDatabaseEx(&volume_, &found, u"others", 0, 0, nullptr);
  EXPECT_EQ(ReadAll(other).values, Values({I4(1, 1)}));
}

TEST_F(Durability, FlushOfNoVolumeInParticularCoversAll) {
  std::u16string second_path = directory_ / u"second.cdb";
  ChangeAndDie([&] {
    CEGUID second = kNoVolume;
    EXPECT_EQ(CeMountDBVol(&second, second_path.c_str(), CREATE_NEW), TRUE);
    EXPECT_NE(CreateDatabase(second, u"in the second"), 0u);
    EXPECT_NE(Write(handle_, 0, {I4(1, 40)}), 0u);
    EXPECT_EQ(CeFlushDBVol(nullptr), TRUE);
  });
  EXPECT_EQ(Order(handle_).size(), 4u);
  CEGUID second = kNoVolume;
  ASSERT_EQ(CeMountDBVol(&second, second_path.c_str(), OPEN_EXISTING), TRUE) << GetLastError();
  EXPECT_EQ(DatabaseNames(second).size(), 1u);
  EXPECT_EQ(CeUnmountDBVol(&second), TRUE);
}

TEST_F(Durability, FlushOfOneVolumeLeavesAnotherUnflushed) {
  std::u16string second_path = directory_ / u"second.cdb";
  ChangeAndDie([&] {
    CEGUID second = kNoVolume;
    EXPECT_EQ(CeMountDBVol(&second, second_path.c_str(), CREATE_NEW), TRUE);
    EXPECT_NE(CreateDatabase(second, u"in the second"), 0u);
    EXPECT_NE(Write(handle_, 0, {I4(1, 40)}), 0u);
    EXPECT_EQ(CeFlushDBVol(&second), TRUE);
    EXPECT_EQ(CeFlushDBVol(&kSystemStore), TRUE);
  });
  EXPECT_EQ(Contents(), kBefore);
}

TEST_F(Durability, ChangesOfDescriptionsAreFlushedLikeRecords) {
  ChangeAndDie([this] {
    CEDBASEINFO info = DatabaseInfo(u"renamed", {{kText, CEDB_SORT_DESCENDING}}, 9);
    EXPECT_EQ(CloseHandle(handle_), TRUE);
    EXPECT_EQ(CeSetDatabaseInfoEx(&volume_, database_, &info), TRUE);
    EXPECT_EQ(CeFlushDBVol(&volume_), TRUE);
    info = DatabaseInfo(u"lost", {{kNumber, 0}}, 10);
    EXPECT_EQ(CeSetDatabaseInfoEx(&volume_, database_, &info), TRUE);
  });
  CEDBASEINFO info = Describe(volume_, database_);
  EXPECT_EQ(NameOf(info), u"renamed");
  EXPECT_EQ(info.dwDbaseType, 9u);
  ASSERT_EQ(info.wNumSortOrder, 1u);
  EXPECT_EQ(info.rgSortSpecs[0].propid, kText);
}

TEST_F(Durability, DeletedDatabaseComesBackWhenTheDeletionWasNotFlushed) {
  for (bool flushed : {false, true}) {
    if (mounted_) Unmount();
    ChangeAndDie([this, flushed] {
      EXPECT_EQ(CloseHandle(handle_), TRUE);
      EXPECT_EQ(CeDeleteDatabaseEx(&volume_, database_), TRUE);
      if (flushed) {
        EXPECT_EQ(CeFlushDBVol(&volume_), TRUE);
      }
    });
    EXPECT_EQ(DatabaseNames(volume_).size(), flushed ? 0u : 1u);
    if (!flushed) {
      EXPECT_EQ(Contents(), kBefore);
    }
  }
}

TEST_F(Durability, ManyFlushesEachHoldAndTheIdentifiersGoOn) {
  CEOID highest = records_[2];
  for (int32_t round = 0; round < 3; round++) {
    ChangeAndDie([this, round, highest] {
      for (int32_t i = 0; i < 20; i++) {
        EXPECT_GT(Write(handle_, 0, {I4(1, 100 + round * 20 + i)}), highest);
        EXPECT_EQ(CeFlushDBVol(&volume_), TRUE);
      }
    });
    std::vector<CEOID> order = Order(handle_);
    ASSERT_EQ(order.size(), static_cast<size_t>(3 + (round + 1) * 20));
    highest = order.back();
    Unmount();
  }
}

TEST_F(Durability, DeathWithNothingButMountsLeavesTheVolumeWhole) {
  for (DWORD disposition : {OPEN_EXISTING, OPEN_ALWAYS}) {
    RunInChildThatDies([this, disposition] { Mount(disposition); });
    Mount();
    handle_ = Open();
    EXPECT_EQ(Contents(), kBefore);
    Unmount();
  }
}

TEST_F(Durability, NewVolumeIsThereAfterItsFirstFlush) {
  std::u16string path = directory_ / u"new.cdb";
  RunInChildThatDies([&path] {
    CEGUID guid = kNoVolume;
    EXPECT_EQ(CeMountDBVol(&guid, path.c_str(), CREATE_NEW), TRUE);
    EXPECT_NE(CreateDatabase(guid, u"records"), 0u);
    EXPECT_EQ(CeFlushDBVol(&guid), TRUE);
  });
  CEGUID guid = kNoVolume;
  ASSERT_EQ(CeMountDBVol(&guid, path.c_str(), OPEN_EXISTING), TRUE) << GetLastError();
  EXPECT_EQ(DatabaseNames(guid).size(), 1u);
  EXPECT_EQ(CeUnmountDBVol(&guid), TRUE);
}

TEST_F(Durability, SecondProcessIsRefusedWhileTheVolumeIsMounted) {
  ProcessSignal mounted, refused;
  pid_t child = StartChildThatDies([&] {
    Mount();
    mounted.Send();
    refused.Wait();
  });
  mounted.Wait();
  for (DWORD disposition : {OPEN_EXISTING, OPEN_ALWAYS, CREATE_ALWAYS, TRUNCATE_EXISTING}) {
    SCOPED_TRACE(disposition);
    EXPECT_REFUSED(CeMountDBVol(&volume_, Path().c_str(), disposition), ERROR_SHARING_VIOLATION);
  }
  refused.Send();
  ExpectChildSucceeds(child);
  Mount();
  handle_ = Open();
  EXPECT_EQ(Contents(), kBefore) << "the refused mounts changed nothing, and death gave the volume free";
}

TEST_F(Durability, VolumeIsFreeForAnotherProcessAfterItsLastUnmount) {
  ProcessSignal mounted_once, refused, unmounted, taken;
  pid_t child = StartChildThatDies([&] {
    Mount();
    Mount();
    EXPECT_EQ(CeUnmountDBVol(&volume_), TRUE);
    mounted_once.Send();
    refused.Wait();
    Unmount();
    unmounted.Send();
    taken.Wait();
    EXPECT_REFUSED(CeMountDBVol(&volume_, Path().c_str(), OPEN_EXISTING), ERROR_SHARING_VIOLATION);
  });
  mounted_once.Wait();
  EXPECT_REFUSED(CeMountDBVol(&volume_, Path().c_str(), OPEN_EXISTING), ERROR_SHARING_VIOLATION);
  refused.Send();
  unmounted.Wait();
  Mount();
  taken.Send();
  ExpectChildSucceeds(child);
}

TEST_F(Durability, ChildThatInheritsAMountIsRefusedAndDisturbsNothing) {
  Mount();
  handle_ = Open();
  EXPECT_NE(Write(handle_, 0, {I4(1, 40)}), 0u);
  RunInChildThatDies([this] {
    CEGUID guid = kNoVolume;
    EXPECT_REFUSED(CeMountDBVol(&guid, Path().c_str(), OPEN_EXISTING), ERROR_SHARING_VIOLATION);
    CeFlushDBVol(nullptr);
    CeUnmountDBVol(&volume_);
  });
  RunInChildThatDies([this] {
    CEGUID guid = kNoVolume;
    EXPECT_REFUSED(CeMountDBVol(&guid, Path().c_str(), OPEN_EXISTING), ERROR_SHARING_VIOLATION);
  });
  EXPECT_NE(Write(handle_, 0, {I4(1, 50)}), 0u);
  EXPECT_EQ(CeFlushDBVol(&volume_), TRUE);
  Remount();
  handle_ = Open();
  EXPECT_EQ(Order(handle_).size(), 5u);
}

// No file of this process can be written any further, until the limit is lifted again.
void LetWritesFail(bool fail) {
  signal(SIGXFSZ, SIG_IGN);
  rlimit limit{};
  EXPECT_EQ(getrlimit(RLIMIT_FSIZE, &limit), 0);
  limit.rlim_cur = fail ? 0 : limit.rlim_max;
  EXPECT_EQ(setrlimit(RLIMIT_FSIZE, &limit), 0);
}

TEST_F(Durability, FailedFlushPoisonsTheVolumeAndReadsGoOn) {
  ChangeAndDie([this] {
    EXPECT_NE(Write(handle_, 0, {I4(1, 40)}), 0u);
    LetWritesFail(true);
    SetLastError(0);
    EXPECT_EQ(CeFlushDBVol(&volume_), FALSE);
    EXPECT_NE(GetLastError(), 0u);
    LetWritesFail(false);
    EXPECT_EQ(CeFlushDBVol(&volume_), FALSE) << "every later flush fails, too";
    EXPECT_EQ(CeFlushDBVol(nullptr), FALSE);
    EXPECT_EQ(Order(handle_).size(), 4u) << "the mounted image is whole";
    EXPECT_EQ(CeUnmountDBVol(&volume_), FALSE) << "nothing is unmounted";
    EXPECT_EQ(Order(handle_).size(), 4u);
    EXPECT_EQ(CeUnmountDBVol(&volume_), TRUE) << "the second call lets go of it";
    EXPECT_REFUSED(CeSeekDatabase(handle_, CEDB_SEEK_BEGINNING, 0, nullptr), ERROR_INVALID_HANDLE);
    Mount();
    handle_ = Open();
    EXPECT_EQ(Contents(), kBefore) << "what was not flushed is lost";
    EXPECT_NE(Write(handle_, 0, {I4(1, 50)}), 0u);
    EXPECT_EQ(CeFlushDBVol(&volume_), TRUE) << "the next mount is sound";
  });
  EXPECT_EQ(Order(handle_).size(), 4u);
}

TEST_F(Durability, FailedFlushOfAnUnmountKeepsTheVolumeMounted) {
  ChangeAndDie([this] {
    EXPECT_NE(Write(handle_, 0, {I4(1, 40)}), 0u);
    LetWritesFail(true);
    SetLastError(0);
    EXPECT_EQ(CeUnmountDBVol(&volume_), FALSE);
    EXPECT_NE(GetLastError(), 0u);
    EXPECT_EQ(Order(handle_).size(), 4u) << "its handles live on";
    EXPECT_EQ(CeUnmountDBVol(&volume_), TRUE);
    LetWritesFail(false);
  });
  EXPECT_EQ(Contents(), kBefore);
}

}  // namespace
