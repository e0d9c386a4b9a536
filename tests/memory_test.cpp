#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <numeric>
#include <string>

#include "vellix/sysutils_memory.h"

namespace {

bool no_memory = false;
size_t asked = 0;

}  // namespace

extern "C" void* __real_malloc(size_t size);
extern "C" void* __wrap_malloc(size_t size) {
  asked = size;
  return no_memory ? nullptr : __real_malloc(size);
}

TEST(AlignedMemory, MovesToAnyAlignmentAndKeepsWhatBothHold) {
  std::string bytes(300, '\0');
  std::iota(bytes.begin(), bytes.end(), '\0');
  void* block = _aligned_realloc(nullptr, 300, 16);
  memcpy(block, bytes.data(), 300);
  unsigned kept = 300;
  for (const auto& [size, alignment] :
       {std::pair{300U, 1U}, {5000U, 12U}, {70U, 65537U}, {0U, 0U}}) {
    block = _aligned_realloc(block, size, alignment);
    ASSERT_NE(block, nullptr);
    kept = std::min(kept, size);
    EXPECT_EQ(memcmp(block, bytes.data(), kept), 0);
    const unsigned divisor = std::max(alignment, 1U);
    EXPECT_EQ(reinterpret_cast<uintptr_t>(block) % divisor, 0U);
    uint32_t words[2];
    memcpy(words, static_cast<char*>(block) - sizeof words, sizeof words);
    EXPECT_LT(words[0], divisor);
    EXPECT_EQ(words[1], size);
  }
  _aligned_free(block);
}

// The leak checker sees to it that the old block is freed.
TEST(AlignedMemory, WithoutMemoryNullAndTheOldBlockGone) {
  void* block = _aligned_malloc(100, 64);
  no_memory = true;
  EXPECT_EQ(_aligned_realloc(block, 200, 64), nullptr);
  EXPECT_EQ(_aligned_malloc(16, 0xFFFFFFF0U), nullptr);
  EXPECT_EQ(asked, 0x100000008U);  // a sum in 32 bits would be 8
  no_memory = false;
  _aligned_free(nullptr);
}
