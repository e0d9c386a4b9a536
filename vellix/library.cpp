#include <pthread.h>

#include <new>

#include "vellix/exceptions.h"
#include "vellix/library_internal.h"
#include "vellix/logger.h"

// The two things that exist once per process. Both stand in this file since
// only here their order is certain: the logger's writes use the record of the
// thread, so the key comes first and goes last.
namespace {

const TLSKeyKeeper sKeyKeeper;

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

// Only the forking thread lives on in a child, while another one may have held
// the logger's lock. Nothing is locked in the parent.
[[maybe_unused]] const int sForkHandler = pthread_atfork(nullptr, nullptr, [] {
  QuorlBased::ForgetThreadId();
  QuorlBased::gQuorlLogger.ResetInForkedChild();
});

}  // namespace

QuorlBased::IQuorlLogger* GetQuorlLogger() { return &QuorlBased::gQuorlLogger; }
