// The few tools that make a test a table.
#ifndef VELLIX_TESTS_SUPPORT_SUPPORT_H_
#define VELLIX_TESTS_SUPPORT_SUPPORT_H_

#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <functional>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

#include "vellix/logger.h"
#include "vellix/sysutils.h"

// Declares __real_<call> and begins __wrap_<call>; link with -Wl,--wrap=<call>.
#define WRAP(result, call, parameters)        \
  extern "C" result __real_##call parameters; \
  extern "C" result __wrap_##call parameters

namespace support {

// A failure as a test compares it; code 0 is none.
struct Failure {
  int code = 0;
  int line = 0;
  std::string msg, file;

  Failure() = default;
  explicit Failure(const IQuorlException& e)
      : code(e.GetExceptionCode()),
        msg(e.GetExceptionMsg()),
        file(e.GetExceptionSource(&line)) {}
};

inline Failure Recorded() { return Failure(*GetQuorlException()); }

// What `call` throws as a CBaseException; code 0 if it throws nothing.
inline Failure Thrown(const std::function<void()>& call) {
  try {
    call();
  } catch (const CBaseException& e) {
    return Failure(e);
  }
  return {};
}

#define EXPECT_FAILURE(failure, expected_code, expected_msg, expected_file) \
  do {                                                                      \
    const support::Failure seen_failure = (failure);                        \
    EXPECT_EQ(seen_failure.code, (expected_code));                          \
    EXPECT_EQ(seen_failure.msg, (expected_msg));                            \
    EXPECT_EQ(seen_failure.file, (expected_file));                          \
    EXPECT_GT(seen_failure.line, 0);                                        \
  } while (false)

// Puts a failure into the thread's record: a test sees who clears it.
inline void PlantFailure() {
  GetQuorlException()->SetException(1, "planted", 1, "planted");
}
inline bool FailurePlanted() { return Recorded().code == 1; }

// "<prefix>: errno: <error> <its text>".
inline std::string ErrnoMessage(const std::string& prefix, int error) {
  return prefix + ": errno: " + std::to_string(error) + " " + strerror(error);
}

// A directory of the test's own, removed with all it holds at the end.
struct TempDir {
  TempDir() { EXPECT_NE(mkdtemp(path.data()), nullptr); }
  TempDir(const TempDir&) = delete;
  ~TempDir() {
    std::error_code ignored;
    std::filesystem::remove_all(path, ignored);
  }
  std::string operator/(const std::string& name) const {
    return path + "/" + name;
  }
  std::string path = std::filesystem::temp_directory_path() / "vellix_XXXXXX";
};

inline std::string ReadFile(const std::string& path) {
  std::ifstream in(path, std::ios::binary);
  return {std::istreambuf_iterator<char>(in), {}};
}

inline void WriteFile(const std::string& path, const std::string& text) {
  std::ofstream(path, std::ios::binary) << text;
}

// Open descriptors of this process.
inline auto OpenDescriptors() {
  const std::filesystem::directory_iterator open("/proc/self/fd");
  return std::distance(begin(open), end(open));
}

// How a child that runs `body` ends: 0 if well. One that hangs is killed.
inline int InChild(const std::function<void()>& body) {
  fflush(nullptr);
  const pid_t child = fork();
  if (child == 0) {
    alarm(60);
    body();
    _exit(testing::Test::HasFailure());
  }
  int status = -1;
  while (waitpid(child, &status, 0) == -1 && errno == EINTR) continue;
  return status;
}

// Runs `body` on `count` threads, which the destructor joins.
struct Threads {
  Threads(int count, const std::function<void(int)>& body) {
    for (int i = 0; i < count; ++i) threads.emplace_back(body, i);
  }
  ~Threads() {
    for (std::thread& thread : threads) thread.join();
  }
  std::vector<std::thread> threads;
};

// The same again and again, until it is destroyed.
struct BusyThreads {
  BusyThreads(int count, const std::function<void(int)>& body)
      : threads(count, [this, body](int i) {
          while (!done) body(i);
        }) {}
  ~BusyThreads() { done = true; }
  std::atomic<bool> done{false};
  const Threads threads;
};

// A log target that keeps each Write. Not to be read while threads log.
struct RecordingStream : QuorlBased::CQuorlStreamImpl {
  int32_t Read(void*, uint32_t) override { return -1; }
  int32_t Write(const void* buffer, uint32_t count) override {
    records.emplace_back(static_cast<const char*>(buffer), count);
    return static_cast<int32_t>(count);
  }
  int64_t Seek(int64_t, QuorlBased::SeekOrigin) override { return 0; }
  bool Eof() override { return false; }
  std::vector<std::string> records;
};

// The process's log target, set at the first call.
inline RecordingStream& Log() {
  static auto* const stream = new RecordingStream;
  GetQuorlLogger()->SetLogStream(stream);
  return *stream;
}

// One field of a log record: Field(record, "LV") is "EXP  ".
inline std::string Field(const std::string& record, const std::string& name) {
  const size_t start = record.find("[" + name + "=");
  if (start == std::string::npos) return {};
  const size_t text = start + name.size() + 2;
  return record.substr(text, record.find(']', text) - text);
}

}  // namespace support

#endif  // VELLIX_TESTS_SUPPORT_SUPPORT_H_
