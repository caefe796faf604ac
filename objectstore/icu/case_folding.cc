// See case_folding.h.
#include "case_folding.h"

#include <unicode/uchar.h>

namespace objectstore {

char16_t FoldedCase(char16_t unit) { return static_cast<char16_t>(u_foldCase(unit, U_FOLD_CASE_DEFAULT)); }

}  // namespace objectstore
