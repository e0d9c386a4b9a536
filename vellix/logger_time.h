// The time of a log record as text. Internal.
#ifndef VELLIX_LOGGER_TIME_H_
#define VELLIX_LOGGER_TIME_H_

#include <cstdint>
#include <ctime>

namespace QuorlBased {

// Caches the text of the current second. For one thread at a time.
class TimeText {
 public:
  // The 24 characters of asctime for `now` in local time. The time zone is
  // looked up when the second changes.
  const char* For(time_t now) { return now == second_ ? text_ : Render(now); }

  // Looks up the offset from UTC, so that a child forked before the first log
  // record knows it.
  void LearnOffset() { For(time(nullptr)); }

  // To be called in a forked child, which may inherit a half-written text. With
  // `had_threads`, a thread of the parent may have held the C library's time
  // zone lock, which then stays locked in the child: the last offset is kept.
  void EnterChild(bool had_threads);

 private:
  const char* Render(time_t now);

  time_t second_ = -1;
  char text_[26] = {};
  bool offset_is_fixed_ = false;
  int32_t offset_ = 0;  // seconds east of UTC
};

}  // namespace QuorlBased

#endif  // VELLIX_LOGGER_TIME_H_
