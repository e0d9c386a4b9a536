// A plug-in of plugin_host.cpp. It links the toolkit, and with it the library
// that the host has loaded already.
#include "plugin.h"

#include "vellix/log.h"
#include "vellix/sysutils.h"

#define VELLIX_EXAMPLE_API __attribute__((visibility("default")))

namespace {

const vellix::Log kLog(PLUGIN_NAME);

}  // namespace

extern "C" {

VELLIX_EXAMPLE_API bool plugin_run() {
  kLog.Info("running");
  const int32_t file =
      QuorlBased::file_open(PLUGIN_NAME ".conf", QuorlBased::kOpenRead);
  if (file == -1) return false;
  QuorlBased::file_close(file);
  return true;
}

VELLIX_EXAMPLE_API int plugin_seen_code() {
  return GetQuorlException()->GetExceptionCode();
}

}  // extern "C"
