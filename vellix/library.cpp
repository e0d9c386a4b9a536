#include <pthread.h>

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

static CQuorlLogger gQuorlLogger;

}  // namespace QuorlBased

namespace {

// Only the forking thread lives on in a child, while another one may have held
// the logger's lock. Nothing is locked in the parent.
[[maybe_unused]] const int sForkHandler = pthread_atfork(nullptr, nullptr, [] {
  QuorlBased::ForgetThreadId();
  QuorlBased::gQuorlLogger.ResetInForkedChild();
});

}  // namespace

QuorlBased::IQuorlLogger* GetQuorlLogger() { return &QuorlBased::gQuorlLogger; }
