// Shared by the files of the system layer.
#ifndef VELLIX_SYSUTILS_INTERNAL_H_
#define VELLIX_SYSUTILS_INTERNAL_H_

#include <cstddef>
#include <cstdint>
#include <stdexcept>

#include "vellix/exceptions_report.h"

namespace QuorlBased {

// One name for the whole layer: callers tell failures apart by code and
// message, and find the statement by line.
inline constexpr FailureSource kSysutils("../sysutils");

// The exit code of a thread or child that returned none.
constexpr uint32_t kFailedExitCode = 0xFFFFFFFF;

// `bytes` as the size of a text, for sums that may exceed 32-bit sizes. Throws
// std::length_error.
inline size_t StringSize(uint64_t bytes) {
  if (bytes > PTRDIFF_MAX) throw std::length_error("text too long");
  return static_cast<size_t>(bytes);
}

}  // namespace QuorlBased

#endif  // VELLIX_SYSUTILS_INTERNAL_H_
