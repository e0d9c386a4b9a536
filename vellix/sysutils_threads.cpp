#include "vellix/sysutils_threads.h"

#include <new>

#include "vellix/sysutils_internal.h"
#include "vellix/sysutils_polling.h"

namespace QuorlBased {

// Brings the object into its ended state, also when the body leaves by forced
// unwinding.
class CQuorlBasedThread::Ending {
 public:
  explicit Ending(CQuorlBasedThread& thread) : thread_(thread) {}
  Ending(const Ending&) = delete;
  Ending& operator=(const Ending&) = delete;
  ~Ending() {
    thread_.KeepFailure();
    ReleaseQuorlException();
    thread_.exit_code_.store(exit_code_, std::memory_order_relaxed);
    // The last access: the owner may destroy the object from here on.
    thread_.running_.store(false, std::memory_order_release);
  }

  void SetExitCode(uint32_t exit_code) { exit_code_ = exit_code; }

 private:
  CQuorlBasedThread& thread_;
  uint32_t exit_code_ = kFailedExitCode;
};

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
  Ending ending(thread);
  const auto abandoned = [&thread] {
    return thread.abandoned_.load(std::memory_order_acquire);
  };
  while (thread.IsSuspended() && !abandoned()) PollPause();
  if (!abandoned()) ending.SetExitCode(thread.RunBody());
  return nullptr;
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
