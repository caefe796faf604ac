// The calls of Windows that the store makes, under names of our own: the system's header and the platform's declarations
// give the same names to different things, so that no file sees both.
//
// What fails answers an error number of the system's, which is not zero.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <utility>

namespace objectstore::windows {

using ErrorNumber = uint32_t;

// Those that are told apart by number elsewhere too have the platform's names; these have none there.
enum : ErrorNumber {
  kTooManyOpenFiles = 4,
  kWriteProtected = 19,
  kLockViolation = 33,
  kHandleDiskFull = 39,
  kFileExists = 80,
  kInvalidName = 123,
  kBadPathName = 161,
  kFileNameTooLong = 206,
  kDirectoryInvalid = 267,
  kIsLink = 1921,
};

// Text as the system takes it; UTF-8 that is not well-formed has no counterpart and gives the empty text.
std::wstring WideText(const std::string& text);
std::string NarrowText(const std::wstring& text);

enum class Opening { kRead, kWrite, kReadAndWrite, kNew };
ErrorNumber OpenFile(const std::string& path, Opening opening, intptr_t& handle);
void Close(intptr_t handle);

struct Facts {
  bool is_file = false;
  bool is_link = false;
  uint64_t volume = 0;
  uint64_t number = 0;
  uint64_t bytes = 0;
};
ErrorNumber FactsOf(intptr_t handle, Facts& facts);

// Of what stands under a name, without its being opened for reading or writing. A link is not followed.
ErrorNumber FactsOfName(const std::string& path, Facts& facts);

// Fewer bytes than asked for at the end of the file.
ErrorNumber ReadBytes(intptr_t handle, uint64_t start, uint8_t* bytes, uint32_t count, uint32_t& got);
ErrorNumber WriteBytes(intptr_t handle, uint64_t start, const uint8_t* bytes, uint32_t count, uint32_t& written);
ErrorNumber SetFileBytes(intptr_t handle, uint64_t bytes);
ErrorNumber FlushFile(intptr_t handle);
ErrorNumber LockBytes(intptr_t handle, uint64_t start, uint32_t count, bool alone);

// Of the disk that the file is on.
ErrorNumber FreeDiskBytes(intptr_t handle, uint64_t& bytes);

ErrorNumber DeleteName(const std::string& path);
ErrorNumber MoveName(const std::string& path, const std::string& new_path, bool replace);

// The folder's one absolute path.
ErrorNumber FinalPathOfFolder(const std::string& path, std::string& found);

// A mutex that is known to all processes of the user's session by its name. Null handle when it is somebody else's.
ErrorNumber TakeNamedMutex(const std::string& name, intptr_t& handle);
void ReleaseNamedMutex(intptr_t handle);

ErrorNumber FillWithRandomBytes(uint8_t* bytes, size_t count);
uint32_t CurrentProcess();
uint64_t CurrentFileTime();
ErrorNumber LastErrorNumber();
void SetLastErrorNumber(ErrorNumber number);

}  // namespace objectstore::windows
