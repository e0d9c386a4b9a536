// Shared by the stream files.
#ifndef VELLIX_QUORL_STREAMS_INTERNAL_H_
#define VELLIX_QUORL_STREAMS_INTERNAL_H_

#include "vellix/exceptions_report.h"

namespace QuorlBased {

inline constexpr FailureSource kStreams("../quorl_base_streams");

// Puts a failure back into the calling thread's failure record, without a
// second log record. Does nothing for code 0.
inline void PutBack(const CBaseException& failure) {
  if (failure.GetCode() == 0) return;
  int line = 0;
  const char* source = failure.GetExceptionSource(&line);
  GetQuorlException()->SetException(failure.GetCode(), failure.GetMsg(), line,
                                    source);
}

// Runs `body` in a stream's destructor. Disables cancellation, and drops the
// std::bad_alloc of a guard without memory to record a failure: during
// unwinding it would end the process.
template <typename Body>
void EndStream(Body body) {
  const CancellationHold hold;
  Completes(body);
}

}  // namespace QuorlBased

#endif  // VELLIX_QUORL_STREAMS_INTERNAL_H_
