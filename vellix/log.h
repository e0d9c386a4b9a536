// A thin C++ wrapper of the logger.
//
//   const vellix::Log kLog("net");
//   kLog.Info("listening");
//   kLog.Info("{} of {} slots in use", used, all);
//   kLog.Warnf("%d of %d slots in use", used, all);
//   kLog.Error("bad packet", {packet.data(), packet.size()});
//   kLog.Debug() << "took " << elapsed << " ms";
//
// Header-only; it uses only the interface, so modules with different versions
// of it can share a process. A message below the threshold costs one load and a
// branch (clang: the printf form adds a call); any other is formatted before
// the logger's lock is taken. Any thread.
#ifndef VELLIX_LOG_H_
#define VELLIX_LOG_H_

#include <algorithm>
#include <atomic>
#include <cstdarg>
#include <cstddef>
#include <cstdio>
#include <exception>
#include <locale>
#include <memory>
#include <sstream>
#include <string>
#include <utility>

#include "vellix/log_forms.h"
#include "vellix/logger.h"

// Tests the threshold at the call site: g++ can forward the arguments from an
// inlined function. clang cannot, and calls a function that tests first.
#if __has_builtin(__builtin_va_arg_pack)
#define VELLIX_PRINTF(text, first) \
  __attribute__((always_inline, gnu_inline, format(printf, text, first)))
#define VELLIX_WRITE_PRINTF(level, format) \
  if (IsOn(level)) WriteFormatted(level, format, __builtin_va_arg_pack())
#else
#define VELLIX_PRINTF(text, first) \
  __attribute__((noinline, format(printf, text, first)))
#define VELLIX_WRITE_PRINTF(level, format) \
  if (!IsOn(level)) return;                \
  va_list args;                            \
  va_start(args, format);                  \
  WriteArguments(level, format, args);     \
  va_end(args)
#endif

#pragma GCC visibility push(hidden)
namespace vellix {

class Log;

// The result of Log::Debug() and its siblings: collects streamed values, in the
// classic locale, and writes the log record when the statement ends. Throws
// what IQuorlLogger::Log throws.
class LogLine {
 public:
  LogLine(const LogLine&) = delete;
  LogLine& operator=(const LogLine&) = delete;
  inline ~LogLine() noexcept(false);

  // Appends `value` as an std::ostream writes it. A value that cannot be
  // written appends nothing.
  template <typename Value>
  LogLine&& operator<<(const Value& value) && {
    if (buffer_) {
      buffer_->inserting = true;
      buffer_->out << value;
      buffer_->inserting = false;
      buffer_->out.clear();  // or a failed value suppresses the next
    }
    return std::move(*this);
  }

 private:
  friend class Log;
  inline LogLine(const Log& log, QuorlBased::LogLevel level);

  struct Buffer {
    Buffer() { out.imbue(std::locale::classic()); }

    std::ostringstream out;
    bool inserting = false;  // stays true if cancelled within a value
    int exceptions = std::uncaught_exceptions();  // in flight at the beginning
  };

  // noinline, as Log::WriteLine: a disabled line costs one load and one
  // branch.
  __attribute__((noinline, returns_nonnull)) static Buffer* Begin() {
    return new Buffer;
  }

  const Log& log_;
  const QuorlBased::LogLevel level_;
  Buffer* const buffer_;  // null when the level is off
};

// One per module: holds the source name of its records and a threshold.
class Log {
 public:
  // Logs through GetQuorlLogger, for which the program links the library.
  // `from` must outlive the object; a literal does.
  constexpr explicit Log(const char* from,
                         QuorlBased::LogLevel threshold = QuorlBased::LogDebug)
      : from_(from), find_(GetQuorlLogger), threshold_(threshold) {}

