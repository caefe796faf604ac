// See text_tables.h.
#include "text_tables.h"

namespace objectstore {

namespace {

#include "text_tables.inc"

}  // namespace

CollationTable::StoredKeys StoredCollationKeys() { return {kCollationKeys, kShortenedFirstBytes}; }
CollationTable::Compositions StoredCompositions() { return {kCompositions, kMarkClasses}; }
std::span<const FoldingRun> StoredFoldings() { return kFoldings; }

}  // namespace objectstore
