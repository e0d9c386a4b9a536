// Bytes as hexadecimal digits: internal to the codecs and to the dumps of the
// logger.
#ifndef VELLIX_SYSUTILS_HEX_H_
#define VELLIX_SYSUTILS_HEX_H_

#include <array>
#include <cstddef>

namespace QuorlBased {

constexpr char UpperDigit(unsigned value) {
  return static_cast<char>(value + '0' + (value > 9 ? 'A' - '0' - 10 : 0));
}

// The two digits of each byte.
constexpr std::array<std::array<char, 2>, 256> MakeHexPairs() {
  std::array<std::array<char, 2>, 256> table{};
  for (unsigned byte = 0; byte < table.size(); ++byte) {
    table[byte] = {UpperDigit(byte >> 4), UpperDigit(byte & 15)};
  }
  return table;
}
inline constexpr auto kHexPairs = MakeHexPairs();

// Writes two upper-case digits and `separator` for each byte to `to`, and at
// most one byte more. Returns the end.
char* WriteHex(const unsigned char* from, size_t size, char separator,
               char* to);

}  // namespace QuorlBased

#endif  // VELLIX_SYSUTILS_HEX_H_
