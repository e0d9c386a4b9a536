// Memory streams, the byte queue and the aligned heap.
#include <numeric>

#include "support/support.h"

using namespace QuorlBased;
using support::Recorded;

static bool no_memory = false;
static thread_local size_t asked = 0;

WRAP(void*, malloc, (size_t size)) {
  asked = size;
  return no_memory ? nullptr : __real_malloc(size);
}

std::string Bytes(size_t count) {
  std::string bytes(count, '\0');
  std::iota(bytes.begin(), bytes.end(), '\0');
  return bytes;
}

int32_t Write(CMemoryStream& stream, const std::string& bytes) {
  return stream.Write(bytes.data(), static_cast<uint32_t>(bytes.size()));
}

std::string Content(CMemoryStream& stream) {
  return {static_cast<const char*>(stream.GetMemory()),
          static_cast<size_t>(stream.GetSize())};
}

// Without a capacity there is no block.
void ExpectState(CMemoryStream& stream, int64_t size, int64_t capacity,
                 int64_t position) {
  EXPECT_EQ(stream.GetSize(), size);
  EXPECT_EQ(stream.GetCapacity(), capacity);
  EXPECT_EQ(stream.GetPosition(), position);
  EXPECT_EQ(stream.GetMemory() == nullptr, capacity == 0);
}

TEST(AlignedMemory, MovesToAnyAlignmentAndKeepsWhatBothHold) {
  const std::string bytes = Bytes(300);
  void* block = _aligned_realloc(nullptr, 300, 16);
  memcpy(block, bytes.data(), 300);
  for (const auto& [size, alignment] :
       {std::pair{300U, 1U}, {5000U, 12U}, {70U, 65537U}}) {
    block = _aligned_realloc(block, size, alignment);
    EXPECT_EQ(memcmp(block, bytes.data(), std::min(size, 300U)), 0);
    EXPECT_EQ(reinterpret_cast<uintptr_t>(block) % alignment, 0U);
    uint32_t header[2];  // pad and size
    memcpy(header, static_cast<char*>(block) - sizeof header, sizeof header);
    EXPECT_LT(header[0], alignment);
    EXPECT_EQ(header[1], size);
  }
  no_memory = true;
  EXPECT_EQ(_aligned_realloc(block, 200, 64), nullptr);
  EXPECT_EQ(_aligned_malloc(16, 0xFFFFFFF0U), nullptr);
  constexpr uint64_t kFirst = 200 + 64 + 8, kSecond = 16 + 0xFFFFFFF0ULL + 8;
  EXPECT_EQ(asked, kSecond > PTRDIFF_MAX ? kFirst : kSecond);  // not cut
  no_memory = false;
}

TEST(DataBuffer, GivesAcrossBlocksWhatWasPushedAtBothEnds) {
  CDataBuffer2 buffer(false);
  char taken[8] = {};
  buffer.Push("body", 4);
  buffer.Push("tail", 4);
  EXPECT_EQ(buffer.Pop(taken, 1), 1U);
  EXPECT_EQ(buffer.Pop(taken, 1), 1U);
  buffer.PushFront("head", 4);
  EXPECT_EQ(buffer.Pop(taken, 7), 7U);
  EXPECT_STREQ(taken, "headdyt");
  EXPECT_EQ(buffer.GetDataSize(), 3U);
  buffer.Clear();
  EXPECT_EQ(buffer.GetDataSize(), 0U);
}

TEST(DataBuffer, WithALockThreadsMayShareIt) {
  CDataBuffer2 buffer(true);
  support::Threads(2, [&buffer](int) {
    for (int i = 0; i < 20000; ++i) {
      buffer.PushFront("12345678", 8);
      EXPECT_EQ(buffer.Pop(nullptr, 4), 4U);
    }
  });
  EXPECT_EQ(buffer.GetDataSize(), 160000U);
}

TEST(MemoryStream, ReadsBackPortionsOfEverySize) {
  CMemoryStream stream;
  std::string expected;
  for (size_t size = 1; size < 150; ++size) {
    support::PlantFailure();
    EXPECT_EQ(Write(stream, Bytes(size)), static_cast<int32_t>(size));
    expected += Bytes(size);
  }
  EXPECT_EQ(Recorded().code, 0);
  EXPECT_EQ(Content(stream), expected);
  std::string read(expected.size(), '\0');
  EXPECT_EQ(stream.Read(read.data(), 1), 0);
  stream.SetPosition(1);
  EXPECT_FALSE(stream.Eof());
  EXPECT_EQ(stream.Read(read.data(), static_cast<uint32_t>(read.size())),
            static_cast<int32_t>(expected.size() - 1));
  EXPECT_TRUE(stream.Eof());
  EXPECT_EQ(read.substr(0, expected.size() - 1), expected.substr(1));
}

TEST(MemoryStream, GrowsInStepsAndTrimsToTheByte) {
  CMemoryStream stream;
  EXPECT_TRUE(stream.Eof());
  EXPECT_EQ(Write(stream, ""), -1);
  EXPECT_EQ(Recorded().code, kTooSmall);
  Write(stream, Bytes(8192));
  ExpectState(stream, 8192, 8192, 8192);
  Write(stream, "x");
  ExpectState(stream, 8193, 16384, 8193);
  const struct {
    int64_t size, capacity, position;
  } rows[] = {{20000, 24576, 8193}, {100, 8192, 100}, {100, 100, 100},
              {101, 8192, 100},     {0, 0, 0},        {0, 0, 0}};
  for (const auto& row : rows) {
    EXPECT_TRUE(stream.SetSize(row.size));
    ExpectState(stream, row.size, row.capacity, row.position);
  }
}

