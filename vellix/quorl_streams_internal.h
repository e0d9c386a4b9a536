// What the stream files share: the name under which they fail.
#ifndef VELLIX_QUORL_STREAMS_INTERNAL_H_
#define VELLIX_QUORL_STREAMS_INTERNAL_H_

#include "vellix/exceptions_report.h"

namespace QuorlBased {

inline constexpr FailureSource kStreams("../quorl_base_streams");

// Runs `body`, the last work of a stream, in its destructor. A boundary lets
// something out when it cannot record a failure, for want of memory; while
// another exception passes, that would end the process.
template <typename Body>
void EndStream(Body body) {
  try {
    body();
  } catch (...) {
    LetUnwindingPass();
  }
}

}  // namespace QuorlBased

#endif  // VELLIX_QUORL_STREAMS_INTERNAL_H_
