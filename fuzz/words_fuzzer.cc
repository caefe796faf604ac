// Searching for the words of one text in others, against the search in its plainest form; the folding beneath it; and
// the module's five functions.
//
// Input: language, what the closed session is asked, then the search, two texts and the name of a locale.
#include <algorithm>
#include <array>
#include <cstring>
#include <memory>
#include <optional>
#include <string>

#include "input_bytes.h"
#include "requirement.h"
#include "slow_search.h"
#include "text_folding.h"
#include "word_language.h"
#include "word_search.h"
#include "xkrwbrk.h"

namespace {

using wordbreaker::WordLanguage;
using wordbreaker::WordSearch;

constexpr size_t kLongestText = 60;
constexpr size_t kLongestName = 300;
constexpr std::array<const char*, 5> kLocales = {"", "sv", "en_US_POSIX", "th", "ja"};

const WordLanguage& Language(size_t locale) {
  static std::array<std::unique_ptr<WordLanguage>, kLocales.size()> languages;
  if (languages[locale] == nullptr) languages[locale] = std::make_unique<WordLanguage>(kLocales[locale]);
  return *languages[locale];
}

// A copy that ends where the text ends, so that a look beyond it is seen.
class Exact {
 public:
  explicit Exact(const std::u16string& text) : units_(new MDbChar[text.size() + 1]), size_(text.size()) {
    std::copy_n(text.c_str(), text.size() + 1, units_.get());
  }
  std::u16string_view view() const { return {units_.get(), size_}; }
  const MDbChar* terminated() const { return units_.get(); }

 private:
  std::unique_ptr<MDbChar[]> units_;
  size_t size_;
};

bool HasLoneHalf(const std::u16string& text) {
  for (size_t position = 0; position < text.size();) {
    const char32_t character = wordbreaker::NextCharacter(text, position);
    if (character >= 0xD800 && character < 0xE000) return true;
  }
  return false;
}

void CheckFolding(const std::u16string& text) {
  std::u16string folded;
  wordbreaker::FoldText(text, folded);
  FUZZ_REQUIRE(folded == SlowFold(text), "both ways of folding agree");
  std::u16string twice;
  wordbreaker::FoldText(folded, twice);
  FUZZ_REQUIRE(twice == folded || HasLoneHalf(text), "folding what is folded changes nothing");
}

bool IsAscii(const std::u16string& text) {
  return std::all_of(text.begin(), text.end(), [](char16_t unit) { return unit < 0x80; });
}

void CheckSearch(const std::u16string& search, const std::array<std::u16string, 2>& texts, size_t locale) {
  WordSearch fast(Exact(search).view(), Language(locale));
  std::array<bool, 2> found;
  for (size_t i = 0; i < texts.size(); ++i) {
    const Exact text(texts[i]);
    found[i] = fast.Finds(text.view());
    FUZZ_REQUIRE(found[i] == SlowFinds(search, texts[i], kLocales[locale]), "both ways of searching agree");
    FUZZ_REQUIRE(fast.FindsInAnyText(text.view()) == found[i], "the way for any text agrees");
    if (IsAscii(texts[i])) FUZZ_REQUIRE(fast.FindsInAscii(text.view()) == found[i], "the way for ASCII agrees");
    WordSearch own(text.view(), Language(locale));
    FUZZ_REQUIRE(own.Finds(text.view()), "a text is found by its own words");
  }
  FUZZ_REQUIRE(fast.Finds(texts[0]) == found[0], "one search over many texts answers each for itself");
}

void CheckModule(const std::u16string& search, const std::array<std::u16string, 2>& texts, uint32_t stranger) {
  uint32_t session = 0;
  FUZZ_REQUIRE(FWOpenSession(Exact(search).terminated(), &session) == 0 && session != 0,
               "any text can be searched for");
  for (const std::u16string& text : texts) {
    const bool found = FWFindWord(session, Exact(text).terminated()) == 0;
    FUZZ_REQUIRE(found == SlowFinds(search, text, ""), "the module's answer is the search's");
  }
  FUZZ_REQUIRE(FWFindWord(session, nullptr) != 0, "nothing is not found");
  if (stranger != session) {
    FUZZ_REQUIRE(FWFindWord(stranger, texts[0].c_str()) != 0, "an unknown session finds nothing");
    FUZZ_REQUIRE(FWCloseSession(stranger) != 0, "an unknown session is not closed");
  }
  FUZZ_REQUIRE(FWCloseSession(session) == 0, "an open session is closed");
  FUZZ_REQUIRE(FWCloseSession(session) != 0, "once");
  FUZZ_REQUIRE(FWFindWord(session, texts[0].c_str()) != 0, "a closed session finds nothing");
}

// A name is refused or has rules. To ask for them takes long, so not every input does.
void CheckLocale(const std::u16string& wide, bool with_rules) {
  std::string name;
  for (const char16_t unit : wide) name += static_cast<char>(unit);
  const std::optional<std::string> locale = wordbreaker::LocaleOfName(name.c_str());
  if (name.empty()) FUZZ_REQUIRE(locale && locale->empty(), "the empty name is the root locale");
  if (!locale || !with_rules) return;
  const WordLanguage language(*locale);
  FUZZ_REQUIRE(WordSearch(u"a", language).Finds(u"b a"), "every language has words");
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  fuzz::InputBytes input(data, size);
  const size_t locale = input.Byte() % kLocales.size();
  const uint32_t stranger = input.Number();
  const std::u16string search = input.Text(kLongestText);
  std::array<std::u16string, 2> texts;
  for (auto& text : texts) text = input.Text(kLongestText);
  const std::u16string name = input.Text(kLongestName);
  const uint32_t hash = fuzz::HashOf(data, size);
  for (const auto& text : texts) CheckFolding(text);
  CheckFolding(search);
  CheckSearch(search, texts, locale);
  CheckModule(search, texts, stranger);
  CheckLocale(name, FUZZ_EVERY_INPUT_IN_FULL || hash % 1024 == 0);
  return 0;
}
