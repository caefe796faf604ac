// Where a store puts what it reads. Two kinds: Copies takes the text itself, as a client does that shows or edits it;
// Views takes its address and looks at its first unit.
//
// Always holds: while time is taken nothing but that is done. With a digest set, the same calls also hash every text:
// the same reading, once more and off the clock, shows what was read.
#pragma once

#include <array>
#include <cstring>
#include <string_view>

#include "digest.h"
#include "table_data.h"

namespace bench {

class Copies {
 public:
  // From now on every text is hashed; null: no longer.
  void set_digest(Digest* digest) { digest_ = digest; }

  void Take(size_t field, std::string_view text) {
    char* slot = slots_[field].data();
    std::memcpy(slot, text.data(), text.size());
    slot[text.size()] = '\0';
    if (digest_ != nullptr) digest_->Add(std::string_view(slot));
  }

  // For who writes UTF-16 itself: room for a field, and what follows the writing.
  char16_t* WideRoom(size_t field) { return reinterpret_cast<char16_t*>(slots_[field].data()); }
  static constexpr size_t kRoomBytes = 8192;
  void TookWide(size_t field) {
    if (digest_ != nullptr) digest_->Add(std::u16string_view(WideRoom(field)));
  }

 private:
  alignas(char16_t) std::array<std::array<char, kRoomBytes>, kFieldCount> slots_{};
  Digest* digest_ = nullptr;
};

class Views {
 public:
  void set_digest(Digest* digest) { digest_ = digest; }

  void Take(std::string_view text) {
    if (!text.empty()) seen_ += static_cast<unsigned char>(text[0]);
    if (digest_ != nullptr) digest_->Add(text);
  }
  void Take(const char16_t* text) {
    seen_ += text[0];
    if (digest_ != nullptr) digest_->Add(std::u16string_view(text));
  }

  // Makes sure that looking is not optimised away.
  uint64_t seen() const { return seen_; }

 private:
  uint64_t seen_ = 0;
  Digest* digest_ = nullptr;
};

}  // namespace bench
