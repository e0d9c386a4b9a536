#include "vellix/sysutils_threads.h"

#include <new>

#include "vellix/sysutils_internal.h"
#include "vellix/sysutils_polling.h"

namespace QuorlBased {

CQuorlBasedThread::CQuorlBasedThread() {
  if (pthread_create(&handle_, nullptr, ThreadProc, this) != 0) {
    kSysutils.Raise(kGeneralFailure, "Unexpected error");
  }
}

// Ended or not: a thread that is never joined keeps its stack forever.
CQuorlBasedThread::~CQuorlBasedThread() { Join(); }

void CQuorlBasedThread::Join() {
  // Opens the gate. Not by Resume: a body that takes IsSuspended as its sign to
  // end must still see it.
  abandoned_.store(true, std::memory_order_release);
  if (joined_) return;
  // A caller that was cancelled here would leave the thread without its object.
  const CancellationHold hold;
  pthread_join(handle_, nullptr);
  joined_ = true;
}

void CQuorlBasedThread::Resume() {
  suspended_.store(false, std::memory_order_release);
}

void CQuorlBasedThread::Suspend() {
  suspended_.store(true, std::memory_order_relaxed);
}

bool CQuorlBasedThread::IsSuspended() {
  return suspended_.load(std::memory_order_acquire);
}

bool CQuorlBasedThread::Wait(uint32_t timeout) {
  return PollUntil(
      timeout, [this] { return !running_.load(std::memory_order_acquire); });
}

bool CQuorlBasedThread::GetExitCode(uint32_t& code) {
  if (running_.load(std::memory_order_acquire)) return false;
  code = exit_code_.load(std::memory_order_relaxed);
  return true;
}

CBaseException* CQuorlBasedThread::GetThreadException() const {
  return &thread_exception_;
}

pthread_t CQuorlBasedThread::GetThreadHandle() { return handle_; }

void* CQuorlBasedThread::ThreadProc(void* object) {
  auto& thread = *static_cast<CQuorlBasedThread*>(object);
  thread.exit_code_.store(kFailedExitCode, std::memory_order_relaxed);
  const auto abandoned = [&thread] {
    return thread.abandoned_.load(std::memory_order_acquire);
  };
  // Also when the body does not return, on platforms that do not unwind too.
  pthread_cleanup_push(End, object);
  while (thread.IsSuspended() && !abandoned()) PollPause();
  if (!abandoned()) {
    thread.exit_code_.store(thread.RunBody(), std::memory_order_relaxed);
  }
  pthread_cleanup_pop(1);
  return nullptr;
}

// Brings the object into its ended state.
void CQuorlBasedThread::End(void* object) {
  auto& thread = *static_cast<CQuorlBasedThread*>(object);
  thread.KeepFailure();
  ReleaseQuorlException();
  // The last access: the owner may destroy the object from here on.
  thread.running_.store(false, std::memory_order_release);
}

uint32_t CQuorlBasedThread::RunBody() {
  const auto body = [this] {
    GetQuorlException();  // made while there is memory
    return ThreadBody();
  };
  uint32_t exit_code = kFailedExitCode;
  // Recording the failure may fail as well, and an exception that leaves a
  // thread ends the process.
  Completes([&] {
    exit_code = kSysutils.Guard(kFailedExitCode, body, &thread_exception_);
  });
  return exit_code;
}

void CQuorlBasedThread::KeepFailure() {
  if (thread_exception_.GetCode() != 0) return;  // it left the body
  // If memory runs out here, there is no caller to tell. SetException stores
  // the code first, so that at least the code is kept.
  try {
    IQuorlException* recorded = GetQuorlException();
    int line = 0;
    const char* file = recorded->GetExceptionSource(&line);
    thread_exception_.SetException(recorded->GetExceptionCode(),
                                   recorded->GetExceptionMsg(), line, file);
  } catch (const std::bad_alloc&) {
  }
}

}  // namespace QuorlBased
