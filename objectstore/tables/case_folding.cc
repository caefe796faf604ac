// See case_folding.h.
#include "case_folding.h"

#include <algorithm>

#include "text_tables.h"

namespace objectstore {

char16_t FoldedCase(char16_t unit) {
  const auto runs = StoredFoldings();
  const auto run = std::find_if(runs.begin(), runs.end(), [unit](const FoldingRun& one) {
    return unit >= one.first && unit <= one.last && (unit - one.first) % one.step == 0;
  });
  return run == runs.end() ? unit : static_cast<char16_t>(unit + run->distance);
}

}  // namespace objectstore
