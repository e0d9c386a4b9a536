// FdTarget: a log target over an open descriptor, such as standard output, a
// pipe or a socket. FileTarget is based on it. Header-only, needs nothing at
// link time.
#ifndef VELLIX_TARGET_FD_H_
#define VELLIX_TARGET_FD_H_

#include <poll.h>
#include <sys/resource.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <string_view>

#include "vellix/target_stream.h"

// Modules with other versions of this header share nothing of it.
#pragma GCC visibility push(hidden)
namespace vellix {

// Writes log records to a descriptor.
//
// - An interrupted write is repeated, a short one finished.
// - It waits for a slow reader. For a non-blocking descriptor it waits up to
//   `patience`; after a loss, records do not wait until one succeeds.
// - A record that could not be written as a whole is counted. Before the next
//   one that can be, the target ends the torn line and writes "12 records lost:
//   No space left on device" as a record of its own, level WARN, source "log",
//   in the same format, the log's or JsonTarget's.
// - Neither SIGPIPE nor SIGXFSZ reaches the host.
// - errno and the thread's failure record are unchanged. Nothing throws.
// - A forked child can log, even if a thread of the parent was inside Write. It
//   does not report what its parent lost.
// - A thread that is cancelled inside Write leaves a whole record or none.
class FdTarget : public Target {
 public:
  // Writes to `fd`. The caller keeps it, leaves it open and does not redirect
  // it to another kind of file.
  explicit FdTarget(int fd, std::chrono::milliseconds patience =
                                std::chrono::milliseconds(1000))
      : patience_(std::min<std::chrono::milliseconds>(
            patience, std::chrono::hours(24 * 365))) {
    const ErrnoScope keep;
    Use(fd);
  }

  // Writes one log record. Returns `count` if the system has all of it, or all
  // but its line end; -1 if it was counted as lost.
  int32_t Write(const void* buffer, uint32_t count) override {
    if (!buffer) return -1;
    const std::string_view line(static_cast<const char*>(buffer), count);
    const ErrnoScope keep;
    return WriteLine(line) ? static_cast<int32_t>(count) : -1;
  }

  // Records lost so far, including those already reported. Any thread, and
  // signal handlers.
  size_t Lost() const { return lost_.load(std::memory_order_relaxed); }

 protected:
  FdTarget() : FdTarget(-1) {}  // Use follows

  // Whether the torn line was ended or removed meanwhile by someone else.
  virtual bool LineHasItsEnd() { return false; }

  // Whether a write that failed with `error` may succeed now.
  virtual bool Mend(int /*error*/) { return false; }

  // Writes `line` after anything due before it. False if it was counted as
  // lost.
  bool WriteLine(std::string_view line) {
    return (behind_ ? CatchUp(line) : Append(line)) || Lose();
  }

  // Sets what to write before the next line, or "".
  void EndLineWith(const char* end) {
    line_end_ = end;
    if (*end) behind_ = true;
  }

  // Ends the torn line. False if that fails.
  bool EndLine() {
    if (*line_end_ && LineHasItsEnd()) line_end_ = "";
    const std::string_view end = line_end_;
    if (end.empty()) return true;
    const size_t done = Finish(end, WriteSome(end));
    line_end_ = end.data() + done;  // Mend may have set another
    return done == end.size();
  }

  // Writes to `fd` from now on.
  void Use(int fd) {
    fd_ = fd;
    struct stat status {};
    rlimit limit{};
    fstat(fd, &status);
    is_socket_ = S_ISSOCK(status.st_mode);
    // A device raises no signal, and a file only if its size is limited.
    const bool is_unlimited_file = S_ISREG(status.st_mode) &&
                                   getrlimit(RLIMIT_FSIZE, &limit) == 0 &&
                                   limit.rlim_cur == RLIM_INFINITY;
    is_plain_ = S_ISCHR(status.st_mode) || is_unlimited_file;
  }

  int fd_ = -1;  // a derived class may own it

 private:
  using Clock = std::chrono::steady_clock;

  ssize_t WriteSome(std::string_view text) const {
    // The system may cancel a thread that has written a part.
    const CancellationScope hold;
    if (is_plain_) return write(fd_, text.data(), text.size());
    if (is_socket_) return send(fd_, text.data(), text.size(), MSG_NOSIGNAL);
    WriteSignalScope signals;
    const ssize_t written = write(fd_, text.data(), text.size());
    // A pipe whose reader leaves during the write raises it for a short write
    // too.
    if (written != static_cast<ssize_t>(text.size())) signals.Failed();
    return written;
  }

  // Appends all of `text`, or all but its line end, which is then written
  // before the next line.
  bool Append(std::string_view text) {
    const ssize_t written = WriteSome(text);
    if (written == static_cast<ssize_t>(text.size())) return true;
    return LeaveCut(text, Finish(text, written));
  }

  // Continues after a first write of `text`. Returns the total bytes written.
  __attribute__((noinline)) size_t Finish(const std::string_view text,
                                          ssize_t written) {
    const CancellationScope hold;
    std::string_view rest = text;
    Clock::time_point deadline{};
    for (;; written = WriteSome(rest)) {
      if (written > 0) rest.remove_prefix(static_cast<size_t>(written));
      if (rest.empty()) break;
      if (written > 0) continue;
      const int error = written == 0 ? EIO : errno;
      if (error == EINTR || Mend(error)) continue;
      if ((error == EAGAIN || error == EWOULDBLOCK) && WaitForRoom(deadline)) {
        continue;
      }
      failure_ = error;
      break;
    }
    return text.size() - rest.size();
  }

