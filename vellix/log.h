// A thin C++ wrapper of the logger for modules that link the library.
//
//   const vellix::Log kLog("net");
//   kLog.Info("listening");
//   kLog.Warnf("%d of %d slots in use", used, all);
//   kLog.Error("bad packet", {packet.data(), packet.size()});
//   kLog.Debug() << "took " << elapsed << " ms";
//
// Header-only, over the interface alone. A message below the threshold costs
// one load and a branch; any other is formatted before the logger's lock is
// taken. Any thread.
#ifndef VELLIX_LOG_H_
#define VELLIX_LOG_H_

#include <algorithm>
#include <atomic>
#include <cstdarg>
#include <cstddef>
#include <cstdio>
#include <exception>
#include <memory>
#include <sstream>
#include <string>
#include <string_view>
#include <type_traits>
#include <utility>

#include "vellix/logger.h"

namespace vellix {

// A block of bytes; at most 1024 are dumped.
struct Bytes {
  const void* data = nullptr;
  size_t size = 0;
};

// A message in any of the usual forms, for the length of a call.
class Text {
 public:
  Text(const char* text) : text_(text) {}                 // NOLINT: implicit
  Text(const std::string& text) : text_(text.c_str()) {}  // NOLINT: implicit
  Text(std::string_view text)                             // NOLINT: implicit
      : text_(text.data()), size_(text.size()) {}

 private:
  friend class Log;

  // Marks a NUL-terminated text.
  static constexpr size_t kTerminated = ~size_t{0};

  const char* text_;
  size_t size_ = kTerminated;
};

class Log;

// The result of Log::Debug() and its siblings: collects what is streamed into
// it and writes the log record when the statement ends. Throws what
// IQuorlLogger::Log throws.
class LogLine {
 public:
  LogLine(const LogLine&) = delete;
  LogLine& operator=(const LogLine&) = delete;
  inline ~LogLine() noexcept(false);

  template <typename Value>
  LogLine&& operator<<(const Value& value) && {
    if (buffer_) buffer_->out << value;
    return std::move(*this);
  }

 private:
  friend class Log;
  inline LogLine(const Log& log, QuorlBased::LogLevel level);

  struct Buffer {
    std::ostringstream out;
    int exceptions = std::uncaught_exceptions();  // in flight at the beginning
  };

  // noinline, as Log::WriteLine: a disabled line costs one load and one branch.
  __attribute__((noinline, returns_nonnull)) static Buffer* Begin() {
    return new Buffer;
  }

  const Log& log_;
  const QuorlBased::LogLevel level_;
  Buffer* const buffer_;  // null when the level is off
};

// One per module: carries the source name of its log records and a
// threshold.
class Log {
 public:
  // `from` must outlive the object; a literal does.
  constexpr explicit Log(const char* from,
                         QuorlBased::LogLevel threshold = QuorlBased::LogDebug)
      : from_(from), threshold_(threshold) {}
  Log(const Log&) = delete;
  Log& operator=(const Log&) = delete;

  // Messages below `threshold` are dropped from now on.
  void SetThreshold(QuorlBased::LogLevel threshold) {
    threshold_.store(threshold, std::memory_order_relaxed);
  }
  bool IsOn(QuorlBased::LogLevel level) const {
    return level >= threshold_.load(std::memory_order_relaxed);
  }

  // Writes one log record if the level is on. Throws what IQuorlLogger::Log
  // throws.
  void Write(QuorlBased::LogLevel level, Text msg, Bytes data = {}) const {
    if (IsOn(level)) {
      WriteRecord(level, msg.text_, msg.size_, data.data, data.size);
    }
  }
  void Debug(Text msg, Bytes data = {}) const {
    Write(QuorlBased::LogDebug, msg, data);
  }
  void Info(Text msg, Bytes data = {}) const {
    Write(QuorlBased::LogInfo, msg, data);
  }
  void Warn(Text msg, Bytes data = {}) const {
    Write(QuorlBased::LogWarn, msg, data);
  }
  void Error(Text msg, Bytes data = {}) const {
    Write(QuorlBased::LogError, msg, data);
  }
  void Fatal(Text msg, Bytes data = {}) const {
    Write(QuorlBased::LogFatal, msg, data);
  }

