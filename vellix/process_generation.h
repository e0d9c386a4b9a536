// Tells processes apart: a forked child has another generation than its parent,
// even after _Fork or a bare system call, and before any fork handler has run
// in it. Internal.
#ifndef VELLIX_PROCESS_GENERATION_H_
#define VELLIX_PROCESS_GENERATION_H_

#include <atomic>
#include <cstdint>

namespace QuorlBased {

// 0 in a child that has not asked yet.
extern std::atomic<uint32_t>* gProcessMark;

// Assigns a new child its generation. Any thread.
uint32_t NextProcessGeneration();

// Never 0, and never that of an ancestor.
inline uint32_t ProcessGeneration() {
  const uint32_t mark = gProcessMark->load(std::memory_order_acquire);
  return mark != 0 ? mark : NextProcessGeneration();
}

// Starts watching for forks, and has `in_child` called in each child of fork,
// after the fork handlers that were registered earlier. Called once, at load.
bool WatchForForks(void (*in_child)());

}  // namespace QuorlBased

#endif  // VELLIX_PROCESS_GENERATION_H_
