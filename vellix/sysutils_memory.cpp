#include "vellix/sysutils_memory.h"

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <cstring>

namespace {

// The header in front of an aligned block. With an odd alignment its address is
// odd: copy it, do not point to it.
struct Header {
  uint32_t pad;   // from the end of the first 8 bytes of the malloc block
  uint32_t size;  // as asked for
};
static_assert(sizeof(Header) == 8);

Header HeaderOf(const void* block) {
  Header header;
  memcpy(&header, static_cast<const char*>(block) - sizeof header,
         sizeof header);
  return header;
}

}  // namespace

void* _aligned_malloc(unsigned size, unsigned alignment) {
  if (alignment == 0) alignment = 1;
  const uint64_t total = uint64_t{size} + alignment + sizeof(Header);
  if (total > PTRDIFF_MAX) return nullptr;
  auto* start = static_cast<char*>(malloc(static_cast<size_t>(total)));
  if (!start) return nullptr;
  char* base = start + sizeof(Header);
  const auto remainder =
      static_cast<uint32_t>(reinterpret_cast<uintptr_t>(base) % alignment);
  const Header header{remainder == 0 ? 0 : alignment - remainder, size};
  char* block = base + header.pad;
  memcpy(block - sizeof header, &header, sizeof header);
  return block;
}

void* _aligned_realloc(void* block, unsigned size, unsigned alignment) {
  void* moved = _aligned_malloc(size, alignment);
  if (block && moved) {
    memcpy(moved, block, std::min(size, HeaderOf(block).size));
  }
  _aligned_free(block);
  return moved;
}

void _aligned_free(void* block) {
  if (!block) return;
  free(static_cast<char*>(block) - sizeof(Header) - HeaderOf(block).pad);
}
