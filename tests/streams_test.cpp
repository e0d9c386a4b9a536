// The stream base class, and streams over handles and files.
#include <numeric>

#include "support/support.h"

using namespace QuorlBased;
using support::Recorded;

constexpr int32_t kAll = 0x7FFFFFFF;  // an answer: all that was asked

// What each Read and Write returns, the last answer again and again.
struct Script : CQuorlStreamImpl {
  explicit Script(std::vector<int32_t> given = {kAll}, int64_t end = 0)
      : answers(std::move(given)), size(end) {}
  int32_t Read(void* buffer, uint32_t count) override {
    const int32_t answer = Answer(count);
    const int32_t moved = std::min(answer, static_cast<int32_t>(count));
    char* out = static_cast<char*>(buffer);
    if (moved > 0) std::iota(out, out + moved, static_cast<char>(position));
    position += std::max(moved, 0);
    return answer;
  }
  int32_t Write(const void* buffer, uint32_t count) override {
    const int32_t answer = Answer(count);
    const int32_t moved = std::min(answer, static_cast<int32_t>(count));
    if (moved > 0) {
      data.append(static_cast<const char*>(buffer), static_cast<size_t>(moved));
    }
    return answer;
  }
  int64_t Seek(int64_t offset, SeekOrigin origin) override {
    if (origin == SeekBegin) position = offset;
    return origin == SeekEnd ? size : position;
  }
  bool Eof() override { return false; }
  int32_t Answer(uint32_t count) {
    asked.push_back(count);
    const int32_t answer = answers[std::min(asked.size(), answers.size()) - 1];
    return answer == kAll ? static_cast<int32_t>(count) : answer;
  }

  const std::vector<int32_t> answers;
  const int64_t size;
  int64_t position = 0;
  std::vector<uint32_t> asked;
  std::string data;
};

TEST(CopyFrom, GoesOnUntilAllIsMovedOrAStreamStops) {
  constexpr int kPlanted = 1;  // a failing stream's own failure stays
  constexpr int64_t kPortion = 61440;
  struct Copy {
    std::vector<int32_t> reads = {kAll}, writes = {kAll};  // the answers
    int64_t count = 10;
    int code = 0;
    size_t written = 10;
    std::vector<uint32_t> asked = {10};  // of the source
  };
  const Copy rows[] = {
      {.count = kPortion + 1, .written = kPortion + 1, .asked = {kPortion, 1}},
      {.reads = {3, 4, kAll}, .asked = {10, 7, 3}},
      {.writes = {1, 2, kAll}},
      {.reads = {99}, .writes = {99}},
      {.reads = {3, 0}, .code = kEndOfData, .written = 3, .asked = {10, 7}},
      {.reads = {3, -1}, .code = kPlanted, .written = 3, .asked = {10, 7}},
      {.writes = {4, 0}, .code = kEndOfData, .written = 4},
      {.writes = {4, -1}, .code = kPlanted, .written = 4},
      {.count = -1, .code = kBadArgument, .written = 0, .asked = {}},
  };
  for (const auto& row : rows) {
    Script source(row.reads), dest(row.writes);
    support::PlantFailure();
    EXPECT_EQ(dest.CopyFrom(&source, row.count),
              row.code == 0 ? row.count : -1);
    EXPECT_EQ(Recorded().code, row.code);
    EXPECT_EQ(source.asked, row.asked);
    std::string expected(row.written, 0);
    std::iota(expected.begin(), expected.end(), char{0});
    EXPECT_EQ(dest.data, expected);
  }
}

TEST(CopyFrom, TakesTheWholeSourceForACountOfZero) {
  Script dest, whole({kAll}, 100);
  whole.position = 50;
  EXPECT_EQ(dest.CopyFrom(&whole, 0), 100);
  EXPECT_EQ(dest.data[0], 0);
}

struct FileStream : testing::Test {
  FileStream() { support::WriteFile(name, "0123456789"); }

  const support::TempDir dir;
  const std::string name = dir / "f";
};

TEST_F(FileStream, SeekWriteAndSetSizeClearEof) {
  CFileStream stream(name, kOpenReadWrite);
  char buffer[16];
  const std::function<void()> moves[] = {
      [&] { stream.Seek(0, SeekEnd); }, [&] { stream.GetPosition(); },
      [&] { EXPECT_EQ(stream.GetSize(), 10); }, [&] { stream.Write("", 0); },
      [&] { stream.SetSize(10); }};
  for (const auto& move : moves) {
    stream.SetPosition(0);
    EXPECT_EQ(stream.Read(buffer, 10), 10);
    EXPECT_FALSE(stream.Eof());
    EXPECT_EQ(stream.Read(buffer, 1), -1);
    EXPECT_EQ(Recorded().code, kEndOfData);
    EXPECT_TRUE(stream.Eof());
    move();
    EXPECT_FALSE(stream.Eof());
  }
  stream.GetHandle();
  EXPECT_EQ(Recorded().code, 0);
  CFileStream unreadable(name, kOpenWrite);
  EXPECT_EQ(unreadable.Read(buffer, 1), -1);
  EXPECT_FALSE(unreadable.Eof());
}

TEST_F(FileStream, IsClosedWhileACancellationIsPending) {
  const auto descriptors = support::OpenDescriptors();
  std::thread([this] {
    const CFileStream stream(name, kOpenRead);
    pthread_cancel(pthread_self());
  }).join();
  EXPECT_EQ(support::OpenDescriptors(), descriptors);
}

TEST_F(FileStream, SetSizeGoesToTheStartOrSaysThatItCannotSeek) {
  CFileStream stream(name, kOpenReadWrite);
  stream.SetPosition(7);
  EXPECT_TRUE(stream.SetSize(5));
  EXPECT_EQ(stream.GetPosition(), 0);
  EXPECT_EQ(stream.GetSize(), 5);
  EXPECT_FALSE(CFileStream(name, kOpenRead).SetSize(1));
  support::PlantFailure();
  (new CHandleStream(0))->Free();
  EXPECT_EQ(Recorded().code, 0);
  int ends[2];
  ASSERT_EQ(pipe(ends), 0);
  support::Log();
  EXPECT_FALSE(CHandleStream(ends[1]).SetSize(1));
  EXPECT_FAILURE(Recorded(), kFileFailure, "Stream Size less than Seek",
                 "../quorl_base_streams");
  // Both failed seeks are logged as well.
  EXPECT_EQ(support::Log().records.size(), 3U);
}
