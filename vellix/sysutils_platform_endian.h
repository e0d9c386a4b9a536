// Conversion between native and fixed byte order. By compiler built-ins,
// because not every system has <endian.h>. Internal.
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
