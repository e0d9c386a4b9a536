// A thread as an object: derive from CQuorlBasedThread and supply the body; the
// object keeps the outcome.
//
// The constructor starts the platform thread, which waits at a gate until the
// first Resume, so that the body never sees a half-constructed object:
//
//   class Worker : public QuorlBased::CQuorlBasedThread {
//    public:
//     Worker() { Resume(); }  // last, when all members are there
//     ~Worker() override { Join(); }  // first, while all members are there
//    private:
//     uint32_t ThreadBody() override { return 7; }
//   };
//
// All operations but the destructor and Join may be called from any thread;
// these two never on the object's own. Nothing here touches the calling
// thread's failure record.
#ifndef VELLIX_SYSUTILS_THREADS_H_
#define VELLIX_SYSUTILS_THREADS_H_

#include <pthread.h>

#include <atomic>
#include <cstdint>

#include "vellix/exceptions.h"
#include "vellix/sysutils_locks.h"

namespace QuorlBased {

// A thread with its outcome.
class CQuorlBasedThread {
 public:
  // Starts the platform thread, held at the gate. Throws kGeneralFailure
  // "Unexpected error" if the system has none left.
  CQuorlBasedThread();
  CQuorlBasedThread(const CQuorlBasedThread&) = delete;
  CQuorlBasedThread& operator=(const CQuorlBasedThread&) = delete;

  // Joins the platform thread as Join does. Every derived class must call Join
  // first in its own destructor, unless Wait or GetExitCode has returned true:
  // ThreadBody and the members are gone afterwards.
  virtual ~CQuorlBasedThread();

  // The work of the thread. Its result becomes the exit code. What it throws is
  // stored in the failure record of the thread, and the exit code is
  // 0xFFFFFFFF, as it is after pthread_exit.
  virtual uint32_t ThreadBody() = 0;

  // Resume opens the gate, which the thread polls every 10 ms. Once the body
  // runs, Resume and Suspend only change what IsSuspended returns; a body that
  // honours them polls IsSuspended.
  void Resume();
  void Suspend();
  bool IsSuspended();

  // True if the thread has ended, false if it has not within `timeout`
  // milliseconds. Polls every 10 ms and counts the sleeps; with 0 it checks
  // once. A thread at the gate does not end. A cancellation point, so a
  // destructor calls Join instead.
  bool Wait(uint32_t timeout);

  // Stores the exit code and returns true. Until the thread has ended, returns
  // false and leaves `code` alone.
  bool GetExitCode(uint32_t& code);

  // What the thread's failure record held when the body had ended: code 0 if
  // nothing was recorded. A failure that left the body is kept, whatever the
  // log did to the record. Complete once Wait or GetExitCode has returned true.
  // Belongs to this object.
  CBaseException* GetThreadException() const;

  // The platform thread. Only this object may join it.
  pthread_t GetThreadHandle();

  // The entry of the platform thread, only for the constructor.
  static void* ThreadProc(void* object);

 protected:
  // Blocks until the platform thread has gone, the destructors of its
  // thread_local objects included. A body that has not started is never run.
  // Not a cancellation point. For the destructor of a derived class, on the
  // thread that destroys the object. Does nothing when called again.
  void Join();

 private:
  static void End(void* object);
  uint32_t RunBody();
  void KeepFailure();

  mutable CBaseException thread_exception_;
  std::atomic<bool> suspended_{true};
  std::atomic<bool> running_{true};
  std::atomic<uint32_t> exit_code_{0};
  pthread_t handle_{};
  std::atomic<bool> abandoned_{false};  // joined: the body must not start
  bool joined_ = false;
};

}  // namespace QuorlBased

#endif  // VELLIX_SYSUTILS_THREADS_H_
