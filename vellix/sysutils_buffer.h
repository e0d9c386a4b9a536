// A byte queue: data go in at the back or at the front and come out at the
// front, in portions of any size. Each push copies its bytes into a block, in
// which they stay until they are popped.
#ifndef VELLIX_SYSUTILS_BUFFER_H_
#define VELLIX_SYSUTILS_BUFFER_H_

#include <deque>

namespace QuorlBased {

// The byte queue. With a lock each operation is atomic with regard to the
// others, on any thread; without one the object belongs to one thread at a
// time. Only the constructor and the pushes can fail. Nothing here touches the
// thread's failure record.
class CDataBuffer2 {
 public:
  // One push. A node in the queue has bytes left: `offset` is below `length`.
  struct DataNode {
    void* data;            // from malloc, the buffer's
    unsigned long offset;  // bytes already popped
    unsigned long length;  // bytes as pushed
  };

  // An empty buffer. Throws std::bad_alloc and, with a lock, what init_critical
  // throws.
  explicit CDataBuffer2(bool useLock);
  CDataBuffer2(const CDataBuffer2&) = delete;
  CDataBuffer2& operator=(const CDataBuffer2&) = delete;

  // Frees the bytes left. No other thread may still be in the object.
  ~CDataBuffer2();

  // Adds a copy of `size` bytes of `data` behind all others. Nothing happens
  // for a `size` of 0 and for null.
  //
  // Failure: throws kOutOfMemory "No enough memory", or std::bad_alloc when the
  // queue cannot grow; the buffer is then unchanged and not locked.
  void Push(const void* data, unsigned long size);

  // Push ahead of all others, also ahead of what a Pop left of a block.
  void PushFront(const void* data, unsigned long size);

  // Takes up to `size` bytes from the front to `dest`, or drops them for a null
  // `dest`. Returns the bytes taken: fewer than `size` when the buffer ran
  // empty.
  unsigned long Pop(void* dest, unsigned long size);

  // Bytes that can be popped.
  unsigned long GetDataSize() const;

  // Drops all bytes.
  void Clear();

 private:
  // A critical section, or none, for std::lock_guard.
  struct Section {
    void lock();
    void unlock();

    void* handle;  // null without a lock
  };

  std::deque<DataNode> nodes_;
  unsigned long data_size_ = 0;  // sum of length - offset
  mutable Section lock_;
};

}  // namespace QuorlBased

#endif  // VELLIX_SYSUTILS_BUFFER_H_
