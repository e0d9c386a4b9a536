#include <sys/mman.h>
#include <sys/random.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <ctime>
#include <memory>
#include <new>

#include "vellix/sysutils_platform.h"

namespace QuorlBased {

const char kPlatformLoadPath[] = "LD_LIBRARY_PATH";

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

// By number: older C libraries have no functions for these calls.
int PlatformOpenProcess(pid_t id) {
  return static_cast<int>(syscall(SYS_pidfd_open, id, 0));
}

int PlatformSignalProcess(int descriptor, int signal) {
  return static_cast<int>(
      syscall(SYS_pidfd_send_signal, descriptor, signal, nullptr, 0));
}

int PlatformWaitProcess(int descriptor, siginfo_t* state, int options) {
  constexpr auto kByDescriptor = static_cast<idtype_t>(3);  // P_PIDFD
  return waitid(kByDescriptor, static_cast<id_t>(descriptor), state, options);
}

std::atomic<uint32_t>* PlatformForkMark() {
  // The mark has a page of its own within the data of the library, so that it
  // goes when the library is unloaded.
  constexpr size_t kLargestPage = 65536;
  static unsigned char room[2 * kLargestPage];
  const auto page = static_cast<size_t>(sysconf(_SC_PAGESIZE));
  void* start = room;
  size_t space = sizeof room;
  if (page > kLargestPage || !std::align(page, page, start, space) ||
      madvise(start, page, MADV_WIPEONFORK) != 0) {
    return nullptr;
  }
  return new (start) std::atomic<uint32_t>(0);
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

bool PlatformIsFolder(const dirent& entry) {
  return (entry.d_type & DT_DIR) != 0;
}

}  // namespace QuorlBased
