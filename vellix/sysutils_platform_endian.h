// Numbers whose bytes lie in memory in a given order: from a number of the
// system's own order, and back. By what the compiler knows, because <endian.h>
// is not on every system. Internal.
#ifndef VELLIX_SYSUTILS_PLATFORM_ENDIAN_H_
#define VELLIX_SYSUTILS_PLATFORM_ENDIAN_H_

#include <cstdint>

namespace QuorlBased {

constexpr bool kIsLittleEndian = __BYTE_ORDER__ == __ORDER_LITTLE_ENDIAN__;

constexpr uint16_t LittleEndian16(uint16_t bits) {
  return kIsLittleEndian ? bits : __builtin_bswap16(bits);
}

constexpr uint64_t LittleEndian64(uint64_t bits) {
  return kIsLittleEndian ? bits : __builtin_bswap64(bits);
}

constexpr uint64_t BigEndian64(uint64_t bits) {
  return kIsLittleEndian ? __builtin_bswap64(bits) : bits;
}

}  // namespace QuorlBased

#endif  // VELLIX_SYSUTILS_PLATFORM_ENDIAN_H_
