// The base of the log targets of targets.h: a write-only IQuorlStream.
// Header-only, needs nothing at link time.
#ifndef VELLIX_TARGET_STREAM_H_
#define VELLIX_TARGET_STREAM_H_

#include <pthread.h>

#include <cerrno>
#include <csignal>
#include <cstdint>
#include <ctime>

#include "vellix/quorl_base_streams.h"

// Modules with other versions of this header share nothing of it.
#pragma GCC visibility push(hidden)
namespace vellix {

// The base of the log targets of targets.h. A target implements Write, which
// gets one log record at a time under the logger's lock. It must outlive
// everything that can log.
class Target : public QuorlBased::IQuorlStream {
 public:
  Target() = default;
  Target(const Target&) = delete;
  Target& operator=(const Target&) = delete;
  virtual ~Target() = default;

  // Not supported: -1 or false.
  int64_t GetPosition() override { return -1; }
  int64_t SetPosition(int64_t) override { return -1; }
  int64_t GetSize() override { return -1; }
  bool SetSize(int64_t) override { return false; }
  int32_t Read(void*, uint32_t) override { return -1; }
  int64_t Seek(int64_t, QuorlBased::SeekOrigin) override { return -1; }
  int64_t CopyFrom(IQuorlStream*, int64_t) override { return -1; }
  bool IsStream() override { return false; }
  bool Eof() override { return false; }

  // Deletes the target, which must have been made with new.
  void Free() override { delete this; }
};

// Restores errno at the end of a scope.
class ErrnoScope {
 public:
  ErrnoScope() = default;
  ErrnoScope(const ErrnoScope&) = delete;
  ErrnoScope& operator=(const ErrnoScope&) = delete;
  ~ErrnoScope() { errno = kept_; }

 private:
  const int kept_ = errno;
};

// Disables the thread's cancellation for a scope.
class CancellationScope {
 public:
  CancellationScope() {
    pthread_setcancelstate(PTHREAD_CANCEL_DISABLE, &before_);
  }
  CancellationScope(const CancellationScope&) = delete;
  CancellationScope& operator=(const CancellationScope&) = delete;
  ~CancellationScope() { pthread_setcancelstate(before_, nullptr); }

 private:
  int before_ = 0;
};

// Keeps SIGPIPE and SIGXFSZ of a write from the host.
class WriteSignalScope {
 public:
  WriteSignalScope() {
    sigemptyset(&signals_);
    sigaddset(&signals_, SIGPIPE);
    sigaddset(&signals_, SIGXFSZ);
    pthread_sigmask(SIG_BLOCK, &signals_, &before_);
    // One that is already pending belongs to the host, which has it blocked.
    for (const int signal : {SIGPIPE, SIGXFSZ}) {
      sigset_t pending;
      if (sigismember(&before_, signal) == 1 && sigpending(&pending) == 0 &&
          sigismember(&pending, signal) == 1) {
        sigdelset(&signals_, signal);
      }
    }
  }
  WriteSignalScope(const WriteSignalScope&) = delete;
  WriteSignalScope& operator=(const WriteSignalScope&) = delete;
  ~WriteSignalScope() {
    const ErrnoScope keep;
    const timespec at_once{};
    while (failed_ && sigtimedwait(&signals_, nullptr, &at_once) != -1) {
    }
    pthread_sigmask(SIG_SETMASK, &before_, nullptr);
  }

  void Failed() { failed_ = true; }

 private:
  sigset_t signals_;
  sigset_t before_;
  bool failed_ = false;
};

}  // namespace vellix
#pragma GCC visibility pop

#endif  // VELLIX_TARGET_STREAM_H_
