// The word search in its plainest form, for comparison: cut the whole text into words, fold each, compare each.
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "shown_text.h"

// The folding of a whole text, by the normaliser's calls on whole texts.
std::u16string SlowFold(std::u16string_view text);

// The folded words of a text, by one walk of the iterator from its start.
std::vector<std::u16string> SlowWords(std::u16string_view text, const char* locale);

// True when every word of search is the beginning of one of text's words.
bool SlowFinds(std::u16string_view search, std::u16string_view text, const char* locale);
