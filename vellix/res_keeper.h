// ResKeeper: the owner of one malloc block for the length of a scope.
#ifndef VELLIX_RES_KEEPER_H_
#define VELLIX_RES_KEEPER_H_

#include <cstddef>
#include <cstdint>

#include "vellix/visibility.h"

namespace QuorlBased {

// The owner of one block. It frees the block on every way out of the scope,
// unless Release passed it to the caller. For one thread at a time.
class ResKeeper {
 public:
  VELLIX_HIDDEN ResKeeper() = default;
  ResKeeper(const ResKeeper&) = delete;
  ResKeeper& operator=(const ResKeeper&) = delete;
  ~ResKeeper();

  // Frees the block held, allocates a block of `bytes`, not initialised, and
  // returns it; it stays the keeper's. Throws kOutOfMemory "No enough memory";
  // the keeper then holds nothing. More than PTRDIFF_MAX bytes are refused
  // without asking the heap, also on 32-bit systems.
  void* Alloc(uint64_t bytes);

  // Takes over `block`, which must come from malloc or realloc. A null `block`
  // leaves the keeper as it was; a block held before is freed.
  void Attach(void* block);

  // Resizes the block to `bytes` and returns it; it may have moved. For 0 bytes
  // it still holds a block. Throws kOutOfMemory "No enough memory"; the old
  // block is then still allocated and no longer the keeper's.
  void* Realloc(uint64_t bytes);

  // Passes the block to the caller, who frees it; null if there is none.
  void* Release();

  // The block, which stays the keeper's; null if there is none.
  VELLIX_HIDDEN void* Get() const { return ptr_; }

  // Bytes of the block as last allocated by the keeper, 0 after a failure.
  VELLIX_HIDDEN size_t Size() const { return size_; }

 private:
  void* ptr_ = nullptr;
  size_t size_ = 0;
};

}  // namespace QuorlBased

#endif  // VELLIX_RES_KEEPER_H_
