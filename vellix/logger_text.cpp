#include "vellix/logger_text.h"

#include <endian.h>

#include "vellix/logger.h"
#include "vellix/sysutils_internal.h"

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

void LogText::CountEscapes() {
  escapes_ = 0;
  for (size_t i = 0; i < length_; ++i) escapes_ += IsLineEnd(text_[i]);
}

char* LogText::AppendEscaped(char* out) const {
  const char* const end = out + EscapedLength();
  for (size_t i = 0; i < length_; ++i) {
    const char c = text_[i];
    const ptrdiff_t wanted = IsLineEnd(c) ? 2 : 1;
    if (end - out < wanted) break;  // line ends that came after the count
    if (wanted == 2) *out++ = '\\';
    *out++ = c == '\n' ? 'n' : c == '\r' ? 'r' : c;
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

std::string CQuorlLogger::ConvertToLogText(const char* text) {
  LogText line(text);
  line.CountEscapes();
  std::string out(line.EscapedLength(), '\0');
  out.resize(static_cast<size_t>(line.AppendEscaped(out.data()) - out.data()));
  return out;
}

void CQuorlLogger::ConvertToHexString(const unsigned char* data,
                                      unsigned int size, std::string& out) {
  out.clear();
  out.reserve(StringSize(uint64_t{4} * size));
  out.resize(size_t{3} * size);
  DumpBytes(data, size, out.data());
}

}  // namespace QuorlBased
