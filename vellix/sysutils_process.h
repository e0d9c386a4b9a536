// A child process as an object: run a program, wait for it, stop, continue and
// kill it.
//
//   QuorlBased::CQuorlBasedProcess list("ls -l \"my files\"");
//   uint32_t code = 0;
//   if (list.Run(false) && list.Wait(QuorlBased::kWaitForever)) {
//     list.GetExitCode(code);
//   }
//
// Each run has its own thread, the launcher, which forks and then checks every
// 10 ms whether the child has ended. If the system has process descriptors
// (Linux 5.4 and later), a run keeps one, closed on exec, until the child has
// ended: a signal then reaches this child or nothing, even if the host ignores
// SIGCHLD and the id was reused.
//
// Run, RunBackgroundly, SetWaitWhenDestruct and the destructor are for one
// thread at a time, the rest for any thread. Calls in the wrong state throw;
// other failures show in the result. Nothing here touches the calling thread's
// failure record.
#ifndef VELLIX_SYSUTILS_PROCESS_H_
#define VELLIX_SYSUTILS_PROCESS_H_

#include <pthread.h>

#include <atomic>
#include <cstdint>
#include <memory>
#include <mutex>
#include <optional>
#include <string>

#include "vellix/sysutils_locks.h"

namespace QuorlBased {

class ChildHandle;

// A child process, one at a time.
class CQuorlBasedProcess {
 public:
  // Starts nothing. The program and its arguments are what parse_cmd_line makes
  // of `commandLine`.
  explicit CQuorlBasedProcess(const std::string& commandLine);
  CQuorlBasedProcess(const CQuorlBasedProcess&) = delete;
  CQuorlBasedProcess& operator=(const CQuorlBasedProcess&) = delete;

  // Blocks until a live child has ended. After SetWaitWhenDestruct(false) it
  // leaves the child running instead, and its exit status is not collected.
  virtual ~CQuorlBasedProcess();

  // Starts the program, which inherits descriptors, environment, working
  // directory, signal mask and ignored signals. None of the host's signal
  // handlers runs in the child. With `startSuspended` the program does not
  // begin before Resume. A file without "#!" is run by the shell (execvp).
  //
  // Returns true if there is a child; if the program cannot be executed or the
  // command line has none, the exit code says so. False if the system has no
  // thread or process left; the object is then as if it had never run. An
  // object whose child has ended can run again.
  //
  // A suspended start waits up to a second for the child to stop; if the host
  // collects stop events itself (waitpid with WUNTRACED), Run takes that
  // second. A cancellation point: the run continues, and the destructor handles
  // it.
  //
  // Throws kWrongState "The process has run already" while a child is alive.
  bool Run(bool startSuspended);

  // Like Run, with a child that ignores SIGHUP.
  bool RunBackgroundly(bool startSuspended);

  // The work of Run and RunBackgroundly; callers use those.
  bool RunInternal(bool startSuspended, bool background);

  // The child's process id, also after its end. 0 before the first run, -1
  // while a start is under way. The name is kept for callers.
  int32_t GetProcesspId();

  // True if no child is alive any more, false if one still is after `timeout`
  // milliseconds. Polls every 10 ms and counts the sleeps; with 0 it checks
  // once. A stopped child is alive. A cancellation point. Throws kWrongState
  // "The process has not run".
  bool Wait(uint32_t timeout);

  // Stores the exit code of the last run and returns true. While the child is
  // alive, returns false and leaves `code` alone. 0 to 255 is the program's
  // own, except 254 if it could not be executed and 255 if there was no memory
  // for its arguments. 0xFFFFFFFF if the child was killed by a signal or
  // collected by others. Throws kWrongState "The process has not run".
  bool GetExitCode(uint32_t& code);

  // Stops and continues the child with SIGSTOP and SIGCONT. 0 if the signal was
  // sent, else -1 with the reason in errno: ESRCH for a child that has ended
  // and been collected. Throw kWrongState "The process has not run".
  int32_t Suspend();
  int32_t Resume();

  // Kills the child, blocks until it has ended, makes `code` its exit code and
  // returns true. A cancellation point.
  //
  // Failure: false, and nothing is killed, if the child has ended and been
  // collected (up to 10 ms later); its exit code still becomes `code`. Also
  // false until GetProcesspId returns the child's id, and if the system refuses
  // the signal (EPERM): the child's own exit code then replaces `code` when it
  // ends. Throws kWrongState "The process has not run".
  bool Terminate(uint32_t code);

  // What the destructor does with a live child: true (the default) waits for
  // it, false leaves it running.
  void SetWaitWhenDestruct(bool wait);

  // The entry and the work of the launcher thread, only for RunInternal. The
  // name is kept for callers.
  static void* ProcessLuanchThread(void* object);
  void LaunchProcess();

 private:
  bool IsRunning() const;
  void RequireRun(int line = __builtin_LINE()) const;
  void Publish(int32_t id, ChildHandle& child);
  bool Collect();
  std::optional<pthread_t> TakeLauncher();
  void JoinLauncher();

  bool wait_when_destruct_ = true;
  std::atomic<int32_t> pid_{0};
  pthread_t launcher_{};
  bool start_suspended_ = false;
  bool background_ = false;
  std::atomic<uint32_t> exit_code_{0};
  std::string command_line_;

  // A thread handle has no null value, and a finished launcher must still be
  // joined once. A word, because exchanging a byte needs libatomic on some
  // processors.
  std::atomic<bool> running_{false};
  std::atomic<uint32_t> unjoined_{0};

  // The destructor leaves the child running: the launcher is to end.
  std::atomic<bool> abandoned_{false};

  // Tells a call of Terminate which run's child it has killed.
  std::atomic<uint32_t> run_{0};

  // Guards what follows, so that no signal goes to an id that the system may
  // have reused. Never held across a sleep.
  std::mutex child_mutex_;
  const std::unique_ptr<ChildHandle> child_;
  bool killed_ = false;  // by Terminate, which has set the exit code
};

}  // namespace QuorlBased

#endif  // VELLIX_SYSUTILS_PROCESS_H_
