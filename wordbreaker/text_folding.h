// Text with case and accents put aside, so that texts that a reader takes for the same word are equal.
//
// A character's folding is: its compatibility decomposition (NFKD) without marks, in full case folding. Marks are the
// nonspacing ones (accents, points, most vowel signs above and below letters) and whatever else Unicode stacks on a
// letter (combining class not 0); invisible format characters (soft hyphen, joiners) go as well.
// (F1) Every character is folded for itself: the folding of a text is the foldings of its characters, one after
// another. (F2) Folding what is folded changes nothing, as long as no half of a surrogate pair stands alone: two halves
// that a mark held apart come together without it. (F3) Texts that are canonically equivalent have the same folding.
//
// Decomposed first, since what case folding makes of some marks is a letter (the iota below Greek vowels). Letters that
// have a stroke instead of a mark stay themselves: o with stroke is no o, and the dotless i of Turkish is found by
// itself only, while its dotted capital is an i with a mark and hence an i.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

namespace wordbreaker {

struct FoldedCharacter {
  std::u16string_view units;  // valid for as long as the program runs; may be empty

  // A letter or digit of a script in which words never end between two of them, nor begin without one (Latin, Greek,
  // Cyrillic and others below U+0590).
  bool solid;
};

// The folding of an ASCII character.
constexpr char16_t FoldAscii(char16_t character) {
  return character >= u'A' && character <= u'Z' ? static_cast<char16_t>(character + (u'a' - u'A')) : character;
}

// Any code point up to 0x10FFFF, halves of surrogate pairs, too. May throw std::bad_alloc.
FoldedCharacter FoldCharacter(char32_t character);

// Takes the next character from text at position, which is moved past it; half a surrogate pair stands for itself.
char32_t NextCharacter(std::u16string_view text, size_t& position);

// Puts the folding of text into folded, which it replaces. True when each unit is a character and folds to one unit, so
// that places in both are the same. May throw std::bad_alloc.
bool FoldText(std::u16string_view text, std::u16string& folded);

}  // namespace wordbreaker
