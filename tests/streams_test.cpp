#include <fcntl.h>
#include <unistd.h>

#include <numeric>
#include <stdexcept>

#include "support/support.h"
#include "vellix/sysutils_files.h"

using namespace QuorlBased;
using support::Recorded;

namespace {

constexpr int32_t kAll = 0x7FFFFFFF;  // an answer: all that was asked

// A stream that answers from a script: what each Read and Write gives, the last
// answer for ever.
struct Script : CQuorlStreamImpl {
  explicit Script(std::vector<int32_t> given = {kAll}, int64_t end = 0)
      : answers(std::move(given)), size(end) {}
  int32_t Read(void* buffer, uint32_t count) override {
    const int32_t answer = Answer(count);
    char* out = static_cast<char*>(buffer);
    const int32_t moved = std::min(answer, static_cast<int32_t>(count));
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
    seeks += std::to_string(offset) + "bce"[origin];
    if (size == -1) return -1;
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
  std::string data, seeks;
};

TEST(CopyFrom, EndsAsTheSourceAndTheDestinationAllow) {
  const struct {
    std::vector<int32_t> reads, writes;
    int64_t count, result;
    int code;  // 1: the planted one stays
    size_t written;
    std::vector<uint32_t> asked;
  } rows[] = {{{kAll}, {kAll}, 61441, 61441, 0, 61441, {61440, 1}},
              {{3, 4, kAll}, {kAll}, 10, 10, 0, 10, {10, 7, 3}},
              {{kAll}, {1, 2, kAll}, 10, 10, 0, 10, {10}},
              {{99}, {99}, 10, 10, 0, 10, {10}},
              {{3, 0}, {kAll}, 10, -1, kEndOfData, 3, {10, 7}},
              {{kAll}, {4, 0}, 10, -1, kEndOfData, 4, {10}},
              {{3, -1}, {kAll}, 10, -1, 1, 3, {10, 7}},
              {{kAll}, {kAll, -1}, 61441, -1, 1, 61440, {61440, 1}},
              {{kAll}, {kAll}, -1, -1, kBadArgument, 0, {}}};
  for (const auto& row : rows) {
    Script source(row.reads), dest(row.writes);
    support::PlantFailure();
    EXPECT_EQ(dest.CopyFrom(&source, row.count), row.result);
    EXPECT_EQ(Recorded().code, row.code);
    EXPECT_EQ(source.asked, row.asked);
    std::string expected(row.written, 0);
    std::iota(expected.begin(), expected.end(), char{0});
    EXPECT_EQ(dest.data, expected);
  }
}

TEST(CopyFrom, RefusesInItsOrderAndTakesAllForZero) {
  Script dest, unknown({kAll}, -1), empty, whole({kAll}, 100);
  const auto refused = [&](IQuorlStream* source, int64_t count, int code,
                           const char* message, const char* file) {
    EXPECT_EQ(dest.CopyFrom(source, count), -1);
    EXPECT_FAILURE(Recorded(), code, message, file);
  };
  const char* streams = "../quorl_base_streams";
  refused(nullptr, -1, kBadArgument, "Count can't be less than zero", streams);
  refused(nullptr, 0, kNullPointer, "Bad pointer", streams);
  refused(&unknown, 0, kOutOfMemory, "No enough memory", "../res_keeper");
  EXPECT_EQ(dest.CopyFrom(&empty, 0), 0);
  EXPECT_EQ(empty.seeks, "0b0c0e0b");
  whole.position = 50;
  EXPECT_EQ(dest.CopyFrom(&whole, 0), 100);
  EXPECT_EQ(dest.data[0], 0);
}

struct FailingEnd : Script {
  ~FailingEnd() override { throw std::runtime_error("end"); }
};

TEST(BaseStream, SizeStopsAtOnceAndFreeRecordsWhatADestructorThrows) {
  Script failing({kAll}, -1);
  EXPECT_EQ(failing.GetSize(), -1);
  EXPECT_EQ(failing.seeks, "0c");
  EXPECT_FALSE(failing.SetSize(1) || failing.IsStream());
  (new FailingEnd)->Free();
  EXPECT_EQ(Recorded().code, kStandardException);
  (new Script)->Free();
  EXPECT_EQ(Recorded().code, 0);
}

struct FileStream : testing::Test {
  void TearDown() override { stream.Free(); }
  const support::TempDir dir;
  const std::string name = dir / "f";
  const bool made = (support::WriteFile(name, "0123456789"), true);
  CFileStream& stream = *new CFileStream(name, kOpenReadWrite);
};

TEST_F(FileStream, OwnsItsHandleAndAHandleStreamDoesNot) {
  const int handle = open(name.c_str(), O_RDWR);
  { const CHandleStream borrowed(handle); }
  EXPECT_EQ(write(handle, "x", 1), 1);
  const auto descriptors = support::OpenDescriptors();
  (new CFileStream(name, kOpenRead))->Free();
  EXPECT_EQ(Recorded().code, 0);
  const auto thrown = support::Thrown([&] { CFileStream(dir / "no", 0x20); });
  EXPECT_FAILURE(thrown, kFileFailure,
                 support::ErrnoMessage("file_open error", ENOENT),
                 "../sysutils");
  EXPECT_EQ(Recorded().line, thrown.line);
  EXPECT_FAILURE(support::Thrown([] { CHandleStream(-1); }), kBadArgument,
                 "CHandleStream::CHandleStream: bad file handle",
                 "../quorl_base_streams");
  EXPECT_EQ(support::OpenDescriptors(), descriptors);
}

TEST_F(FileStream, EndOfFileIsAFlagThatMovesClear) {
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
  EXPECT_EQ(stream.Read(buffer, 0), -1);
  EXPECT_TRUE(stream.Eof());
  EXPECT_GE(stream.GetHandle(), 0);
  EXPECT_EQ(Recorded().code, 0);
}

TEST_F(FileStream, SetSizeCutsAndGrowsAndGoesToTheStart) {
  for (const int64_t size : {5, 20, -1}) {
    stream.SetPosition(7);
    EXPECT_EQ(stream.SetSize(size), size != -1);
    EXPECT_EQ(stream.GetPosition(), 0);
    EXPECT_EQ(stream.GetSize(), size == -1 ? 20 : size);
  }
}

}  // namespace
