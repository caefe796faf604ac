// Outside of a test an expectation that does not hold would only be noted. Here it ends the program, so that libFuzzer
// keeps the input.
#ifndef XKRDB_FUZZ_FAILED_EXPECTATION_H
#define XKRDB_FUZZ_FAILED_EXPECTATION_H

namespace fuzz {

// Once, before the first expectation.
void EndAtFailedExpectations();

}  // namespace fuzz

#endif
