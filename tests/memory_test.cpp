#include <cstdlib>
#include <numeric>
#include <thread>

#include "support/support.h"
#include "vellix/sysutils_buffer.h"
#include "vellix/sysutils_memory.h"
#include "vellix/sysutils_strings.h"

using namespace QuorlBased;
using support::Recorded;

namespace {

bool no_memory = false;
thread_local size_t asked = 0;
bool close_fails = false;

int32_t Write(CMemoryStream& stream, const std::string& bytes) {
  return stream.Write(bytes.data(), static_cast<uint32_t>(bytes.size()));
}

std::string Content(CMemoryStream& stream) {
  return {static_cast<const char*>(stream.GetMemory()),
          static_cast<size_t>(stream.GetSize())};
}

// Size, capacity and position. Without a capacity there is no block.
std::string State(CMemoryStream& stream) {
  EXPECT_EQ(stream.GetMemory() == nullptr, stream.GetCapacity() == 0);
  return Format("%ld %ld %ld", stream.GetSize(), stream.GetCapacity(),
                stream.GetPosition());
}

// An allocation policy that may grant nothing, and then records nothing.
struct Refusing : CMemoryStream {
  bool refuse = false;
  void* Realloc(int64_t& capacity) override {
    return refuse && capacity ? nullptr : CMemoryStream::Realloc(capacity);
  }
};

}  // namespace

