#include "vellix/thread_id.h"

#include <charconv>
#include <iterator>

#include "vellix/process_generation.h"
#include "vellix/sysutils_platform.h"

namespace QuorlBased {
namespace {

VELLIX_THREAD_LOCAL ThreadId sThreadId;

// Slow path, out of line to keep the fast path small.
__attribute__((noinline)) void AskThreadId(ThreadId& id, uint32_t generation) {
  id.number = PlatformThreadId();
  const char* end = std::to_chars(id.digits, std::end(id.digits),
                                  static_cast<int32_t>(id.number))
                        .ptr;
  id.length = static_cast<uint32_t>(end - id.digits);
  id.generation = generation;
}

}  // namespace

const ThreadId& CurrentThreadId() {
  ThreadId& id = sThreadId;
  const uint32_t generation = ProcessGeneration();
  if (id.generation != generation) AskThreadId(id, generation);
  return id;
}

}  // namespace QuorlBased
