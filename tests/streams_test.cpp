#include <fcntl.h>
#include <unistd.h>

#include <stdexcept>
#include <vector>

#include "support/support.h"
#include "vellix/quorl_base_streams.h"
#include "vellix/sysutils_files.h"

namespace {

using namespace QuorlBased;
using support::Recorded;
using support::TempDir;

// A stream that answers from a script: what each Read and Write gives, the last
// answer for ever; 0x7FFFFFFF stands for all that was asked.
constexpr int32_t kAll = 0x7FFFFFFF;

class Script : public CQuorlStreamImpl {
 public:
  explicit Script(std::vector<int32_t> answers, int64_t size = 0)
      : answers_(std::move(answers)), size_(size) {}

  int32_t Read(void* buffer, uint32_t count) override {
    const int32_t answer = Answer(count);
    for (int32_t i = 0; i < answer && i < static_cast<int32_t>(count); ++i) {
      static_cast<char*>(buffer)[i] = static_cast<char>(position_++);
    }
    return answer;
  }
  int32_t Write(const void* buffer, uint32_t count) override {
    const int32_t answer = Answer(count);
    if (answer > 0) {
      data.append(static_cast<const char*>(buffer),
                  std::min<size_t>(static_cast<size_t>(answer), count));
    }
    return answer;
  }
  int64_t Seek(int64_t offset, SeekOrigin origin) override {
    seeks += std::to_string(offset) + (origin == SeekBegin     ? "b"
                                       : origin == SeekCurrent ? "c"
                                                               : "e");
    if (size_ == -1) return -1;
    if (origin == SeekBegin) position_ = offset;
    return origin == SeekEnd ? size_ : position_;
  }
  bool Eof() override { return false; }

  std::vector<uint32_t> asked;
  std::string data;
  std::string seeks;

