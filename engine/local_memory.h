// Temporary memory: the six helpers over the process's local heap, and the one class that holds a block.
//
// Every block is used in the order MemAlloc, MemLock, use, MemUnlock, MemFree. Locking does nothing today; the order is
// kept so that a heap of movable blocks can be put underneath.
#pragma once

#include <cstddef>
#include <utility>

namespace mdb {

void* MemAlloc(size_t size_bytes);  // zero-filled; a size of 0 gives 2 bytes; null when memory is short
void MemFree(void* block);          // null is allowed
void* MemLock(void* block);
void MemUnlock(void* block);
size_t MemSize(void* block);
void* MemRealloc(void* block, size_t size_bytes);  // may move; null leaves the old block as it was

// Owns one block, locked for as long as it is held.
class LocalBlock {
 public:
  LocalBlock() = default;
  explicit LocalBlock(size_t size_bytes) : block_(MemAlloc(size_bytes)) {
    if (block_ != nullptr) data_ = MemLock(block_);
  }
  LocalBlock(LocalBlock&& other) noexcept
      : block_(std::exchange(other.block_, nullptr)), data_(std::exchange(other.data_, nullptr)) {}
  LocalBlock& operator=(LocalBlock&& other) noexcept {
    std::swap(block_, other.block_);
    std::swap(data_, other.data_);
    return *this;
  }
  LocalBlock(const LocalBlock&) = delete;
  LocalBlock& operator=(const LocalBlock&) = delete;
  ~LocalBlock() {
    if (block_ == nullptr) return;
    MemUnlock(block_);
    MemFree(block_);
  }

  explicit operator bool() const { return block_ != nullptr; }
  void* data() const { return data_; }

  // Hands the block to a handle record that frees it with MemFree.
  void* Release() {
    if (block_ != nullptr) MemUnlock(block_);
    data_ = nullptr;
    return std::exchange(block_, nullptr);
  }

 private:
  void* block_ = nullptr;
  void* data_ = nullptr;
};

}  // namespace mdb
