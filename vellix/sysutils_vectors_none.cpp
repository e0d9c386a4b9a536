// For processors without a vector path.
#include "vellix/sysutils_vectors.h"

namespace QuorlBased {

VectorPaths PathsOfProcessor() {
  return {&kTablesPath, &kTablesPath, &kTablesPath};
}

}  // namespace QuorlBased
