#include "vellix/sysutils_codecs.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <string_view>
#include <utility>

#include "vellix/res_keeper.h"
#include "vellix/sysutils_hex.h"
#include "vellix/sysutils_internal.h"
#include "vellix/sysutils_platform_endian.h"
#include "vellix/sysutils_vectors.h"
#include "vellix/text_or_empty.h"

namespace QuorlBased {
namespace {

constexpr char cb64[] =
    "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";

// The 6-bit value of each character from '+' to 'z', plus 62; '$' for one
// outside the alphabet.
constexpr char cd64[] =
    "|$$$}rstuvwxyz{$$$$$$$>?@ABCDEFGHIJKLMNOPQRSTUVW$$$$$$XYZ[\\]^_`"
    "abcdefghijklmnopq";

// The tables below, computed from the two above at compile time, take several
// steps of the algorithms at once.

using Pair = std::array<char, 2>;

// The two characters of 12 bits.
constexpr std::array<Pair, 4096> MakeEncodeTable() {
  std::array<Pair, 4096> table{};
  for (unsigned bits = 0; bits < table.size(); ++bits) {
    table[bits] = {cb64[bits >> 6], cb64[bits & 63]};
  }
  return table;
}
constexpr auto kEncode = MakeEncodeTable();

// The entry of a character outside the alphabet, and a bit of no other entry.
constexpr uint32_t kOutside = 0x80000000;

// A group's 24 bits by character: the sum of one entry per position.
using DecodeTable = std::array<std::array<uint32_t, 256>, 4>;
constexpr DecodeTable MakeDecodeTable() {
  DecodeTable table{};
  for (unsigned position = 0; position < 4; ++position) {
    for (unsigned c = 0; c < 256; ++c) {
      const char entry = c >= '+' && c <= 'z' ? cd64[c - '+'] : '$';
      table[position][c] = entry == '$' ? kOutside
                                        : static_cast<uint32_t>(entry - 62)
                                              << (18 - 6 * position);
    }
  }
  return table;
}
constexpr auto kDecode = MakeDecodeTable();

// The 24 bits of a group, kOutside beside them if a character is outside the
// alphabet.
inline uint32_t GroupBits(const unsigned char* group) {
  return kDecode[0][group[0]] | kDecode[1][group[1]] | kDecode[2][group[2]] |
         kDecode[3][group[3]];
}

// The 24 bits of a group; a character outside the alphabet keeps what the group
// before had at its position. noinline: it would slow down the loop, which
// hardly ever needs it.
[[gnu::noinline]] uint32_t PatchedGroupBits(const unsigned char* group,
                                            uint32_t before) {
  uint32_t bits = 0;
  for (unsigned position = 0; position < 4; ++position) {
    const uint32_t entry = kDecode[position][group[position]];
    const uint32_t mask = 0x3FU << (18 - 6 * position);
    bits |= entry == kOutside ? before & mask : entry;
  }
  return bits;
}

// Eight bytes as a number and back, the first byte the highest.
inline uint64_t LoadBigEndian(const void* from) {
  uint64_t bits = 0;
  memcpy(&bits, from, sizeof(bits));
  return BigEndian64(bits);
}

inline void StoreBigEndian(uint64_t bits, void* to) {
  bits = BigEndian64(bits);
  memcpy(to, &bits, sizeof(bits));
}

// Writes the Base64 text of `left` bytes and returns its end.
char* EncodeGroups(const unsigned char* from, size_t left, char* to) {
  const auto put = [&to](uint64_t bits) {
    memcpy(to, &kEncode[bits & 4095], 2);
    to += 2;
  };
  for (; left >= 14; left -= 12, from += 12) {
    for (const unsigned char* half : {from, from + 6}) {
      const uint64_t bits = LoadBigEndian(half);
      put(bits >> 52);
      put(bits >> 40);
      put(bits >> 28);
      put(bits >> 16);
    }
  }
  for (; left >= 3; left -= 3, from += 3) {
    const uint64_t bits =
        uint64_t{from[0]} << 16 | uint64_t{from[1]} << 8 | from[2];
    put(bits >> 12);
    put(bits);
  }
  if (left > 0) {
    const uint64_t second = left == 2 ? from[1] : 0;
    put(uint64_t{from[0]} << 4 | second >> 4);
    put((second & 15) << 8);
    to[-1] = '=';
    if (left == 1) to[-2] = '=';
  }
  return to;
}

// The 24 bits of the group whose bytes end at `end`.
uint32_t LastGroup(const char* end) {
  const auto byte = [end](int i) {
    return uint32_t{static_cast<unsigned char>(end[i])};
  };
  return byte(-3) << 16 | byte(-2) << 8 | byte(-1);
}

// Writes the bytes of `left` groups, and up to 2 more, and returns their end;
// `before` are the bits of the group before.
char* DecodeGroups(const unsigned char* from, size_t left, char* to,
                   uint32_t before) {
  // Two groups make 6 bytes, stored with 2 that the next ones overwrite.
  for (; left >= 4; left -= 4, from += 16, to += 12) {
    uint32_t a = GroupBits(from);
    uint32_t b = GroupBits(from + 4);
    uint32_t c = GroupBits(from + 8);
    uint32_t d = GroupBits(from + 12);
    if ((a | b | c | d) & kOutside) {
      a = PatchedGroupBits(from, before);
      b = PatchedGroupBits(from + 4, a);
      c = PatchedGroupBits(from + 8, b);
      d = PatchedGroupBits(from + 12, c);
    }
    before = d;
    StoreBigEndian(uint64_t{a} << 40 | uint64_t{b} << 16, to);
    StoreBigEndian(uint64_t{c} << 40 | uint64_t{d} << 16, to + 6);
  }
  for (; left > 0; --left, from += 4) {
    before = PatchedGroupBits(from, before);
    *to++ = static_cast<char>(before >> 16);
    *to++ = static_cast<char>(before >> 8);
    *to++ = static_cast<char>(before);
  }
  return to;
}

// Writes the Base64 text of `size` bytes and returns its length.
size_t EncodeBase64(const unsigned char* from, size_t size, char* to) {
  const size_t done = Vectors().encode_base64(from, size, to);
  char* const rest = to + done / 3 * 4;
  return static_cast<size_t>(EncodeGroups(from + done, size - done, rest) - to);
}

// Writes the bytes of the Base64 text of `groups`, and up to 4 more; `before`
// is that of DecodeGroups.
void DecodeBase64(const unsigned char* from, size_t groups, uint32_t before,
                  char* to) {
  // Where a vector ends early, the tables decode as many groups as it has, so
  // that the next one begins behind what stopped this one; and twice as many
  // each time that vectors get nowhere.
  constexpr size_t kOfVector = 8;
  const VectorPath& vectors = Vectors();
  for (size_t step = 4 * kOfVector; groups > 0;) {
    const size_t done = vectors.decode_base64(from, 4 * groups, to) / 4;
    to += 3 * done;
    if (done > 0) before = LastGroup(to);
    step = done > 0 ? kOfVector : 2 * step;
    const size_t next = std::min(groups - done, step);
    to = DecodeGroups(from + 4 * done, next, to, before);
    if (next > 0) before = LastGroup(to);
    from += 4 * (done + next);
    groups -= done + next;
  }
}

// How many bytes the '=' before `end` take away from the last group.
size_t Padding(const unsigned char* end) {
  if (end[-1] != '=') return 0;
  return end[-2] == '=' ? 2 : 1;
}

// Makes `out` of `length` bytes, to be overwritten, where that takes no memory,
// the bytes at `data` do not lie in it, and it pays: a large result is written
// in half the time if it is not copied.
bool MakeRoom(std::string& out, size_t length, const void* data) {
  constexpr size_t kLarge = 16384;
  const auto offset = reinterpret_cast<uintptr_t>(data) -
                      reinterpret_cast<uintptr_t>(out.data());
  if (length < kLarge || length > out.capacity() || offset <= out.capacity()) {
    return false;
  }
  out.resize(length);
  return true;
}

// The value of a digit in either case, 0xFF for anything else. Without a branch
// or a table, so that compilers vectorise the loop.
constexpr uint8_t DigitValue(char c) {
  const auto decimal = static_cast<uint8_t>(c - '0');
  const auto letter = static_cast<uint8_t>((c | 0x20) - 'a');
  const auto value = static_cast<uint8_t>(letter < 6 ? letter + 10 : 0xFF);
  return decimal < 10 ? decimal : value;
}

// `to` may be `from`.
void DecodePairs(const char* from, size_t bytes, char* to) {
  const size_t done = Vectors().decode_hex(from, 2 * bytes, to) / 2;
  for (size_t i = done; i < bytes; ++i) {
    const int high = DigitValue(from[2 * i]) * 16;
    to[i] = static_cast<char>(high + DigitValue(from[2 * i + 1]));
  }
}

// Writes the two digits of each byte, without a separator. Compilers vectorise
// the loop.
void EncodeDense(const unsigned char* from, size_t size, char* to) {
  const size_t done = Vectors().encode_hex(from, size, to);
  for (size_t i = done; i < size; ++i) {
    to[2 * i] = UpperDigit(from[i] >> 4);
    to[2 * i + 1] = UpperDigit(from[i] & 15);
  }
}

// Writes the digits into a text that has the separators already; `step` is the
// distance from one byte's digits to the next.
void EncodeInto(const unsigned char* from, size_t size, char* to, size_t step) {
  for (size_t i = 0; i < size; ++i, to += step) {
    memcpy(to, &kHexPairs[from[i]], 2);
  }
}

// The text of bytes with a separator behind each, put together in pieces.
class HexChunk {
 public:
  // For up to `most` bytes at once.
  HexChunk(const char* separator, size_t length, size_t most)
      : step_(2 + length), separator_(*separator) {
    if (length <= 1) return;
    memset(text_, '0', 2);
    memcpy(text_ + 2, separator, length);
    const size_t end = std::min(Capacity(), most) * step_;
    for (size_t filled = step_; filled < end; filled *= 2) {
      memcpy(text_ + filled, text_, std::min(filled, end - filled));
    }
  }

