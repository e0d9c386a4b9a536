// What the stream files share: the name under which they fail.
#ifndef VELLIX_QUORL_STREAMS_INTERNAL_H_
#define VELLIX_QUORL_STREAMS_INTERNAL_H_

#include "vellix/exceptions_report.h"

namespace QuorlBased {

inline constexpr FailureSource kStreams("../quorl_base_streams");

}  // namespace QuorlBased

#endif  // VELLIX_QUORL_STREAMS_INTERNAL_H_
