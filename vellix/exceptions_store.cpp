#include <pthread.h>

#include <charconv>
#include <iterator>

#include "vellix/exceptions.h"
#include "vellix/library_internal.h"
#include "vellix/logger.h"
#include "vellix/sysutils_platform.h"
#include "vellix/sysutils_strings.h"

std::atomic<pthread_key_t> TLSKeyKeeper::sTLSIndex{0};

namespace {

// True between load and teardown. sTLSIndex cannot tell: 0 is a valid key, and
// outside that time it is somebody else's.
std::atomic<bool> sRunning{false};

// What a thread finds with one load. The slot of the key owns the record; this
// is a copy of its address.
//
// Initial-exec: the room comes with the thread. Other models have the dynamic
// linker allocate it at a thread's first record, and end the process when
// memory is out.
struct ThreadState {
  CQuorlException* record;
  QuorlBased::ThreadId id;
};
__attribute__((tls_model("initial-exec"))) thread_local ThreadState sThread;

extern "C" {

// The slot is null already: the object to destroy is the argument.
static void on_thread_exit(void* value) {
  sThread.record = nullptr;
  delete static_cast<CQuorlException*>(value);
}

}  // extern "C"

// The ways that few calls take stand apart from those that every call takes.
__attribute__((noinline)) IQuorlException* MakeRecord() {
  auto* record = new CQuorlException;
  // Read before the flag: a key of 0 after teardown implies a cleared flag.
  const pthread_key_t key =
      TLSKeyKeeper::sTLSIndex.load(std::memory_order_acquire);
  const bool owned = sRunning.load(std::memory_order_relaxed) &&
                     pthread_setspecific(key, record) == 0;
  // After teardown a static destructor of the host may still ask: its record
  // has no slot and goes with the process.
  if (owned || !sRunning.load(std::memory_order_relaxed)) {
    sThread.record = record;
  }
  return record;
}

__attribute__((noinline)) void AskThreadId(QuorlBased::ThreadId& id) {
  id.number = QuorlBased::PlatformThreadId();
  const char* end = std::to_chars(id.digits, std::end(id.digits),
                                  static_cast<int32_t>(id.number))
                        .ptr;
  id.length = static_cast<uint32_t>(end - id.digits);
}

// The line that the log gets for a failure in a thread's record.
void WriteExceptionRecord(const IQuorlException& failure) {
  QuorlBased::IQuorlLogger* logger = GetQuorlLogger();
  if (!logger->IsExpLogEnabled() || !logger->GetLogStream()) return;
  unsigned int writer = 0;
  if (logger->IsLogging(&writer) &&
      writer == QuorlBased::CurrentThreadId().number) {
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
  // Stays the number of no key when the system has none left: each call then
  // makes a record of its own.
  pthread_key_t key = ~pthread_key_t{0};
  pthread_key_create(&key, on_thread_exit);
  sTLSIndex.store(key);
  sRunning.store(true);
}

TLSKeyKeeper::~TLSKeyKeeper() {
  sRunning.store(false);
  pthread_key_delete(sTLSIndex.load());
  sTLSIndex.store(0);
}

CQuorlException::CQuorlException() : CBaseException(0, nullptr, -1, nullptr) {}

void CQuorlException::Copy(IQuorlException* src) {
  CBaseException::Copy(src);
  // The last act: a target may release this very object.
  WriteExceptionRecord(*this);
}

IQuorlException* GetQuorlException() {
  CQuorlException* record = sThread.record;
  return record ? record : MakeRecord();
}

void ReleaseQuorlException() {
  CQuorlException* record = sThread.record;
  if (!record) return;
  sThread.record = nullptr;
  if (sRunning.load()) {
    pthread_setspecific(TLSKeyKeeper::sTLSIndex.load(), nullptr);
  }
  delete record;
}

namespace QuorlBased {

const ThreadId& CurrentThreadId() {
  ThreadId& id = sThread.id;
  if (id.number == 0) AskThreadId(id);
  return id;
}

void ForgetThreadId() { sThread.id.number = 0; }

}  // namespace QuorlBased
