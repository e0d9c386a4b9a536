// Small parsers for command lines, wildcard masks and name-value pairs; and a
// generator of identifiers.
//
// The functions keep no state, leave the calling thread's failure record as it
// was, and may be called from any thread. They throw std::bad_alloc if there is
// no memory for a result.
#ifndef VELLIX_SYSUTILS_PARSERS_H_
#define VELLIX_SYSUTILS_PARSERS_H_

#include <cstdint>
#include <list>
#include <string>

namespace QuorlBased {

// Replaces `args` by the arguments of `commandLine`, up to its first NUL, and
// returns their number. Only blanks separate. A quote at the start of an
// argument opens it, and a quote before a blank or the end closes it; any other
// quote belongs to the argument. A backslash makes a following quote or
// backslash an ordinary byte; before any other byte it is itself one, at the
// end it is dropped. An argument that is not closed ends with the text.
//
//   parse_cmd_line(R"(tool "two words" a\"b "")", args)  // 4
int32_t parse_cmd_line(const std::string& commandLine,
                       std::list<std::string>& args);

// Whether `text` as a whole matches `mask`: '*' matches any number of bytes,
// '?' one byte, and any other byte one with the same toupper in the calling
// thread's current locale. There is no escape character. A null argument counts
// as the empty text. Allocates nothing; the worst-case time grows with the
// product of both lengths.
bool StrMatch(const char* text, const char* mask);

// Splits `text` at the first `separator` into `name` and `value`. False if
// there is none or it is at the beginning, as an empty one is; `name` and
// `value` are then unchanged.
//
//   GetNameValue("path=/a=b", "=", name, value)  // "path", "/a=b"
bool GetNameValue(const std::string& text, const std::string& separator,
                  std::string& name, std::string& value);

// A new random identifier: version 4 of RFC 9562, 36 characters in lower case.
// Throws what std::random_device throws if the system has no random bytes. May
// be a cancellation point.
std::string CreateGUIDString();

}  // namespace QuorlBased

#endif  // VELLIX_SYSUTILS_PARSERS_H_
