// The last line of the log says why the process crashed.
//
//   GetQuorlLogger()->SetLogFile("host.log", true);
//   vellix::RecordCrashes(GetQuorlLogger()->GetLogFile());
//
//   [TM=Sun Nov  1 09:05:00 2026] [TH=4711] [LV=FATAL] [FR=crash]
//   [MG=SIGSEGV (SEGV_MAPERR) at 0x10; host+0x1a2b, libc.so.6+0x27249]
//   [BN=NULL]
//
// SIGSEGV, SIGBUS, SIGFPE, SIGILL, SIGABRT, SIGSYS and std::terminate write one
// log record, of at most 4096 bytes. Then the process ends as usual: with the
// same signal, core dump and other handlers. `host+0x1a2b` is what `addr2line
// -e host 0x1a2b` takes.
//
// Header-only; needs the standard library, Linux, and a runtime that unwinds by
// tables. Only for the executable: a module that is unloaded would leave its
// handlers behind. docs/crashes.md says what cannot be recorded.
#ifndef VELLIX_CRASH_H_
#define VELLIX_CRASH_H_

#include <cxxabi.h>
#include <pthread.h>
#include <sys/mman.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <csignal>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <exception>
#include <iterator>
#include <typeinfo>

#include "vellix/crash_file.h"
#include "vellix/crash_record.h"
#include "vellix/exceptions.h"

#pragma GCC visibility push(hidden)
namespace vellix {

// An alternate stack for the handler: without one, a stack overflow ends the
// process without a log record. Make it on the thread itself, as the first
// object of its function. Does nothing if the thread has an alternate stack, or
// if there is no memory.
class CrashStack {
 public:
  inline CrashStack();
  CrashStack(const CrashStack&) = delete;
  CrashStack& operator=(const CrashStack&) = delete;
  inline ~CrashStack();

