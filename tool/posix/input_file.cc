// See input_file.h.
#include "input_file.h"

#include <fcntl.h>
#include <fmt/format.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>

#include "tool_error.h"

namespace xkrdb {

InputFile::InputFile(const std::string& path, std::string name) : name_(std::move(name)) {
  descriptor_ = path == "-" ? STDIN_FILENO : open(path.c_str(), O_RDONLY | O_CLOEXEC);
  if (descriptor_ < 0) Fail();
}

InputFile::~InputFile() {
  if (descriptor_ != STDIN_FILENO) (void)close(descriptor_);
}

size_t InputFile::Read(char* bytes, size_t room) {
  for (;;) {
    const ssize_t size = read(descriptor_, bytes, room);
    if (size >= 0) return static_cast<size_t>(size);
    if (errno != EINTR) Fail();
  }
}

void InputFile::Fail() const {
  throw ToolError(ExitCode::kInputOutput, fmt::format("cannot read {}: {}", name_, std::strerror(errno)));
}

}  // namespace xkrdb
