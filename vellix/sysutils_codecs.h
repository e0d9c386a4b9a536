// Bytes as text and back: Base64 and hexadecimal.
//
// The functions keep no state, leave the calling thread's failure record as it
// was, and may be called from any thread. Input text is never refused. Where
// there is no memory for a result they throw std::bad_alloc.
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
// `data` stands for. It is read in groups of four characters; 1 to 3 characters
// behind the last whole group are ignored. Nothing is skipped: a character
// outside the alphabet, a line end too, takes up its position and stands there
// for what the group before had, 0 in the first group. Only an '=' at the end
// of the last group shortens the result. `size` must not be negative; `data`
// may lie in `out`.
//
// Failure: throws kOutOfMemory "No enough memory", as a CBaseException; `out`
// is then as it was.
void base64_decode(const unsigned char* data, int32_t size, std::string& out);

// The value of the digit '0' to '9' or 'a' to 'f'; 0xFF for anything else, also
// for 'A' to 'F'.
uint8_t chr2hex(char c);

// Makes one byte of each two digits of `hex`, up to its first NUL, and returns
// their number; `out` is then exactly these bytes. The letters of `hex` become
// lower case, in place, also when it throws std::bad_alloc. For an odd number
// of digits it returns 0 and leaves `out` as it was. A character that is no
// digit counts as 0xFF: a pair is (first * 16 + second) modulo 256.
uint32_t hex2bin(std::string& hex, std::string& out);

// Replaces `out` by the bytes of the digits in `hex` and returns its length.
// Bytes of `seps` separate; a piece with an odd number of digits adds nothing.
// A null `hex` counts as the empty text; `hex` may lie in `out`.
//
//   HexToBin(out, "0a ff", " ")  // 2
uint32_t HexToBin(std::string& out, const char* hex, const std::string& seps);

// The `size` bytes at `data` as two upper-case digits each, each followed by
// `separator`, the last one too. The separator ends at its first NUL and is cut
// at 253 characters.
//
// Failure: throws kNullPointer "Bad pointer" for a null `data`, as a
// CBaseException, also for a `size` of 0; std::length_error when a 32-bit
// system cannot hold the text.
std::string BinaryToHexString(void* data, uint32_t size,
                              const std::string& separator);

}  // namespace QuorlBased

#endif  // VELLIX_SYSUTILS_CODECS_H_