  // printf form. `format` must not come from data; arguments are numbers,
  // characters and pointers: a std::string does not compile.
  template <typename... Args>
  void Writef(QuorlBased::LogLevel level, const char* format,
              Args... args) const {
    static_assert((std::is_scalar_v<Args> && ...),
                  "printf arguments are numbers and pointers; use c_str()");
    if (IsOn(level)) WriteFormatted(level, format, args...);
  }
  template <typename... Args>
  void Debugf(const char* format, Args... args) const {
    Writef(QuorlBased::LogDebug, format, args...);
  }
  template <typename... Args>
  void Infof(const char* format, Args... args) const {
    Writef(QuorlBased::LogInfo, format, args...);
  }
  template <typename... Args>
  void Warnf(const char* format, Args... args) const {
    Writef(QuorlBased::LogWarn, format, args...);
  }
  template <typename... Args>
  void Errorf(const char* format, Args... args) const {
    Writef(QuorlBased::LogError, format, args...);
  }
  template <typename... Args>
  void Fatalf(const char* format, Args... args) const {
    Writef(QuorlBased::LogFatal, format, args...);
  }

  // Streamed form: kLog.Info() << "x = " << x;
  LogLine Debug() const { return {*this, QuorlBased::LogDebug}; }
  LogLine Info() const { return {*this, QuorlBased::LogInfo}; }
  LogLine Warn() const { return {*this, QuorlBased::LogWarn}; }
  LogLine Error() const { return {*this, QuorlBased::LogError}; }
  LogLine Fatal() const { return {*this, QuorlBased::LogFatal}; }

 private:
  friend class LogLine;

  // noinline, so that only the test of the level is inlined; six words, which
  // are passed in registers.
  __attribute__((noinline)) void WriteRecord(QuorlBased::LogLevel level,
                                             const char* text, size_t length,
                                             const void* data,
                                             size_t size) const {
    const auto bytes = static_cast<const unsigned char*>(data);
    const auto count =
        static_cast<unsigned>(std::min<size_t>(size, 0xFFFFFFFF));
    if (length == Text::kTerminated) {
      GetQuorlLogger()->Log(level, from_, text, bytes, count);
    } else {
      const std::string copy(text, length);
      GetQuorlLogger()->Log(level, from_, copy.c_str(), bytes, count);
    }
  }

  // Takes over `line`. A line whose statement throws is dropped.
  __attribute__((noinline)) void WriteLine(QuorlBased::LogLevel level,
                                           LogLine::Buffer* line) const {
    const std::unique_ptr<LogLine::Buffer> owner(line);
    if (std::uncaught_exceptions() > line->exceptions) return;
    WriteRecord(level, line->out.str().c_str(), Text::kTerminated, nullptr, 0);
  }

  __attribute__((noinline)) void WriteFormatted(QuorlBased::LogLevel level,
                                                const char* format, ...) const {
    va_list args;
    va_start(args, format);
    const std::string text = Render(format, args);
    va_end(args);
    WriteRecord(level, text.c_str(), Text::kTerminated, nullptr, 0);
  }

  static std::string Render(const char* format, va_list args) {
    // Through a pointer: the compiler would ask for a literal here, where it
    // cannot be one.
    constexpr int (*kPrint)(char*, size_t, const char*, va_list) = vsnprintf;
    char room[512];
    va_list again;
    va_copy(again, args);
    const int length = kPrint(room, sizeof room, format, args);
    std::string text(room, length > 0
                               ? std::min<size_t>(static_cast<size_t>(length),
                                                  sizeof room - 1)
                               : 0);
    if (length >= static_cast<int>(sizeof room)) {
      text.resize(static_cast<size_t>(length));
      kPrint(text.data(), text.size() + 1, format, again);
    }
    va_end(again);
    return text;
  }

  const char* from_;
  std::atomic<int> threshold_;
};

inline LogLine::LogLine(const Log& log, QuorlBased::LogLevel level)
    : log_(log), level_(level), buffer_(log.IsOn(level) ? Begin() : nullptr) {}

inline LogLine::~LogLine() noexcept(false) {
  if (buffer_) log_.WriteLine(level_, buffer_);
}

}  // namespace vellix

#endif  // VELLIX_LOG_H_
