// Record sets against a plain model: seeded streams of calls, each compared after it is made.
//
//   recset_model_test                 the fixed seeds
//   recset_model_test SEED [STEPS]    one stream; a seed that failed once becomes a fixed one
#include <gtest/gtest.h>

#include <cstdio>
#include <cstdlib>

#include "call_stream.h"
#include "temporary_directory.h"

namespace {

void RunStream(uint32_t seed, int steps) {
  std::printf("seed %u, %d calls\n", seed, steps);
  std::fflush(stdout);
  SCOPED_TRACE("seed " + std::to_string(seed));
  const TemporaryDirectory directory;
  plain::CallStream stream(directory / u"stream.xdb", seed);
  stream.Run(steps);
}

class RecordSetModel : public ::testing::TestWithParam<uint32_t> {};

TEST_P(RecordSetModel, EveryCallOfAStreamAnswersAsTheModelDoes) { RunStream(GetParam(), 700); }

INSTANTIATE_TEST_SUITE_P(FixedSeeds, RecordSetModel, ::testing::Values(1u, 2u, 3u, 5u, 8u, 13u, 21u, 34u));

class StreamOfTheCommandLine : public ::testing::Test {
 public:
  StreamOfTheCommandLine(uint32_t seed, int steps) : seed_(seed), steps_(steps) {}
  void TestBody() override { RunStream(seed_, steps_); }

 private:
  uint32_t seed_;
  int steps_;
};

}  // namespace

int main(int argc, char** argv) {
  ::testing::InitGoogleTest(&argc, argv);
  if (argc > 1) {
    const uint32_t seed = static_cast<uint32_t>(std::strtoul(argv[1], nullptr, 10));
    const int steps = argc > 2 ? std::atoi(argv[2]) : 5000;
    ::testing::RegisterTest("CommandLine", "EveryCallOfTheStreamAnswersAsTheModelDoes", nullptr, nullptr, __FILE__,
                            __LINE__, [=]() -> ::testing::Test* { return new StreamOfTheCommandLine(seed, steps); });
    ::testing::GTEST_FLAG(filter) = "CommandLine.*";
  }
  return RUN_ALL_TESTS();
}
