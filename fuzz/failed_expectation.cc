// See failed_expectation.h.
#include "failed_expectation.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <cstdlib>

namespace fuzz {
namespace {

class End : public testing::EmptyTestEventListener {
  void OnTestPartResult(const testing::TestPartResult& result) override {
    if (!result.failed()) return;
    std::fprintf(stderr, "%s:%d: broken promise: %s\n", result.file_name(), result.line_number(), result.message());
    std::abort();
  }
};

}  // namespace

void EndAtFailedExpectations() {
  static char name[] = "fuzz";
  static char* arguments[] = {name, nullptr};
  int count = 1;
  testing::InitGoogleTest(&count, arguments);
  testing::UnitTest::GetInstance()->listeners().Append(new End);
}

}  // namespace fuzz
