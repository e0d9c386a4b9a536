// The work of the file functions that other toolkit code needs the outcome of.
// It fails by throwing; the functions of sysutils_files.h are guards around it.
// Defined in sysutils_files.cpp.
#ifndef VELLIX_SYSUTILS_FILES_CORE_H_
#define VELLIX_SYSUTILS_FILES_CORE_H_

#include <cstdint>
#include <string>

namespace QuorlBased {

int32_t OpenFile(const std::string& name, uint16_t mode);

void CloseFile(int32_t handle);

// Sets `met_end`, if it is not null, when there was nothing left to read.
int32_t ReadSome(int32_t handle, void* buffer, uint32_t count, bool* met_end);

void SetCurrentEnd(int32_t handle);

}  // namespace QuorlBased

#endif  // VELLIX_SYSUTILS_FILES_CORE_H_
