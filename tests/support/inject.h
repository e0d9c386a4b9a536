// Memory that runs out and system calls that fail; link with -Wl,--wrap.
#ifndef VELLIX_TESTS_SUPPORT_INJECT_H_
#define VELLIX_TESTS_SUPPORT_INJECT_H_

#include <sys/stat.h>

#include <new>
#include <string_view>

#include "support/support.h"

namespace support {

// While it lives, the `nth` call of the name `call` fails with `error`, and all
// later ones do if `on`. "malloc" stands for every way to the heap.
struct Fault {
  Fault(std::string_view name, int code, int first = 1, bool goes_on = false)
      : call(name), error(code), nth(first), on(goes_on) {
    active = this;
  }
  ~Fault() { active = nullptr; }

  // For the calls: whether `name` is to fail now, with errno.
  static bool Fails(std::string_view name) {
    Fault* fault = active;
    if (!fault || fault->call != name) return false;
    const int count = ++fault->made;
    if (count < fault->nth || (count > fault->nth && !fault->on)) return false;
    ++fault->struck;
    errno = fault->error;
    return true;
  }

  const std::string_view call;
  const int error, nth;
  const bool on;
  std::atomic<int> made{0}, struck{0};
  static inline std::atomic<Fault*> active;
};

// Blocks of the heap that are in use.
inline std::atomic<long> live_blocks;

inline void* Counted(void* block) {
  if (block) ++live_blocks;
  return block;
}

}  // namespace support

using support::Fault;

// A call that may be made to fail with errno.
#define WRAP_FAULT(result, call, failure, parameters, arguments)    \
  WRAP(result, call, parameters) {                                  \
    return Fault::Fails(#call) ? failure : __real_##call arguments; \
  }
// Variadic as the system's: ppc64el calls a variadic function in its own way.
WRAP_FAULT(int, open, -1, (const char* path, int flags, ...),
           (path, flags, 0600))
WRAP_FAULT(ssize_t, read, -1, (int fd, void* to, size_t count), (fd, to, count))
WRAP_FAULT(ssize_t, write, -1, (int fd, const void* from, size_t count),
           (fd, from, count))
// Takes effect although it fails, as the system's does.
WRAP_FAULT(int, close, (__real_close(fd), -1), (int fd), (fd))
WRAP_FAULT(int, stat, -1, (const char* path, struct stat* to), (path, to))
WRAP_FAULT(int, setenv, -1, (const char* name, const char* value, int replace),
           (name, value, replace))
WRAP_FAULT(pid_t, fork, -1, (), ())
WRAP_FAULT(int, pthread_mutex_init, EAGAIN,
           (pthread_mutex_t * mutex, const pthread_mutexattr_t* attributes),
           (mutex, attributes))
WRAP(void*, malloc, (size_t size)) {
  if (Fault::Fails("malloc")) return nullptr;
  return support::Counted(__real_malloc(size));
}
WRAP(void*, realloc, (void* block, size_t size)) {
  if (Fault::Fails("malloc")) return nullptr;
  void* moved = __real_realloc(block, size);
  return block ? moved : support::Counted(moved);
}
WRAP(void, free, (void* block)) {
  if (block) --support::live_blocks;
  __real_free(block);
}

void* operator new(size_t size) {
  void* block = __wrap_malloc(size > 0 ? size : 1);
  return block ? block : throw std::bad_alloc();
}
void operator delete(void* block) noexcept { __wrap_free(block); }
void operator delete(void* block, size_t) noexcept { __wrap_free(block); }

#endif  // VELLIX_TESTS_SUPPORT_INJECT_H_
