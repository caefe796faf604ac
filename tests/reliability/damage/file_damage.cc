// See file_damage.h.
#include "file_damage.h"

#include <algorithm>

namespace damage {

namespace {

constexpr size_t kPageBytes = 4096;
constexpr size_t kSectorBytes = 512;

std::string Number(uint64_t number) { return std::to_string(number); }

// Pages count from 1, as SQLite counts them; the last may be cut.
size_t PagesOf(const std::string& bytes) { return (bytes.size() + kPageBytes - 1) / kPageBytes; }
std::string PageOf(const std::string& bytes, uint64_t page) {
  return bytes.substr((page - 1) * kPageBytes, kPageBytes);
}
// The length stays: what a cut page has no room for, or what a cut one does not give, is left out.
void PutPage(std::string& bytes, uint64_t page, const std::string& content) {
  const size_t at = (page - 1) * kPageBytes;
  const size_t count = std::min(content.size(), bytes.size() - at);
  bytes.replace(at, count, content, 0, count);
}

Damaged FlipBit(const std::string& bytes, uint64_t bit) {
  Damaged damaged{bytes, "bit " + Number(bit % 8) + " of byte " + Number(bit / 8) + " flipped"};
  damaged.bytes[bit / 8] = static_cast<char>(damaged.bytes[bit / 8] ^ (1 << (bit % 8)));
  return damaged;
}

Damaged ZeroPage(const std::string& bytes, uint64_t page) {
  Damaged damaged{bytes, "page " + Number(page) + " zeroed"};
  PutPage(damaged.bytes, page, std::string(PageOf(bytes, page).size(), '\0'));
  return damaged;
}

Damaged SwapPages(const std::string& bytes, uint64_t a, uint64_t b) {
  Damaged damaged{bytes, "pages " + Number(a) + " and " + Number(b) + " swapped"};
  PutPage(damaged.bytes, a, PageOf(bytes, b));
  PutPage(damaged.bytes, b, PageOf(bytes, a));
  return damaged;
}

Damaged CopyPage(const std::string& bytes, uint64_t from, uint64_t to) {
  Damaged damaged{bytes, "page " + Number(from) + " written over page " + Number(to)};
  PutPage(damaged.bytes, to, PageOf(bytes, from));
  return damaged;
}

std::string Garbage(size_t count, Random& random) {
  std::string bytes(count, '\0');
  for (char& byte : bytes) byte = static_cast<char>(random());
  return bytes;
}

Damaged FlipSome(const std::string& bytes, Random& random) {
  Damaged damaged{bytes, ""};
  for (uint64_t left = 1 + Draw(random, 8); left > 0; --left) {
    Damaged next = FlipBit(damaged.bytes, Draw(random, bytes.size() * 8));
    damaged = {std::move(next.bytes), damaged.what + (damaged.what.empty() ? "" : ", ") + next.what};
  }
  return damaged;
}

Damaged OverwriteRun(const std::string& bytes, size_t most, bool with_zeros, Random& random) {
  const size_t at = Draw(random, bytes.size());
  const size_t count = std::min<size_t>(1 + Draw(random, most), bytes.size() - at);
  Damaged damaged{bytes, Number(count) + " bytes from " + Number(at) + (with_zeros ? " zeroed" : " overwritten")};
  damaged.bytes.replace(at, count, with_zeros ? std::string(count, '\0') : Garbage(count, random));
  return damaged;
}

Damaged ZeroSectors(const std::string& bytes, Random& random) {
  const size_t first = Draw(random, bytes.size()) / kSectorBytes * kSectorBytes;
  const size_t count = std::min((1 + Draw(random, 16)) * kSectorBytes, bytes.size() - first);
  Damaged damaged{bytes, Number(count) + " bytes of sectors from " + Number(first) + " zeroed"};
  damaged.bytes.replace(first, count, std::string(count, '\0'));
  return damaged;
}

// Bytes taken out or put in: what stands behind them moves.
Damaged Shift(const std::string& bytes, Random& random) {
  const size_t at = Draw(random, bytes.size());
  const size_t count = 1 + Draw(random, 2 * kPageBytes);
  if (Draw(random, 2) == 0)
    return {bytes.substr(0, at) + Garbage(count, random) + bytes.substr(at),
            Number(count) + " bytes put in at " + Number(at)};
  Damaged damaged{bytes, Number(count) + " bytes taken out at " + Number(at)};
  damaged.bytes.erase(at, count);
  return damaged;
}

}  // namespace

uint64_t Draw(Random& random, uint64_t bound) { return random() % bound; }

uint64_t SystematicCount(const std::string& bytes) {
  const uint64_t pages = PagesOf(bytes);
  return bytes.size() + bytes.size() * 8 + pages + pages * (pages - 1) / 2 + pages * (pages - 1);
}

Damaged DoSystematic(const std::string& bytes, uint64_t number) {
  const uint64_t pages = PagesOf(bytes);
  if (number < bytes.size()) return {bytes.substr(0, number), "cut off at " + Number(number)};
  number -= bytes.size();
  if (number < bytes.size() * 8) return FlipBit(bytes, number);
  number -= bytes.size() * 8;
  if (number < pages) return ZeroPage(bytes, number + 1);
  number -= pages;
  for (uint64_t a = 1; a < pages; ++a) {
    if (number < pages - a) return SwapPages(bytes, a, a + 1 + number);
    number -= pages - a;
  }
  const uint64_t from = number / (pages - 1) + 1;
  const uint64_t to = number % (pages - 1) + 1;
  return CopyPage(bytes, from, to < from ? to : to + 1);
}

Damaged DoRandom(const std::string& bytes, Random& random) {
  const uint64_t pages = PagesOf(bytes);
  switch (Draw(random, 10)) {
    case 0:
    case 1:
      return FlipSome(bytes, random);
    case 2:
      return OverwriteRun(bytes, 64, false, random);
    case 3:
      return OverwriteRun(bytes, 8 * kPageBytes, false, random);
    case 4:
      return ZeroSectors(bytes, random);
    case 5:
      return ZeroPage(bytes, 1 + Draw(random, pages));
    case 6:
      return SwapPages(bytes, 1 + Draw(random, pages), 1 + Draw(random, pages));
    case 7:
      return CopyPage(bytes, 1 + Draw(random, pages), 1 + Draw(random, pages));
    case 8:
      return {bytes.substr(0, Draw(random, bytes.size())), "cut off"};
    default:
      return Shift(bytes, random);
  }
}

}  // namespace damage
