#include "support/inject.h"

#include <dirent.h>
#include <pthread.h>
#include <sys/stat.h>
#include <sys/types.h>

#include <atomic>
#include <cerrno>
#include <cstddef>
#include <cstdlib>
#include <cstring>
#include <initializer_list>
#include <new>

namespace support {
namespace {

std::atomic<Fault*> faults[2];
std::atomic<long> live_blocks;

void* Counted(void* block) {
  if (block) ++live_blocks;
  return block;
}

}  // namespace

Fault::Fault(const char* call, int error, int nth, bool on)
    : call_(call), error_(error), nth_(nth), on_(on) {
  faults[faults[0] ? 1 : 0] = this;
}

void Fault::EndAll() { faults[0] = faults[1] = nullptr; }

bool Fault::Strikes(const char* call) {
  for (Fault* fault : {faults[0].load(), faults[1].load()}) {
    if (!fault || strcmp(fault->call_, call) != 0) continue;
    const int count = ++fault->made_;
    if (count < fault->nth_ || (count > fault->nth_ && !fault->on_)) continue;
    ++fault->struck_;
    errno = fault->error_;
    return true;
  }
  return false;
}

long LiveBlocks() { return live_blocks; }

}  // namespace support

using support::Counted;
constexpr auto* Strikes = support::Fault::Strikes;

// A sanitizer's heap cannot be replaced, only the calls of it in this program.
#ifdef VELLIX_WRAPPED_HEAP
#define HEAP(name) __wrap_##name
#define SYSTEM_HEAP(name) __real_##name
#else
#define HEAP(name) name
#define SYSTEM_HEAP(name) __libc_##name
#endif

extern "C" {
void* SYSTEM_HEAP(malloc)(size_t);
void* SYSTEM_HEAP(calloc)(size_t, size_t);
void* SYSTEM_HEAP(realloc)(void*, size_t);
void SYSTEM_HEAP(free)(void*);

void* HEAP(malloc)(size_t size) noexcept {
  return Strikes("malloc") ? nullptr : Counted(SYSTEM_HEAP(malloc)(size));
}
void* HEAP(calloc)(size_t count, size_t size) noexcept {
  return Strikes("malloc") ? nullptr
                           : Counted(SYSTEM_HEAP(calloc)(count, size));
}
void* HEAP(realloc)(void* block, size_t size) noexcept {
  if (Strikes("malloc")) return nullptr;
  void* moved = SYSTEM_HEAP(realloc)(block, size);
  return block ? moved : Counted(moved);
}
void HEAP(free)(void* block) noexcept {
  if (block) --support::live_blocks;
  SYSTEM_HEAP(free)(block);
}
}

void* operator new(size_t size) {
  void* block = malloc(size > 0 ? size : 1);
  return block ? block : throw std::bad_alloc();
}
void operator delete(void* block) noexcept { free(block); }
void operator delete(void* block, size_t) noexcept { free(block); }

// A call that `Strikes` may fail, with what it then gives and its parameters.
#define WRAP(result, call, failure, parameters, arguments)     \
  extern "C" result __real_##call parameters;                  \
  extern "C" result __wrap_##call parameters {                 \
    return Strikes(#call) ? failure : __real_##call arguments; \
  }
#define WRAP1(result, call, failure, A) WRAP(result, call, failure, (A a), (a))
#define WRAP2(result, call, failure, A, B) \
  WRAP(result, call, failure, (A a, B b), (a, b))
#define WRAP3(result, call, failure, A, B, C) \
  WRAP(result, call, failure, (A a, B b, C c), (a, b, c))
WRAP3(int, open, -1, const char*, int, mode_t)
WRAP3(off64_t, lseek64, -1, int, off64_t, int)
WRAP2(int, ftruncate64, -1, int, off64_t)
WRAP1(int, unlink, -1, const char*)
WRAP2(int, rename, -1, const char*, const char*)
WRAP2(int, stat, -1, const char*, struct stat*)
WRAP2(int, lstat, -1, const char*, struct stat*)
WRAP2(int, mkdir, -1, const char*, mode_t)
WRAP1(DIR*, opendir, nullptr, const char*)
WRAP1(dirent*, readdir, nullptr, DIR*)
WRAP3(int, setenv, -1, const char*, const char*, int)
WRAP3(ssize_t, getrandom, -1, void*, size_t, unsigned)
WRAP1(long, sysconf, -1, int)
WRAP2(int, kill, -1, pid_t, int)
using Mutex = pthread_mutex_t*;
using Attributes = pthread_mutexattr_t*;
WRAP1(int, pthread_mutexattr_init, errno, Attributes)
WRAP2(int, pthread_mutexattr_settype, errno, Attributes, int)
WRAP2(int, pthread_mutex_init, errno, Mutex, const pthread_mutexattr_t*)
WRAP1(int, pthread_mutex_lock, errno, Mutex)
WRAP2(int, pthread_cond_init, errno, pthread_cond_t*, const pthread_condattr_t*)
using Entry = void* (*)(void*);
WRAP(int, pthread_create, errno,
     (pthread_t * thread, const pthread_attr_t* attributes, Entry entry,
      void* argument),
     (thread, attributes, entry, argument))

#define TRANSFER(call, buffer)                                           \
  extern "C" ssize_t __real_##call(int, buffer, size_t);                 \
  extern "C" ssize_t __wrap_##call(int fd, buffer bytes, size_t count) { \
    if (!Strikes(#call)) return __real_##call(fd, bytes, count);         \
    return errno == support::Fault::kShort                               \
               ? __real_##call(fd, bytes, count > 0)                     \
               : -1;                                                     \
  }
TRANSFER(read, void*)
TRANSFER(write, const void*)

// The optimiser chooses between the two names of a call.
WRAP2(char*, realpath, nullptr, const char*, char*)
extern "C" char* __wrap___realpath_chk(const char* path, char* out, size_t) {
  return __wrap_realpath(path, out);
}
WRAP3(ssize_t, readlink, -1, const char*, char*, size_t)
extern "C" ssize_t __wrap___readlink_chk(const char* path, char* out,
                                         size_t size, size_t) {
  return __wrap_readlink(path, out, size);
}

// What a child does is its own affair.
extern "C" pid_t __real_fork();
extern "C" pid_t __wrap_fork() {
  const pid_t child = Strikes("fork") ? -1 : __real_fork();
  if (child == 0) support::Fault::EndAll();
  return child;
}

// These take effect although they fail, as the system's do.
extern "C" int __real_close(int);
extern "C" int __wrap_close(int fd) {
  const int result = __real_close(fd);
  return Strikes("close") ? -1 : result;
}
extern "C" pid_t __real_waitpid(pid_t, int*, int);
extern "C" pid_t __wrap_waitpid(pid_t pid, int* status, int options) {
  const pid_t ended = __real_waitpid(pid, status, options);
  return ended > 0 && Strikes("waitpid") ? -1 : ended;
}
