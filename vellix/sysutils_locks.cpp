#include "vellix/sysutils_locks.h"

#include <cerrno>
#include <ctime>
#include <mutex>

#include "vellix/sysutils_internal.h"
#include "vellix/sysutils_platform.h"
#include "vellix/sysutils_polling.h"

namespace QuorlBased {
namespace {

constexpr uint32_t kMillisecondsPerSecond = 1000;
constexpr long kNanosecondsPerMillisecond = 1000000;
constexpr long kNanosecondsPerSecond = 1000000000;

// A mutex of the platform for std::lock_guard.
struct PlatformMutex {
  void lock() { pthread_mutex_lock(mutex); }
  void unlock() { pthread_mutex_unlock(mutex); }

  pthread_mutex_t* mutex;
};

void Unlock(void* mutex) {
  pthread_mutex_unlock(static_cast<pthread_mutex_t*>(mutex));
}

// The time of the monotonic clock in `timeout` milliseconds.
timespec DeadlineIn(uint32_t timeout) {
  timespec deadline = {};
  clock_gettime(CLOCK_MONOTONIC, &deadline);
  deadline.tv_sec += timeout / kMillisecondsPerSecond;
  deadline.tv_nsec +=
      timeout % kMillisecondsPerSecond * kNanosecondsPerMillisecond;
  if (deadline.tv_nsec >= kNanosecondsPerSecond) {
    deadline.tv_nsec -= kNanosecondsPerSecond;
    ++deadline.tv_sec;
  }
  return deadline;
}

CXMutex& MutexOf(void* handle) {
  if (!handle) kSysutils.Raise(kNullPointer, "Bad pointer");
  return *static_cast<CXMutex*>(handle);
}

}  // namespace

CXMutex::CXMutex() {
  if (pthread_mutexattr_init(&attributes_) != 0) {
    kSysutils.RaiseErrno(kGeneralFailure, "pthread_mutexattr_init: ");
  }
  if (pthread_mutexattr_settype(&attributes_, PTHREAD_MUTEX_RECURSIVE) != 0) {
    pthread_mutexattr_destroy(&attributes_);
    kSysutils.RaiseErrno(kGeneralFailure, "pthread_mutexattr_settype: ");
  }
  if (pthread_mutex_init(&mutex_, &attributes_) != 0) {
    pthread_mutexattr_destroy(&attributes_);
    kSysutils.RaiseErrno(kGeneralFailure, "pthread_mutex_init: ");
  }
}

CXMutex::~CXMutex() {
  pthread_mutexattr_destroy(&attributes_);
  pthread_mutex_destroy(&mutex_);
}

bool CXMutex::LockPolling(uint32_t timeout) {
  // The count of sleeps may pass the largest 32-bit time-out.
  for (uint64_t slept = 0; slept <= timeout; slept += kPollMilliseconds) {
    if (pthread_mutex_trylock(&mutex_) == 0) return true;
    PollPause();
  }
  return false;
}

CXEvent::CXEvent(bool autoReset, bool initialState)
    : auto_reset_(autoReset), signaled_(initialState) {
  if (pthread_mutex_init(&mutex_, nullptr) != 0) {
    kSysutils.RaiseErrno(kGeneralFailure, "pthread_mutex_init: ");
  }
  if (PlatformInitCondition(&condition_) != 0) {
    pthread_mutex_destroy(&mutex_);
    kSysutils.RaiseErrno(kGeneralFailure, "pthread_cond_init: ");
  }
}

CXEvent::~CXEvent() {
  pthread_mutex_destroy(&mutex_);
  pthread_cond_destroy(&condition_);
}

bool CXEvent::Wait(uint32_t timeout) {
  bool set = false;
  // Not in AwaitSet: the address sanitizer's marks around a local would stay
  // on the stack when a cancelled thread leaves that frame.
  timespec deadline = {};
  pthread_mutex_lock(&mutex_);
  // Not by a destructor: not every platform calls it for a cancelled thread.
  pthread_cleanup_push(Unlock, &mutex_);
  if (timeout != kWaitForever && !signaled_) deadline = DeadlineIn(timeout);
  set = signaled_ || AwaitSet(timeout == kWaitForever ? nullptr : &deadline);
  if (set && auto_reset_) signaled_ = false;
  pthread_cleanup_pop(1);
  return set;
}

// With the mutex held: false after `deadline`, if there is one.
bool CXEvent::AwaitSet(const timespec* deadline) {
  // Do not test `signaled_`: the first of the released threads may have
  // cleared it, and one Set releases them all.
  const uint64_t sets_before = sets_;
  while (sets_ == sets_before) {
    const int error = deadline
                          ? PlatformWaitUntil(&condition_, &mutex_, *deadline)
                          : pthread_cond_wait(&condition_, &mutex_);
    if (error == ETIMEDOUT) return false;
  }
  return true;
}

void CXEvent::Set() {
  PlatformMutex mutex{&mutex_};
  const std::lock_guard<PlatformMutex> hold(mutex);
  signaled_ = true;
  ++sets_;
  pthread_cond_broadcast(&condition_);
}

void CXEvent::Reset() {
  PlatformMutex mutex{&mutex_};
  const std::lock_guard<PlatformMutex> hold(mutex);
  signaled_ = false;
}

void* init_critical() { return new CXMutex; }

void enter_critical(void* handle) {
  if (!MutexOf(handle).Lock(kWaitForever)) {
    kSysutils.Raise(kGeneralFailure, "Unexpected error");
  }
}

void leave_critical(void* handle) { MutexOf(handle).Unlock(); }

void delete_critical(void* handle) { delete &MutexOf(handle); }

}  // namespace QuorlBased
