#include <pthread.h>

#include "vellix/exceptions.h"
#include "vellix/library_internal.h"
#include "vellix/logger.h"
#include "vellix/sysutils_platform.h"
#include "vellix/sysutils_strings.h"

std::atomic<pthread_key_t> TLSKeyKeeper::sTLSIndex{0};

namespace {

// No key of anybody: the store then answers as for a thread without a record.
constexpr pthread_key_t kNoKey = ~pthread_key_t{0};

// True between load and teardown. sTLSIndex cannot tell: 0 is a valid key, and
// outside that time it is somebody else's.
std::atomic<bool> sRunning{false};

// Under this key each thread keeps its number. A thread_local variable would
// be allocated by the dynamic linker at a thread's first record, and end the
// process when memory is out.
pthread_key_t sThreadIdKey = kNoKey;

// The record of a thread that asks after teardown, from a static destructor of
// the host for instance. Such a record goes with the process.
thread_local CQuorlException* sLateRecord = nullptr;

__attribute__((noinline)) CQuorlException* LateRecord() {
  if (!sLateRecord) sLateRecord = new CQuorlException;
  return sLateRecord;
}

extern "C" {

// The slot is null already: the object to destroy is the argument.
static void on_thread_exit(void* value) {
  delete static_cast<CQuorlException*>(value);
}

}  // extern "C"

// Apart from the ways that every call takes.
__attribute__((noinline)) CQuorlException* MakeRecord() {
  auto* record = new CQuorlException;
  pthread_setspecific(TLSKeyKeeper::sTLSIndex.load(), record);
  return record;
}

// The line that the log gets for a failure in a thread's record.
void WriteExceptionRecord(const IQuorlException& failure) {
  QuorlBased::IQuorlLogger* logger = GetQuorlLogger();
  if (!logger->IsExpLogEnabled()) return;
  unsigned int writer = 0;
  if (logger->IsLogging(&writer) && writer == QuorlBased::CurrentThreadId()) {
    return;
  }
  int line = 0;
  std::string from = "File: ";
  from += failure.GetExceptionSource(&line);
  from += " Line: ";
  from += QuorlBased::IntToStr(line);
  logger->Log(QuorlBased::LogExp, from.c_str(), failure.GetExceptionMsg(),
              nullptr, 0);
}

}  // namespace

TLSKeyKeeper::TLSKeyKeeper() {
  pthread_key_t key = kNoKey;
  pthread_key_create(&key, on_thread_exit);
  pthread_key_create(&sThreadIdKey, nullptr);
  sTLSIndex.store(key);
  sRunning.store(true);
}

TLSKeyKeeper::~TLSKeyKeeper() {
  sRunning.store(false);
  pthread_key_delete(sTLSIndex.load());
  pthread_key_delete(sThreadIdKey);
  sTLSIndex.store(0);
}

CQuorlException::CQuorlException() : CBaseException(0, nullptr, -1, nullptr) {}

void CQuorlException::Copy(IQuorlException* src) {
  CBaseException::Copy(src);
  // The last act: a target may release this very object.
  WriteExceptionRecord(*this);
}

IQuorlException* GetQuorlException() {
  // Read before the flag: a key of 0 after teardown implies a cleared flag.
  const pthread_key_t key =
      TLSKeyKeeper::sTLSIndex.load(std::memory_order_acquire);
  if (!sRunning.load(std::memory_order_relaxed)) return LateRecord();
  void* record = pthread_getspecific(key);
  if (record) return static_cast<CQuorlException*>(record);
  return MakeRecord();
}

void ReleaseQuorlException() {
  const pthread_key_t key =
      TLSKeyKeeper::sTLSIndex.load(std::memory_order_acquire);
  if (!sRunning.load(std::memory_order_relaxed)) {
    delete sLateRecord;
    sLateRecord = nullptr;
    return;
  }
  void* record = pthread_getspecific(key);
  if (!record) return;
  delete static_cast<CQuorlException*>(record);
  pthread_setspecific(key, nullptr);
}

namespace QuorlBased {

uint32_t CurrentThreadId() {
  if (!sRunning.load(std::memory_order_relaxed)) return PlatformThreadId();
  const auto kept =
      reinterpret_cast<uintptr_t>(pthread_getspecific(sThreadIdKey));
  if (kept != 0) return static_cast<uint32_t>(kept);
  const uint32_t id = PlatformThreadId();
  pthread_setspecific(sThreadIdKey, reinterpret_cast<void*>(uintptr_t{id}));
  return id;
}

void ForgetThreadId() {
  if (sRunning.load()) pthread_setspecific(sThreadIdKey, nullptr);
}

}  // namespace QuorlBased
