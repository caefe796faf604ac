// Writes the tables of text_tables.h, from the ICU of the machine that builds. Built and run there, for whatever system.
#include <unicode/uchar.h>
#include <unicode/ucol.h>
#include <unicode/unorm2.h>

#include <algorithm>
#include <array>
#include <cstdio>
#include <cstdlib>
#include <set>
#include <string_view>
#include <vector>

#include "text_tables.h"

namespace {

using objectstore::CollationTable;
using objectstore::FoldingRun;

void Require(bool holds, const char* what) {
  if (holds) return;
  std::fprintf(stderr, "write_tables: %s\n", what);
  std::exit(1);
}

std::vector<char16_t> CharactersWithPlaces() {
  std::vector<char16_t> characters;
  for (const auto& block : CollationTable::kBlocks) {
    for (char16_t character = block.begin; character < block.end; ++character) characters.push_back(character);
  }
  return characters;
}

void Write(const char* name, const std::vector<uint8_t>& bytes) {
  std::printf("constexpr uint8_t %s[] = {", name);
  for (size_t i = 0; i < bytes.size(); ++i) std::printf("%s%u,", i % 32 == 0 ? "\n" : "", bytes[i]);
  std::printf("\n};\n");
}

class RootCollator {
 public:
  RootCollator() {
    UErrorCode error = U_ZERO_ERROR;
    collator_ = ucol_open("root", &error);
    ucol_setAttribute(collator_, UCOL_NORMALIZATION_MODE, UCOL_ON, &error);
    Require(U_SUCCESS(error) != 0, "no root collation");
  }
  RootCollator(const RootCollator&) = delete;
  RootCollator& operator=(const RootCollator&) = delete;
  ~RootCollator() { ucol_close(collator_); }

  std::vector<uint8_t> KeyOf(std::u16string_view text) const {
    std::array<uint8_t, 255> room;
    const int32_t size = ucol_getSortKey(collator_, text.data(), static_cast<int32_t>(text.size()), room.data(),
                                         static_cast<int32_t>(room.size()));
    Require(size > 0 && static_cast<size_t>(size) <= room.size(), "a key is too long");
    return {room.begin(), room.begin() + size};
  }

 private:
  UCollator* collator_;
};

size_t PrimaryBytes(const std::vector<uint8_t>& key) {
  constexpr uint8_t kLevelEnd = 1;
  return static_cast<size_t>(std::find_if(key.begin(), key.end(), [](uint8_t byte) { return byte <= kLevelEnd; }) -
                             key.begin());
}

void WriteKeys() {
  const RootCollator collator;
  std::vector<uint8_t> keys;
  std::set<uint8_t> shortened;
  for (const char16_t character : CharactersWithPlaces()) {
    const std::vector<uint8_t> key = collator.KeyOf({&character, 1});
    keys.push_back(static_cast<uint8_t>(key.size()));
    keys.insert(keys.end(), key.begin(), key.end());
    const char16_t twice[] = {character, character};
    const size_t bytes = PrimaryBytes(key);
    if (bytes >= 2 && PrimaryBytes(collator.KeyOf({twice, 2})) == 2 * bytes - 1) shortened.insert(key[0]);
  }
  Write("kCollationKeys", keys);
  Write("kShortenedFirstBytes", {shortened.begin(), shortened.end()});
}

// Of letters with marks, where all three have places.
void WriteCompositions() {
  UErrorCode error = U_ZERO_ERROR;
  const UNormalizer2* const composing = unorm2_getNFCInstance(&error);
  Require(U_SUCCESS(error) != 0, "no normalisation");
  std::vector<char16_t> characters = CharactersWithPlaces();
  std::vector<char16_t> marks;
  std::copy_if(characters.begin(), characters.end(), std::back_inserter(marks),
               [](char16_t one) { return u_getCombiningClass(one) != 0; });
  std::printf("constexpr CollationTable::Composition kCompositions[] = {\n");
  for (const char16_t letter : characters) {
    for (const char16_t mark : marks) {
      const UChar32 composed = unorm2_composePair(composing, letter, mark);
      const bool has_place =
          composed > 0 && std::find(characters.begin(), characters.end(), composed) != characters.end();
      if (has_place) std::printf("{%u,%u,%u},\n", letter, mark, static_cast<unsigned>(composed));
    }
  }
  std::printf("};\nconstexpr CollationTable::MarkClass kMarkClasses[] = {\n");
  for (const char16_t mark : marks) std::printf("{%u,%u},\n", mark, u_getCombiningClass(mark));
  std::printf("};\n");
}

// Runs are begun with the step from the first character to the second one that has the same distance.
void WriteFoldings() {
  std::vector<FoldingRun> runs;
  for (uint32_t unit = 0; unit <= 0xFFFF; ++unit) {
    const auto folded = static_cast<uint32_t>(u_foldCase(static_cast<UChar32>(unit), U_FOLD_CASE_DEFAULT));
    if (folded == unit) continue;
    Require(folded <= 0xFFFF, "a folding is no single unit");
    const auto distance = static_cast<uint16_t>(folded - unit);
    const auto here = static_cast<char16_t>(unit);
    if (!runs.empty() && runs.back().distance == distance) {
      FoldingRun& run = runs.back();
      const auto step = static_cast<uint16_t>(here - run.last);
      if ((run.first == run.last && step <= 2) || step == run.step) {
        run.step = step;
        run.last = here;
        continue;
      }
    }
    runs.push_back({here, here, 1, distance});
  }
  std::printf("constexpr FoldingRun kFoldings[] = {\n");
  for (const FoldingRun& run : runs) {
    std::printf("{%u,%u,%u,%u},\n", unsigned{run.first}, unsigned{run.last}, unsigned{run.step},
                unsigned{run.distance});
  }
  std::printf("};\n");
}

}  // namespace

int main(int count, char** arguments) {
  Require(count == 2 && std::freopen(arguments[1], "w", stdout) != nullptr, "names the file to write");
  WriteKeys();
  WriteCompositions();
  WriteFoldings();
  Require(std::fclose(stdout) == 0, "cannot write");
  return 0;
}
