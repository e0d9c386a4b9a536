#include <pthread.h>

#include "vellix/exceptions.h"
#include "vellix/logger.h"
#include "vellix/sysutils_platform.h"
#include "vellix/sysutils_strings.h"
#include "vellix/thread_id.h"

std::atomic<pthread_key_t> TLSKeyKeeper::sTLSIndex{0};

namespace {

// True between load and teardown. sTLSIndex does not tell: 0 is a valid key,
// and outside that time it may be another library's.
std::atomic<bool> sRunning{false};

// The calling thread's record, found with one load. The slot of the key owns
// it; this is a copy of its address.
VELLIX_THREAD_LOCAL CQuorlException* sRecord;

extern "C" {

// The slot is null already: the object to destroy is the argument.
static void on_thread_exit(void* value) {
  sRecord = nullptr;
  delete static_cast<CQuorlException*>(value);
}

}  // extern "C"

// Empties the slot if it holds `record`. The flag does not tell: while the
// library is torn down, the key may still be ours, or another library's.
void EmptySlot(const CQuorlException* record) {
  const pthread_key_t key = TLSKeyKeeper::sTLSIndex.load();
  if (key == QuorlBased::kNoThreadKey) return;
  if (pthread_getspecific(key) == record) pthread_setspecific(key, nullptr);
}

// Puts the record into the slot. False if that is not possible.
bool FillSlot(const CQuorlException* record) {
  // Read before the flag: a key of 0 after teardown implies a cleared flag.
  const pthread_key_t key = TLSKeyKeeper::sTLSIndex.load();
  if (!sRunning.load() || key == QuorlBased::kNoThreadKey) return false;
  if (pthread_setspecific(key, record) != 0) return false;
  if (sRunning.load()) return true;
  // Torn down meanwhile: the slot may be another library's by now.
  if (pthread_getspecific(key) == record) pthread_setspecific(key, nullptr);
  return false;
}

// Slow path, out of line to keep the fast path small.
__attribute__((noinline)) IQuorlException* MakeRecord() {
  auto* record = new CQuorlException;
  const bool owned = FillSlot(record);
  // A static destructor of the host may still ask after teardown: its record
  // has no slot and lives until the process ends.
  if (owned || !sRunning.load()) sRecord = record;
  return record;
}

// Logs the failure in a thread's record.
void WriteExceptionRecord(const IQuorlException& failure) {
  if (!sRunning.load()) return;  // there may be no logger yet
  QuorlBased::IQuorlLogger* logger = GetQuorlLogger();
  if (!logger->IsExpLogEnabled() || !logger->GetLogStream()) return;
  unsigned int writer = 0;
  const uint32_t self = QuorlBased::CurrentThreadId().number;
  if (logger->IsLogging(&writer) && writer == self) return;
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
  // If the system has no key left, this is none either: each call then makes a
  // new record.
  pthread_key_t key = QuorlBased::kNoThreadKey;
  pthread_key_create(&key, on_thread_exit);
  sTLSIndex.store(key);
  sRunning.store(true);
}

TLSKeyKeeper::~TLSKeyKeeper() {
  sRunning.store(false);
  const pthread_key_t key = sTLSIndex.load();
  if (key != QuorlBased::kNoThreadKey) pthread_key_delete(key);
  sTLSIndex.store(0);
}

CQuorlException::CQuorlException() : CBaseException(0, nullptr, -1, nullptr) {}

void CQuorlException::Copy(IQuorlException* src) {
  CBaseException::Copy(src);
  // The last statement: a target may release this very object.
  WriteExceptionRecord(*this);
}

IQuorlException* GetQuorlException() {
  CQuorlException* record = sRecord;
  return record ? record : MakeRecord();
}

void ReleaseQuorlException() {
  CQuorlException* record = sRecord;
  if (!record) return;
  sRecord = nullptr;
  EmptySlot(record);
  delete record;
}
