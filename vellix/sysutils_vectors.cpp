#include "vellix/sysutils_vectors.h"

#include <atomic>

namespace QuorlBased {
namespace {

// Null until the first use: another library's initialiser may log a dump before
// the initialisers of this one have run. Threads that come here at once find
// the same path.
std::atomic<const VectorPath*> sPath{nullptr};

}  // namespace

size_t LeaveBytes(const unsigned char* /*from*/, size_t /*size*/,
                  char* /*to*/) {
  return 0;
}

size_t LeaveText(const char* /*from*/, size_t /*size*/, char* /*to*/) {
  return 0;
}

size_t LeaveWith(const unsigned char* /*from*/, size_t /*size*/, char /*with*/,
                 char* /*to*/) {
  return 0;
}

constexpr VectorPath kTablesPath = {"tables",   LeaveBytes, LeaveBytes,
                                    LeaveBytes, LeaveWith,  LeaveText,
                                    LeaveWith};

const VectorPath& Vectors() {
  const VectorPath* path = sPath.load(std::memory_order_relaxed);
  if (!path) {
    path = PathsOfProcessor()[0];
    sPath.store(path, std::memory_order_relaxed);
  }
  return *path;
}

void UsePath(const VectorPath& path) {
  sPath.store(&path, std::memory_order_relaxed);
}

}  // namespace QuorlBased
