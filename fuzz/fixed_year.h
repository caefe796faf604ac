// The platform's clock, replaced: the year is the one that the input chose, so that an input means the same every year.
#ifndef XKRDB_FUZZ_FIXED_YEAR_H
#define XKRDB_FUZZ_FIXED_YEAR_H

namespace fuzz {

void SetCurrentYear(int year);

}  // namespace fuzz

#endif
