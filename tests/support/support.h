// The few tools that make a test a table.
#ifndef VELLIX_TESTS_SUPPORT_SUPPORT_H_
#define VELLIX_TESTS_SUPPORT_SUPPORT_H_

#include <gtest/gtest.h>

#include <cstdint>
#include <functional>
#include <mutex>
#include <ostream>
#include <string>
#include <vector>

#include "vellix/exceptions.h"
#include "vellix/quorl_base_streams.h"

namespace support {

// A failure as a test compares it; code 0 is none.
struct Failure {
  int code = 0;
  std::string msg;
  std::string file;
  int line = 0;
};
std::ostream& operator<<(std::ostream& out, const Failure& failure);

// The calling thread's record.
Failure Recorded();

// What `call` throws as a CBaseException; code 0 if it throws nothing.
Failure Thrown(const std::function<void()>& call);

// Puts a failure (code 1) into the calling thread's record, without a log
// record, so that a test sees who clears it.
void PlantFailure();
bool FailurePlanted();

// "<prefix>: errno: <error> <its text>".
std::string ErrnoMessage(const std::string& prefix, int error);

#define EXPECT_FAILURE(failure, expected_code, expected_msg, expected_file) \
  do {                                                                      \
    const support::Failure seen_failure = (failure);                        \
    EXPECT_EQ(seen_failure.code, (expected_code));                          \
    EXPECT_EQ(seen_failure.msg, (expected_msg));                            \
    EXPECT_EQ(seen_failure.file, (expected_file));                          \
    EXPECT_GT(seen_failure.line, 0);                                        \
  } while (false)

// A directory of the test's own, removed with all it holds at the end.
class TempDir {
 public:
  TempDir();
  TempDir(const TempDir&) = delete;
  TempDir& operator=(const TempDir&) = delete;
  ~TempDir();
  const std::string& Path() const { return path_; }  // without closing slash
  std::string operator/(const std::string& name) const {
    return path_ + "/" + name;
  }

 private:
  std::string path_;
};

std::string ReadFile(const std::string& path);
void WriteFile(const std::string& path, const std::string& text);

// Open descriptors of this process.
int OpenDescriptors();

// Runs `body` in a process of its own and gives how that ended: 0 when it has
// neither failed an expectation nor died.
int InChild(const std::function<void()>& body);

// A log target that keeps each Write. What a test overrides is public.
class RecordingStream : public QuorlBased::IQuorlStream {
 public:
  int64_t GetPosition() override { return 0; }
  int64_t SetPosition(int64_t) override { return 0; }
  int64_t GetSize() override { return 0; }
  bool SetSize(int64_t) override { return false; }
  int32_t Read(void*, uint32_t) override { return -1; }
  int32_t Write(const void* buffer, uint32_t count) override;
  int64_t Seek(int64_t, QuorlBased::SeekOrigin) override { return 0; }
  int64_t CopyFrom(IQuorlStream*, int64_t) override { return -1; }
  bool IsStream() override { return false; }
  bool Eof() override { return false; }
  void Free() override {}

  std::vector<std::string> Records() const;

 private:
  mutable std::mutex mutex_;
  std::vector<std::string> records_;
};

// The process's log target, set at the first call. Records of one test only:
// each test runs in a process of its own.
RecordingStream& Log();

// One field of a record: Field(record, "LV") is "EXP  ".
std::string Field(const std::string& record, const std::string& name);

}  // namespace support

#endif  // VELLIX_TESTS_SUPPORT_SUPPORT_H_
