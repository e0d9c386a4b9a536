#include <unistd.h>

#include <cstring>

#include "vellix/logger.h"

namespace QuorlBased {
namespace {

constexpr char kZonePrefix[] = "TZ=";
constexpr size_t kZonePrefixLength = 3;

}  // namespace

const char* CQuorlLogger::TimeText::Render(time_t now) {
  tzset();
  tm fields{};
  localtime_r(&now, &fields);
  asctime_r(&fields, text);
  second = now;
  KeepZone();
  return text;
}

// A look at the whole environment for each record would cost more than the
// rest of it. What adds, replaces or removes a variable moves the array, its
// end or the entry of TZ; a change that keeps all three shows a second later.
bool CQuorlLogger::TimeText::ZoneIsKept() const {
  if (environ != environment || *end || *last_slot != last_entry) return false;
  return !zone_slot || (*zone_slot && strcmp(*zone_slot, zone) == 0);
}

void CQuorlLogger::TimeText::KeepZone() {
  static char* const kNoEntry = nullptr;
  environment = environ;
  zone_slot = nullptr;
  last_slot = &kNoEntry;
  end = environ ? environ : &kNoEntry;
  for (; *end; ++end) {
    last_slot = end;
    if (!zone_slot && strncmp(*end, kZonePrefix, kZonePrefixLength) == 0) {
      zone_slot = end;
    }
  }
  last_entry = *last_slot;
  if (!zone_slot) return;
  const size_t size = strlen(*zone_slot) + 1;
  if (size <= sizeof zone) {
    memcpy(zone, *zone_slot, size);
  } else {
    Forget();  // too long to compare: rendered anew for each record
  }
}

}  // namespace QuorlBased
