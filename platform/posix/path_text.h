// Paths between the interface's UTF-16 and the file system's bytes, which are read as UTF-8.
//
// Both ways are strict: what is not well-formed has no counterpart, so that a name that was listed opens the file that
// it stands for, and no two names open the same file.
#pragma once

#include <string>
#include <string_view>

namespace path_text {

// False when the text holds half a surrogate pair; path is then unspecified. May throw std::bad_alloc.
[[nodiscard]] bool ToUtf8(std::u16string_view wide, std::string& path);

// False when the bytes are not UTF-8; wide is then unspecified. May throw std::bad_alloc.
[[nodiscard]] bool ToUtf16(std::string_view path, std::u16string& wide);

}  // namespace path_text
