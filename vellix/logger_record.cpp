#include "vellix/logger_record.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cstring>
#include <stdexcept>
#include <string_view>

namespace QuorlBased {

const char* const loglevel_text[6] = {"DEBUG", "INFO ", "WARN ",
                                      "EXP  ", "ERROR", "FATAL"};

namespace {

constexpr std::string_view kTime = "[TM=";
constexpr std::string_view kThread = "] [TH=";
constexpr std::string_view kLevel = "] [LV=";
constexpr std::string_view kFrom = "] [FR=";
constexpr std::string_view kMessage = "] [MG=";
constexpr std::string_view kData = "] [BN=";
constexpr std::string_view kEnd = "]\r\n";
constexpr std::string_view kNull = "NULL";
constexpr size_t kLevelLength = 5;
constexpr size_t kMaxIdLength = 11;

char* Append(char* out, std::string_view piece) {
  memcpy(out, piece.data(), piece.size());
  return out + piece.size();
}

// The text of each byte: two digits, a blank, and a NUL that the next byte
// overwrites.
struct DumpTable {
  char entries[256][4] = {};
  constexpr DumpTable() {
    constexpr char kDigits[] = "0123456789ABCDEF";
    for (unsigned byte = 0; byte < 256; ++byte) {
      entries[byte][0] = kDigits[byte >> 4U];
      entries[byte][1] = kDigits[byte & 15U];
      entries[byte][2] = ' ';
    }
  }
};
constexpr DumpTable kDump;

}  // namespace

LogText::LogText(const char* text)
    : text_(text), length_(strcspn(text, "\r\n")) {
  for (; text[length_]; ++length_) {
    line_ends_ += text[length_] == '\n' || text[length_] == '\r';
  }
}

char* LogText::AppendTo(char* out) const {
  if (line_ends_ == 0) return Append(out, {text_, length_});
  for (size_t i = 0; i < length_; ++i) {
    const char c = text_[i];
    if (c == '\n') {
      out = Append(out, "\\n");
    } else if (c == '\r') {
      out = Append(out, "\\r");
    } else {
      *out++ = c;
    }
  }
  return out;
}

char* DumpBytes(const unsigned char* data, size_t size, char* out) {
  for (size_t i = 0; i < size; ++i) {
    memcpy(out, kDump.entries[data[i]], 4);
    out += 3;
  }
  *out = '\0';
  return out;
}

LogRecord::LogRecord(uint32_t thread_id, LogLevel level, const char* from,
                     const char* msg, const unsigned char* data,
                     unsigned int size) {
  const LogText from_text(from ? from : kNull.data());
  const LogText msg_text(msg ? msg : kNull.data());
  const size_t dumped = data ? std::min(size, kMaxData) : 0;
  Reserve(kTime.size() + kTimeLength + kThread.size() + kMaxIdLength +
          kLevel.size() + kLevelLength + kFrom.size() + from_text.Length() +
          kMessage.size() + msg_text.Length() + kData.size() +
          std::max(3 * dumped, kNull.size()) + kEnd.size());

  char* out = Append(text_, kTime) + kTimeLength;
  out = Append(out, kThread);
  out = std::to_chars(out, out + kMaxIdLength, static_cast<int32_t>(thread_id))
            .ptr;
  out = Append(out, kLevel);
  out = Append(out, {loglevel_text[level], kLevelLength});
  out = Append(out, kFrom);
  out = from_text.AppendTo(out);
  out = Append(out, kMessage);
  out = msg_text.AppendTo(out);
  out = Append(out, kData);
  out = dumped > 0 ? DumpBytes(data, dumped, out) : Append(out, kNull);
  out = Append(out, kEnd);
  size_ = static_cast<uint32_t>(out - text_);
}

void LogRecord::Reserve(size_t size) {
  if (size <= sizeof room_) return;
  if (size > UINT32_MAX) throw std::length_error("log record");
  heap_ = std::unique_ptr<char[]>(new char[size]);
  text_ = heap_.get();
}

void LogRecord::SetTime(const char* time) {
  memcpy(text_ + kTime.size(), time, kTimeLength);
}

std::string CQuorlLogger::ConvertToLogText(const char* text) {
  const LogText line(text);
  std::string out(line.Length(), '\0');
  line.AppendTo(out.data());
  return out;
}

void CQuorlLogger::ConvertToHexString(const unsigned char* data,
                                      unsigned int size, std::string& out) {
  out.clear();
  out.reserve(size_t{4} * size);
  out.resize(size_t{3} * size);
  DumpBytes(data, size, out.data());
}

}  // namespace QuorlBased
