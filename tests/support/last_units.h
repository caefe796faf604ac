// Memory for texts behind which nobody may touch anything: a pass that reads many units at a time must not leave their page.
#pragma once

#include <gtest/gtest.h>
#include <sys/mman.h>
#include <unistd.h>

#include <cstddef>
#include <cstdint>

#include "platform_types.h"

// The last units before memory that nobody may touch.
class LastUnits {
 public:
  LastUnits() : page_(static_cast<size_t>(sysconf(_SC_PAGESIZE))) {
    memory_ =
        static_cast<uint8_t*>(mmap(nullptr, 2 * page_, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0));
    EXPECT_NE(memory_, MAP_FAILED);
    EXPECT_EQ(mprotect(memory_ + page_, page_, PROT_NONE), 0);
  }
  LastUnits(const LastUnits&) = delete;
  LastUnits& operator=(const LastUnits&) = delete;
  ~LastUnits() { munmap(memory_, 2 * page_); }
  WCHAR* Take(size_t units) const { return reinterpret_cast<WCHAR*>(memory_ + page_) - units; }

 private:
  size_t page_;
  uint8_t* memory_;
};
