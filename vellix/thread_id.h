// The number of the calling thread, as the logger compares it and as log
// records print it. Internal.
#ifndef VELLIX_THREAD_ID_H_
#define VELLIX_THREAD_ID_H_

#include <cstddef>
#include <cstdint>

namespace QuorlBased {

struct ThreadId {
  static constexpr size_t kMaxDigits = 11;

  uint32_t generation;  // of the process that asked for it; 0 before
  uint32_t number;
  uint32_t length;  // of the digits
  char digits[kMaxDigits];
};

// Asks the system once per thread and process.
const ThreadId& CurrentThreadId();

}  // namespace QuorlBased

#endif  // VELLIX_THREAD_ID_H_
