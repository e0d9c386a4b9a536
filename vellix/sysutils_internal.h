// What the files of the system layer share: the name under which they fail.
#ifndef VELLIX_SYSUTILS_INTERNAL_H_
#define VELLIX_SYSUTILS_INTERNAL_H_

#include "vellix/exceptions_report.h"

namespace QuorlBased {

// One name for the whole layer: callers tell failures apart by code and
// message, and find the statement by line.
inline constexpr FailureSource kSysutils("../sysutils");

}  // namespace QuorlBased

#endif  // VELLIX_SYSUTILS_INTERNAL_H_
