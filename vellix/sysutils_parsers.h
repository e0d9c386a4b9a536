// Small parsers: command lines, wildcard masks, names with values; and the
// making of identifiers.
//
// The functions keep no state, leave the calling thread's failure record as it
// was, and may be called from any thread. Where there is no memory for a result
// they throw std::bad_alloc.
#ifndef VELLIX_SYSUTILS_PARSERS_H_
#define VELLIX_SYSUTILS_PARSERS_H_

#include <cstdint>
#include <list>
#include <string>

namespace QuorlBased {

// Replaces `args` by the arguments of `commandLine`, up to its first NUL, and
// returns their number. Blanks separate, nothing else does. A quote at the
// start of an argument opens it and a quote before a blank or the end closes
// it; any other quote belongs to the argument. A backslash before a quote or
// backslash makes it an ordinary byte; before any other byte it is itself one,
// at the end it is dropped. An argument that is never closed ends with the
// text.
//
//   parse_cmd_line(R"(tool "two words" a\"b "")", args)  // 4
int32_t parse_cmd_line(const std::string& commandLine,
                       std::list<std::string>& args);

// Whether all of `text` matches all of `mask`: '*' takes any run of bytes, also
// none, '?' takes one byte, and any other byte takes one that has the same
// toupper in the calling thread's current locale. There is no escape character.
// A null argument counts as the empty text. Allocates nothing; at worst the
// time grows with the product of both lengths.
bool StrMatch(const char* text, const char* mask);

// Splits `text` at the first `separator` into what stands before it and what
// stands behind it. False when there is none or it stands at the beginning, as
// an empty one does; `name` and `value` are then as they were.
//
//   GetNameValue("path=/a=b", "=", name, value)  // "path", "/a=b"
bool GetNameValue(const std::string& text, const std::string& separator,
                  std::string& name, std::string& value);

// A new random identifier: version 4 of RFC 9562, 36 characters in lower case.
// Throws what std::random_device throws when the system has no random bytes.
std::string CreateGUIDString();

}  // namespace QuorlBased

#endif  // VELLIX_SYSUTILS_PARSERS_H_
