#include "vellix/sysutils_strings.h"

#include <strings.h>

#include <algorithm>
#include <array>
#include <cstdio>
#include <cstring>

#include "vellix/res_keeper.h"
#include "vellix/sysutils_search.h"
#include "vellix/text_or_empty.h"

namespace QuorlBased {
namespace {

constexpr size_t kFormatBuffer = 256;  // the terminating NUL included

// A pointer, so that the compiler does not ask for a literal format.
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

// "00" to "99".
constexpr std::array<std::array<char, 2>, 100> MakePairs() {
  std::array<std::array<char, 2>, 100> pairs{};
  for (unsigned i = 0; i < pairs.size(); ++i) {
    pairs[i] = {static_cast<char>('0' + i / 10),
                static_cast<char>('0' + i % 10)};
  }
  return pairs;
}
constexpr auto kPairs = MakePairs();

// The bytes of `s` before its first NUL.
size_t TextLength(const std::string& s) { return strlen(s.c_str()); }

// The text of the `n` bytes at `bytes`, up to their first NUL.
std::string CutOut(const char* bytes, uint32_t n) {
  ResKeeper keeper;
  char* block = static_cast<char*>(keeper.Alloc(uint64_t{n} + 1));
  memcpy(block, bytes, n);
  block[n] = '\0';
  return block;
}

// The end of the bytes from `begin` to `end` without the trailing ones that are
// in `set`.
const char* TrimmedEnd(const char* begin, const char* end, const ByteSet& set) {
  while (end != begin && set.Has(end[-1])) --end;
  return end;
}

// The start of the text up to `end` without the leading bytes that are in
// `set`.
const char* TrimmedBegin(const char* begin, const char* end,
                         const ByteSet& set) {
  while (begin != end && set.Has(*begin)) ++begin;
  return begin;
}

// A copy of `s` in which the letters from `first` to `last`, up to its first
// NUL, have the other case.
std::string WithoutCase(const std::string& s, char first, char last) {
  constexpr char kCaseBit = 'a' - 'A';
  std::string result = s;
  char* text = result.data();
  const size_t length = strlen(text);
  for (size_t i = 0; i < length; ++i) {
    const char c = text[i];
    text[i] = static_cast<char>(c ^ (c >= first && c <= last ? kCaseBit : 0));
  }
  return result;
}

}  // namespace

std::string IntToStr(int32_t value) {
  uint32_t left = value < 0 ? 0U - static_cast<uint32_t>(value)
                            : static_cast<uint32_t>(value);
  size_t length = value < 0 ? 2 : 1;
  for (uint64_t power = 10; power <= left; power *= 10) ++length;
  std::string text(length, '-');
  char* begin = text.data() + length;
  // Two digits at a time, the last ones first.
  for (; left >= 100; left /= 100) {
    begin -= 2;
    memcpy(begin, &kPairs[left % 100], 2);
  }
  if (left >= 10) {
    memcpy(begin - 2, &kPairs[left], 2);
  } else {
    begin[-1] = static_cast<char>('0' + left);
  }
  return text;
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

std::string Format(const char* fmt, ...) {
  va_list args;
  va_start(args, fmt);
  std::string text = vformat(TextOrEmpty(fmt), args);
  va_end(args);
  return text;
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
  const size_t left = s.size() - pos;
  const size_t length = strnlen(text, n < left ? size_t{n} + 1 : left);
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
  const size_t position = ForwardSearch(s, start, pattern).Next(start);
  return position == std::string::npos ? -1 : static_cast<int32_t>(position);
}

int32_t StrRPos(const std::string& s, uint32_t start,
                const std::string& pattern) {
  if (pattern.empty() || pattern.size() > s.size()) return -1;
  const SearchPattern wanted(pattern);
  const char* text = s.data();
  // The candidates are those before `end`.
  size_t end = std::min(size_t{start}, s.size() - pattern.size()) + 1;
  for (; end >= SearchPattern::kWindow; end -= SearchPattern::kWindow) {
    const char* window = text + end - SearchPattern::kWindow;
    for (uint64_t bits = wanted.Window(window); bits != 0;) {
      const int highest = 63 - __builtin_clzll(bits);
      bits ^= uint64_t{1} << highest;
      if (wanted.StandsAt(window + highest)) {
        return static_cast<int32_t>(window + highest - text);
      }
    }
  }
  while (end-- > 0) {
    if (wanted.StandsAt(text + end)) return static_cast<int32_t>(end);
  }
  return -1;
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

std::string LowerCase(const std::string& s) { return WithoutCase(s, 'A', 'Z'); }

std::string UpperCase(const std::string& s) { return WithoutCase(s, 'a', 'z'); }

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
