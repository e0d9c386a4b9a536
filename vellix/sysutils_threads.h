// A thread as an object: a class derives from CQuorlBasedThread and supplies
// the body; the object keeps its outcome.
//
// The platform thread lives from the constructor on and waits at a gate, which
// the first Resume opens, so that the body never sees a half-made object:
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
  // "Unexpected error" when the system has none left.
  CQuorlBasedThread();
  CQuorlBasedThread(const CQuorlBasedThread&) = delete;
  CQuorlBasedThread& operator=(const CQuorlBasedThread&) = delete;

  // Joins the platform thread as Join does. Every derived class calls Join
  // first in its own destructor, unless Wait or GetExitCode has returned true:
  // ThreadBody and the members are gone afterwards.
  virtual ~CQuorlBasedThread();

  // The work of the thread. Its result becomes the exit code. What it throws
  // ends in the failure record of the thread, and the exit code is then
  // 0xFFFFFFFF, as it is when the body leaves by pthread_exit.
  virtual uint32_t ThreadBody() = 0;

  // Resume opens the gate, which the thread polls every 10 ms. Once the body
  // runs, Resume and Suspend only change what IsSuspended returns; a body that
  // wants to honour them polls IsSuspended.
  void Resume();
  void Suspend();
  bool IsSuspended();

  // True when the thread has ended, false when it has not within `timeout`
  // milliseconds. Polls every 10 ms and counts the sleeps; with 0 it looks
  // once. A thread at the gate does not end. A cancellation point: a destructor
  // calls Join instead.
  bool Wait(uint32_t timeout);

  // Stores the exit code and returns true. Until the thread has ended, returns
  // false and leaves `code` alone.
  bool GetExitCode(uint32_t& code);

  // What the thread's failure record held when the body had ended: code 0 after
  // a run that recorded nothing. A failure that left the body is kept whatever
  // the log has made of the record. Complete once Wait or GetExitCode has
  // returned true. Belongs to this object.
  CBaseException* GetThreadException() const;

  // The platform thread. This object joins it; no one else may.
  pthread_t GetThreadHandle();

  // The entry of the platform thread, for the constructor alone.
  static void* ThreadProc(void* object);

 protected:
  // Blocks until the platform thread has gone, the destructors of its
  // thread_local objects included. A thread that has not begun its body does
  // not begin it any more. Not a cancellation point. For the destructor of a
  // derived class, on the thread that destroys the object. Does nothing when
  // called again.
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
  std::atomic<bool> abandoned_{false};  // joined: the body is not to begin
  bool joined_ = false;
};

}  // namespace QuorlBased

#endif  // VELLIX_SYSUTILS_THREADS_H_