  // How many bytes it takes at once.
  size_t Capacity() const { return kSize / step_; }

  // The text of the next `size` bytes at `from`.
  std::string_view Encode(const unsigned char* from, size_t size) {
    switch (step_) {
      case 2:
        EncodeDense(from, size, text_);
        break;
      case 3:
        WriteHex(from, size, separator_, text_);
        break;
      default:
        EncodeInto(from, size, text_, step_);
    }
    return {text_, size * step_};
  }

 private:
  static constexpr size_t kSize = 3072;  // whole vectors of steps 2 and 3

  const size_t step_;
  const char separator_;
  char text_[kSize + 8];
};

}  // namespace

void base64_encode(unsigned char* data, int32_t size, std::string& out) {
  const size_t bytes = size > 0 ? static_cast<size_t>(size) : 0;
  if (MakeRoom(out, (bytes + 2) / 3 * 4, data)) {
    EncodeBase64(data, bytes, out.data());
    return;
  }
  ResKeeper keeper;
  char* work = static_cast<char*>(keeper.Alloc(4 * (bytes / 3) + 5));
  out.assign(work, EncodeBase64(data, bytes, work));
}

void base64_decode(const unsigned char* data, int32_t size, std::string& out) {
  const size_t groups = size > 0 ? static_cast<size_t>(size) / 4 : 0;
  const size_t length =
      groups > 0 ? 3 * groups - Padding(data + 4 * groups) : 0;
  if (MakeRoom(out, length, data)) {
    // The last bytes apart: behind the others lies what is written too far.
    constexpr size_t kTail = 8;
    const size_t front = groups - kTail;
    DecodeBase64(data, front, 0, out.data());
    char tail[4 * kTail];
    DecodeBase64(data + 4 * front, kTail, LastGroup(&out[3 * front]), tail);
    memcpy(&out[3 * front], tail, length - 3 * front);
    return;
  }
  ResKeeper keeper;
  char* work = static_cast<char*>(keeper.Alloc(4 * groups));
  DecodeBase64(data, groups, 0, work);
  out.assign(work, length);
}

uint8_t chr2hex(char c) {
  return c >= 'A' && c <= 'F' ? uint8_t{0xFF} : DigitValue(c);
}

uint32_t hex2bin(std::string& hex, std::string& out) {
  const size_t length = strlen(hex.c_str());
  char* digits = hex.data();
  for (size_t i = 0; i < length; ++i) {
    const char c = digits[i];
    digits[i] = static_cast<char>(c | (c >= 'A' && c <= 'Z' ? 'a' - 'A' : 0));
  }
  if (length % 2 != 0) return 0;
  const size_t bytes = length / 2;
  // Resized before and cut afterwards: hex may be out.
  if (out.size() < bytes) out.resize(bytes);
  DecodePairs(digits, bytes, out.data());
  out.resize(bytes);
  return static_cast<uint32_t>(bytes);
}

uint32_t HexToBin(std::string& out, const char* hex, const std::string& seps) {
  std::string bytes;  // not out yet: hex and seps may lie in it
  size_t length = 0;
  for (const char* piece = TextOrEmpty(hex); *piece != '\0'; piece += length) {
    piece += strspn(piece, seps.c_str());
    length = strcspn(piece, seps.c_str());
    if (length % 2 != 0) continue;
    const size_t before = bytes.size();
    bytes.resize(before + length / 2);
    DecodePairs(piece, length / 2, &bytes[before]);
  }
  out = std::move(bytes);
  return static_cast<uint32_t>(out.size());
}

std::string BinaryToHexString(void* data, uint32_t size,
                              const std::string& separator) {
  if (!data) kSysutils.Raise(kNullPointer, "Bad pointer");
  // The text that Format("%02X%s") makes of each byte, at most 255 characters;
  // calling it for each byte is a hundred times as slow.
  const size_t length = strnlen(separator.c_str(), 253);
  HexChunk chunk(separator.data(), length, size);
  const auto* from = static_cast<const unsigned char*>(data);
  std::string text;
  text.reserve(StringSize(uint64_t{size} * (2 + length)));
  for (size_t left = size; left > 0;) {
    const size_t bytes = std::min(chunk.Capacity(), left);
    text.append(chunk.Encode(from, bytes));
    from += bytes;
    left -= bytes;
  }
  return text;
}

}  // namespace QuorlBased
