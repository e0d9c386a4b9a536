#include "vellix/sysutils_child.h"

#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <new>
#include <utility>

#include "vellix/sysutils_internal.h"
#include "vellix/sysutils_parsers.h"
#include "vellix/sysutils_platform.h"
#include "vellix/sysutils_polling.h"

namespace QuorlBased {
namespace {

constexpr int kNotExecuted = 254;
constexpr int kNoArgumentMemory = 255;

// Restores the default action of each signal that the host catches. Ignored
// signals stay ignored.
void DropHandlers() {
  for (int number = 1; number < NSIG; ++number) {
    struct sigaction action {};
    if (sigaction(number, nullptr, &action) != 0) continue;
    if (action.sa_handler == SIG_DFL || action.sa_handler == SIG_IGN) continue;
    action = {};
    action.sa_handler = SIG_DFL;
    sigaction(number, &action, nullptr);
  }
}

}  // namespace

Program::Program(const std::string& command_line) {
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

pid_t Program::Start(bool suspended, bool background) const {
  // Block signals until the child has dropped the host's handlers, which would
  // act on what it shares with the host, such as a self-pipe.
  sigset_t all;
  sigset_t mask;
  sigfillset(&all);
  pthread_sigmask(SIG_SETMASK, &all, &mask);
  const pid_t child = fork();
  if (child == 0) Execute(suspended, background, mask);
  pthread_sigmask(SIG_SETMASK, &mask, nullptr);
  return child;
}

// Ends with _exit, not exit: the host's buffered output and its static objects
// belong to the parent.
void Program::Execute(bool suspended, bool background,
                      const sigset_t& mask) const {
  if (pointers_.empty()) _exit(kNoArgumentMemory);
  if (arguments_.empty()) _exit(kNotExecuted);
  DropHandlers();
  if (background) static_cast<void>(signal(SIGHUP, SIG_IGN));
  pthread_sigmask(SIG_SETMASK, &mask, nullptr);
  if (suspended) kill(getpid(), SIGSTOP);
  execvp(pointers_[0], pointers_.data());
  _exit(kNotExecuted);
}

ChildHandle::ChildHandle(pid_t id) : id_(id) {
  const CancellationHold hold;  // an object half made would leak the descriptor
  descriptor_ = PlatformOpenProcess(id);
  // Else the descriptor may be a stranger's.
  if (!IsThere()) Forget();
}

// Whether the child is alive or still to be collected. If not, its id may have
// been given away.
bool ChildHandle::IsThere() {
  siginfo_t state = {};
  return Wait(&state, WEXITED | WNOWAIT | WNOHANG) == 0;
}

// Whether the call just made failed because the descriptor is unusable: the
// kernel is too old, or the host has closed all descriptors.
bool ChildHandle::DescriptorIsLost() {
  if (errno == EBADF) descriptor_ = -1;  // the number may be a file of the host
  return errno == EBADF || errno == EINVAL || errno == ENOSYS;
}

void ChildHandle::Swap(ChildHandle& other) {
  std::swap(id_, other.id_);
  std::swap(descriptor_, other.descriptor_);
}

void ChildHandle::Forget() {
  const CancellationHold hold;
  if (descriptor_ != -1) close(descriptor_);
  descriptor_ = -1;
  id_ = 0;
}

// A SIGCONT that came before the stop would be lost. Bounded, because the host
// may have collected the stop event itself.
void ChildHandle::AwaitStop() {
  for (uint32_t slept = 0; slept < 1000; slept += kPollMilliseconds) {
    siginfo_t state = {};
    const int options = WSTOPPED | WCONTINUED | WEXITED | WNOWAIT | WNOHANG;
    if (Wait(&state, options) != 0 || state.si_pid != 0) return;
    PollPause();
  }
}

int ChildHandle::Signal(int signal) {
  if (descriptor_ != -1) {
    const int result = PlatformSignalProcess(descriptor_, signal);
    if (result == 0 || !DescriptorIsLost()) return result;
  }
  // An id of 0 or -1 would make kill(2) signal the whole group or every process
  // of the user.
  if (id_ <= 0 || !IsThere()) {
    errno = ESRCH;
    return -1;
  }
  return kill(id_, signal);
}

bool ChildHandle::Collect(uint32_t* exit_code) {
  siginfo_t state = {};
  const int error = Wait(&state, WEXITED | WNOHANG);
  if (error == 0 && state.si_pid == 0) return false;
  const bool exited = error == 0 && state.si_code == CLD_EXITED;
  *exit_code =
      exited ? static_cast<uint32_t>(state.si_status) : kFailedExitCode;
  Forget();
  return true;
}

// waitid(2) for the child: 0, or -1 with errno.
int ChildHandle::Wait(siginfo_t* state, int options) {
  if (descriptor_ != -1) {
    const int result = PlatformWaitProcess(descriptor_, state, options);
    if (result == 0 || !DescriptorIsLost()) return result;
  }
  return waitid(P_PID, static_cast<id_t>(id_), state, options);
}

}  // namespace QuorlBased
