#include "match_cases.h"

namespace {

TEST(WordMatch, ScriptsWithoutSpacesAreCutByDictionary) {
  ExpectAll({
      {"Thai, second word", u"\u0E44\u0E17\u0E22", u"\u0E20\u0E32\u0E29\u0E32\u0E44\u0E17\u0E22", true},
      {"Thai, first word", u"\u0E20\u0E32\u0E29\u0E32", u"\u0E20\u0E32\u0E29\u0E32\u0E44\u0E17\u0E22", true},
      {"Thai, inside a word", u"\u0E29\u0E32", u"\u0E20\u0E32\u0E29\u0E32\u0E44\u0E17\u0E22", false},
      {"Thai, both words", u"\u0E44\u0E17\u0E22\u0E20\u0E32\u0E29\u0E32", u"\u0E20\u0E32\u0E29\u0E32\u0E44\u0E17\u0E22",
       true},
      {"Japanese, first word", u"\u6771\u4EAC", u"\u6771\u4EAC\u306B\u884C\u304F", true},
      {"Japanese, a later word", u"\u884C\u304F", u"\u6771\u4EAC\u306B\u884C\u304F", true},
      {"Japanese, inside a word", u"\u4EAC", u"\u6771\u4EAC\u306B\u884C\u304F", false},
      {"katakana", u"\u30C6\u30EC", u"\u30C6\u30EC\u30D3", true},
      {"katakana, inside", u"\u30EC\u30D3", u"\u30C6\u30EC\u30D3", false},
      {"half-width katakana", u"\uFF83\uFF9A\uFF8B\uFF9E", u"\u30C6\u30EC\u30D3", true},
      {"Korean syllable by its letters", u"\uD558", u"\uD55C\uAD6D", true},
      {"Korean, inside a word", u"\uAD6D", u"\uD55C\uAD6D", false},
  });
}

}  // namespace
