#include <sys/single_threaded.h>

#include <cctype>

#include "vellix/sysutils_platform.h"

namespace QuorlBased {

bool PlatformHadThreads() { return !__libc_single_threaded; }

// The table from which the C library's own toupper answers.
const int32_t* PlatformUpperCase() { return *__ctype_toupper_loc(); }

int PlatformInitCondition(pthread_cond_t* condition) {
  return pthread_cond_init(condition, nullptr);
}

int PlatformWaitUntil(pthread_cond_t* condition, pthread_mutex_t* mutex,
                      const timespec& deadline) {
  return pthread_cond_clockwait(condition, mutex, CLOCK_MONOTONIC, &deadline);
}

}  // namespace QuorlBased
