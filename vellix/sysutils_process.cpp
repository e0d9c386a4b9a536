#include "vellix/sysutils_process.h"

#include <csignal>

#include "vellix/sysutils_child.h"
#include "vellix/sysutils_internal.h"
#include "vellix/sysutils_polling.h"

namespace QuorlBased {
namespace {

// A caller that was cancelled here would leave the launcher without its object.
void Join(pthread_t launcher) {
  const CancellationHold hold;
  pthread_join(launcher, nullptr);
}

}  // namespace

CQuorlBasedProcess::CQuorlBasedProcess(const std::string& commandLine)
    : command_line_(commandLine), child_(std::make_unique<ChildHandle>()) {}

CQuorlBasedProcess::~CQuorlBasedProcess() {
  if (!wait_when_destruct_) abandoned_.store(true, std::memory_order_relaxed);
  JoinLauncher();
}

bool CQuorlBasedProcess::Run(bool startSuspended) {
  return RunInternal(startSuspended, false);
}

bool CQuorlBasedProcess::RunBackgroundly(bool startSuspended) {
  return RunInternal(startSuspended, true);
}

bool CQuorlBasedProcess::RunInternal(bool startSuspended, bool background) {
  if (IsRunning()) kSysutils.Raise(kWrongState, "The process has run already");
  JoinLauncher();
  start_suspended_ = startSuspended;
  background_ = background;
  ++run_;
  running_.store(true, std::memory_order_relaxed);
  pid_.store(-1, std::memory_order_release);
  if (pthread_create(&launcher_, nullptr, ProcessLuanchThread, this) != 0) {
    running_.store(false, std::memory_order_release);
    pid_.store(0, std::memory_order_release);
    return false;
  }
  unjoined_.store(1, std::memory_order_release);
  while (GetProcesspId() == -1) PollPause();
  return GetProcesspId() != 0;
}

int32_t CQuorlBasedProcess::GetProcesspId() {
  return pid_.load(std::memory_order_acquire);
}

bool CQuorlBasedProcess::Wait(uint32_t timeout) {
  RequireRun();
  return PollUntil(timeout, [this] { return !IsRunning(); });
}

bool CQuorlBasedProcess::GetExitCode(uint32_t& code) {
  RequireRun();
  if (IsRunning()) return false;
  code = exit_code_.load(std::memory_order_relaxed);
  return true;
}

int32_t CQuorlBasedProcess::Suspend() {
  RequireRun();
  const std::lock_guard<std::mutex> lock(child_mutex_);
  return child_->Signal(SIGSTOP);
}

int32_t CQuorlBasedProcess::Resume() {
  RequireRun();
  const std::lock_guard<std::mutex> lock(child_mutex_);
  return child_->Signal(SIGCONT);
}

bool CQuorlBasedProcess::Terminate(uint32_t code) {
  RequireRun();
  std::optional<pthread_t> launcher;
  uint32_t run = 0;
  {
    // One lock over all: an exit status that comes in between would replace the
    // code of a child that can no longer be killed, and the next run has
    // another launcher.
    const std::lock_guard<std::mutex> lock(child_mutex_);
    exit_code_.store(code, std::memory_order_relaxed);
    if (child_->Signal(SIGKILL) != 0) return false;
    killed_ = true;
    run = run_.load();
    launcher = TakeLauncher();
  }
  if (launcher) {
    Join(*launcher);
  } else {
    // Another thread has taken the join, and the owner may run again.
    while (IsRunning() && run_.load() == run) PollPause();
  }
  return true;
}

void CQuorlBasedProcess::SetWaitWhenDestruct(bool wait) {
  wait_when_destruct_ = wait;
}

void* CQuorlBasedProcess::ProcessLuanchThread(void* object) {
  static_cast<CQuorlBasedProcess*>(object)->LaunchProcess();
  return nullptr;
}

void CQuorlBasedProcess::LaunchProcess() {
  const pid_t id = Program(command_line_).Start(start_suspended_, background_);
  if (id == -1) {
    // In this order: whoever sees the start fail may start again at once.
    running_.store(false, std::memory_order_release);
    pid_.store(0, std::memory_order_release);
    return;
  }
  ChildHandle child(id);
  if (start_suspended_) child.AwaitStop();
  Publish(id, child);
  // In this order: a child that was left running is the host's to collect. By a
  // flag, not by pthread_cancel: LLVM's run time does not survive that, and
  // glibc ends a process that cannot load libgcc_s for it.
  while (!abandoned_.load(std::memory_order_relaxed) && !Collect()) {
    PollPause();
    pthread_testcancel();
  }
  running_.store(false, std::memory_order_release);
}

bool CQuorlBasedProcess::IsRunning() const {
  return running_.load(std::memory_order_acquire);
}

// Throws for an object that has not run, with the line of its caller.
void CQuorlBasedProcess::RequireRun(int line) const {
  if (pid_.load(std::memory_order_acquire) == 0) {
    kSysutils.Raise(kWrongState, "The process has not run", line);
  }
}

// Makes the child visible to the other operations.
void CQuorlBasedProcess::Publish(int32_t id, ChildHandle& child) {
  {
    const std::lock_guard<std::mutex> lock(child_mutex_);
    child_->Swap(child);
    killed_ = false;
  }
  pid_.store(id, std::memory_order_release);
}

// Takes the exit status of a child that has ended; false while it is alive.
bool CQuorlBasedProcess::Collect() {
  // waitid is a cancellation point, and its outcome must not be lost.
  const CancellationHold hold;
  const std::lock_guard<std::mutex> lock(child_mutex_);
  uint32_t exit_code = 0;
  if (!child_->Collect(&exit_code)) return false;
  if (!killed_) exit_code_.store(exit_code, std::memory_order_relaxed);
  return true;
}

// The launcher, once, if there is one to be joined.
std::optional<pthread_t> CQuorlBasedProcess::TakeLauncher() {
  if (unjoined_.exchange(0, std::memory_order_acq_rel) == 0) return {};
  return launcher_;
}

void CQuorlBasedProcess::JoinLauncher() {
  if (const auto launcher = TakeLauncher()) Join(*launcher);
}

}  // namespace QuorlBased
