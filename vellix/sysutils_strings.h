// Composing and taking apart text: numbers in and out, formatting, cutting,
// searching, replacing and splitting.
//
// A text is bytes with a length. Positions and counts are bytes, the first byte
// has position 0, and only the 26 ASCII letters have case, except in the two
// comparisons, which follow the locale. A set of characters is a text of single
// bytes in any order; it ends at its first NUL, and a NUL is in no set. A null
// `const char*` counts as the empty text.
//
// The functions keep no state, leave the calling thread's failure record as it
// was, and may be called from any thread. Where there is no memory for a result
// they throw std::bad_alloc.
#ifndef VELLIX_SYSUTILS_STRINGS_H_
#define VELLIX_SYSUTILS_STRINGS_H_

#include <cstdarg>
#include <cstdint>
#include <list>
#include <string>
#include <type_traits>

#include "vellix/visibility.h"

namespace QuorlBased {

namespace detail {

// What Format and vformat have in common; callers use those.
std::string FormatArguments(const char* fmt, ...);

}  // namespace detail

// The decimal digits of `value`, with a leading minus sign when it is negative.
std::string IntToStr(int32_t value);

// What scanf's "%d" makes of the beginning of `s`: white space is skipped, a
// sign is accepted, and what follows the digits is ignored. 0 without a number;
// what does not fit is the platform's.
int32_t StrToInt(const std::string& s);

// The value of a text of digits alone, modulo 2^32. 0 for the empty text and
// for a text with any other byte, a sign and a blank too.
int32_t ascii_to_integer(const char* s);

// printf into at most 255 characters; a longer text is cut. The empty text when
// the platform cannot format. As with printf, `args` must fit `fmt`: the
// compiler checks it (-Wformat) where `fmt` is a literal.
//
//   Format("%s:%d", file.c_str(), line)  // "conn.cpp:42"
__attribute__((format(printf, 1, 2))) std::string Format(const char* fmt, ...);

// Format with a format that is put together at run time. An argument that is no
// number and no pointer does not compile.
template <typename Text, typename... Args,
          typename = std::enable_if_t<
              std::is_convertible_v<const Text&, std::string> &&
              !std::is_convertible_v<const Text&, const char*>>>
VELLIX_HIDDEN std::string Format(const Text& fmt, Args... args) {
  static_assert((std::is_scalar_v<Args> && ...),
                "pass numbers and pointers: a text goes in as its c_str()");
  return detail::FormatArguments(std::string(fmt).c_str(), args...);
}

// Format for an argument list; what `args` holds afterwards is as after
// vprintf.
std::string vformat(std::string fmt, va_list args);

// The first or last `n` bytes of `s`, or all of it when it has no more. A part
// that is cut out ends at its first NUL; a text that is not cut keeps its NULs.
//
// Failure: throws kOutOfMemory "No enough memory", as a CBaseException.
std::string LeftStr(const std::string& s, uint32_t n);
std::string RightStr(const std::string& s, uint32_t n);

// At most `n` bytes of `s` from position `pos` on, up to the first NUL there.
// Empty when `pos` is at the end or beyond it; 0xFFFFFFFF bytes are the rest.
//
// Failure: throws kOutOfMemory "No enough memory", as a CBaseException.
std::string SubStr(const std::string& s, uint32_t pos, uint32_t n);

// `s` up to its first NUL, without the leading bytes that are in `set`.
std::string TrimLeft(const std::string& s, const std::string& set);

// `s`, its NULs included, without the trailing bytes that are in `set`.
std::string TrimRight(const std::string& s, const std::string& set = " \r\n");

// `s` up to its first NUL, without the bytes of `set` at both ends.
std::string Trim(const std::string& s, const std::string& set = " \r\n");

// The position in `s` of the first `pattern` that begins at `start` or behind
// it; -1 if there is none, and for an empty pattern. NULs are bytes like any
// other.
//
//   StrPos("abcabc", 2, "bc")  // 4
int32_t StrPos(const std::string& s, uint32_t start,
               const std::string& pattern);

// The position in `s` of the last `pattern` that begins at `start` or before
// it; it may reach past `start`. -1 if there is none, and for an empty pattern.
// From 0xFFFFFFFF the whole text is searched.
int32_t StrRPos(const std::string& s, uint32_t start,
                const std::string& pattern);

// `s` with every `from` replaced by `to`, from left to right in one pass: what
// `to` brings in is not searched again. What follows the last `from` ends at
// its first NUL; without any `from` the result is `s` up to its first NUL. With
// an empty `from` it is all of `s`.
std::string StrReplace(const std::string& s, const std::string& from,
                       const std::string& to);

// The pieces of `s`, up to its first NUL, that stand between bytes of `seps`,
// in order. There are no empty pieces.
//
//   StrSplit("a,,b", ",")  // "a", "b"
std::list<std::string> StrSplit(const std::string& s, const std::string& seps);

// A copy of `s` with the ASCII letters up to its first NUL in the one case.
std::string LowerCase(const std::string& s);
std::string UpperCase(const std::string& s);

// strcasecmp and strncasecmp of POSIX, in the calling thread's current locale:
// negative, 0 or positive. The second looks at no more than `n` bytes.
int32_t strCaseInsensitiveCompare(const char* left, const char* right);
int32_t strNCaseInsensitiveCompare(const char* left, const char* right,
                                   uint32_t n);

// A copy of the text: the local encoding is UTF-8.
std::string utf8_to_local(const char* text);
std::string local_to_utf8(const char* text);

}  // namespace QuorlBased

#endif  // VELLIX_SYSUTILS_STRINGS_H_
