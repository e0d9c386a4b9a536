#include <sys/random.h>
#include <unistd.h>

#include <cctype>
#include <cerrno>
#include <ctime>

#include "vellix/sysutils_platform.h"

namespace QuorlBased {

uint32_t PlatformThreadId() { return static_cast<uint32_t>(gettid()); }

uint64_t PlatformTicks() {
  timespec now{};
  clock_gettime(CLOCK_MONOTONIC, &now);
  return static_cast<uint64_t>(now.tv_sec) * 1000000000U +
         static_cast<uint64_t>(now.tv_nsec);
}

TickRate PlatformTickRate() { return {1, 1}; }

int32_t PlatformProcessorCount() {
  const long count = sysconf(_SC_NPROCESSORS_CONF);
  return count > 0 ? static_cast<int32_t>(count) : 0;
}

std::string PlatformExecutablePath() {
  char buffer[4096] = {};
  const ssize_t length = readlink("/proc/self/exe", buffer, sizeof buffer - 1);
  return length > 0 ? std::string(buffer, static_cast<size_t>(length))
                    : std::string();
}

bool PlatformRandom(void* buffer, uint32_t bytes) {
  auto* next = static_cast<unsigned char*>(buffer);
  while (bytes > 0) {
    const ssize_t got = getrandom(next, bytes, 0);
    if (got < 0 && errno != EINTR) return false;
    if (got > 0) {
      next += got;
      bytes -= static_cast<uint32_t>(got);
    }
  }
  return true;
}

// The table from which the C library's own toupper answers.
const int32_t* PlatformUpperCase() { return *__ctype_toupper_loc(); }

}  // namespace QuorlBased
