#include "vellix/sysutils_strings.h"

#include <strings.h>

#include <algorithm>
#include <charconv>
#include <cstdio>
#include <cstring>

#include "vellix/res_keeper.h"

namespace QuorlBased {
namespace {

constexpr size_t kFormatBuffer = 256;  // the terminating NUL included

// Called through a pointer: a format that is only known at run time is what
// the callers here are for.
constexpr int (*kPrint)(char*, size_t, const char*, va_list) = vsnprintf;

// The bytes of a set of characters.
class ByteSet {
 public:
  explicit ByteSet(const std::string& set) {
    for (const char* c = set.c_str(); *c != '\0'; ++c) {
      const auto byte = static_cast<unsigned char>(*c);
      bits_[byte / 64] |= uint64_t{1} << byte % 64;
    }
  }

  bool Has(char c) const {
    const auto byte = static_cast<unsigned char>(c);
    return (bits_[byte / 64] >> byte % 64 & 1) != 0;
  }

 private:
  uint64_t bits_[4] = {};
};

const char* TextOrEmpty(const char* text) { return text ? text : ""; }

// The bytes of `s` before its first NUL.
size_t TextLength(const std::string& s) { return strlen(s.c_str()); }

// The text of the `n` bytes at `bytes`, up to their first NUL.
std::string CutOut(const char* bytes, uint32_t n) {
  ResKeeper keeper;
  char* block = static_cast<char*>(keeper.Alloc(size_t{n} + 1));
  memcpy(block, bytes, n);
  block[n] = '\0';
  return block;
}

// The end of the bytes from `begin` to `end` without those of `set` behind.
const char* TrimmedEnd(const char* begin, const char* end, const ByteSet& set) {
  while (end != begin && set.Has(end[-1])) --end;
  return end;
}

// The start of the text up to `end` without the bytes of `set` before it.
const char* TrimmedBegin(const char* begin, const char* end,
                         const ByteSet& set) {
  while (begin != end && set.Has(*begin)) ++begin;
  return begin;
}

}  // namespace

std::string IntToStr(int32_t value) {
  char digits[11];  // "-2147483648"
  const auto result = std::to_chars(digits, digits + sizeof(digits), value);
  return std::string(digits, result.ptr);
}

int32_t StrToInt(const std::string& s) {
  int value = 0;
  return sscanf(s.c_str(), "%d", &value) == 1 ? value : 0;
}

int32_t ascii_to_integer(const char* s) {
  uint32_t value = 0;
  for (s = TextOrEmpty(s); *s != '\0'; ++s) {
    if (*s < '0' || *s > '9') return 0;
    value = value * 10 + static_cast<uint32_t>(*s - '0');
  }
  return static_cast<int32_t>(value);
}

std::string vformat(std::string fmt, va_list args) {
  char buffer[kFormatBuffer];
  const int length = kPrint(buffer, sizeof(buffer), fmt.c_str(), args);
  if (length < 0) return {};
  return {buffer, std::min(static_cast<size_t>(length), sizeof(buffer) - 1)};
}

std::string detail::FormatArguments(const char* fmt, ...) {
  va_list args;
  va_start(args, fmt);
  std::string text = vformat(fmt, args);
  va_end(args);
  return text;
}

std::string LeftStr(const std::string& s, uint32_t n) {
  if (s.size() <= n) return s;
  return CutOut(s.data(), n);
}

std::string RightStr(const std::string& s, uint32_t n) {
  if (s.size() <= n) return s;
  return CutOut(s.data() + s.size() - n, n);
}

std::string SubStr(const std::string& s, uint32_t pos, uint32_t n) {
  if (pos >= s.size()) return {};
  const char* text = s.c_str() + pos;
  const size_t length = strnlen(text, size_t{n} + 1);
  if (length <= n) return {text, length};
  return CutOut(text, n);
}

std::string TrimLeft(const std::string& s, const std::string& set) {
  const char* end = s.c_str() + TextLength(s);
  return {TrimmedBegin(s.c_str(), end, ByteSet(set)), end};
}

std::string TrimRight(const std::string& s, const std::string& set) {
  const char* begin = s.data();
  return {begin, TrimmedEnd(begin, begin + s.size(), ByteSet(set))};
}

std::string Trim(const std::string& s, const std::string& set) {
  const ByteSet bytes(set);
  const char* end = s.c_str() + TextLength(s);
  const char* begin = TrimmedBegin(s.c_str(), end, bytes);
  return {begin, TrimmedEnd(begin, end, bytes)};
}

int32_t StrPos(const std::string& s, uint32_t start,
               const std::string& pattern) {
  if (pattern.empty()) return -1;
  const size_t position = s.find(pattern, start);
  return position == std::string::npos ? -1 : static_cast<int32_t>(position);
}

int32_t StrRPos(const std::string& s, uint32_t start,
                const std::string& pattern) {
  if (pattern.empty()) return -1;
  const size_t position = s.rfind(pattern, start);
  return position == std::string::npos ? -1 : static_cast<int32_t>(position);
}

std::string StrReplace(const std::string& s, const std::string& from,
                       const std::string& to) {
  if (from.empty()) return s;
  std::string result;
  size_t read = 0;
  for (;;) {
    const size_t position = s.find(from, read);
    if (position == std::string::npos) break;
    result.append(s, read, position - read);
    result.append(to);
    read = position + from.size();
  }
  return result.append(s.c_str() + read);
}

std::list<std::string> StrSplit(const std::string& s, const std::string& seps) {
  const ByteSet separators(seps);
  std::list<std::string> pieces;
  const char* end = s.c_str() + TextLength(s);
  const char* piece = s.c_str();
  for (const char* c = piece; c != end; ++c) {
    if (!separators.Has(*c)) continue;
    if (c != piece) pieces.emplace_back(piece, c);
    piece = c + 1;
  }
  if (piece != end) pieces.emplace_back(piece, end);
  return pieces;
}

std::string LowerCase(const std::string& s) {
  std::string result = s;
  const size_t length = TextLength(s);
  for (size_t i = 0; i < length; ++i) {
    const char c = result[i];
    result[i] = c >= 'A' && c <= 'Z' ? static_cast<char>(c + ('a' - 'A')) : c;
  }
  return result;
}

std::string UpperCase(const std::string& s) {
  std::string result = s;
  const size_t length = TextLength(s);
  for (size_t i = 0; i < length; ++i) {
    const char c = result[i];
    result[i] = c >= 'a' && c <= 'z' ? static_cast<char>(c - ('a' - 'A')) : c;
  }
  return result;
}

int32_t strCaseInsensitiveCompare(const char* left, const char* right) {
  return strcasecmp(TextOrEmpty(left), TextOrEmpty(right));
}

int32_t strNCaseInsensitiveCompare(const char* left, const char* right,
                                   uint32_t n) {
  return strncasecmp(TextOrEmpty(left), TextOrEmpty(right), n);
}

std::string utf8_to_local(const char* text) { return TextOrEmpty(text); }

std::string local_to_utf8(const char* text) { return TextOrEmpty(text); }

}  // namespace QuorlBased
