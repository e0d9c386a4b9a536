// How a cancelled thread unwinds. Internal.
#ifndef VELLIX_SYSUTILS_PLATFORM_CANCEL_H_
#define VELLIX_SYSUTILS_PLATFORM_CANCEL_H_

#include <cxxabi.h>
#include <pthread.h>

#include <type_traits>

namespace QuorlBased {

// For a platform that ends a cancelled thread without destructors, or the
// process at a `catch (...)`. Nothing throws it.
struct NoUnwinding {};

// The type that catches the unwinding of a cancelled thread;
// cmake/Platform.cmake detects it.
using ForcedUnwind = VELLIX_FORCED_UNWIND;

// Disables cancellation of the calling thread for a scope.
class CancellationHold {
 public:
  CancellationHold() {
    pthread_setcancelstate(PTHREAD_CANCEL_DISABLE, &previous_);
  }
  CancellationHold(const CancellationHold&) = delete;
  CancellationHold& operator=(const CancellationHold&) = delete;
  ~CancellationHold() { pthread_setcancelstate(previous_, nullptr); }

 private:
  int previous_ = PTHREAD_CANCEL_ENABLE;
};

// For code that holds a lock or catches exceptions across a cancellation point:
// nothing if cancellation unwinds, else a CancellationHold.
struct NoHold {};
using UnwindingHold =
    std::conditional_t<std::is_same_v<ForcedUnwind, NoUnwinding>,
                       CancellationHold, NoHold>;

}  // namespace QuorlBased

#endif  // VELLIX_SYSUTILS_PLATFORM_CANCEL_H_