  // Notes that only the first `done` bytes of `text` are written. Whether at
  // most the line end is missing.
  bool LeaveCut(std::string_view text, size_t done) {
    const std::string_view rest = text.substr(done);
    if (rest.empty()) return true;
    const bool is_end = rest == "\r\n" || rest == "\n";
    const char last = done > 0 ? text[done - 1] : '\n';
    if (is_end) {
      EndLineWith(rest.size() == 2 ? "\r\n" : "\n");
    } else if (last != '\n') {
      // A record that was cut at a bracket must not read as a whole one.
      EndLineWith(last == '\r' ? "\n" : last == ']' ? " \r\n" : "\r\n");
    }
    return is_end;
  }

  // Waits until the descriptor accepts data, at most for the rest of this
  // line's patience.
  bool WaitForRoom(Clock::time_point& deadline) const {
    if (deadline == Clock::time_point{}) {
      const bool losing = Lost() != reported_;
      deadline = Clock::now() + (losing ? Clock::duration{} : patience_);
    }
    for (;;) {
      const auto left =
          std::chrono::ceil<std::chrono::milliseconds>(deadline - Clock::now());
      pollfd room{fd_, POLLOUT, 0};
      const auto wait = std::clamp<int64_t>(left.count(), 0, INT32_MAX);
      const int ready = poll(&room, 1, static_cast<int>(wait));
      if (ready != -1) return ready > 0;
      if (errno != EINTR) return false;
    }
  }

  // In a forked child: the parent reports what it lost.
  void ForgetLossOfParent() {
    if (process_ == getpid()) return;
    process_ = getpid();
    reported_ = Lost();
  }

  __attribute__((noinline)) bool Lose() {
    ForgetLossOfParent();
    if (Lost() == reported_) error_ = failure_;
    lost_.store(Lost() + 1, std::memory_order_relaxed);
    behind_ = true;
    return false;
  }

  // Ends the torn line, reports the loss and writes `next`.
  __attribute__((noinline)) bool CatchUp(std::string_view next) {
    const CancellationScope hold;
    if (!EndLine()) return false;
    ForgetLossOfParent();
    char room[4096];
    size_t lost = Lost() - reported_;
    size_t report = lost > 0 ? Report(next, lost, room, 256) : 0;
    if (report == 0) lost = 0;
    std::string_view text = next;
    if (report + next.size() <= sizeof room) {
      // In one write: a pipe without room for the record would fill up with
      // reports.
      next.copy(room + report, next.size());
      text = {room, report + next.size()};
    } else if (report > 0) {
      if (!WriteReport({room, report}, report, lost) || !EndLine()) {
        return false;
      }
      report = lost = 0;
    }
    return WriteReport(text, report, lost);
  }

  // Writes `text`, whose first `size` bytes report `lost` records.
  bool WriteReport(std::string_view text, size_t size, size_t lost) {
    const size_t done = Finish(text, WriteSome(text));
    const bool is_whole = LeaveCut(text, done);
    if (is_whole || done + 1 >= size) reported_ += lost;
    behind_ = Lost() != reported_ || *line_end_ != '\0';
    return is_whole;
  }

  // Puts a report in the format of `next` into `room`, with the time and thread
  // of `next`: a forked child may be unable to ask for the time zone. Returns
  // its size; 0 if `next` is not a record.
  size_t Report(std::string_view next, size_t lost, char* room,
                size_t size) const {
    const bool is_json = next.substr(0, 9) == R"({"time":")";
    const bool is_record = is_json || next.substr(0, 4) == "[TM=";
    const std::string_view head =
        next.substr(0, next.find(is_json ? R"(,"level":)" : "] [LV="));
    if (!is_record || head.size() > 80) return 0;
    char text[80];
    if (!PutText(lost, text, sizeof text)) return 0;
    const char* const before =
        is_json ? R"(,"level":"WARN","source":"log","message":")"
                : "] [LV=WARN ] [FR=log] [MG=";
    const char* const after =
        is_json ? "\",\"data\":null}\n" : "] [BN=NULL]\r\n";
    const int length =
        snprintf(room, size, "%.*s%s%s%s", static_cast<int>(head.size()),
                 head.data(), before, text, after);
    return static_cast<size_t>(length);
  }

  // "12 records lost: …"
  bool PutText(size_t lost, char* room, size_t size) const {
    const char* const form = lost == 1 ? "record" : "records";
    const char* const known = ErrorText();
    const int length =
        *known
            ? snprintf(room, size, "%zu %s lost: %s", lost, form, known)
            : snprintf(room, size, "%zu %s lost: errno %d", lost, form, error_);
    return length > 0;
  }

  // Not strerror, whose locks may be held in a forked child. "" for others.
  const char* ErrorText() const {
    static constexpr struct {
      int error;
      const char* text;
    } kTexts[] = {{ENOSPC, "No space left on device"},
                  {EDQUOT, "Disk quota exceeded"},
                  {EFBIG, "File too large"},
                  {EIO, "Input/output error"},
                  {EPIPE, "Broken pipe"},
                  {ECONNRESET, "Connection reset by peer"},
                  {EAGAIN, "Resource temporarily unavailable"},
                  {EBADF, "Bad file descriptor"}};
    for (const auto& known : kTexts) {
      if (known.error == error_) return known.text;
    }
    return "";
  }

  const Clock::duration patience_;
  bool is_socket_ = false;
  bool is_plain_ = false;
  // Each is one word, so that a forked child finds none half changed.
  bool behind_ = false;        // something is due before the next line
  const char* line_end_ = "";  // what the torn line lacks
  std::atomic<size_t> lost_{0};
  size_t reported_ = 0;  // of those lost
  int failure_ = 0;      // of the last write that failed
  int error_ = 0;        // the reason of the first loss not reported
  pid_t process_ = 0;    // that lost them
};

}  // namespace vellix
#pragma GCC visibility pop

#endif  // VELLIX_TARGET_FD_H_
