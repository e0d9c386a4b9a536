#include <new>

#include "vellix/exceptions.h"
#include "vellix/logger.h"
#include "vellix/process_generation.h"

// What exists once per process. It stands in one file since only within a file
// the order of static objects is certain: the logger's writes use the record of
// the thread, so the key comes first and goes last.
namespace {

const TLSKeyKeeper sKeyKeeper;

[[maybe_unused]] const bool sWatchesForForks = QuorlBased::WatchForForks();

}  // namespace

namespace QuorlBased {

// Never destroyed, only switched off: threads and static destructors of the
// host may still call it while the process ends.
alignas(CQuorlLogger) static unsigned char sLoggerRoom[sizeof(CQuorlLogger)];
static CQuorlLogger& gQuorlLogger = *new (sLoggerRoom) CQuorlLogger;

}  // namespace QuorlBased

namespace {

const struct LoggerTeardown {
  LoggerTeardown() = default;
  LoggerTeardown(const LoggerTeardown&) = delete;
  LoggerTeardown& operator=(const LoggerTeardown&) = delete;
  ~LoggerTeardown() { QuorlBased::gQuorlLogger.TearDown(); }
} sLoggerTeardown;

}  // namespace

// The address of the room, which is there before the object: another library's
// initialiser may ask earlier than this one has run.
QuorlBased::IQuorlLogger* GetQuorlLogger() {
  return reinterpret_cast<QuorlBased::CQuorlLogger*>(QuorlBased::sLoggerRoom);
}
