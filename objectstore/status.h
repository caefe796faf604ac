// What an operation of the store came to: kOk, or the last-error number that the client will see. Every function that
// can fail returns one; it may not be dropped. Running out of memory is the one failure that travels as an exception
// (std::bad_alloc) and is turned into a number where a client's call enters.
#pragma once

#include "platform_types.h"

namespace objectstore {

enum class [[nodiscard]] Status : DWORD{kOk = 0,
                                        kFileNotFound = ERROR_FILE_NOT_FOUND,
                                        kPathNotFound = ERROR_PATH_NOT_FOUND,
                                        kAccessDenied = ERROR_ACCESS_DENIED,
                                        kInvalidHandle = ERROR_INVALID_HANDLE,
                                        kNotEnoughMemory = ERROR_NOT_ENOUGH_MEMORY,
                                        kOutOfMemory = ERROR_OUTOFMEMORY,
                                        kSeek = ERROR_SEEK,
                                        kWriteFault = ERROR_WRITE_FAULT,
                                        kSharingViolation = ERROR_SHARING_VIOLATION,
                                        kDuplicateName = ERROR_DUP_NAME,
                                        kInvalidParameter = ERROR_INVALID_PARAMETER,
                                        kDiskFull = ERROR_DISK_FULL,
                                        kInsufficientBuffer = ERROR_INSUFFICIENT_BUFFER,
                                        kAlreadyExists = ERROR_ALREADY_EXISTS,
                                        kNoData = ERROR_NO_DATA,
                                        kNoMoreItems = ERROR_NO_MORE_ITEMS,
                                        kKeyDeleted = ERROR_KEY_DELETED,
                                        kDeviceFailed = ERROR_IO_DEVICE,
                                        kCorrupt = ERROR_FILE_CORRUPT};

}  // namespace objectstore

// Leaves the function with the status of an operation that failed.
#define STORE_TRY(operation)                                           \
  do {                                                                 \
    if (const ::objectstore::Status status_of_operation = (operation); \
        status_of_operation != ::objectstore::Status::kOk)             \
      return status_of_operation;                                      \
  } while (false)
