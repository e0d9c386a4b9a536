#include "vellix/sysutils_hex.h"

#include <cstdint>
#include <cstring>

#include "vellix/sysutils_platform_endian.h"
#include "vellix/sysutils_vectors.h"

namespace QuorlBased {
namespace {

// Two digits as a number, the first one its low byte.
inline uint64_t PairAsNumber(unsigned char byte) {
  uint16_t pair = 0;
  memcpy(&pair, &kHexPairs[byte], sizeof(pair));
  return LittleEndian16(pair);
}

}  // namespace

char* WriteHex(const unsigned char* from, size_t size, char separator,
               char* to) {
  const size_t done = Vectors().dump_hex(from, size, separator, to);
  from += done;
  size -= done;
  to += 3 * done;
  const uint64_t one = uint64_t{static_cast<unsigned char>(separator)} << 16;
  // Two bytes make 6 characters, stored at once with 2 that the next overwrite.
  for (; size > 2; size -= 2, from += 2, to += 6) {
    const uint64_t text = LittleEndian64(
        one | one << 24 | PairAsNumber(from[0]) | PairAsNumber(from[1]) << 24);
    memcpy(to, &text, sizeof(text));
  }
  for (; size > 0; --size, ++from, to += 3) {
    const uint64_t text = LittleEndian64(one | PairAsNumber(*from));
    memcpy(to, &text, 4);
  }
  return to;
}

}  // namespace QuorlBased
