// A log file that is rotated from outside by a rename and a SIGHUP. Several
// threads log meanwhile; then all of it is counted.
#include <fcntl.h>
#include <unistd.h>

#include <atomic>
#include <csignal>
#include <cstdio>
#include <fstream>
#include <iostream>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "vellix/logger.h"
#include "vellix/sysutils.h"

namespace {

constexpr int kThreads = 4;
constexpr int kRecords = 10000;
constexpr int kRotations = 10;

// Set by the signal handler, which may do no more: it interrupts any statement,
// also one inside Write.
std::atomic<bool> sReopen{false};
static_assert(std::atomic<bool>::is_always_lock_free);
void OnHangup(int) { sReopen.store(true, std::memory_order_relaxed); }

// Opens its file again before the first Write after the signal. The logger
// calls Write under its lock, so no other write comes in between.
class ReopeningFile : public QuorlBased::CHandleStream {
 public:
  // Throws like CHandleStream when the file cannot be opened.
  explicit ReopeningFile(std::string path)
      : CHandleStream(Open(path)), path_(std::move(path)) {}
  ~ReopeningFile() override { close(handle_); }

  int32_t Write(const void* buffer, uint32_t count) override {
    if (sReopen.exchange(false, std::memory_order_relaxed)) Reopen();
    return CHandleStream::Write(buffer, count);
  }

 private:
  static int32_t Open(const std::string& path) {
    return open(path.c_str(), O_WRONLY | O_APPEND | O_CREAT | O_CLOEXEC, 0640);
  }

  // Keeps the old file when the new one cannot be opened.
  void Reopen() {
    const int32_t fresh = Open(path_);
    if (fresh == -1) return;
    close(handle_);
    handle_ = fresh;
  }

  const std::string path_;
};

void LogRecords() {
  for (int record = 0; record < kRecords; ++record) {
    GetQuorlLogger()->Log(QuorlBased::LogInfo, "worker", "record", nullptr, 0);
  }
}

int CountLinesAndRemove(const std::string& path) {
  int lines = 0;
  std::ifstream file(path, std::ios::binary);
  for (std::string line; std::getline(file, line);) ++lines;
  unlink(path.c_str());
  return lines;
}

}  // namespace

int main() {
  const std::string path = "vellix_reopen.log";
  unlink(path.c_str());

  struct sigaction action {};
  action.sa_handler = OnHangup;
  action.sa_flags = SA_RESTART;
  sigaction(SIGHUP, &action, nullptr);
  // Never destroyed: the target outlives all that can log.
  static auto* target = new ReopeningFile(path);
  GetQuorlLogger()->SetLogStream(target);

  std::vector<std::thread> threads;
  for (int i = 0; i < kThreads; ++i) threads.emplace_back(LogRecords);
  for (int i = 0; i < kRotations; ++i) {
    QuorlBased::QuorlBased_Sleep(1);
    rename(path.c_str(), (path + "." + std::to_string(i)).c_str());
    kill(getpid(), SIGHUP);
  }
  for (std::thread& thread : threads) thread.join();
  GetQuorlLogger()->Log(QuorlBased::LogInfo, "main", "the last", nullptr, 0);

  const int in_last_file = CountLinesAndRemove(path);
  int found = in_last_file;
  for (int i = 0; i < kRotations; ++i) {
    found += CountLinesAndRemove(path + "." + std::to_string(i));
  }
  const int written = kThreads * kRecords + 1;
  std::cout << "records written: " << written << ", found: " << found
            << ", in the last file: " << in_last_file << "\n";
  return found == written && in_last_file > 0 ? 0 : 1;
}