 private:
  int32_t Answer(uint32_t count) {
    asked.push_back(count);
    const size_t last = answers_.size() - 1;
    const int32_t answer = answers_[std::min(asked.size() - 1, last)];
    return answer == kAll ? static_cast<int32_t>(count) : answer;
  }
  std::vector<int32_t> answers_;
  int64_t size_;
  int64_t position_ = 0;
};

TEST(CopyFrom, EndsAsTheSourceAndTheDestinationAllow) {
  struct Row {
    std::vector<int32_t> reads, writes;
    int64_t count, result;
    int code;  // 1: the planted one stays
    size_t written;
    std::vector<uint32_t> asked;
  };
  const Row rows[] = {
      {{kAll}, {kAll}, 10, 10, 0, 10, {10}},
      {{kAll}, {kAll}, 61441, 61441, 0, 61441, {61440, 1}},
      {{3, 4, kAll}, {kAll}, 10, 10, 0, 10, {10, 7, 3}},
      {{kAll}, {1, 2, kAll}, 10, 10, 0, 10, {10}},
      {{99}, {99}, 10, 10, 0, 10, {10}},
      {{3, 0}, {kAll}, 10, -1, kEndOfData, 3, {10, 7}},
      {{kAll}, {4, 0}, 10, -1, kEndOfData, 4, {10}},
      {{3, -1}, {kAll}, 10, -1, 1, 3, {10, 7}},
      {{kAll}, {kAll, -1}, 61441, -1, 1, 61440, {61440, 1}},
      {{kAll}, {kAll}, -1, -1, kBadArgument, 0, {}},
  };
  for (const Row& row : rows) {
    Script source(row.reads);
    Script dest(row.writes);
    support::PlantFailure();
    EXPECT_EQ(dest.CopyFrom(&source, row.count), row.result);
    EXPECT_EQ(Recorded().code, row.code);
    EXPECT_EQ(source.asked, row.asked);
    ASSERT_EQ(dest.data.size(), row.written);
    for (size_t i = 0; i < row.written; ++i) {
      ASSERT_EQ(dest.data[i], static_cast<char>(i)) << i;
    }
  }
}

TEST(CopyFrom, RefusesInItsOrderAndTakesAllForZero) {
  Script dest({kAll});
  EXPECT_EQ(dest.CopyFrom(nullptr, -1), -1);
  EXPECT_FAILURE(Recorded(), kBadArgument, "Count can't be less than zero",
                 "../quorl_base_streams");
  EXPECT_EQ(dest.CopyFrom(nullptr, 0), -1);
  EXPECT_FAILURE(Recorded(), kNullPointer, "Bad pointer",
                 "../quorl_base_streams");
  Script unknown({kAll}, -1);
  EXPECT_EQ(dest.CopyFrom(&unknown, 0), -1);
  EXPECT_FAILURE(Recorded(), kOutOfMemory, "No enough memory", "../res_keeper");
  Script empty({kAll}, 0);
  EXPECT_EQ(dest.CopyFrom(&empty, 0), 0);
  EXPECT_EQ(Recorded().code, 0);
  EXPECT_EQ(empty.seeks, "0b0c0e0b");
  Script whole({kAll}, 100);
  whole.Seek(50, SeekBegin);
  EXPECT_EQ(dest.CopyFrom(&whole, 0), 100);
  EXPECT_EQ(dest.data[0], 0);
}

TEST(BaseStream, GetSizeReturnsToItsPositionOrStopsAtOnce) {
  Script stream({kAll}, 8);
  stream.SetPosition(3);
  EXPECT_EQ(stream.GetSize(), 8);
  EXPECT_EQ(stream.seeks, "3b0c0e3b");
  Script failing({kAll}, -1);
  EXPECT_EQ(failing.GetSize(), -1);
  EXPECT_EQ(failing.seeks, "0c");
  EXPECT_FALSE(stream.SetSize(1));
  EXPECT_FALSE(stream.IsStream());
}

class FailingEnd : public Script {
 public:
  FailingEnd() : Script({kAll}) {}
  ~FailingEnd() override { throw std::runtime_error("end"); }
};

TEST(BaseStream, FreeRecordsWhatADestructorThrows) {
  support::PlantFailure();
  (new Script({kAll}))->Free();
  EXPECT_EQ(Recorded().code, 0);
  (new FailingEnd)->Free();
  EXPECT_EQ(Recorded().code, kStandardException);
}

TEST(FileStream, ThrowsWhatTheOpenRecorded) {
  const TempDir dir;
  const int descriptors = support::OpenDescriptors();
  struct Row {
    std::string path;
    uint16_t mode;
    int code;
    std::string msg;
  };
  const Row rows[] = {
      {dir / "none", 0x20, kFileFailure,
       support::ErrnoMessage("file_open error", ENOENT)},
      {"", 0xFFFF, kBadArgument, "filename can't be empty"},
      {dir / "none", 0x0003, kBadArgument, "file_open error: bad access mode"},
  };
  for (const Row& row : rows) {
    const auto thrown =
        support::Thrown([&] { CFileStream(row.path, row.mode); });
    EXPECT_FAILURE(thrown, row.code, row.msg, "../sysutils");
    EXPECT_EQ(Recorded().line, thrown.line);
  }
  EXPECT_FAILURE(support::Thrown([] { CHandleStream(-1); }), kBadArgument,
                 "CHandleStream::CHandleStream: bad file handle",
                 "../quorl_base_streams");
  EXPECT_EQ(support::OpenDescriptors(), descriptors);
}

TEST(FileStream, EndOfFileIsAFlagThatMovesClear) {
  const TempDir dir;
  support::WriteFile(dir / "f", "0123456789");
  CFileStream stream(dir / "f", kOpenReadWrite);
  char buffer[16];
  const std::pair<const char*, std::function<void()>> moves[] = {
      {"Seek", [&] { stream.Seek(0, SeekEnd); }},
      {"GetPosition", [&] { stream.GetPosition(); }},
      {"GetSize", [&] { EXPECT_EQ(stream.GetSize(), 10); }},
      {"Write nothing", [&] { stream.Write("", 0); }},
      {"SetSize", [&] { stream.SetSize(10); }},
  };
  for (const auto& [name, move] : moves) {
    stream.SetPosition(0);
    EXPECT_EQ(stream.Read(buffer, 10), 10);
    EXPECT_FALSE(stream.Eof());
    EXPECT_EQ(stream.Read(buffer, 1), -1);
    EXPECT_EQ(Recorded().code, kEndOfData);
    EXPECT_TRUE(stream.Eof());
    move();
    EXPECT_FALSE(stream.Eof()) << name;
  }
  EXPECT_EQ(stream.Read(buffer, 0), -1);
  EXPECT_TRUE(stream.Eof());
  EXPECT_GE(stream.GetHandle(), 0);
  EXPECT_EQ(Recorded().code, 0);
}

TEST(FileStream, SetSizeCutsAndGrowsAndGoesToTheStart) {
  const TempDir dir;
  support::WriteFile(dir / "f", "0123456789");
  CFileStream stream(dir / "f", kOpenReadWrite);
  for (const int64_t size : {5, 20}) {
    support::PlantFailure();
    EXPECT_TRUE(stream.SetSize(size));
    EXPECT_TRUE(support::FailurePlanted());
    EXPECT_EQ(stream.GetPosition(), 0);
    EXPECT_EQ(stream.GetSize(), size);
  }
  stream.SetPosition(7);
  EXPECT_FALSE(stream.SetSize(-1));
  EXPECT_FAILURE(Recorded(), kFileFailure, "Stream Size less than Seek",
                 "../quorl_base_streams");
  EXPECT_EQ(stream.GetPosition(), 0);
  CFileStream read_only(dir / "f", kOpenRead);
  EXPECT_FALSE(read_only.SetSize(1));
  EXPECT_EQ(Recorded().msg,
            support::ErrnoMessage("file_set_current_end", EINVAL));
}

TEST(HandleStream, LeavesTheHandleOpenAndAFileStreamDoesNot) {
  const TempDir dir;
  const int handle = open((dir / "f").c_str(), O_RDWR | O_CREAT, 0600);
  { const CHandleStream stream(handle); }
  EXPECT_EQ(write(handle, "x", 1), 1);
  close(handle);
  const int descriptors = support::OpenDescriptors();
  (new CFileStream(dir / "f", kOpenRead))->Free();
  EXPECT_EQ(support::OpenDescriptors(), descriptors);
  EXPECT_EQ(Recorded().code, 0);
}

}  // namespace
