#include "vellix/process_generation.h"

#include <pthread.h>

#include "vellix/sysutils_platform.h"

namespace QuorlBased {
namespace {

// The substitute where the system has no memory that a fork wipes. A fork
// handler wipes it, but runs after handlers that were registered earlier.
std::atomic<uint32_t> sHandledMark{0};

// The mark as it was at the last fork.
std::atomic<uint32_t> sMarkBeforeFork{0};

std::atomic<uint32_t> sLastGeneration{0};

void (*sInChild)() = nullptr;

}  // namespace

std::atomic<uint32_t>* gProcessMark = &sHandledMark;

uint32_t NextProcessGeneration() {
  const uint32_t next = sLastGeneration.fetch_add(1) + 1;
  uint32_t mark = 0;
  // If another thread of the child was faster, its generation counts.
  return gProcessMark->compare_exchange_strong(mark, next) ? next : mark;
}

bool WatchForForks(void (*in_child)()) {
  sInChild = in_child;
  if (std::atomic<uint32_t>* wiped = PlatformForkMark()) gProcessMark = wiped;
  const auto before = [] { sMarkBeforeFork.store(gProcessMark->load()); };
  // Wipes the mark of a system that only says it does, such as QEMU: not one
  // that the child has set meanwhile.
  const auto in_new_child = [] {
    uint32_t inherited = sMarkBeforeFork.load();
    gProcessMark->compare_exchange_strong(inherited, 0);
    sInChild();
  };
  return pthread_atfork(before, nullptr, in_new_child) == 0;
}

}  // namespace QuorlBased
