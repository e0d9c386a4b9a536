// What the library keeps once per process, beside its exported functions.
#ifndef VELLIX_LIBRARY_INTERNAL_H_
#define VELLIX_LIBRARY_INTERNAL_H_

#include <cstdint>

namespace QuorlBased {

// The calling thread's number, as records print it and as the logger keeps it.
// Asked of the system once per thread.
uint32_t CurrentThreadId();

// Forgets the number that a forked child inherited from its parent's thread.
void ForgetThreadId();

}  // namespace QuorlBased

#endif  // VELLIX_LIBRARY_INTERNAL_H_
