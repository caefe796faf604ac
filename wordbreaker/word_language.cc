#include "word_language.h"

namespace wordbreaker {
namespace {

// True when the text's first piece reaches its end.
bool IsOnePiece(WordBoundaries& boundaries, std::u16string_view text) {
  boundaries.SetText(text);
  return boundaries.Next() == text.size();
}

}  // namespace

WordLanguage::WordLanguage(const std::string& locale)
    : original_(locale), ascii_([this](std::u16string_view text) { return IsOnePiece(original_, text); }) {}

WordBoundaries WordLanguage::NewBoundaries() const {
  const std::lock_guard<std::mutex> hold(lock_);
  return WordBoundaries(original_);
}

}  // namespace wordbreaker
