#include "vellix/sysutils_clock.h"

#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <ctime>

#include "vellix/sysutils_platform.h"

namespace QuorlBased {

uint64_t QuorlBased_GetTicks() {
  // Initialised before a start time is visible: no thread divides by an empty
  // rate.
  static const TickRate timebase = PlatformTickRate();
  static std::atomic<uint64_t> start_time{0};

  const uint64_t now = PlatformTicks();
  uint64_t start = start_time.load();
  if (start == 0 && start_time.compare_exchange_strong(start, now)) {
    start = now;
  }
  // A thread may have read the counter before the start was stored: count 0,
  // not an underflow.
  const uint64_t elapsed = now > start ? now - start : 0;
  return elapsed / 1000 * timebase.numerator /
         (uint64_t{timebase.denominator} * 1000);
}

void QuorlBased_Sleep(uint32_t ms) { usleep(ms * 1000U); }

uint32_t get_system_time() { return static_cast<uint32_t>(time(nullptr)); }

int32_t get_cpu_count() { return std::max(PlatformProcessorCount(), 1); }

}  // namespace QuorlBased
