#include "vellix/logger_text.h"

#include "vellix/logger.h"
#include "vellix/sysutils_hex.h"
#include "vellix/sysutils_internal.h"

namespace QuorlBased {

const char* const loglevel_text[6] = {"DEBUG", "INFO ", "WARN ",
                                      "EXP  ", "ERROR", "FATAL"};

namespace {

bool IsLineEnd(char c) { return c == '\n' || c == '\r'; }

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
  WriteHex(data, size, ' ', out.data());
}

}  // namespace QuorlBased
