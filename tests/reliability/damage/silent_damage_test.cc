// Damage after which every row that is found is right, every checksum holds and every count agrees, and which is still
// found: what is missing and what is there twice hide each other.
#include <gtest/gtest.h>

#include <cstring>
#include <fstream>
#include <iterator>

#include "damage_trial.h"
#include "file_damage.h"
#include "sample_volumes.h"
#include "temporary_directory.h"
#include "volume_content.h"

namespace {

using damage::Result;

constexpr CEPROPID kNumber = 1u << 16 | CEVT_UI4;
constexpr CEPROPID kText = 2u << 16 | CEVT_LPWSTR;

// Records of one size: every leaf page of the table holds as many of them.
damage::Subject EqualRecords(const TemporaryDirectory& folder) {
  const std::u16string path = folder / u"equal.vol";
  CEGUID volume;
  EXPECT_TRUE(CeMountDBVol(&volume, path.c_str(), CREATE_NEW));
  CEDBASEINFO info;
  std::memset(&info, 0, sizeof info);
  info.dwFlags = CEDB_VALIDNAME;
  std::memcpy(info.szDbaseName, u"equal", sizeof u"equal");
  CEOID oid = CeCreateDatabaseEx(&volume, &info);
  const HANDLE handle = CeOpenDatabaseEx(&volume, &oid, nullptr, 0, 0, nullptr);
  std::u16string text(100, u'x');
  for (uint32_t i = 0; i < 200; ++i) {
    CEPROPVAL values[2];
    std::memset(values, 0, sizeof values);
    values[0].propid = kNumber;
    values[0].val.ulVal = i;
    values[1].propid = kText;
    values[1].val.lpwstr = text.data();
    EXPECT_NE(CeWriteRecordProps(handle, 0, 2, values), 0u);
  }
  CloseHandle(handle);
  const damage::VolumeText state = damage::TextOf(volume);
  EXPECT_TRUE(CeUnmountDBVol(&volume));
  return damage::TakeSubject("equal", std::filesystem::path(path), {state.text});
}

TEST(SilentDamage, APageOfRecordsInThePlaceOfAnotherIsFoundThoughCountAndSizeAgree) {
  const TemporaryDirectory folder;
  const damage::Subject subject = EqualRecords(folder);
  damage::Bench bench(folder.path());
  const uint64_t pages = subject.file.size() / 4096;
  ASSERT_GT(pages, 10u);
  int refused = 0;
  for (uint64_t number = 9 * subject.file.size() + pages; number < damage::SystematicCount(subject.file); ++number) {
    const damage::Damaged damaged = damage::DoSystematic(subject.file, number);
    const damage::Trial trial = bench.Read(subject, damaged.bytes, "", false);
    ASSERT_NE(trial.result, Result::kWrong) << damaged.what << ": " << trial.why.substr(0, 200);
    if (trial.result == Result::kRefused) ++refused;
  }
  EXPECT_GT(refused, 50);
}

}  // namespace
