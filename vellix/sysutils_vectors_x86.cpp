// Which of the vector paths an x86 processor has.
#include "vellix/sysutils_vectors.h"

namespace QuorlBased {

extern const VectorPath kAvx2Path;
extern const VectorPath kSsse3Path;

VectorPaths PathsOfProcessor() {
  __builtin_cpu_init();  // its own initialiser may not have run yet
  VectorPaths paths = {&kTablesPath, &kTablesPath, &kTablesPath};
  size_t count = 0;
  if (__builtin_cpu_supports("avx2")) paths[count++] = &kAvx2Path;
  if (__builtin_cpu_supports("ssse3")) paths[count++] = &kSsse3Path;
  return paths;
}

}  // namespace QuorlBased