 private:
  size_t size_ = 0;
  void* memory_;
};

// From now on a crash writes its log record to the file `path`, which is
// created with mode 0640 less the umask if it is missing. If the process has it
// open for writing without O_APPEND, as SetLogFile opens it, the record goes
// through that open file, or the next log record of another thread would
// overwrite it. Otherwise the crash reopens `path`, so it follows a rotation.
// The file of this call stays open.
//
// Call it once, at start, when the target and TZ are set: the offset from UTC
// is fixed by the call. The calling thread gets a permanent CrashStack. A
// second call changes the destination, and lets a process whose own handler
// survived a crash record another one. A cancellation point.
//
// Failure: false with errno set, and nothing is changed, for null and for a
// file that cannot be opened.
inline bool RecordCrashes(const char* path);

// Like RecordCrashes, but writes to `descriptor`, whatever it refers to at the
// time of the crash. The caller keeps the descriptor. Waits at most a second
// for a full pipe.
inline bool RecordCrashes(int descriptor);

namespace crash_internal {

struct State {
  // The thread that records, as Self returns it, and the one that has recorded.
  std::atomic<uint64_t> owner{0}, finished{0};
  Line line;
  int64_t utc_offset;
  struct sigaction before[std::size(kSignals)];
  std::terminate_handler terminate_before;
};
inline State sState;

// Process and thread.
inline uint64_t Self() {
  return static_cast<uint64_t>(getpid()) << 32 |
         static_cast<uint32_t>(gettid());
}

// ---- The crash ----

// True for the first thread of the process that crashes. In a forked child the
// owner is from another process.
inline bool Claim() {
  State& s = sState;
  uint64_t owner = s.owner;
  while (owner >> 32 != Self() >> 32) {
    if (s.owner.compare_exchange_weak(owner, Self())) return true;
  }
  return false;
}

// For the other threads. Meanwhile the owner's signal ends the process, unless
// a handler of the host survives it.
inline void AwaitOwner() {
  const timespec pause{0, 10000000};
  for (int i = 0; i < 1000 && sState.finished != sState.owner; ++i) {
    nanosleep(&pause, nullptr);
  }
  for (int i = 0; i < 100; ++i) nanosleep(&pause, nullptr);
}

// `stack` as in TakeFrame. Without `write` it does all but the writing, so that
// a crash does nothing for the first time.
template <typename PutReason>
void Record(PutReason put_reason, void* stack, bool write) {
  State& s = sState;
  Line& line = s.line;
  if (write) FreeSpare();
  line.Begin();
  line.Text("[TM=");
  PutTime(line, static_cast<uint64_t>(time(nullptr) + s.utc_offset));
  line.Text("] [TH=");
  line.Number(static_cast<uint64_t>(gettid()));
  line.Text("] [LV=FATAL] [FR=crash] [MG=");
  put_reason(line);
  PutStack(line, stack);
  line.End();
  if (!write) return;
  WriteQuietly(line);
  s.finished.store(s.owner);
}

// With the signal's own data, and delivered after this handler has returned: a
// core dump shows the place of the crash, and a handler of the host gets what
// it would have got.
inline void PassOn(int signal, size_t index, siginfo_t* info) {
  sigset_t only;
  sigemptyset(&only);
  sigaddset(&only, signal);
  pthread_sigmask(SIG_BLOCK, &only, nullptr);
  sigaction(signal, &sState.before[index], nullptr);
  if (syscall(SYS_rt_tgsigqueueinfo, getpid(), gettid(), signal, info) != 0) {
    static_cast<void>(raise(signal));
  }
}

inline void OnSignal(int signal, siginfo_t* info, void*) {
  State& s = sState;
  const bool is_owner = s.owner == Self();
  if (is_owner && sWalk.guarded) siglongjmp(sWalk.after_fault, 1);
  const int errno_before = errno;
  int cancel_before = 0;
  pthread_setcancelstate(PTHREAD_CANCEL_DISABLE, &cancel_before);
  size_t index = 0;
  while (kSignals[index] != signal) ++index;
  // The system ignores a sent signal, never a fault.
  const bool ignored =
      s.before[index].sa_handler == SIG_IGN && info->si_code <= 0;
  if (!ignored) {
    if (Claim()) {
      Record([=](Line& line) { PutSignal(line, index, *info); }, nullptr, true);
    } else if (!is_owner) {
      AwaitOwner();
    }
    PassOn(signal, index, info);
  }
  pthread_setcancelstate(cancel_before, nullptr);
  errno = errno_before;
}

// Before there is an owner: the exception's code may itself crash.
inline void DescribeException(char (&text)[1000]) {
  const std::type_info* type = abi::__cxa_current_exception_type();
  if (!type || !std::current_exception()) return;
  char* name = abi::__cxa_demangle(type->name(), nullptr, nullptr, nullptr);
  const auto put = [&](const char* what) {
    static_cast<void>(snprintf(text, sizeof text, "std::terminate: %s%s%s",
                               name ? name : type->name(), what ? ": " : "",
                               what ? what : ""));
  };
  try {
    throw;
  } catch (const std::exception& exception) {
    put(exception.what());
  } catch (const IQuorlException& failure) {
    put(failure.GetExceptionMsg());
  } catch (...) {  // has no text
    put(nullptr);
  }
  free(name);
}

[[noreturn]] inline void OnTerminate() {
  char text[1000] = "std::terminate";
  static thread_local bool describing = false;  // what() may throw
  if (!describing) {
    describing = true;
    DescribeException(text);
  }
  const auto put_text = [&](Line& line) { line.Message(text); };
  int ignored = 0;
  pthread_setcancelstate(PTHREAD_CANCEL_DISABLE, &ignored);
  if (Claim()) {
    Record(put_text, __builtin_frame_address(0), true);
  } else if (sState.owner != Self()) {
    AwaitOwner();
  }
  sState.terminate_before();
  abort();
}

// ---- The installation ----

// Gives the thread an alternate stack; null if it has one or on failure.
inline void* MakeStack(size_t& size) {
  stack_t stack{};
  sigaltstack(nullptr, &stack);
  if (!(stack.ss_flags & SS_DISABLE)) return nullptr;
  const auto page = static_cast<size_t>(sysconf(_SC_PAGESIZE));
  size = page + 65536 + static_cast<size_t>(SIGSTKSZ);
  constexpr int kFlags = MAP_PRIVATE | MAP_ANONYMOUS | MAP_STACK;
  void* const memory =
      mmap(nullptr, size, PROT_READ | PROT_WRITE, kFlags, -1, 0);
  if (memory == MAP_FAILED) return nullptr;
  mprotect(memory, page, PROT_NONE);
  stack.ss_sp = static_cast<char*>(memory) + page;
  stack.ss_size = size - page;
  stack.ss_flags = 0;
  sigaltstack(&stack, nullptr);
  return memory;
}

inline bool Restarts(const struct sigaction& action) {
  return action.sa_handler == SIG_IGN || (action.sa_flags & SA_RESTART) != 0;
}

inline void Install() {
  State& s = sState;
  s.owner = 0;
  const time_t now = time(nullptr);
  tm local{};
  localtime_r(&now, &local);
  s.utc_offset = local.tm_gmtoff;
  size_t ignored = 0;
  MakeStack(ignored);
  // The unwinder may be loaded, and allocate, at its first use.
  Record([](Line&) {}, nullptr, false);
  struct sigaction action {};
  action.sa_sigaction = OnSignal;
  sigfillset(&action.sa_mask);
  for (const int signal : kSignals) sigdelset(&action.sa_mask, signal);
  for (size_t i = 0; i < std::size(kSignals); ++i) {
    struct sigaction before {};
    sigaction(kSignals[i], nullptr, &before);
    if (before.sa_sigaction != OnSignal) s.before[i] = before;
    // A fault in the handler reenters it; nothing else interrupts it.
    // SA_RESTART stays as the host had it.
    action.sa_flags = SA_SIGINFO | SA_ONSTACK | SA_NODEFER;
    if (Restarts(s.before[i])) action.sa_flags |= SA_RESTART;
    sigaction(kSignals[i], &action, nullptr);
  }
  const std::terminate_handler before = std::get_terminate();
  if (before != OnTerminate) s.terminate_before = before;
  std::set_terminate(OnTerminate);
}

}  // namespace crash_internal

inline CrashStack::CrashStack() : memory_(crash_internal::MakeStack(size_)) {}

inline CrashStack::~CrashStack() {
  if (!memory_) return;
  stack_t none{};
  none.ss_flags = SS_DISABLE;
  sigaltstack(&none, nullptr);
  munmap(memory_, size_);
}

inline bool RecordCrashes(const char* path) {
  if (!path) errno = EINVAL;
  if (!path || !crash_internal::SetPath(path)) return false;
  crash_internal::Install();
  return true;
}

inline bool RecordCrashes(int descriptor) {
  if (!crash_internal::SetDescriptor(descriptor)) return false;
  crash_internal::Install();
  return true;
}

}  // namespace vellix
#pragma GCC visibility pop

#endif  // VELLIX_CRASH_H_
