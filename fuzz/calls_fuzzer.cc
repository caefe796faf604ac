// Sequences of calls on a database and its record sets against the plain model. The input is what the stream of calls
// draws, so that libFuzzer chooses the calls and what they are given.
//
// Input: whether flushes reach the file, then two bytes for each choice.
#include <gtest/gtest.h>

#include <memory>

#include "call_stream.h"
#include "failed_expectation.h"
#include "input_bytes.h"
#include "object_store.h"
#include "temporary_directory.h"

namespace {

constexpr int kStepsBetweenLooks = 6;
constexpr int kMostLooks = 40;

bool flushes_reach_the_file = true;

}  // namespace

// Most streams do without: what is flushed is what an unmount writes, and there are ten times more of them then.
extern "C" BOOL __real_CeFlushDBVol(const CEGUID* guid);  // the names are the linker's
extern "C" BOOL __wrap_CeFlushDBVol(const CEGUID* guid);
extern "C" BOOL __wrap_CeFlushDBVol(const CEGUID* guid) {
  return flushes_reach_the_file ? __real_CeFlushDBVol(guid) : BOOL{1};
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  static const auto folder = [] {
    fuzz::EndAtFailedExpectations();
    return std::make_unique<TemporaryDirectory>();
  }();
  const std::u16string path = *folder / u"stream.xdb";
  fuzz::InputBytes input(data, size);
  flushes_reach_the_file = input.Byte() % 4 == 0;
  {
    plain::CallStream stream(path, [&input] { return input.Word(); });
    for (int look = 0; look < kMostLooks && !input.rest().empty(); ++look) stream.Run(kStepsBetweenLooks);
  }
  MDbEnv env;
  MDbEnvInitialize(&env);
  EXPECT_EQ(MDbStatusOk, MDbDelete(&env, path.c_str())) << "nothing holds a database that was closed";
  return 0;
}
