// What the library asks of the operating system beyond POSIX. Another platform
// supplies its own source file for these; docs/porting.md says what each needs.
#ifndef VELLIX_SYSUTILS_PLATFORM_H_
#define VELLIX_SYSUTILS_PLATFORM_H_

#include <dirent.h>
#include <pthread.h>
#include <sys/types.h>

#include <atomic>
#include <csignal>
#include <cstdint>
#include <ctime>
#include <string>

// A variable of each thread whose room comes with the thread: with some models
// the dynamic linker allocates it at the thread's first use, and ends the
// process when there is no memory.
#define VELLIX_THREAD_LOCAL \
  __attribute__((tls_model(VELLIX_TLS_MODEL))) thread_local

namespace QuorlBased {

// A value that is no key. It is not to be given to the system, which may not
// look whether it is one.
constexpr pthread_key_t kNoThreadKey = ~pthread_key_t{0};

// The variable that lists the directories of the dynamic linker.
extern const char kPlatformLoadPath[];

// A tick rate as a fraction: ticks * numerator / denominator are nanoseconds.
struct TickRate {
  uint32_t numerator;
  uint32_t denominator;
};

// A number that stays the same during the calling thread's life, differs
// between live threads of the process and fits 32 bits. Asks the system anew at
// every call.
uint32_t PlatformThreadId();

// A counter that never runs backwards and is not moved by setting the clock.
uint64_t PlatformTicks();
TickRate PlatformTickRate();

// The number of processors that the system has; 0 when it does not tell.
int32_t PlatformProcessorCount();

// The full path of the running executable; empty when the system does not tell.
std::string PlatformExecutablePath();

// A descriptor of the process `id`, closed on exec, which the caller closes; -1
// where the system has none.
int PlatformOpenProcess(pid_t id);

// kill(2) and waitid(2) by such a descriptor. Fail with EBADF for what is no
// descriptor of a process, with EINVAL or ENOSYS where the system cannot.
int PlatformSignalProcess(int descriptor, int signal);
int PlatformWaitProcess(int descriptor, siginfo_t* state, int options);

// A new word that becomes 0 in a forked child, however it was forked. Null
// where the system has no such memory. To be called once.
std::atomic<uint32_t>* PlatformForkMark();

// False only while the process has had no second thread. In a forked child the
// threads of the parent count.
bool PlatformHadThreads();

// Fills `bytes` with random numbers that cannot be guessed; false on failure.
bool PlatformRandom(void* buffer, uint32_t bytes);

// A condition for PlatformWaitUntil, and the wait until the clock
// CLOCK_MONOTONIC shows `deadline`; both return what pthread_cond_init and
// pthread_cond_timedwait do.
int PlatformInitCondition(pthread_cond_t* condition);
int PlatformWaitUntil(pthread_cond_t* condition, pthread_mutex_t* mutex,
                      const timespec& deadline);

// Whether the entry is a directory, and not a link to one.
bool PlatformIsFolder(const dirent& entry);

// The result of toupper for each of the 256 bytes in the calling thread's
// current locale. Never null; valid until the locale changes.
const int32_t* PlatformUpperCase();

}  // namespace QuorlBased

#endif  // VELLIX_SYSUTILS_PLATFORM_H_