extern "C" {
void* __real_malloc(size_t size);
void* __wrap_malloc(size_t size) {
  asked = size;
  return no_memory ? nullptr : __real_malloc(size);
}
int __real_close(int handle);
int __wrap_close(int handle) {
  const int result = __real_close(handle);
  if (close_fails) errno = EIO;
  return close_fails ? -1 : result;
}
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

TEST(DataBuffer, NothingAndTooMuch) {
  CDataBuffer2 buffer(true);
  for (const auto push : {&CDataBuffer2::PushFront, &CDataBuffer2::Push}) {
    (buffer.*push)(nullptr, 2);
    EXPECT_EQ(buffer.GetDataSize(), 0U);
    EXPECT_FAILURE(
        support::Thrown([&] { (buffer.*push)("x", size_t{PTRDIFF_MAX} + 1); }),
        kOutOfMemory, "No enough memory", "../sysutils");
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

TEST(MemoryStream, GrowsInStepsAndTrimsToTheByte) {
  CMemoryStream stream;
  EXPECT_TRUE(stream.Eof());
  EXPECT_EQ(Write(stream, ""), -1);
  EXPECT_EQ(Recorded().code, kTooSmall);
  EXPECT_EQ(Write(stream, std::string(8192, 'x')), 8192);
  EXPECT_EQ(Recorded().code, 0);
  EXPECT_EQ(State(stream), "8192 8192 8192");
  EXPECT_EQ(Write(stream, "x"), 1);
  EXPECT_EQ(State(stream), "8193 16384 8193");
  EXPECT_EQ(stream.Write(nullptr, 0), 0);
  std::string states;
  for (const int64_t size : {20000, 100, 100, 101, 0, 0}) {
    EXPECT_TRUE(stream.SetSize(size));
    states += State(stream) + ", ";
  }
  EXPECT_EQ(states,
            "20000 24576 8193, 100 8192 100, 100 100 100, 101 8192 100, "
            "0 0 0, 0 0 0, ");
}

TEST(MemoryStream, ASeekThatFailsSaysWhy) {
  CMemoryStream stream;
  Write(stream, "0123456789");
  const std::tuple<int64_t, int, int64_t, int> rows[] = {
      {1, SeekEnd, -1, kEndOfData},
      {INT64_MAX, SeekEnd, -1, kEndOfData},
      {0, 7, -1, kGeneralFailure},
      {-5, SeekBegin, -5, 0},
      {INT64_MIN, SeekCurrent, -1, kGeneralFailure}};
  for (const auto& [offset, origin, result, code] : rows) {
    support::PlantFailure();
    EXPECT_EQ(stream.Seek(offset, static_cast<SeekOrigin>(origin)), result);
    EXPECT_EQ(Recorded().code, code);
  }
  char byte = 0;
  EXPECT_EQ(stream.Read(&byte, 1), -1);  // at -5: nothing recorded
  EXPECT_EQ(Recorded().code, 0);
  EXPECT_EQ(Write(stream, "x"), -1);
  EXPECT_EQ(Recorded().code, kBadArgument);
  stream.SetPosition(9);
  EXPECT_FALSE(stream.Eof());
}

TEST(MemoryStream, AGrowthThatFailsChangesNothing) {
  Refusing stream;
  Write(stream, std::string(8192, 'k'));
  stream.SetPosition(8000);
  for (const bool refuse : {false, true}) {
    stream.refuse = refuse;
    for (const int64_t size : {int64_t{-1}, INT64_MAX}) {
      EXPECT_FALSE(stream.SetSize(size));
      EXPECT_FAILURE(Recorded(), kOutOfMemory, "No enough memory",
                     refuse ? "../quorl_base_streams" : "../res_keeper");
    }
    EXPECT_EQ(State(stream), "8192 8192 8000");
  }
  EXPECT_EQ(Write(stream, std::string(300, 'n')), -1);
  EXPECT_EQ(State(stream), "8192 8192 8000");
  EXPECT_EQ(Content(stream), std::string(8192, 'k'));
}

// Whose capacity, left from the block before, says nothing of it.
TEST(MemoryStream, GrowsAndFreesABlockThatIsHandedIn) {
  for (const bool used : {false, true}) {
    CMemoryStream stream;
    if (used) Write(stream, "old");
    free(stream.GetMemory());
    stream.SetPointer(strdup("handed"), 6);
    stream.SetPosition(6);
    EXPECT_EQ(Write(stream, std::string(100, '+')), 100);
    EXPECT_EQ(Content(stream), "handed" + std::string(100, '+'));
    stream.SetPointer(stream.GetMemory(), 3);
    EXPECT_EQ(stream.Read(stream.GetMemory(), 1), -1);
    EXPECT_EQ(Recorded().code, kEndOfData);
  }
  CMemoryStream cleared;
  cleared.SetPointer(strdup("at capacity 0"), 13);
  cleared.Clear();
  EXPECT_EQ(State(cleared), "0 0 0");
}

TEST(MemoryStream, SavesAndLoadsAllAndKeepsTheFailureOfAFile) {
  const support::TempDir dir;
  CMemoryStream stream;
  EXPECT_FALSE(stream.SaveToFile(dir / "empty"));
  EXPECT_EQ(Recorded().code, 0);
  support::Log();
  EXPECT_FALSE(stream.LoadFromFile(dir / "empty"));
  EXPECT_EQ(Recorded().code, kNoData);
  EXPECT_EQ(support::Log().Records().size(), 1U);
  EXPECT_FALSE(stream.LoadFromFile(dir / "missing"));
  EXPECT_EQ(Recorded().msg, support::ErrnoMessage("file_open error", ENOENT));

  Write(stream, std::string(70000, 't'));
  EXPECT_TRUE(stream.SaveToFile(dir / "saved"));  // from above position 0
  EXPECT_EQ(State(stream), "70000 73728 70000");
  CMemoryStream loaded;
  EXPECT_TRUE(loaded.LoadFromFile(dir / "saved"));
  EXPECT_EQ(State(loaded), "70000 73728 70000");
  EXPECT_EQ(Content(loaded), Content(stream));
  close_fails = true;  // written data may be lost, read data are here
  EXPECT_FALSE(stream.SaveToFile(dir / "saved"));
  EXPECT_EQ(Recorded().msg, support::ErrnoMessage("file_close error", EIO));
  EXPECT_TRUE(loaded.LoadFromFile(dir / "saved"));
}
