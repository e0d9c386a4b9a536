/* A plug-in of plugin_host.cpp in plain C99. It links the library, which the
 * host has loaded already. */
#include "plugin.h"
#include "vellix/c.h"

#define VELLIX_EXAMPLE_API __attribute__((visibility("default")))

static const char kSource[] = "pump";

VELLIX_EXAMPLE_API bool plugin_run(void) {
  static const unsigned char reply[] = {0x0F, 0xA0, 0x01};
  vellix_log(VELLIX_LOG_INFO, kSource, "running");
  vellix_logf(VELLIX_LOG_DEBUG, kSource, "%d of %d valves open", 3, 4);
  vellix_log_bytes(VELLIX_LOG_WARN, kSource, "bad reply", reply, sizeof reply);
  vellix_fail(VELLIX_NO_DATA, "no samples", __LINE__, kSource);
  return false;
}

VELLIX_EXAMPLE_API int plugin_seen_code(void) {
  return vellix_last_failure().code;
}
