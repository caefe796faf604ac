// See word_tables.h.
#include "word_tables.h"

#include <algorithm>

namespace wordbreaker {

namespace {

#include "word_tables.inc"

}  // namespace

std::span<const WordClassRun> WordClassRuns() { return kWordClassRuns; }
std::span<const FoldingRun> FoldingRuns() { return kFoldingRuns; }
std::u16string_view FoldingUnits() { return {kFoldingUnits, std::size(kFoldingUnits)}; }

WordClass WordClassOf(char32_t character) {
  const auto runs = WordClassRuns();
  const auto run = std::partition_point(runs.begin(), runs.end(),
                                        [character](const WordClassRun& one) { return one.last < character; });
  return run != runs.end() && run->first <= character ? run->word_class : WordClass::kOther;
}

}  // namespace wordbreaker
