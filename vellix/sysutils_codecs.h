// Bytes as text and back: Base64 and hexadecimal.
//
// The functions keep no state, leave the calling thread's failure record as it
// was, and may be called from any thread. Input text is never rejected. They
// throw std::bad_alloc if there is no memory for a result.
#ifndef VELLIX_SYSUTILS_CODECS_H_
#define VELLIX_SYSUTILS_CODECS_H_

#include <cstdint>
#include <string>

namespace QuorlBased {

// Replaces `out` by the Base64 of the `size` bytes at `data`, with padding and
// in one line (RFC 4648, section 4). `size` must not be negative; `data` may
// lie in `out`.
//
// Failure: throws kOutOfMemory "No enough memory", as a CBaseException; `out`
// is then as it was.
void base64_encode(unsigned char* data, int32_t size, std::string& out);

// Replaces `out` by the bytes that the Base64 text of `size` characters at
// `data` encodes. It is read in groups of four characters; 1 to 3 characters
// after the last whole group are ignored. Nothing is skipped: a character
// outside the alphabet, even a line end, takes a position in its group and
// repeats the value of that position in the group before, 0 in the first group.
// Only an '=' at the end of the last group shortens the result. `size` must not
// be negative; `data` may lie in `out`.
//
// Failure: throws kOutOfMemory "No enough memory", as a CBaseException; `out`
// is then as it was.
void base64_decode(const unsigned char* data, int32_t size, std::string& out);

// The value of the digit '0' to '9' or 'a' to 'f'; 0xFF for anything else,
// including 'A' to 'F'.
uint8_t chr2hex(char c);

// Decodes each two digits of `hex`, up to its first NUL, into one byte.
// Replaces `out` by the bytes and returns their number. Converts `hex` to lower
// case, even if it throws std::bad_alloc. For an odd number of digits it
// returns 0 and leaves `out` unchanged. A character that is not a digit counts
// as 0xFF: a pair is (first * 16 + second) modulo 256.
uint32_t hex2bin(std::string& hex, std::string& out);

// Replaces `out` by the decoded digits of `hex` and returns its length. Bytes
// of `seps` are separators; a piece with an odd number of digits adds nothing.
// A null `hex` counts as the empty text; `hex` may lie in `out`.
//
//   HexToBin(out, "0a ff", " ")  // 2
uint32_t HexToBin(std::string& out, const char* hex, const std::string& seps);

// The `size` bytes at `data` as two upper-case digits each, every pair followed
// by `separator`. The separator ends at its first NUL and is cut at 253
// characters.
//
// Failure: throws kNullPointer "Bad pointer" for a null `data`, as a
// CBaseException, even for a `size` of 0; std::length_error if a 32-bit system
// cannot hold the text.
std::string BinaryToHexString(void* data, uint32_t size,
                              const std::string& separator);

}  // namespace QuorlBased

#endif  // VELLIX_SYSUTILS_CODECS_H_
