// Letters without regard to case, by Unicode's simple case folding. From ICU, or from tables made by it.
#pragma once

namespace objectstore {

// Halves of surrogate pairs are their own.
char16_t FoldedCase(char16_t unit);

}  // namespace objectstore
