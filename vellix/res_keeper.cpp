#include "vellix/res_keeper.h"

#include <cstdint>
#include <cstdlib>

#include "vellix/exceptions_report.h"

namespace QuorlBased {
namespace {

constexpr FailureSource kResKeeper("../res_keeper");

}  // namespace

ResKeeper::~ResKeeper() { free(ptr_); }

void* ResKeeper::Alloc(uint64_t bytes) {
  free(ptr_);
  ptr_ = bytes <= PTRDIFF_MAX ? malloc(static_cast<size_t>(bytes)) : nullptr;
  size_ = ptr_ ? static_cast<size_t>(bytes) : 0;
  if (!ptr_) kResKeeper.Raise(kOutOfMemory, "No enough memory");
  return ptr_;
}

void ResKeeper::Attach(void* block) {
  if (!block) return;
  if (block != ptr_) free(ptr_);
  ptr_ = block;
}

void* ResKeeper::Realloc(uint64_t bytes) {
  // A realloc to 0 bytes may free the block and return null: ask for one.
  const auto asked = static_cast<size_t>(bytes > 0 ? bytes : 1);
  ptr_ = bytes <= PTRDIFF_MAX ? realloc(ptr_, asked) : nullptr;
  size_ = ptr_ ? static_cast<size_t>(bytes) : 0;
  if (!ptr_) kResKeeper.Raise(kOutOfMemory, "No enough memory");
  return ptr_;
}

void* ResKeeper::Release() {
  void* block = ptr_;
  ptr_ = nullptr;
  return block;
}

}  // namespace QuorlBased
