// The content is a function of the number that each record carries in its first field.
#include "steady_file.h"

#include <gtest/gtest.h>

#include <set>

#include "database_recipe.h"

namespace longlife {
namespace {

constexpr int16_t kNumber = 0;
constexpr int16_t kText = 1;

std::u16string Wide(const std::string& ascii) { return {ascii.begin(), ascii.end()}; }

// 0 to 300 characters, always the same for a number.
std::u16string TextOf(int number) {
  std::u16string text = u"record " + Wide(std::to_string(number)) + u" ";
  text.append(static_cast<size_t>(number * 37 % 300), static_cast<char16_t>(u'a' + number % 26));
  return text;
}

}  // namespace

SteadyFile::SteadyFile(MDbEnv& env, std::filesystem::path path, uint32_t seed)
    : env_(env), path_(std::move(path)), random_(seed) {
  Create();
}

int32_t SteadyFile::Draw(uint32_t below) { return static_cast<int32_t>(random_() % below); }

uint64_t SteadyFile::Size() const { return std::filesystem::file_size(path_); }

void SteadyFile::Create() {
  enginetest::Recipe recipe;
  recipe.fields = {{MDbFieldNumber, u"number"}, {MDbFieldText, u"text"}};
  ASSERT_EQ(MDbStatusOk, enginetest::CreateDatabaseFile(&env_, path_.u16string(), recipe));
  Fill();
}

// Adds all records through a reference of this side's own, so that they become durable together.
void SteadyFile::Fill() {
  MDbRef ref;
  MDbDataTbl table;
  MDbRefInitialize(&ref);
  MDbDataTblInitialize(&table);
  ASSERT_EQ(MDbStatusOk, MDbOpen(&env_, path_.u16string().c_str(), &ref));
  ASSERT_EQ(MDbStatusOk, MDbDataTblOpen(&env_, &ref, &table, nullptr));
  EXPECT_EQ(MDbStatusOk, StartCreationSeqCache(&env_, &ref, &table));
  for (int number = 0; number < kRecords; ++number) {
    const std::u16string key = Wide(std::to_string(number));
    const std::u16string text = TextOf(number);
    const MDbChar* const texts[] = {key.c_str(), text.c_str()};
    const MDbRecInfo info = {{1, 2, 3}};
    EXPECT_EQ(MDbStatusOk, MDbDataTblAddRec(&env_, &ref, &table, &info, texts, 2, 0, nullptr, nullptr));
  }
  EXPECT_EQ(MDbStatusOk, EndCreationSeqCache(&env_, &ref, &table));
  EXPECT_EQ(MDbStatusOk, MDbDataTblClose(&env_, &ref, &table));
  EXPECT_EQ(MDbStatusOk, MDbClose(&env_, &ref));
}

uint32_t SteadyFile::Count(MDbRecset& records) {
  uint32_t count = 0;
  EXPECT_EQ(MDbStatusOk, MDbRecsetGetRecCount(&env_, &records, &count));
  return count;
}

std::u16string SteadyFile::Read(MDbRecset& records, int16_t field) {
  MDbChar text[512] = u"not read";
  EXPECT_EQ(MDbStatusOk, MDbRecsetGetField(&env_, &records, field, text, sizeof text));
  return text;
}

void SteadyFile::Disturb(MDbRecset& records) {
  for (int change = Draw(20); change >= 0; --change) {
    const auto index = static_cast<int16_t>(Draw(Count(records)));
    uint16_t added = 0;
    switch (Draw(8)) {
      case 0:
        EXPECT_EQ(MDbStatusOk, MDBRecsetDupRec(&env_, &records, index, &added));
        break;
      case 1:
        EXPECT_EQ(MDbStatusOk, MDbRecsetNewRec(&env_, &records, &added));
        break;
      case 2:
        EXPECT_EQ(MDbStatusOk, MDbRecsetSort(&env_, &records, static_cast<int16_t>(Draw(2)), MDbSortToggle));
        break;
      default: {
        const std::u16string text(static_cast<size_t>(Draw(480)), u'x');
        EXPECT_EQ(MDbStatusOk, MDbRecsetSetInx(&env_, &records, index));
        ASSERT_EQ(MDbStatusOk, MDbRecsetOpenRec(&env_, &records));
        EXPECT_EQ(MDbStatusOk, MDbRecsetSetField(&env_, &records, kText, text.c_str()));
        EXPECT_EQ(MDbStatusOk, MDbRecsetCloseRec(&env_, &records));
      }
    }
  }
}

// Deletes the copies and the empty records and puts every text back.
void SteadyFile::Restore(MDbRecset& records) {
  std::set<int> seen;
  for (int index = 0; index < static_cast<int>(Count(records));) {
    EXPECT_EQ(MDbStatusOk, MDbRecsetSetInx(&env_, &records, static_cast<int16_t>(index)));
    ASSERT_EQ(MDbStatusOk, MDbRecsetOpenRec(&env_, &records));
    const std::u16string key = Read(records, kNumber);
    const int number = key.empty() ? -1 : std::stoi(std::string(key.begin(), key.end()));
    const bool keep = number >= 0 && seen.insert(number).second;
    if (keep && Read(records, kText) != TextOf(number)) {
      EXPECT_EQ(MDbStatusOk, MDbRecsetSetField(&env_, &records, kText, TextOf(number).c_str()));
    }
    EXPECT_EQ(MDbStatusOk, MDbRecsetCloseRec(&env_, &records));
    if (keep) {
      ++index;
    } else {
      EXPECT_EQ(MDbStatusOk, MDbRecsetDelRec(&env_, &records, static_cast<int16_t>(index), 1));
    }
  }
}

void SteadyFile::CheckContent(MDbRecset& records) {
  ASSERT_EQ(static_cast<uint32_t>(kRecords), Count(records));
  std::set<std::u16string> texts;
  for (int index = 0; index < kRecords; ++index) {
    EXPECT_EQ(MDbStatusOk, MDbRecsetSetInx(&env_, &records, static_cast<int16_t>(index)));
    ASSERT_EQ(MDbStatusOk, MDbRecsetOpenRec(&env_, &records));
    texts.insert(Read(records, kText));
    EXPECT_EQ(MDbStatusOk, MDbRecsetCloseRec(&env_, &records));
  }
  for (int number = 0; number < kRecords; ++number) EXPECT_EQ(1u, texts.count(TextOf(number))) << "record " << number;
  uint32_t logged = 9;
  EXPECT_EQ(MDbStatusOk, MDbDeleteTblGetRecCount(&env_, &env_.agentRef, &env_.dataTbl, &logged));
  EXPECT_EQ(0u, logged);
}

// Deletes both tables, or all records, and fills the file again.
void SteadyFile::StartAnew() {
  const std::u16string path = path_.u16string();
  if (Draw(2) == 0) {
    MDbRef ref;
    MDbRefInitialize(&ref);
    ASSERT_EQ(MDbStatusOk, MDbOpen(&env_, path.c_str(), &ref));
    EXPECT_EQ(MDbStatusOk, MDbDataTblDelete(&env_, &ref, nullptr));
    EXPECT_EQ(MDbStatusOk, MDbDataTblCreate(&env_, &ref, nullptr));
    EXPECT_EQ(MDbStatusOk, MDbClose(&env_, &ref));
  } else {
    MDbRecset records;
    MDbRecsetInitialize(&records);
    ASSERT_EQ(MDbStatusOk, MDbAgentOpenDb(&env_, path.c_str()));
    ASSERT_EQ(MDbStatusOk, MDbAgentQuery(&env_, &records, nullptr));
    EXPECT_EQ(MDbStatusOk, MDbRecsetDelAllRec(&env_, &records, 1));
    EXPECT_EQ(0u, Count(records));
    EXPECT_EQ(MDbStatusOk, MDbRecsetDestroy(&env_, &records));
    EXPECT_EQ(MDbStatusOk, MDbAgentCloseDb(&env_));
  }
  Fill();
}

void SteadyFile::Visit() {
  SCOPED_TRACE("the steady file");
  if (Draw(10) == 0) StartAnew();
  MDbRecset records;
  MDbRecsetInitialize(&records);
  ASSERT_EQ(MDbStatusOk, MDbAgentOpenDb(&env_, path_.u16string().c_str()));
  ASSERT_EQ(MDbStatusOk, MDbAgentQuery(&env_, &records, nullptr));
  Disturb(records);
  Restore(records);
  CheckContent(records);
  EXPECT_EQ(MDbStatusOk, MDbRecsetDestroy(&env_, &records));
  EXPECT_EQ(MDbStatusOk, MDbAgentCloseDb(&env_));
}

}  // namespace longlife
