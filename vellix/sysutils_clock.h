// An elapsed-time clock, a sleep, the time of day and the processor count. None
// of them fails, and none touches the thread's failure record. All may be
// called from any thread.
#ifndef VELLIX_SYSUTILS_CLOCK_H_
#define VELLIX_SYSUTILS_CLOCK_H_

#include <cstdint>

namespace QuorlBased {

// Milliseconds since the first call, which returns 0. Setting the system's
// clock does not affect it, and it does not go backwards. Each module that
// links the static toolkit counts from its own first call.
uint64_t QuorlBased_GetTicks();

// Puts the calling thread to sleep for `ms` milliseconds; a signal handler on
// the thread ends the sleep early. Microseconds are counted in 32 bits: above
// 4294967 milliseconds they wrap. A cancellation point.
void QuorlBased_Sleep(uint32_t ms);

// Seconds since 1970-01-01 00:00 UTC by the system's clock, the low 32 bits.
uint32_t get_system_time();

// The number of processors of the system, offline ones included; 1 if the
// system does not report it.
int32_t get_cpu_count();

}  // namespace QuorlBased

#endif  // VELLIX_SYSUTILS_CLOCK_H_
