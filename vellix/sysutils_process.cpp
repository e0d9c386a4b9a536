#include "vellix/sysutils_process.h"

#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <list>
#include <new>
#include <vector>

#include "vellix/sysutils_internal.h"
#include "vellix/sysutils_parsers.h"
#include "vellix/sysutils_polling.h"

namespace QuorlBased {
namespace {

constexpr uint32_t kFailedExitCode = 0xFFFFFFFF;
constexpr int kNotExecuted = 254;
constexpr int kNoArgumentMemory = 255;

// What a child is to execute, prepared before the fork: the child has a copy of
// locks that other threads of the host may have held, the heap's among them,
// and may call only what is safe in a signal handler.
class Program {
 public:
  explicit Program(const std::string& command_line) {
    // Without memory there is no caller to tell: the child's exit code does.
    try {
      parse_cmd_line(command_line, arguments_);
      pointers_.reserve(arguments_.size() + 1);
      for (std::string& argument : arguments_) {
        pointers_.push_back(argument.data());
      }
      pointers_.push_back(nullptr);
    } catch (const std::bad_alloc&) {
      pointers_.clear();
    }
  }

  // Becomes the program, in the child. Not `exit`: the host's buffered output
  // and its static objects belong to the parent.
  [[noreturn]] void Execute(bool start_suspended, bool background) const {
    if (pointers_.empty()) _exit(kNoArgumentMemory);
    if (arguments_.empty()) _exit(kNotExecuted);
    if (background) static_cast<void>(signal(SIGHUP, SIG_IGN));
    if (start_suspended) kill(getpid(), SIGSTOP);
    execvp(pointers_[0], pointers_.data());
    _exit(kNotExecuted);
  }

 private:
  std::list<std::string> arguments_;
  std::vector<char*> pointers_;  // into arguments_, null at the end
};

// Waits until the child has stopped itself, or has ended. A signal to continue
// that came before the stop would be lost.
void AwaitStop(pid_t child) {
  for (;;) {
    siginfo_t state = {};
    const int error =
        waitid(P_PID, static_cast<id_t>(child), &state,
               WSTOPPED | WCONTINUED | WEXITED | WNOWAIT | WNOHANG);
    if (error != 0 || state.si_pid != 0) return;
    PollPause();
  }
}

// Not to be cancelled: the launcher would outlive its object.
void Join(pthread_t launcher) {
  const CancellationHold hold;
  pthread_join(launcher, nullptr);
}

}  // namespace

CQuorlBasedProcess::CQuorlBasedProcess(const std::string& commandLine)
    : command_line_(commandLine) {}

CQuorlBasedProcess::~CQuorlBasedProcess() {
  if (!wait_when_destruct_ && IsRunning()) pthread_cancel(launcher_);
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
  running_.store(true, std::memory_order_relaxed);
  pid_.store(-1, std::memory_order_release);
  if (pthread_create(&launcher_, nullptr, ProcessLuanchThread, this) != 0) {
    running_.store(false, std::memory_order_release);
    pid_.store(0, std::memory_order_release);
    return false;
  }
  unjoined_.store(true, std::memory_order_release);
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
  return Signal(SIGSTOP);
}

int32_t CQuorlBasedProcess::Resume() {
  RequireRun();
  const std::lock_guard<std::mutex> lock(child_mutex_);
  return Signal(SIGCONT);
}

bool CQuorlBasedProcess::Terminate(uint32_t code) {
  RequireRun();
  std::optional<pthread_t> launcher;
  {
    // One lock over all: an exit status that comes in between would replace
    // the code of a child that can no longer be killed, and the next run has
    // another launcher.
    const std::lock_guard<std::mutex> lock(child_mutex_);
    exit_code_.store(code, std::memory_order_relaxed);
    if (Signal(SIGKILL) != 0) return false;
    launcher = TakeLauncher();
  }
  if (launcher) {
    Join(*launcher);
  } else {
    // Another thread that terminates has taken the join.
    while (IsRunning()) PollPause();
  }
  exit_code_.store(code, std::memory_order_relaxed);
  return true;
}

void CQuorlBasedProcess::SetWaitWhenDestruct(bool wait) {
  wait_when_destruct_ = wait;
}

void* CQuorlBasedProcess::ProcessLuanchThread(void* object) {
  static_cast<CQuorlBasedProcess*>(object)->LaunchProcess();
  return nullptr;
}

// Under no guard: the destructor cancels this thread in its sleeps.
void CQuorlBasedProcess::LaunchProcess() {
  const Program program(command_line_);
  const pid_t child = fork();
  if (child == 0) program.Execute(start_suspended_, background_);
  if (child == -1) {
    // In this order: who sees the start fail may start anew at once.
    running_.store(false, std::memory_order_release);
    pid_.store(0, std::memory_order_release);
    return;
  }
  if (start_suspended_) AwaitStop(child);
  Publish(child);
  while (!Collect(child)) {
    PollPause();
    pthread_testcancel();
  }
  running_.store(false, std::memory_order_release);
}

bool CQuorlBasedProcess::IsRunning() const {
  return running_.load(std::memory_order_acquire);
}

// Throws, as its caller's statement, for an object that has not run.
void CQuorlBasedProcess::RequireRun(int line) const {
  if (pid_.load(std::memory_order_acquire) == 0) {
    kSysutils.Raise(kWrongState, "The process has not run", line);
  }
}

// Sends `signal` to the child, if there is one that has not been collected. To
// kill(2) an id of 0 or -1 would mean the whole group or every process of the
// user. The caller holds the mutex.
int32_t CQuorlBasedProcess::Signal(int signal) {
  if (child_ <= 0) {
    errno = ESRCH;
    return -1;
  }
  return kill(child_, signal);
}

void CQuorlBasedProcess::Publish(int32_t child) {
  {
    const std::lock_guard<std::mutex> lock(child_mutex_);
    child_ = child;
  }
  pid_.store(child, std::memory_order_release);
}

// Takes the exit status of a child that has ended; false while it is alive.
bool CQuorlBasedProcess::Collect(int32_t child) {
  // The wait is a point of cancellation, and its outcome must not be lost.
  const CancellationHold hold;
  const std::lock_guard<std::mutex> lock(child_mutex_);
  int status = 0;
  const pid_t ended = waitpid(child, &status, WNOHANG);
  if (ended == 0) return false;
  child_ = 0;
  const bool exited = ended == child && WIFEXITED(status);
  exit_code_.store(
      exited ? static_cast<uint32_t>(WEXITSTATUS(status)) : kFailedExitCode,
      std::memory_order_relaxed);
  return true;
}

// The launcher, once, if there is one to be joined.
std::optional<pthread_t> CQuorlBasedProcess::TakeLauncher() {
  if (!unjoined_.exchange(false, std::memory_order_acq_rel)) return {};
  return launcher_;
}

void CQuorlBasedProcess::JoinLauncher() {
  if (const auto launcher = TakeLauncher()) Join(*launcher);
}

}  // namespace QuorlBased
