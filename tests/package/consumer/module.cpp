// A module of a host, with a toolkit of its own.
#include <vellix/logger.h>
#include <vellix/sysutils.h>

// Fails, and tells where this module's failure and records go.
extern "C" __attribute__((visibility("default"))) IQuorlException* Fail(
    QuorlBased::IQuorlLogger** logger) {
  *logger = GetQuorlLogger();
  QuorlBased::file_open("", QuorlBased::kOpenRead);
  return GetQuorlException();
}
