// The line of one log record: pure text, no lock. Internal. The fast path is
// inline, the slow paths are in the source file.
#ifndef VELLIX_LOGGER_RECORD_H_
#define VELLIX_LOGGER_RECORD_H_

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <memory>
#include <string_view>

#include "vellix/logger.h"
#include "vellix/logger_text.h"
#include "vellix/sysutils_hex.h"
#include "vellix/thread_id.h"

namespace QuorlBased {

// The content of a log record.
struct LogFields {
  const ThreadId& thread_id;
  LogLevel level;
  const char* from;
  const char* msg;
  const unsigned char* data;
  unsigned int size;
};

// One log record, complete except for its time.
class LogRecord {
 public:
  // Throws std::bad_alloc, and std::length_error for a line that one Write
  // cannot take.
  explicit LogRecord(const LogFields& fields) {
    const LogText from(fields.from);
    const LogText msg(fields.msg);
    const size_t dumped = fields.data ? std::min(fields.size, kMaxData) : 0;
    Reserve(FixedLength(dumped) + from.Length() + msg.Length());
    if (Compose<&LogText::AppendPlain>(fields, from, msg, dumped)) return;
    ComposeEscaped(fields, dumped);
  }
  LogRecord(const LogRecord&) = delete;
  LogRecord& operator=(const LogRecord&) = delete;

  // Puts the 24 characters of `time` into their place.
  void SetTime(const char* time) {
    memcpy(text_ + kTime.size(), time, kTimeLength);
  }

  const char* Text() const { return text_; }
  uint32_t Size() const { return size_; }

 private:
  static constexpr std::string_view kTime = "[TM=";
  static constexpr std::string_view kThread = "] [TH=";
  static constexpr std::string_view kLevel = "] [LV=";
  static constexpr std::string_view kFrom = "] [FR=";
  static constexpr std::string_view kMessage = "] [MG=";
  static constexpr std::string_view kData = "] [BN=";
  static constexpr std::string_view kNull = "NULL";
  static constexpr std::string_view kEnd = "]\r\n";
  static constexpr size_t kTimeLength = 24;
  static constexpr size_t kLevelLength = 5;
  static constexpr size_t kFixedLength =
      kTime.size() + kTimeLength + kThread.size() + ThreadId::kMaxDigits +
      kLevel.size() + kLevelLength + kFrom.size() + kMessage.size() +
      kData.size() + kEnd.size();
  static constexpr unsigned int kMaxData = 1024;

  static char* Append(char* out, std::string_view piece) {
    memcpy(out, piece.data(), piece.size());
    return out + piece.size();
  }

  // The bytes other than the texts. In 64 bits, like all sums with them: two
  // texts may exceed a 32-bit size.
  static uint64_t FixedLength(size_t dumped) {
    return kFixedLength + std::max(3 * dumped, kNull.size());
  }

  void Reserve(uint64_t size) {
    if (size > sizeof room_) ReserveOnHeap(size);
  }
  void ReserveOnHeap(uint64_t size);

  // False when kAppend does not take one of the texts.
  template <char* (LogText::*kAppend)(char*) const>
  bool Compose(const LogFields& fields, const LogText& from, const LogText& msg,
               size_t dumped) {
    char* out = Append(text_, kTime) + kTimeLength;
    out = Append(out, kThread);
    memcpy(out, fields.thread_id.digits, ThreadId::kMaxDigits);
    out += fields.thread_id.length;
    out = Append(out, kLevel);
    out = Append(out, {loglevel_text[fields.level], kLevelLength});
    out = Append(out, kFrom);
    out = (from.*kAppend)(out);
    if (!out) return false;
    out = Append(out, kMessage);
    out = (msg.*kAppend)(out);
    if (!out) return false;
    out = Append(out, kData);
    out = dumped > 0 ? WriteHex(fields.data, dumped, ' ', out)
                     : Append(out, kNull);
    out = Append(out, kEnd);
    size_ = static_cast<uint32_t>(out - text_);
    return true;
  }

  // Measures the texts again: if the LogTexts of the fast path were passed by
  // reference, the fast path would have to keep them in memory. Uses the new
  // lengths alone, since a text may have changed meanwhile.
  void ComposeEscaped(const LogFields& fields, size_t dumped);

  // Most log records need no heap.
  char room_[4096];
  std::unique_ptr<char[]> heap_;
  char* text_ = room_;
  uint32_t size_ = 0;
};

}  // namespace QuorlBased

#endif  // VELLIX_LOGGER_RECORD_H_
