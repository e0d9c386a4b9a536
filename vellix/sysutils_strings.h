// Text functions: number conversion, formatting, cutting, searching, replacing
// and splitting.
//
// A text is bytes with a length. Positions and counts are in bytes, the first
// byte has position 0, and only the 26 ASCII letters have case, except in the
// two comparisons, which follow the locale. A set of characters is a text of
// single bytes in any order; it ends at its first NUL and never contains NUL. A
// null `const char*` counts as the empty text.
//
// The functions keep no state, leave the calling thread's failure record as it
// was, and may be called from any thread. They throw std::bad_alloc if there is
// no memory for a result.
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

// The common part of Format and vformat; callers use those.
std::string FormatArguments(const char* fmt, ...);

}  // namespace detail

// The decimal digits of `value`, with a leading minus sign when it is negative.
std::string IntToStr(int32_t value);

// What scanf's "%d" makes of the beginning of `s`: white space is skipped, a
// sign is accepted, and what follows the digits is ignored. 0 without a number;
// a value that does not fit gives a platform-dependent result.
int32_t StrToInt(const std::string& s);

// The value of a text of digits only, modulo 2^32. 0 for the empty text and for
// a text with any other byte, including a sign or a blank.
int32_t ascii_to_integer(const char* s);

// printf into at most 255 characters; a longer text is cut. Empty if the
// platform cannot format it. As with printf, `args` must fit `fmt`: the
// compiler checks it (-Wformat) where `fmt` is a literal.
//
//   Format("%s:%d", file.c_str(), line)  // "conn.cpp:42"
__attribute__((format(printf, 1, 2))) std::string Format(const char* fmt, ...);

// Format with a format composed at run time. Arguments other than numbers and
// pointers do not compile.
template <typename Text, typename... Args,
          typename = std::enable_if_t<
              std::is_convertible_v<const Text&, std::string> &&
              !std::is_convertible_v<const Text&, const char*>>>
VELLIX_HIDDEN std::string Format(const Text& fmt, Args... args) {
  static_assert((std::is_scalar_v<Args> && ...),
                "pass numbers and pointers: a text goes in as its c_str()");
  return detail::FormatArguments(std::string(fmt).c_str(), args...);
}

// Format for an argument list; `args` is afterwards as after vprintf.
std::string vformat(std::string fmt, va_list args);

// The first or last `n` bytes of `s`, or all of it if it is not longer. A part
// ends at its first NUL; a whole text keeps its NULs.
//
// Failure: throws kOutOfMemory "No enough memory", as a CBaseException.
std::string LeftStr(const std::string& s, uint32_t n);
std::string RightStr(const std::string& s, uint32_t n);

// At most `n` bytes of `s` from position `pos` on, up to the first NUL there.
// Empty if `pos` is at or beyond the end; `n` of 0xFFFFFFFF takes the rest.
//
// Failure: throws kOutOfMemory "No enough memory", as a CBaseException.
std::string SubStr(const std::string& s, uint32_t pos, uint32_t n);

// `s` up to its first NUL, without the leading bytes that are in `set`.
std::string TrimLeft(const std::string& s, const std::string& set);

// `s`, its NULs included, without the trailing bytes that are in `set`.
std::string TrimRight(const std::string& s, const std::string& set = " \r\n");

// `s` up to its first NUL, without the bytes of `set` at both ends.
std::string Trim(const std::string& s, const std::string& set = " \r\n");

// The position in `s` of the first `pattern` that begins at or after `start`;
// -1 if there is none, and for an empty pattern. NULs are bytes like any other.
//
//   StrPos("abcabc", 2, "bc")  // 4
int32_t StrPos(const std::string& s, uint32_t start,
               const std::string& pattern);

// The position in `s` of the last `pattern` that begins at or before `start`;
// it may reach past `start`. -1 if there is none, and for an empty pattern. A
// `start` of 0xFFFFFFFF searches the whole text.
int32_t StrRPos(const std::string& s, uint32_t start,
                const std::string& pattern);

// `s` with every `from` replaced by `to`, from left to right in one pass:
// replaced text is not searched again. The text after the last `from` ends at
// its first NUL; without any `from` the result is `s` up to its first NUL. With
// an empty `from` it is all of `s`. Defined in sysutils_replace.cpp.
std::string StrReplace(const std::string& s, const std::string& from,
                       const std::string& to);

// The pieces of `s`, up to its first NUL, between bytes of `seps`, in order.
// Empty pieces are left out.
//
//   StrSplit("a,,b", ",")  // "a", "b"
std::list<std::string> StrSplit(const std::string& s, const std::string& seps);

// A copy of `s` with the ASCII letters up to its first NUL converted.
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
