#include <new>

#include "vellix/exceptions.h"
#include "vellix/logger.h"
#include "vellix/process_generation.h"

// What exists once per process. The order of static objects is certain only
// within one file: the logger's writes use the record of the thread, so the key
// is made first and deleted last.
namespace {

const TLSKeyKeeper sKeyKeeper;

void EnterForkedChild();

[[maybe_unused]] const bool sWatchesForForks =
    QuorlBased::WatchForForks(EnterForkedChild);

}  // namespace

namespace QuorlBased {

// Never destroyed, only switched off: threads and static destructors of the
// host may still call it while the process ends.
alignas(CQuorlLogger) static unsigned char sLoggerRoom[sizeof(CQuorlLogger)];
static CQuorlLogger& gQuorlLogger = *new (sLoggerRoom) CQuorlLogger;

}  // namespace QuorlBased

namespace {

// At once, while it can be told whether the parent had threads.
void EnterForkedChild() { QuorlBased::gQuorlLogger.EnterForkedChild(); }

const struct LoggerTeardown {
  LoggerTeardown() = default;
  LoggerTeardown(const LoggerTeardown&) = delete;
  LoggerTeardown& operator=(const LoggerTeardown&) = delete;
  ~LoggerTeardown() { QuorlBased::gQuorlLogger.TearDown(); }
} sLoggerTeardown;

}  // namespace

// The address of the storage, not the reference: an initialiser of another
// library may ask before the object has been constructed.
QuorlBased::IQuorlLogger* GetQuorlLogger() {
  return reinterpret_cast<QuorlBased::CQuorlLogger*>(QuorlBased::sLoggerRoom);
}