TEST(MemoryStream, ASeekThatFailsSaysWhy) {
  CMemoryStream stream;
  Write(stream, "0123456789");
  const auto failed = [&stream](int64_t offset, SeekOrigin origin) {
    support::PlantFailure();
    EXPECT_EQ(stream.Seek(offset, origin), -1);
    return Recorded().code;
  };
  EXPECT_EQ(failed(1, SeekEnd), kEndOfData);
  EXPECT_EQ(failed(INT64_MAX, SeekEnd), kEndOfData);
  EXPECT_EQ(failed(0, static_cast<SeekOrigin>(7)), kGeneralFailure);
  EXPECT_EQ(stream.Seek(-5, SeekBegin), -5);
  EXPECT_EQ(Recorded().code, 0);
  EXPECT_EQ(failed(INT64_MIN, SeekCurrent), kGeneralFailure);
  char byte = 0;
  EXPECT_EQ(stream.Read(&byte, 1), -1);  // at -5: nothing recorded
  EXPECT_EQ(Recorded().code, 0);
  EXPECT_EQ(Write(stream, "x"), -1);
  EXPECT_EQ(Recorded().code, kBadArgument);
}

// An allocation policy that may grant nothing, and then records nothing.
struct Refusing : CMemoryStream {
  bool refuse = false, after_growth = false;
  void* Realloc(int64_t& capacity) override {
    if (!refuse || capacity == 0) return CMemoryStream::Realloc(capacity);
    if (after_growth) CMemoryStream::Realloc(capacity);
    return nullptr;
  }
};

TEST(MemoryStream, AGrowthThatFailsChangesNothing) {
  Refusing stream;
  Write(stream, Bytes(8192));
  stream.SetPosition(8000);
  for (const bool refuse : {false, true}) {
    stream.refuse = refuse;
    for (const int64_t size : {int64_t{-1}, INT64_MAX}) {
      EXPECT_FALSE(stream.SetSize(size));
      EXPECT_FAILURE(Recorded(), kOutOfMemory, "No enough memory",
                     refuse ? "../quorl_base_streams" : "../res_keeper");
    }
  }
  support::PlantFailure();  // of an earlier call
  EXPECT_EQ(Write(stream, Bytes(300)), -1);
  EXPECT_EQ(Recorded().code, kOutOfMemory);
  ExpectState(stream, 8192, 8192, 8000);
  stream.after_growth = true;
  EXPECT_EQ(Write(stream, Bytes(300)), -1);
  EXPECT_EQ(Content(stream), Bytes(8192));
}

TEST(MemoryStream, WritesFromItsOwnBlock) {
  const std::string bytes = Bytes(100'000);
  CMemoryStream stream;
  Write(stream, bytes);
  EXPECT_EQ(stream.Write(stream.GetMemory(), 100'000), 100'000);  // it moves
  EXPECT_EQ(Content(stream), bytes + bytes);
}

TEST(MemoryStream, GrowsAndFreesABlockThatIsHandedIn) {
  CMemoryStream stream, cleared;
  Write(stream, "old");
  free(stream.GetMemory());
  stream.SetPointer(strdup("handed"), 6);
  stream.SetPosition(6);
  EXPECT_EQ(Write(stream, Bytes(100)), 100);
  EXPECT_EQ(Content(stream), "handed" + Bytes(100));
  stream.SetPointer(stream.GetMemory(), 3);
  EXPECT_TRUE(stream.Eof());
  EXPECT_EQ(stream.Read(stream.GetMemory(), 1), -1);
  EXPECT_EQ(Recorded().code, kEndOfData);
  cleared.SetPointer(strdup("at capacity 0"), 13);
  cleared.Clear();
  ExpectState(cleared, 0, 0, 0);
}

TEST(MemoryStream, LoadsAllOfAStreamWhereverBothStand) {
  CMemoryStream source;
  Refusing dest;
  Write(source, "0123456789");
  Write(dest, Bytes(20));
  source.SetPosition(5);
  dest.SetPosition(3);
  EXPECT_TRUE(dest.LoadFromStream(&source));
  EXPECT_EQ(Content(dest), "0123456789");
  source.SetSize(4);
  dest.refuse = true;  // to shrink as well
  EXPECT_FALSE(dest.LoadFromStream(&source));
}

TEST(MemoryStream, SavesAndLoadsFilesAndKeepsTheirFailures) {
  const support::TempDir dir;
  CMemoryStream stream, loaded;
  EXPECT_FALSE(stream.SaveToFile(dir / "f"));
  EXPECT_EQ(Recorded().code, 0);
  EXPECT_FALSE(stream.LoadFromFile(dir / "f"));
  EXPECT_FAILURE(Recorded(), kNoData, "Soure Stream is empty",
                 "../quorl_base_streams");
  Write(stream, Bytes(70000));
  EXPECT_TRUE(stream.SaveToFile(dir / "f"));  // from above position 0
  EXPECT_TRUE(loaded.LoadFromFile(dir / "f"));
  ExpectState(loaded, 70000, 73728, 70000);
  EXPECT_EQ(Content(loaded), Content(stream));
}
