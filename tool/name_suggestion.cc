// Edit distance over bytes: names are short, and a wrong accent counts as two.
#include "name_suggestion.h"

#include <algorithm>

namespace xkrdb {
namespace {

char Lower(char letter) { return letter >= 'A' && letter <= 'Z' ? static_cast<char>(letter - 'A' + 'a') : letter; }

// Three rows of the table of distances are enough: a swap looks two rows back.
size_t Distance(std::string_view a, std::string_view b) {
  std::vector<size_t> before(b.size() + 1), last(b.size() + 1), now(b.size() + 1);
  for (size_t j = 0; j <= b.size(); ++j) last[j] = j;
  for (size_t i = 1; i <= a.size(); ++i) {
    now[0] = i;
    for (size_t j = 1; j <= b.size(); ++j) {
      const bool same = Lower(a[i - 1]) == Lower(b[j - 1]);
      now[j] = std::min({last[j] + 1, now[j - 1] + 1, last[j - 1] + (same ? 0u : 1u)});
      const bool swapped = i > 1 && j > 1 && Lower(a[i - 1]) == Lower(b[j - 2]) && Lower(a[i - 2]) == Lower(b[j - 1]);
      if (swapped) now[j] = std::min(now[j], before[j - 2] + 1);
    }
    before.swap(last);
    last.swap(now);
  }
  return last[b.size()];
}

}  // namespace

std::optional<std::string> NearestName(std::string_view typed, const std::vector<std::string>& names) {
  std::optional<std::string> nearest;
  size_t best = std::max<size_t>(typed.size(), 3) / 3 + 2;
  for (const std::string& name : names) {
    const bool begins =
        typed.size() >= 2 && name.size() > typed.size() && Distance(typed, name.substr(0, typed.size())) == 0;
    const size_t distance = begins ? 1 : Distance(typed, name);
    if (distance >= best) continue;
    best = distance;
    nearest = name;
  }
  return nearest;
}

}  // namespace xkrdb
