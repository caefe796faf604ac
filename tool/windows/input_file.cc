// See input_file.h.
#include "input_file.h"

#include <fcntl.h>
#include <fmt/format.h>
#include <io.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <limits>

#include "system_text.h"
#include "tool_error.h"

namespace xkrdb {

InputFile::InputFile(const std::string& path, std::string name) : name_(std::move(name)) {
  constexpr int kStandardInput = 0;
  descriptor_ = path == "-" ? kStandardInput : _wopen(WideArgument(path).c_str(), _O_RDONLY | _O_BINARY | _O_NOINHERIT);
  if (descriptor_ < 0) Fail();
}

InputFile::~InputFile() {
  if (descriptor_ != 0) (void)_close(descriptor_);
}

size_t InputFile::Read(char* bytes, size_t room) {
  const int size =
      _read(descriptor_, bytes, static_cast<unsigned>(std::min<size_t>(room, std::numeric_limits<int>::max())));
  if (size < 0) Fail();
  return static_cast<size_t>(size);
}

void InputFile::Fail() const {
  throw ToolError(ExitCode::kInputOutput, fmt::format("cannot read {}: {}", name_, std::strerror(errno)));
}

}  // namespace xkrdb
