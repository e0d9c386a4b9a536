#include <cstdint>
#include <string>
#include <thread>

#include "support/support.h"
#include "vellix/sysutils_buffer.h"

using QuorlBased::CDataBuffer2;

namespace {

std::string Pop(CDataBuffer2& buffer, unsigned long size) {
  std::string bytes(size, '?');
  bytes.resize(buffer.Pop(bytes.data(), size));
  return bytes;
}

}  // namespace

TEST(DataBuffer, PopsAcrossBlocksInAnyPortions) {
  CDataBuffer2 buffer(false);
  buffer.Push("abc", 3);
  buffer.Push("defg", 4);
  EXPECT_EQ(buffer.Pop(nullptr, 0), 0U);
  EXPECT_EQ(Pop(buffer, 5), "abcde");
  buffer.PushFront("XY", 2);  // ahead of what is left of a block
  buffer.PushFront(nullptr, 2);
  buffer.PushFront("none", 0);
  EXPECT_EQ(buffer.GetDataSize(), 4U);
  EXPECT_EQ(buffer.Pop(nullptr, 1), 1U);
  EXPECT_EQ(Pop(buffer, 1), "Y");  // ends exactly at a block's end
  EXPECT_EQ(Pop(buffer, 100), "fg");
  buffer.Push("0123456789", 10);
  EXPECT_EQ(Pop(buffer, 4), "0123");
  buffer.Clear();
  EXPECT_EQ(buffer.GetDataSize(), 0U);
  EXPECT_EQ(Pop(buffer, 1), "");
}

TEST(DataBuffer, APushThatIsTooLargeFails) {
  CDataBuffer2 buffer(true);
  for (const auto push : {&CDataBuffer2::PushFront, &CDataBuffer2::Push}) {
    EXPECT_FAILURE(
        support::Thrown([&] { (buffer.*push)("x", size_t{PTRDIFF_MAX} + 1); }),
        QuorlBased::kOutOfMemory, "No enough memory", "../sysutils");
  }
}

TEST(DataBuffer, WithALockThreadsMayShareIt) {
  CDataBuffer2 buffer(true);
  std::thread other([&] {
    for (int i = 0; i < 5000; ++i) buffer.PushFront("12345678", 8);
  });
  unsigned long popped = 0;
  for (int i = 0; i < 5000; ++i) {
    buffer.Push("12345678", 8);
    popped += buffer.Pop(nullptr, 12);
  }
  other.join();
  EXPECT_EQ(buffer.GetDataSize(), 80000U - popped);
}
