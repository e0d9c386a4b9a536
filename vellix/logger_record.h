// The line of one record: pure text, no lock.
//
// The steps that every record takes are inline; what few records need stands in
// the source file.
#ifndef VELLIX_LOGGER_RECORD_H_
#define VELLIX_LOGGER_RECORD_H_

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <memory>
#include <string_view>

#include "vellix/library_internal.h"
#include "vellix/logger.h"

namespace QuorlBased {

// A text as it is put into a record: on one line.
class LogText {
 public:
  // Null stands as "NULL". `text` must outlive this object.
  explicit LogText(const char* text)
      : text_(text ? text : "NULL"), length_(strlen(text_)) {}

  size_t Length() const { return length_; }

  // The length with each line feed and carriage return as two characters.
  size_t EscapedLength() const;

  // Writes EscapedLength() characters to `out` and gives what follows them.
  char* AppendEscaped(char* out) const;

  // Writes Length() characters to `out` and gives what follows them, or null
  // when the text needs the escape; also for some texts that do not.
  char* AppendPlain(char* out) const {
    if (length_ < 8) return AppendFew(out);
    const size_t last = length_ - 8;
    for (size_t i = 0; i < last; i += 8) {
      if (CopyEight(text_ + i, out + i)) return nullptr;
    }
    // The last eight overlap what came before.
    return CopyEight(text_ + last, out + last) ? nullptr : out + length_;
  }

 private:
  // Copies eight bytes; true when one of them is below 14, as line feed (10)
  // and carriage return (13) are.
  static bool CopyEight(const char* from, char* to) {
    constexpr uint64_t kOnes = 0x0101010101010101;
    uint64_t bytes = 0;
    memcpy(&bytes, from, sizeof bytes);
    memcpy(to, &bytes, sizeof bytes);
    return ((bytes - kOnes * 14) & ~bytes & (kOnes * 0x80)) != 0;
  }

  char* AppendFew(char* out) const {
    for (size_t i = 0; i < length_; ++i) {
      if (static_cast<unsigned char>(text_[i]) < 14) return nullptr;
      out[i] = text_[i];
    }
    return out + length_;
  }

  const char* text_;
  size_t length_;
};

// Writes two digits and a blank for each byte to `out`, then a NUL, and gives
// the address of the NUL.
char* DumpBytes(const unsigned char* data, size_t size, char* out);

// What a record tells.
struct LogFields {
  const ThreadId& thread_id;
  LogLevel level;
  const char* from;
  const char* msg;
  const unsigned char* data;
  unsigned int size;
};

// One record, complete but for its time.
class LogRecord {
 public:
  // Throws std::bad_alloc, and std::length_error for a record that one Write
  // cannot take.
  explicit LogRecord(const LogFields& fields) {
    const LogText from(fields.from);
    const LogText msg(fields.msg);
    const size_t dumped = fields.data ? std::min(fields.size, kMaxData) : 0;
    const size_t fixed = kFixedLength + std::max(3 * dumped, kNull.size());
    Reserve(fixed + from.Length() + msg.Length());
    if (Compose<&LogText::AppendPlain>(fields, from, msg, dumped)) return;
    Reserve(fixed + from.EscapedLength() + msg.EscapedLength());
    ComposeEscaped(fields, from, msg, dumped);
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

  void Reserve(size_t size) {
    if (size > sizeof room_) ReserveOnHeap(size);
  }
  void ReserveOnHeap(size_t size);

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
    out = dumped > 0 ? DumpBytes(fields.data, dumped, out) : Append(out, kNull);
    out = Append(out, kEnd);
    size_ = static_cast<uint32_t>(out - text_);
    return true;
  }

  void ComposeEscaped(const LogFields& fields, const LogText& from,
                      const LogText& msg, size_t dumped);

  // Most records need no heap.
  char room_[4096];
  std::unique_ptr<char[]> heap_;
  char* text_ = room_;
  uint32_t size_ = 0;
};

}  // namespace QuorlBased

#endif  // VELLIX_LOGGER_RECORD_H_
