// What Unicode says of single characters, from ICU or from tables that were made by it.
#pragma once

#include <string>

namespace wordbreaker {

// See text_folding.h: the compatibility decomposition without marks, in full case folding. May throw std::bad_alloc.
std::u16string FoldingOf(char32_t character);

// By the rules of word boundaries.
bool IsLetterOrDigit(char32_t character);

}  // namespace wordbreaker
