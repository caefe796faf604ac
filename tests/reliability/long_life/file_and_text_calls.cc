// Listings compared with the file system's own, dates and times with the plain model's values.
#include "file_and_text_calls.h"

#include <gtest/gtest.h>

#include <array>
#include <set>

#include "plain_values.h"

namespace longlife {
namespace {

std::u16string Wide(const std::string& ascii) { return {ascii.begin(), ascii.end()}; }

}  // namespace

FileAndTextCalls::FileAndTextCalls(MDbEnv& env, std::filesystem::path folder, uint32_t seed)
    : env_(env), folder_(std::move(folder)), random_(seed) {}

int32_t FileAndTextCalls::Draw(int32_t below) { return static_cast<int32_t>(random_() % static_cast<uint32_t>(below)); }

std::u16string FileAndTextCalls::Pattern(std::u16string_view last_part) const {
  return (folder_ / std::filesystem::path(last_part)).u16string();
}

void FileAndTextCalls::Step() {
  static constexpr std::array<void (FileAndTextCalls::*)(), 8> kGroups = {
      &FileAndTextCalls::ListsFolder, &FileAndTextCalls::EndsListingEarly, &FileAndTextCalls::MakesFolder,
      &FileAndTextCalls::ReadsDate,   &FileAndTextCalls::ReadsDate,        &FileAndTextCalls::ReadsTime,
      &FileAndTextCalls::ReadsTime,   &FileAndTextCalls::ReadsTime};
  const auto group = static_cast<size_t>(Draw(kGroups.size()));
  SCOPED_TRACE("files and texts, group " + std::to_string(group));
  (this->*kGroups[group])();
}

void FileAndTextCalls::ListsFolder() {
  std::set<std::u16string> expected;
  for (const auto& entry : std::filesystem::directory_iterator(folder_)) {
    if (entry.path().extension() == ".xdb") expected.insert(entry.path().filename().u16string());
  }
  std::set<std::u16string> listed;
  MDbHandle handle = 0;
  MDbChar name[64] = u"as was";
  MDbStatus status = MDbFindFirstFile(&handle, Pattern(u"*.xdb").c_str(), name, sizeof name);
  EXPECT_EQ(expected.empty() ? MDbStatusFailed : MDbStatusOk, status);
  while (status == MDbStatusOk) {
    EXPECT_TRUE(listed.insert(name).second) << "listed twice";
    status = MDbFindNextFile(&handle, name, sizeof name);
  }
  EXPECT_EQ(expected, listed);
  EXPECT_EQ(expected.empty() ? MDbStatusFailed : MDbStatusNoMoreItems, status);
  EXPECT_EQ(expected.empty() ? MDB_INVALID_HANDLE : 0, handle);
}

void FileAndTextCalls::EndsListingEarly() {
  MDbHandle handle = 0;
  MDbChar name[64] = u"as was";
  ASSERT_EQ(MDbStatusOk, MDbFindFirstFile(&handle, Pattern(u"*").c_str(), name, sizeof name));
  EXPECT_TRUE(std::filesystem::exists(folder_ / std::filesystem::path(std::u16string(name))));
  EXPECT_EQ(MDbStatusOk, MDbFindClose(&handle));
  EXPECT_EQ(MDbStatusFailed, MDbFindClose(&handle)) << "it is closed";
  EXPECT_EQ(MDbStatusFailed, MDbFindFirstFile(&handle, Pattern(u"no such *").c_str(), name, sizeof name));
  EXPECT_EQ(MDB_INVALID_HANDLE, handle);
}

void FileAndTextCalls::MakesFolder() {
  const std::u16string path = Pattern(u"folder");
  EXPECT_EQ(MDbStatusOk, MDbCreateDirectory(path.c_str()));
  EXPECT_EQ(MDbStatusFailed, MDbCreateDirectory(path.c_str())) << "it exists";
  EXPECT_EQ(MDbStatusFailed, MDbDelete(&env_, path.c_str())) << "it is no file";
  EXPECT_EQ(MDbStatusFailed, MDbDelete(&env_, Pattern(u"no such file").c_str()));
  EXPECT_TRUE(std::filesystem::remove(folder_ / "folder"));
}

void FileAndTextCalls::ReadsDate() {
  const int32_t month = Draw(14);
  const int32_t day = Draw(33);
  const int32_t year = 1 + Draw(3010);
  std::string digits = std::to_string(year);
  digits.insert(0, 4 - digits.size(), '0');
  const std::u16string text = Wide(std::to_string(month) + "/" + std::to_string(day) + "/" + digits);
  SCOPED_TRACE("date " + std::to_string(month) + "/" + std::to_string(day) + "/" + digits);
  const bool valid = plain::DateValue(text).has_value();
  DateRec date{};
  EXPECT_EQ(valid ? MDbStatusOk : MDbStatusBadDateText,
            MDbRecsetDateStrToDateRec(&env_, text.c_str(), &date, 0, nullptr));
  if (!valid) {
    EXPECT_EQ(MDbDateInvalid, date.status);
    EXPECT_EQ(0, date.month);
    return;
  }
  EXPECT_EQ(month, date.month);
  EXPECT_EQ(day, date.day);
  EXPECT_EQ(year, date.year);
  EXPECT_EQ(1, date.fourDigitYear);
  MDbChar written[16] = u"as was";
  EXPECT_EQ(MDbStatusOk, MDbRecsetDRecToDateStr(&env_, &date, written));
  EXPECT_EQ(plain::DateValue(text), plain::DateValue(written));
}

void FileAndTextCalls::ReadsTime() {
  std::string ascii = std::to_string(Draw(25)) + ":" + std::to_string(Draw(70));
  if (Draw(2) == 0) ascii += ":" + std::to_string(Draw(70));
  static constexpr std::array<const char*, 5> kSuffixes = {"", "", " AM", " PM", " H"};
  ascii += kSuffixes[static_cast<size_t>(Draw(kSuffixes.size()))];
  SCOPED_TRACE("time " + ascii);
  const std::u16string text = Wide(ascii);
  const std::optional<int32_t> seconds = plain::TimeValue(text);
  TimeRec time{};
  uint16_t digits[3 * 256];
  const MDbStatus status = MDbRecsetTimeStrToTRec(&env_, text.c_str(), &time, 1, nullptr, digits);
  EXPECT_EQ(seconds ? MDbStatusOk : MDbStatusBadTimeText, status);
  if (!seconds || status != MDbStatusOk) return;
  EXPECT_EQ(*seconds, time.hours * 3600 + time.minutes * 60 + time.seconds);
  MDbChar written[32] = u"as was";
  EXPECT_EQ(MDbStatusOk, MDbRecsetTRecToTimeStr(&env_, &time, written));
  EXPECT_EQ(seconds, plain::TimeValue(written)) << "written as another time";
}

}  // namespace longlife
