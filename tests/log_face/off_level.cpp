// One function for each way to log below the threshold; check.sh looks at the
// code that the compiler makes of them.
#include <cstddef>
#include <string>
#include <string_view>

#include "vellix/log.h"

// Not constant: the threshold may change.
extern vellix::Log gLog;
vellix::Log gLog("off", QuorlBased::LogWarn);

extern "C" {

void off_plain() { gLog.Debug("listening"); }

void off_view(std::string_view text) { gLog.Debug(text); }

void off_data(const void* data, size_t size) {
  gLog.Debug("packet", {data, size});
}

void off_printf(int used, int all) { gLog.Debugf("%d of %d", used, all); }

void off_streamed(int elapsed, const std::string& peer) {
  gLog.Debug() << "took " << elapsed << " ms, " << peer;
}

}  // extern "C"
