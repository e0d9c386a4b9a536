#include <array>
#include <cctype>

#include "vellix/sysutils_platform.h"

namespace QuorlBased {

// The C library does not tell.
bool PlatformHadThreads() { return true; }

// No locale of this C library has letters among the single bytes above 127.
const int32_t* PlatformUpperCase() {
  static const auto table = [] {
    std::array<int32_t, 256> upper{};
    for (int byte = 0; byte < 256; ++byte) {
      upper[static_cast<size_t>(byte)] = std::toupper(byte);
    }
    return upper;
  }();
  return table.data();
}

int PlatformInitCondition(pthread_cond_t* condition) {
  pthread_condattr_t attributes;
  int error = pthread_condattr_init(&attributes);
  if (error != 0) return error;
  error = pthread_condattr_setclock(&attributes, CLOCK_MONOTONIC);
  if (error == 0) error = pthread_cond_init(condition, &attributes);
  pthread_condattr_destroy(&attributes);
  return error;
}

int PlatformWaitUntil(pthread_cond_t* condition, pthread_mutex_t* mutex,
                      const timespec& deadline) {
  return pthread_cond_timedwait(condition, mutex, &deadline);
}

}  // namespace QuorlBased
