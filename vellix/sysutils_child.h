// The child of a CQuorlBasedProcess: starting, signalling and collecting it.
// Internal.
#ifndef VELLIX_SYSUTILS_CHILD_H_
#define VELLIX_SYSUTILS_CHILD_H_

#include <sys/types.h>

#include <csignal>
#include <cstdint>
#include <list>
#include <string>
#include <vector>

namespace QuorlBased {

// What a child executes, prepared before the fork. The child inherits locks
// that other threads of the host may hold, even the heap's: it may call only
// what is safe in a signal handler.
class Program {
 public:
  explicit Program(const std::string& command_line);

  // Forks. The child becomes the program; with `suspended` it stops itself
  // first, with `background` it ignores SIGHUP. None of the host's signal
  // handlers runs in it. Returns the child's id, -1 on failure.
  pid_t Start(bool suspended, bool background) const;

 private:
  [[noreturn]] void Execute(bool suspended, bool background,
                            const sigset_t& mask) const;

  std::list<std::string> arguments_;
  std::vector<char*> pointers_;  // into arguments_, null at the end
};

// A child, or none. Uses a process descriptor if the system has them: the id of
// a child that has ended may be reused, immediately if the host ignores
// SIGCHLD.
class ChildHandle {
 public:
  ChildHandle() = default;
  ChildHandle(const ChildHandle&) = delete;
  ChildHandle& operator=(const ChildHandle&) = delete;
  ~ChildHandle() { Forget(); }

  // The child `id`, which was just forked.
  explicit ChildHandle(pid_t id);

  // Swaps the children of two handles.
  void Swap(ChildHandle& other);

  // Waits at most a second until the child has stopped itself or ended. Polls;
  // a cancellation point.
  void AwaitStop();

  // Sends a signal. Returns what kill(2) returns, -1 and ESRCH without a child.
  int Signal(int signal);

  // Collects a child that has ended and stores its exit code. Returns false
  // while it is alive.
  bool Collect(uint32_t* exit_code);

 private:
  void Forget();
  bool IsThere();
  bool DescriptorIsLost();
  int Wait(siginfo_t* state, int options);

  pid_t id_ = 0;
  int descriptor_ = -1;
};

}  // namespace QuorlBased

#endif  // VELLIX_SYSUTILS_CHILD_H_
