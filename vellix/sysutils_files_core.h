// The throwing cores of file functions, for other toolkit code. The functions
// of sysutils_files.h are guards around them. Defined in sysutils_files.cpp.
#ifndef VELLIX_SYSUTILS_FILES_CORE_H_
#define VELLIX_SYSUTILS_FILES_CORE_H_

#include <unistd.h>

#include <cstdint>
#include <string>

#include "vellix/sysutils_internal.h"

namespace QuorlBased {

int32_t OpenFile(const std::string& name, uint16_t mode);

void CloseFile(int32_t handle);

// Sets `*met_end`, unless null, if nothing was left to read.
int32_t ReadSome(int32_t handle, void* buffer, uint32_t count, bool* met_end);

// Inline for LogFile in logger.cpp.
[[gnu::always_inline]] inline int32_t WriteSome(int32_t handle,
                                                const void* buffer,
                                                uint32_t count) {
  if (!buffer) kSysutils.Raise(kNullPointer, "Bad pointer");
  const auto moved = static_cast<int32_t>(write(handle, buffer, count));
  if (moved == -1) kSysutils.RaiseErrno(kFileFailure, "file_write error");
  return moved;
}

void SetCurrentEnd(int32_t handle);

}  // namespace QuorlBased

#endif  // VELLIX_SYSUTILS_FILES_CORE_H_
