// What the library asks of the operating system beyond POSIX. Another platform
// supplies its own source file for these; docs/porting.md says what each needs.
#ifndef VELLIX_SYSUTILS_PLATFORM_H_
#define VELLIX_SYSUTILS_PLATFORM_H_

#include <cstdint>
#include <string>

namespace QuorlBased {

// A tick rate as a fraction: ticks * numerator / denominator are nanoseconds.
struct TickRate {
  uint32_t numerator;
  uint32_t denominator;
};

// A number that stays the same during the calling thread's life, differs
// between live threads of the process and fits 32 bits. Asks the system anew
// at every call.
uint32_t PlatformThreadId();

// A counter that never runs backwards and is not moved by setting the clock.
uint64_t PlatformTicks();
TickRate PlatformTickRate();

// The number of processors that the system has; 0 when it does not tell.
int32_t PlatformProcessorCount();

// The full path of the running executable; empty when the system does not
// tell.
std::string PlatformExecutablePath();

// Fills `bytes` with random numbers that cannot be guessed; false on failure.
bool PlatformRandom(void* buffer, uint32_t bytes);

// What toupper gives for each of the 256 bytes in the calling thread's current
// locale, by byte. Never null; valid until the locale changes.
const int32_t* PlatformUpperCase();

}  // namespace QuorlBased

#endif  // VELLIX_SYSUTILS_PLATFORM_H_
