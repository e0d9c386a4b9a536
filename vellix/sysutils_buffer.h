// A byte queue: data go in at the back or front and come out at the front, in
// portions of any size. Each push copies its bytes into a block, which holds
// them until they are popped.
#ifndef VELLIX_SYSUTILS_BUFFER_H_
#define VELLIX_SYSUTILS_BUFFER_H_

#include <deque>

namespace QuorlBased {

// The byte queue. With a lock it may be used from any thread, and each
// operation is atomic; without one it is for one thread at a time. Only the
// constructor and the pushes can fail. Nothing here touches the thread's
// failure record.
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

  // Frees the remaining bytes. No other thread may still use the object.
  ~CDataBuffer2();

  // Appends a copy of `size` bytes of `data`. Does nothing for a `size` of 0
  // and for null.
  //
  // Failure: throws kOutOfMemory "No enough memory", or std::bad_alloc when the
  // queue cannot grow; the buffer is then unchanged and not locked.
  void Push(const void* data, unsigned long size);

  // Like Push, but in front of all others, even of a partly popped block.
  void PushFront(const void* data, unsigned long size);

  // Moves up to `size` bytes from the front to `dest`, or drops them if `dest`
  // is null. Returns the number of bytes: fewer than `size` if the buffer ran
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
