// The calls of Windows behind the platform's, under names of our own: the system's header and the platform's declarations
// give the same names to different things, so that no file sees both. Error numbers are the same on both sides.
#pragma once

#include <cstddef>
#include <cstdint>

namespace windows {

uint32_t LastError();
void SetLastError(uint32_t error);

// Blocks of the process's local heap, which do not move by themselves.
void* AllocateBlock(size_t size, bool zeros);
void* ResizeBlock(void* block, size_t size, bool zeros);
size_t SizeOfBlock(void* block);
void FreeBlock(void* block);

// Year, month, day of the week, day, hour, minute, second, milliseconds; UTC.
void Time(uint16_t (&parts)[8]);

// What a listing finds. Times are 100-nanosecond steps since 1601.
struct Entry {
  uint32_t attributes;
  uint64_t created;
  uint64_t accessed;
  uint64_t written;
  uint64_t bytes;
  char16_t name[260];
};

// Null when the system finds nothing.
void* BeginListing(const char16_t* pattern, Entry& first);
bool NextEntry(void* listing, Entry& next);
void EndListing(void* listing);

bool MakeFolder(const char16_t* path);
bool DeleteFileOf(const char16_t* path);

// By the system's table of letters, not by a locale's rules.
char16_t LowerCase(char16_t unit);

}  // namespace windows
