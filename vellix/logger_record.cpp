#include "vellix/logger_record.h"

#include <endian.h>

#include <stdexcept>

namespace QuorlBased {

const char* const loglevel_text[6] = {"DEBUG", "INFO ", "WARN ",
                                      "EXP  ", "ERROR", "FATAL"};

namespace {

bool IsLineEnd(char c) { return c == '\n' || c == '\r'; }

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

// An entry as a number, its first character the low byte.
uint64_t DumpEntry(unsigned char byte) {
  uint32_t entry = 0;
  memcpy(&entry, kDump.entries[byte], sizeof entry);
  return le32toh(entry);
}

}  // namespace

size_t LogText::EscapedLength() const {
  size_t length = length_;
  for (size_t i = 0; i < length_; ++i) length += IsLineEnd(text_[i]);
  return length;
}

char* LogText::AppendEscaped(char* out) const {
  for (size_t i = 0; i < length_; ++i) {
    const char c = text_[i];
    if (IsLineEnd(c)) {
      *out++ = '\\';
      *out++ = c == '\n' ? 'n' : 'r';
    } else {
      *out++ = c;
    }
  }
  return out;
}

char* DumpBytes(const unsigned char* data, size_t size, char* out) {
  // Two bytes in one store, as long as others overwrite the NULs behind them.
  for (; size > 2; size -= 2, data += 2, out += 6) {
    const uint64_t text =
        htole64(DumpEntry(data[0]) | DumpEntry(data[1]) << 24U);
    memcpy(out, &text, sizeof text);
  }
  for (; size > 0; --size, ++data, out += 3) {
    memcpy(out, kDump.entries[*data], 4);
  }
  *out = '\0';
  return out;
}

void LogRecord::ReserveOnHeap(size_t size) {
  if (size > UINT32_MAX) throw std::length_error("log record");
  heap_.reset(new char[size]);
  text_ = heap_.get();
}

void LogRecord::ComposeEscaped(const LogFields& fields, const LogText& from,
                               const LogText& msg, size_t dumped) {
  Compose<&LogText::AppendEscaped>(fields, from, msg, dumped);
}

std::string CQuorlLogger::ConvertToLogText(const char* text) {
  const LogText line(text);
  std::string out(line.EscapedLength(), '\0');
  line.AppendEscaped(out.data());
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