  // Logs through `logger`, for a host that opens the library at run time;
  // null drops everything until SetLogger.
  constexpr Log(const char* from, QuorlBased::IQuorlLogger* logger,
                QuorlBased::LogLevel threshold = QuorlBased::LogDebug)
      : from_(from), logger_(logger), threshold_(threshold) {}
  Log(const Log&) = delete;
  Log& operator=(const Log&) = delete;

  // Logs through `logger` from now on; null restores what the constructor was
  // given. No other thread may still log through a logger that gets unloaded.
  void SetLogger(QuorlBased::IQuorlLogger* logger) {
    logger_.store(logger, std::memory_order_release);
  }

  // Messages below `threshold` are dropped from now on.
  void SetThreshold(QuorlBased::LogLevel threshold) {
    threshold_.store(threshold, std::memory_order_relaxed);
  }

  // Whether a message of `level` passes the threshold. Ignores the switches of
  // the logger.
  bool IsOn(QuorlBased::LogLevel level) const {
    return level >= threshold_.load(std::memory_order_relaxed);
  }

  // Writes one log record with a text and a dump, if its level passes the
  // threshold. Debug to Fatal log at the level of their name. Throws what
  // QuorlBased::IQuorlLogger::Log throws.
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

  // Writes one log record in printf form, if its level passes the threshold.
  // The compiler checks the arguments (-Wformat). `format` must not come from
  // data. A message that cannot be formatted is written as its format.
  VELLIX_PRINTF(3, 4)
  inline void Writef(QuorlBased::LogLevel level, const char* format,
                     ...) const {
    VELLIX_WRITE_PRINTF(level, format);
  }
  VELLIX_PRINTF(2, 3) inline void Debugf(const char* format, ...) const {
    VELLIX_WRITE_PRINTF(QuorlBased::LogDebug, format);
  }
  VELLIX_PRINTF(2, 3) inline void Infof(const char* format, ...) const {
    VELLIX_WRITE_PRINTF(QuorlBased::LogInfo, format);
  }
  VELLIX_PRINTF(2, 3) inline void Warnf(const char* format, ...) const {
    VELLIX_WRITE_PRINTF(QuorlBased::LogWarn, format);
  }
  VELLIX_PRINTF(2, 3) inline void Errorf(const char* format, ...) const {
    VELLIX_WRITE_PRINTF(QuorlBased::LogError, format);
  }
  VELLIX_PRINTF(2, 3) inline void Fatalf(const char* format, ...) const {
    VELLIX_WRITE_PRINTF(QuorlBased::LogFatal, format);
  }

  // Writes one log record in {} form, as kLog.Info("x = {}", x), if its level
  // passes the threshold. A format that does not fit the arguments does not
  // compile; in C++17 only with FMT_STRING("x = {}") of vellix/log_fmt.h. A
  // message that cannot be formatted is written as its format with the reason.
  template <typename First, typename... Rest>
  void Write(QuorlBased::LogLevel level, FormatOf<First, Rest...> format,
             First&& first, Rest&&... rest) const {
    if (IsOn(level)) {
      Braces<First, Rest...>::Write(*this, level, format, first, rest...);
    }
  }
  template <typename First, typename... Rest>
  void Debug(FormatOf<First, Rest...> format, First&& first,
             Rest&&... rest) const {
    Write(QuorlBased::LogDebug, format, std::forward<First>(first),
          std::forward<Rest>(rest)...);
  }
  template <typename First, typename... Rest>
  void Info(FormatOf<First, Rest...> format, First&& first,
            Rest&&... rest) const {
    Write(QuorlBased::LogInfo, format, std::forward<First>(first),
          std::forward<Rest>(rest)...);
  }
  template <typename First, typename... Rest>
  void Warn(FormatOf<First, Rest...> format, First&& first,
            Rest&&... rest) const {
    Write(QuorlBased::LogWarn, format, std::forward<First>(first),
          std::forward<Rest>(rest)...);
  }
  template <typename First, typename... Rest>
  void Error(FormatOf<First, Rest...> format, First&& first,
             Rest&&... rest) const {
    Write(QuorlBased::LogError, format, std::forward<First>(first),
          std::forward<Rest>(rest)...);
  }
  template <typename First, typename... Rest>
  void Fatal(FormatOf<First, Rest...> format, First&& first,
             Rest&&... rest) const {
    Write(QuorlBased::LogFatal, format, std::forward<First>(first),
          std::forward<Rest>(rest)...);
  }

