// Locks and events: a recursive mutex with a time-out, a flag that threads can
// wait for, and the mutex as an untyped handle.
//
// Everything here may be called from any thread. An object must not be
// destroyed while another thread uses it. Nothing here touches the calling
// thread's failure record; functions that throw say so.
#ifndef VELLIX_SYSUTILS_LOCKS_H_
#define VELLIX_SYSUTILS_LOCKS_H_

#include <pthread.h>

#include <cstdint>
#include <ctime>

#include "vellix/visibility.h"

namespace QuorlBased {

// Wait without a time-out.
constexpr uint32_t kWaitForever = 0xFFFFFFFF;

// A recursive mutex: its holder may lock it again and unlocks it as often.
class CXMutex {
 public:
  // Throws kGeneralFailure "pthread_mutexattr_init: : errno: …", the same with
  // "pthread_mutexattr_settype: " or with "pthread_mutex_init: "; the number is
  // what errno held before.
  CXMutex();
  CXMutex(const CXMutex&) = delete;
  CXMutex& operator=(const CXMutex&) = delete;
  virtual ~CXMutex();

  // Takes the lock; true on success. The time-out is in milliseconds and counts
  // sleeps: there are `timeout` / 10 + 1 attempts, and a sleep of 10 ms follows
  // each failed one, even the last. With kWaitForever it blocks; with any other
  // time-out it is a cancellation point.
  VELLIX_HIDDEN bool Lock(uint32_t timeout) {
    if (timeout != kWaitForever) return LockPolling(timeout);
    return pthread_mutex_lock(&mutex_) == 0;
  }

  // Releases one level. False when the calling thread does not hold the lock.
  VELLIX_HIDDEN bool Unlock() { return pthread_mutex_unlock(&mutex_) == 0; }

  // For std::lock_guard: Lock(kWaitForever) and Unlock.
  VELLIX_HIDDEN void lock() { Lock(kWaitForever); }
  VELLIX_HIDDEN void unlock() { Unlock(); }

 private:
  bool LockPolling(uint32_t timeout);

  pthread_mutex_t mutex_;
  pthread_mutexattr_t attributes_;
};

// A flag that threads can wait for. With `autoReset` a successful Wait clears
// it, otherwise it stays set until Reset.
class CXEvent {
 public:
  // Throws kGeneralFailure "pthread_mutex_init: : errno: …" or
  // "pthread_cond_init: : errno: …"; the number is what errno held before.
  CXEvent(bool autoReset, bool initialState);
  CXEvent(const CXEvent&) = delete;
  CXEvent& operator=(const CXEvent&) = delete;
  ~CXEvent();

  // True if the event is set, or gets set within `timeout` milliseconds; else
  // false. Setting the system's clock does not change the wait. A cancellation
  // point.
  bool Wait(uint32_t timeout);

  // Sets the event and releases every thread in Wait, even with `autoReset`.
  // Calls before a Wait do not add up.
  void Set();

  // Clears the event; threads in Wait stay there.
  void Reset();

 private:
  bool AwaitSet(const timespec* deadline);

  bool auto_reset_;
  bool signaled_;
  pthread_mutex_t mutex_;
  pthread_cond_t condition_;
  uint64_t sets_ = 0;  // tells a Set from a spurious wake-up
};

// A CXMutex on the heap as an untyped handle, which the caller ends with
// delete_critical. Throws what the constructor of CXMutex throws, and
// std::bad_alloc.
void* init_critical();

// Blocks until the calling thread holds the lock; its holder may take it again.
// Throws kNullPointer "Bad pointer" for null and kGeneralFailure "Unexpected
// error" if the system's lock fails.
void enter_critical(void* handle);

// Releases one level; does nothing for a thread that does not hold the lock.
// Throws kNullPointer "Bad pointer" for null.
void leave_critical(void* handle);

// Destroys the lock. Throws kNullPointer "Bad pointer" for null.
void delete_critical(void* handle);

}  // namespace QuorlBased

#endif  // VELLIX_SYSUTILS_LOCKS_H_
