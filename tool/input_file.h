// A file that is read from its beginning to its end, or standard input.
#ifndef XKRDB_TOOL_INPUT_FILE_H
#define XKRDB_TOOL_INPUT_FILE_H

#include <cstddef>
#include <string>

namespace xkrdb {

class InputFile {
 public:
  // "-" is standard input, which stays open. name is what a failure calls the file. Throws ToolError.
  InputFile(const std::string& path, std::string name);
  ~InputFile();
  InputFile(const InputFile&) = delete;
  InputFile& operator=(const InputFile&) = delete;

  // What there is, at most room bytes; 0 at the end. Throws ToolError.
  size_t Read(char* bytes, size_t room);

 private:
  [[noreturn]] void Fail() const;

  std::string name_;
  int descriptor_ = -1;
};

}  // namespace xkrdb

#endif
