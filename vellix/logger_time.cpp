#include "vellix/logger_time.h"

#include <cstdio>

namespace QuorlBased {
namespace {

constexpr int64_t kSecondsPerDay = 86400;
constexpr int64_t kDaysPerEra = 146097;  // 400 years

// The date and time of `seconds` since 1970-01-01, without the C library, whose
// gmtime_r takes its lock of the time zone as well. Years are counted from
// March on, so that a leap day is the last of its year.
tm CivilTime(int64_t seconds) {
  tm fields{};
  int64_t day = seconds / kSecondsPerDay;
  int64_t second = seconds % kSecondsPerDay;
  if (second < 0) {
    second += kSecondsPerDay;
    --day;
  }
  fields.tm_hour = static_cast<int>(second / 3600);
  fields.tm_min = static_cast<int>(second / 60 % 60);
  fields.tm_sec = static_cast<int>(second % 60);
  fields.tm_wday = static_cast<int>(((day + 4) % 7 + 7) % 7);  // a Thursday

  day += 719468;  // days from 0000-03-01 to 1970-01-01
  const int64_t era = (day >= 0 ? day : day - kDaysPerEra + 1) / kDaysPerEra;
  const int64_t of_era = day - era * kDaysPerEra;
  const int64_t year_of_era =
      (of_era - of_era / 1460 + of_era / 36524 - of_era / 146096) / 365;
  const int64_t of_year =
      of_era - (365 * year_of_era + year_of_era / 4 - year_of_era / 100);
  const int64_t month = (5 * of_year + 2) / 153;  // 0 is March
  fields.tm_mday = static_cast<int>(of_year - (153 * month + 2) / 5 + 1);
  fields.tm_mon = static_cast<int>(month < 10 ? month + 2 : month - 10);
  const int64_t year = year_of_era + era * 400 + (month < 10 ? 0 : 1);
  fields.tm_year = static_cast<int>(year - 1900);
  return fields;
}

}  // namespace

void TimeText::EnterChild(bool had_threads) {
  second_ = -1;
  offset_is_fixed_ = offset_is_fixed_ || had_threads;
}

const char* TimeText::Render(time_t now) {
  tm fields{};
  if (offset_is_fixed_) {
    fields = CivilTime(int64_t{now} + offset_);
  } else {
    tzset();
    localtime_r(&now, &fields);
    offset_ = static_cast<int32_t>(fields.tm_gmtoff);
  }
  asctime_r(&fields, text_);
  second_ = now;
  return text_;
}

}  // namespace QuorlBased
