#include "vellix/sysutils_buffer.h"

#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <mutex>

#include "vellix/sysutils_internal.h"
#include "vellix/sysutils_locks.h"

namespace QuorlBased {
namespace {

// Frees the block unless the queue has taken it over. Not a ResKeeper, whose
// failures have another source name.
class BlockCopy {
 public:
  BlockCopy(const void* data, unsigned long size)
      : block_(size <= PTRDIFF_MAX ? malloc(size) : nullptr) {
    if (!block_) kSysutils.Raise(kOutOfMemory, "No enough memory");
    memcpy(block_, data, size);
  }
  BlockCopy(const BlockCopy&) = delete;
  BlockCopy& operator=(const BlockCopy&) = delete;
  ~BlockCopy() { free(block_); }

  void* Get() const { return block_; }
  void Release() { block_ = nullptr; }

 private:
  void* block_;
};

}  // namespace

void CDataBuffer2::Section::lock() {
  if (handle) enter_critical(handle);
}

void CDataBuffer2::Section::unlock() {
  if (handle) leave_critical(handle);
}

CDataBuffer2::CDataBuffer2(bool useLock)
    : lock_{useLock ? init_critical() : nullptr} {}

CDataBuffer2::~CDataBuffer2() {
  Clear();
  if (lock_.handle) delete_critical(lock_.handle);
}

void CDataBuffer2::Push(const void* data, unsigned long size) {
  if (!data || size == 0) return;
  BlockCopy copy(data, size);
  const std::lock_guard<Section> held(lock_);
  nodes_.push_back({copy.Get(), 0, size});
  copy.Release();
  data_size_ += size;
}

void CDataBuffer2::PushFront(const void* data, unsigned long size) {
  if (!data || size == 0) return;
  BlockCopy copy(data, size);
  const std::lock_guard<Section> held(lock_);
  nodes_.push_front({copy.Get(), 0, size});
  copy.Release();
  data_size_ += size;
}

unsigned long CDataBuffer2::Pop(void* dest, unsigned long size) {
  const std::lock_guard<Section> held(lock_);
  auto* next = static_cast<char*>(dest);
  unsigned long left = size;
  while (left > 0 && !nodes_.empty()) {
    DataNode& front = nodes_.front();
    const char* bytes = static_cast<const char*>(front.data) + front.offset;
    const unsigned long available = front.length - front.offset;
    if (available > left) {
      if (next) memcpy(next, bytes, left);
      front.offset += left;
      left = 0;
      break;
    }
    if (next) {
      memcpy(next, bytes, available);
      next += available;
    }
    left -= available;
    free(front.data);
    nodes_.pop_front();
  }
  const unsigned long taken = size - left;
  data_size_ -= taken;
  return taken;
}

unsigned long CDataBuffer2::GetDataSize() const {
  const std::lock_guard<Section> held(lock_);
  return data_size_;
}

void CDataBuffer2::Clear() {
  const std::lock_guard<Section> held(lock_);
  for (const DataNode& node : nodes_) free(node.data);
  nodes_.clear();
  data_size_ = 0;
}

}  // namespace QuorlBased
