// What the files of the system layer share.
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

// The exit code of a thread or child that did not end by returning one.
constexpr uint32_t kFailedExitCode = 0xFFFFFFFF;

// `bytes` as the size of a text, for sums that may exceed the 32 bits that some
// systems have for it. Throws std::length_error.
inline size_t StringSize(uint64_t bytes) {
  if (bytes > PTRDIFF_MAX) throw std::length_error("text too long");
  return static_cast<size_t>(bytes);
}

}  // namespace QuorlBased

#endif  // VELLIX_SYSUTILS_INTERNAL_H_