  // Begins a line that takes values, as kLog.Info() << "x = " << x, and is
  // written when the statement ends, if its level passes the threshold.
  LogLine Debug() const { return {*this, QuorlBased::LogDebug}; }
  LogLine Info() const { return {*this, QuorlBased::LogInfo}; }
  LogLine Warn() const { return {*this, QuorlBased::LogWarn}; }
  LogLine Error() const { return {*this, QuorlBased::LogError}; }
  LogLine Fatal() const { return {*this, QuorlBased::LogFatal}; }

 private:
  friend class LogLine;

  // noinline, so that only the test of the level is inlined. The six arguments
  // fit in registers.
  __attribute__((noinline)) void WriteRecord(QuorlBased::LogLevel level,
                                             const char* text, size_t length,
                                             const void* data,
                                             size_t size) const {
    QuorlBased::IQuorlLogger* logger = logger_.load(std::memory_order_acquire);
    if (!logger && find_) logger = find_();
    if (!logger) return;
    const auto* bytes = static_cast<const unsigned char*>(data);
    const auto count =
        static_cast<unsigned>(std::min<size_t>(size, 0xFFFFFFFF));
    if (length == Text::kTerminated) {
      logger->Log(level, from_, text, bytes, count);
    } else {
      const std::string copy(text, length);
      logger->Log(level, from_, copy.c_str(), bytes, count);
    }
  }

  // Takes ownership of `line`. Drops it if its statement throws or is cancelled
  // within a value.
  __attribute__((noinline)) void WriteLine(QuorlBased::LogLevel level,
                                           LogLine::Buffer* line) const {
    const std::unique_ptr<LogLine::Buffer> owner(line);
    if (line->inserting || std::uncaught_exceptions() > line->exceptions)
      return;
    WriteRecord(level, line->out.str().c_str(), Text::kTerminated, nullptr, 0);
  }

  __attribute__((noinline, format(printf, 3, 0))) void WriteFormatted(
      QuorlBased::LogLevel level, const char* format, ...) const {
    va_list args;
    va_start(args, format);
    WriteArguments(level, format, args);
    va_end(args);
  }

  __attribute__((noinline, format(printf, 3, 0))) void WriteArguments(
      QuorlBased::LogLevel level, const char* format, va_list args) const {
    char room[512];
    va_list again;
    va_copy(again, args);
    const int length = vsnprintf(room, sizeof room, format, args);
    std::string text;
    if (length >= static_cast<int>(sizeof room)) {
      text.resize(static_cast<size_t>(length));
      static_cast<void>(vsnprintf(text.data(), text.size() + 1, format, again));
    }
    va_end(again);
    WriteRecord(level,
                length < 0     ? format
                : text.empty() ? room
                               : text.c_str(),
                Text::kTerminated, nullptr, 0);
  }

  const char* from_;
  std::atomic<QuorlBased::IQuorlLogger*> logger_{nullptr};
  QuorlBased::IQuorlLogger* (*find_)() = nullptr;
  std::atomic<int> threshold_;
};

inline LogLine::LogLine(const Log& log, QuorlBased::LogLevel level)
    : log_(log), level_(level), buffer_(log.IsOn(level) ? Begin() : nullptr) {}

inline LogLine::~LogLine() noexcept(false) {
  if (buffer_) log_.WriteLine(level_, buffer_);
}

}  // namespace vellix
#pragma GCC visibility pop

#undef VELLIX_PRINTF
#undef VELLIX_WRITE_PRINTF

#endif  // VELLIX_LOG_H_
