#include "support/support.h"

#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <sstream>

#include "vellix/logger.h"

namespace support {

std::ostream& operator<<(std::ostream& out, const Failure& failure) {
  return out << failure.code << " \"" << failure.msg << "\" " << failure.file
             << ":" << failure.line;
}

namespace {

Failure FieldsOf(const IQuorlException& e) {
  Failure failure;
  failure.code = e.GetExceptionCode();
  failure.msg = e.GetExceptionMsg();
  failure.file = e.GetExceptionSource(&failure.line);
  return failure;
}

// With VELLIX_TIMER in the environment each test runs under a signal of 1 kHz
// that interrupts system calls.
[[maybe_unused]] const bool timer_runs = [] {
  if (!getenv("VELLIX_TIMER")) return false;
  struct sigaction action = {};
  action.sa_handler = [](int) {};
  sigaction(SIGUSR2, &action, nullptr);
  sigevent event = {};
  event.sigev_notify = SIGEV_SIGNAL;
  event.sigev_signo = SIGUSR2;
  timer_t timer = {};
  timer_create(CLOCK_MONOTONIC, &event, &timer);
  const itimerspec each = {{0, 1000000}, {0, 1000000}};
  return timer_settime(timer, 0, &each, nullptr) == 0;
}();

}  // namespace

Failure Recorded() { return FieldsOf(*GetQuorlException()); }

Failure Thrown(const std::function<void()>& call) {
  try {
    call();
  } catch (const CBaseException& e) {
    return FieldsOf(e);
  }
  return {};
}

void PlantFailure() {
  GetQuorlException()->SetException(1, "planted", 1, "planted");
}

bool FailurePlanted() { return Recorded().code == 1; }

std::string ErrnoMessage(const std::string& prefix, int error) {
  return prefix + ": errno: " + std::to_string(error) + " " + strerror(error);
}

TempDir::TempDir() {
  std::string name =
      (std::filesystem::temp_directory_path() / "vellix_XXXXXX").string();
  path_ = mkdtemp(name.data());
}

TempDir::~TempDir() {
  std::error_code ignored;
  std::filesystem::remove_all(path_, ignored);
}

std::string ReadFile(const std::string& path) {
  std::ifstream in(path, std::ios::binary);
  return {std::istreambuf_iterator<char>(in), {}};
}

void WriteFile(const std::string& path, const std::string& text) {
  std::ofstream(path, std::ios::binary) << text;
}

int OpenDescriptors() {
  int count = 0;
  for ([[maybe_unused]] const auto& entry :
       std::filesystem::directory_iterator("/proc/self/fd")) {
    ++count;
  }
  return count;
}

int InChild(const std::function<void()>& body) {
  fflush(nullptr);
  const pid_t child = fork();
  if (child == 0) {
    body();
    _exit(testing::Test::HasFailure());
  }
  int status = -1;
  while (waitpid(child, &status, 0) == -1 && errno == EINTR) continue;
  return status;
}

int32_t RecordingStream::Write(const void* buffer, uint32_t count) {
  const std::lock_guard<std::mutex> lock(mutex_);
  records_.emplace_back(static_cast<const char*>(buffer), count);
  return static_cast<int32_t>(count);
}

std::vector<std::string> RecordingStream::Records() const {
  const std::lock_guard<std::mutex> lock(mutex_);
  return records_;
}

RecordingStream& Log() {
  static auto* stream = [] {
    auto* made = new RecordingStream;
    GetQuorlLogger()->SetLogStream(made);
    return made;
  }();
  return *stream;
}

std::string Field(const std::string& record, const std::string& name) {
  const std::string open = "[" + name + "=";
  const size_t start = record.find(open);
  if (start == std::string::npos) return {};
  const size_t text = start + open.size();
  return record.substr(text, record.find("]", text) - text);
}

}  // namespace support
