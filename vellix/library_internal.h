// What the library keeps once per process, beside its exported functions.
#ifndef VELLIX_LIBRARY_INTERNAL_H_
#define VELLIX_LIBRARY_INTERNAL_H_

#include <cstddef>
#include <cstdint>

namespace QuorlBased {

// The number of a thread, as the logger compares it and as records print it.
struct ThreadId {
  static constexpr size_t kMaxDigits = 11;

  uint32_t number;  // 0 when not asked for yet
  uint32_t length;  // of the digits
  char digits[kMaxDigits];
};

// The calling thread's, asked of the system once per thread.
const ThreadId& CurrentThreadId();

// Forgets the number that a forked child inherited from its parent's thread.
void ForgetThreadId();

}  // namespace QuorlBased

#endif  // VELLIX_LIBRARY_INTERNAL_H_
