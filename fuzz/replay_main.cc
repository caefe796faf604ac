// A fuzzer without libFuzzer: runs every file of a folder once. Each is named before it is run, so that the last name
// is that of the input that failed. An empty or missing folder is a failure: nothing was tried.
#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <vector>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size);

namespace {

std::vector<std::filesystem::path> InputsOf(const std::filesystem::path& place) {
  std::vector<std::filesystem::path> inputs;
  if (std::filesystem::is_regular_file(place)) return {place};
  std::error_code missing;
  for (const auto& entry : std::filesystem::directory_iterator(place, missing)) {
    if (entry.is_regular_file()) inputs.push_back(entry.path());
  }
  std::sort(inputs.begin(), inputs.end());
  return inputs;
}

}  // namespace

int main(int argc, char** argv) {
  size_t count = 0;
  for (int i = 1; i < argc; ++i) {
    const auto inputs = InputsOf(argv[i]);
    if (inputs.empty()) {
      std::fprintf(stderr, "no input in %s\n", argv[i]);
      return 1;
    }
    for (const auto& input : inputs) {
      std::printf("%s\n", input.c_str());
      std::fflush(stdout);
      std::ifstream file(input, std::ios::binary);
      const std::vector<char> bytes(std::istreambuf_iterator<char>(file), {});
      const std::vector<uint8_t> data(bytes.begin(), bytes.end());
      LLVMFuzzerTestOneInput(data.data(), data.size());
      ++count;
    }
  }
  std::printf("%zu inputs replayed\n", count);
  return count > 0 ? 0 : 1;
}
