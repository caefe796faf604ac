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
#include <utility>
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

// Of characters that are made of such as have places, and of nothing else.
std::vector<CollationTable::Composition> Compositions(const std::vector<char16_t>& characters) {
  UErrorCode error = U_ZERO_ERROR;
  const UNormalizer2* const decomposing = unorm2_getNFDInstance(&error);
  const auto has_place = [&characters](char16_t one) {
    return std::find(characters.begin(), characters.end(), one) != characters.end();
  };
  std::vector<CollationTable::Composition> all;
  for (uint32_t unit = 1; unit <= 0xFFFF; ++unit) {
    const auto code = static_cast<UChar32>(unit);
    std::array<char16_t, 32> parts;
    const int32_t whole = unorm2_getDecomposition(decomposing, code, parts.data(), 32, &error);
    if (whole <= 0 || !std::all_of(parts.begin(), parts.begin() + whole, has_place)) continue;
    const int32_t once = unorm2_getRawDecomposition(decomposing, code, parts.data(), 32, &error);
    Require(once == 1 || once == 2, "a character has other parts than two");
    const char16_t second = once == 2 ? parts[1] : char16_t{0};
    const bool composes = second != 0 && unorm2_composePair(decomposing, parts[0], second) == code;
    const auto here = static_cast<char16_t>(unit);
    if (composes || !has_place(here)) all.push_back({parts[0], second, here});
  }
  Require(U_SUCCESS(error) != 0, "no normalisation");
  std::sort(all.begin(), all.end(),
            [](const auto& a, const auto& b) { return std::pair(a.first, a.second) < std::pair(b.first, b.second); });
  return all;
}

void WriteCompositions() {
  const std::vector<char16_t> characters = CharactersWithPlaces();
  std::printf("constexpr CollationTable::Composition kCompositions[] = {\n");
  for (const auto& one : Compositions(characters)) {
    std::printf("{%u,%u,%u},\n", unsigned{one.first}, unsigned{one.second}, unsigned{one.composed});
  }
  std::printf("};\nconstexpr CollationTable::MarkClass kMarkClasses[] = {\n");
  for (const char16_t one : characters) {
    if (u_getCombiningClass(one) != 0) std::printf("{%u,%u},\n", unsigned{one}, unsigned{u_getCombiningClass(one)});
  }
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
