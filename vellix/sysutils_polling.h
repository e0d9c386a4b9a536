// Polling for locks, threads and processes of the system layer: check, sleep 10
// milliseconds, check again. A time-out counts sleeps, not clock time.
// Internal.
#ifndef VELLIX_SYSUTILS_POLLING_H_
#define VELLIX_SYSUTILS_POLLING_H_

#include <unistd.h>

#include <cstdint>

#include "vellix/sysutils_locks.h"

namespace QuorlBased {

constexpr uint32_t kPollMilliseconds = 10;

// The sleep between two checks. A cancellation point.
inline void PollPause() { usleep(kPollMilliseconds * 1000); }

// Checks until `ended()` is true or `timeout` milliseconds of sleeps have been
// counted. Returns whether `ended()` was true.
template <typename Ended>
bool PollUntil(uint32_t timeout, Ended ended) {
  if (timeout == kWaitForever) {
    while (!ended()) PollPause();
    return true;
  }
  if (ended()) return true;
  // The count of sleeps may pass the largest 32-bit time-out.
  for (uint64_t slept = 0; slept < timeout; slept += kPollMilliseconds) {
    PollPause();
    if (ended()) return true;
  }
  return false;
}

}  // namespace QuorlBased

#endif  // VELLIX_SYSUTILS_POLLING_H_
