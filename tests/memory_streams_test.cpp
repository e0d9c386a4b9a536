#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <numeric>

#include "support/support.h"

using namespace QuorlBased;  // NOLINT
using support::Recorded;

namespace {

bool close_fails = false;

int32_t Write(CMemoryStream& stream, const std::string& bytes) {
  return stream.Write(bytes.data(), static_cast<uint32_t>(bytes.size()));
}

std::string Content(CMemoryStream& stream) {
  return {static_cast<const char*>(stream.GetMemory()),
          static_cast<size_t>(stream.GetSize())};
}

void ExpectState(CMemoryStream& stream, int64_t size, int64_t capacity,
                 int64_t position) {
  EXPECT_EQ(stream.GetPosition(), position);
  EXPECT_EQ(stream.GetSize(), size);
  EXPECT_EQ(stream.GetCapacity(), capacity);
  EXPECT_EQ(stream.GetMemory() == nullptr, capacity == 0);
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
int __real_close(int handle);
int __wrap_close(int handle) {
  const int result = __real_close(handle);
  if (close_fails) errno = EIO;
  return close_fails ? -1 : result;
}
}

TEST(MemoryStream, GrowsInStepsAndTrimsToTheByte) {
  CMemoryStream stream;
  EXPECT_TRUE(stream.Eof());
  EXPECT_EQ(Write(stream, ""), -1);
  EXPECT_EQ(Recorded().code, kTooSmall);
  EXPECT_EQ(Write(stream, std::string(8192, 'x')), 8192);
  EXPECT_EQ(Recorded().code, 0);
  ExpectState(stream, 8192, 8192, 8192);
  EXPECT_EQ(Write(stream, "x"), 1);
  ExpectState(stream, 8193, 16384, 8193);
  EXPECT_EQ(stream.Write(nullptr, 0), 0);
  const int64_t rows[][3] = {
      {20000, 24576, 8193}, {100, 8192, 100}, {100, 100, 100},
      {101, 8192, 100},     {0, 0, 0},        {0, 0, 0}};
  for (const auto& [size, capacity, position] : rows) {
    EXPECT_TRUE(stream.SetSize(size));
    ExpectState(stream, size, capacity, position);
  }
}

TEST(MemoryStream, SeeksReadsAndOverwrites) {
  CMemoryStream stream;
  Write(stream, "0123456789");
  const struct {
    int64_t offset;
    int origin;
    int64_t result;
    int code;
  } rows[] = {{0, SeekEnd, 10, 0},
              {1, SeekEnd, -1, kEndOfData},
              {INT64_MAX, SeekEnd, -1, kEndOfData},
              {0, 7, -1, kGeneralFailure},
              {-4, SeekCurrent, 6, 0},
              {-5, SeekBegin, -5, 0},
              {INT64_MIN, SeekCurrent, -1, kGeneralFailure}};
  for (const auto& row : rows) {
    support::PlantFailure();
    EXPECT_EQ(stream.Seek(row.offset, static_cast<SeekOrigin>(row.origin)),
              row.result);
    EXPECT_EQ(Recorded().code, row.code);
  }
  char bytes[16] = {};
  EXPECT_EQ(stream.Read(bytes, 1), -1);  // at -5: nothing recorded
  EXPECT_EQ(Recorded().code, 0);
  EXPECT_EQ(Write(stream, "x"), -1);
  EXPECT_EQ(Recorded().code, kBadArgument);
  stream.SetPosition(6);
  EXPECT_EQ(stream.Read(bytes, 10), 4);
  EXPECT_STREQ(bytes, "6789");
  EXPECT_EQ(stream.Read(bytes, 10), 0);
  stream.SetPosition(8);
  EXPECT_FALSE(stream.Eof());
  Write(stream, "abc");
  EXPECT_EQ(Content(stream), "01234567abc");
}

TEST(MemoryStream, MovesPortionsOfEverySize) {
  std::string text(130, '\0');
  std::iota(text.begin(), text.end(), '\1');
  for (size_t size = 0; size <= text.size(); ++size) {
    const std::string part = text.substr(0, size);
    CMemoryStream stream;
    Write(stream, std::string(200, '.'));
    stream.SetPosition(7);
    EXPECT_EQ(Write(stream, part), static_cast<int32_t>(size));
    EXPECT_EQ(Content(stream),
              std::string(7, '.') + part + std::string(193 - size, '.'));
    stream.SetPosition(7);
    std::string read(size + 1, '!');
    stream.Read(read.data(), static_cast<uint32_t>(size));
    EXPECT_EQ(read, part + '!');
  }
}

TEST(MemoryStream, AGrowthThatFailsChangesNothing) {
  Refusing stream;
  Write(stream, std::string(8192, 'k'));
  stream.SetPosition(8000);
  for (stream.refuse = false;; stream.refuse = true) {
    for (const int64_t size : {int64_t{-1}, INT64_MAX}) {
      EXPECT_FALSE(stream.SetSize(size));
      EXPECT_FAILURE(Recorded(), kOutOfMemory, "No enough memory",
                     stream.refuse ? "../quorl_base_streams" : "../res_keeper");
    }
    ExpectState(stream, 8192, 8192, 8000);
    if (stream.refuse) break;
  }
  EXPECT_EQ(Write(stream, std::string(300, 'n')), -1);
  ExpectState(stream, 8192, 8192, 8000);
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
  ExpectState(cleared, 0, 0, 0);
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
  ExpectState(stream, 70000, 73728, 70000);
  CMemoryStream loaded;
  EXPECT_TRUE(loaded.LoadFromFile(dir / "saved"));
  ExpectState(loaded, 70000, 73728, 70000);
  EXPECT_EQ(Content(loaded), Content(stream));
  close_fails = true;  // written data may be lost, read data are here
  EXPECT_FALSE(stream.SaveToFile(dir / "saved"));
  EXPECT_EQ(Recorded().msg, support::ErrnoMessage("file_close error", EIO));
  EXPECT_TRUE(loaded.LoadFromFile(dir / "saved"));
}
