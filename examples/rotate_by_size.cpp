// A log file that rotates by size while threads and forked children log to it;
// then all records are counted.
#include <sys/wait.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <iostream>
#include <iterator>
#include <set>
#include <string>
#include <string_view>
#include <thread>
#include <vector>

#include "vellix/logger.h"
#include "vellix/targets.h"

namespace {

constexpr int kThreads = 4;
constexpr int kRecords = 2500;
constexpr int kChildren = 20;
constexpr int kRecordsOfChild = 200;
constexpr uint64_t kMaxSize = 100000;

void LogRecords(const std::string& from, int records) {
  for (int record = 0; record < records; ++record) {
    GetQuorlLogger()->Log(QuorlBased::LogInfo, from.c_str(),
                          std::to_string(record).c_str(), nullptr, 0);
  }
}

struct Count {
  std::set<std::string> found;  // sources and numbers
  int lines = 0;
  int torn = 0;
};

void CountFile(const std::filesystem::path& path, Count& count) {
  std::ifstream file(path, std::ios::binary);
  const std::string text{std::istreambuf_iterator<char>(file), {}};
  std::string_view log = text;
  std::string_view line;
  for (; vellix::TakeLine(log, line); ++count.lines) {
    const auto record = vellix::ReadRecord(line);
    if (record) {
      count.found.insert(std::string(record->source) + " " +
                         std::string(record->message));
    } else {
      ++count.torn;
    }
  }
}

}  // namespace

int main() {
  const std::filesystem::path directory = "vellix_rotated";
  std::filesystem::remove_all(directory);
  std::filesystem::create_directory(directory);
  vellix::FileOptions options;
  options.max_size = kMaxSize;
  options.keep = 30;
  // Never destroyed: the target outlives everything that can log.
  static auto* target = new vellix::FileTarget(directory / "app.log", options);
  GetQuorlLogger()->SetLogStream(target);

  std::vector<std::thread> threads;
  for (int i = 0; i < kThreads; ++i) {
    threads.emplace_back(LogRecords, "thread " + std::to_string(i), kRecords);
  }
  for (int i = 0; i < kChildren; ++i) {
    const std::string from = "child " + std::to_string(i);
    if (fork() == 0) {
      LogRecords(from, kRecordsOfChild);
      _exit(0);
    }
  }
  for (std::thread& thread : threads) thread.join();
  while (wait(nullptr) > 0) {
  }

  Count count;
  int files = 0;
  for (const auto& file : std::filesystem::directory_iterator(directory)) {
    CountFile(file, count);
    ++files;
  }
  std::filesystem::remove_all(directory);
  const int written = kThreads * kRecords + kChildren * kRecordsOfChild;
  const int found = static_cast<int>(count.found.size());
  const int twice = count.lines - count.torn - found;
  std::cout << "files: " << files << ", records written: " << written
            << ", found: " << found << ", twice: " << twice
            << ", torn: " << count.torn << "\n";
  return files > 1 && found == written && twice == 0 && count.torn == 0 ? 0 : 1;
}
