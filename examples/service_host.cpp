// A service: its log file is rotated from outside by a rename and a SIGHUP.
// Several threads log meanwhile; then all of it is counted.
#include <unistd.h>

#include <csignal>
#include <cstdio>
#include <fstream>
#include <iostream>
#include <iterator>
#include <string>
#include <thread>
#include <vector>

#include "vellix/logger.h"
#include "vellix/sysutils_clock.h"
#include "vellix/targets.h"

namespace {

constexpr int kThreads = 4;
constexpr int kRecords = 10000;
constexpr int kRotations = 10;

// Never destroyed: the target outlives all that can log.
vellix::FileTarget* sLogFile = nullptr;
void OnHangup(int) { sLogFile->Reopen(); }

void StartLog(const std::string& path) {
  sLogFile = new vellix::FileTarget(path);
  GetQuorlLogger()->SetLogStream(sLogFile);
  struct sigaction action {};
  action.sa_handler = OnHangup;
  action.sa_flags = SA_RESTART;
  sigaction(SIGHUP, &action, nullptr);
}

void LogRecords() {
  for (int record = 0; record < kRecords; ++record) {
    GetQuorlLogger()->Log(QuorlBased::LogInfo, "worker", "record", nullptr, 0);
  }
}

int CountRecordsAndRemove(const std::string& path) {
  std::ifstream file(path, std::ios::binary);
  const std::string text{std::istreambuf_iterator<char>(file), {}};
  std::string_view log = text;
  std::string_view line;
  int records = 0;
  while (vellix::TakeLine(log, line)) {
    if (vellix::ReadRecord(line)) ++records;
  }
  unlink(path.c_str());
  return records;
}

}  // namespace

int main() {
  const std::string path = "vellix_service.log";
  unlink(path.c_str());
  StartLog(path);

  std::vector<std::thread> threads;
  for (int i = 0; i < kThreads; ++i) threads.emplace_back(LogRecords);
  for (int i = 0; i < kRotations; ++i) {
    QuorlBased::QuorlBased_Sleep(1);
    rename(path.c_str(), (path + "." + std::to_string(i)).c_str());
    kill(getpid(), SIGHUP);
  }
  for (std::thread& thread : threads) thread.join();
  GetQuorlLogger()->Log(QuorlBased::LogInfo, "main", "the last", nullptr, 0);

  const int in_last_file = CountRecordsAndRemove(path);
  int found = in_last_file;
  for (int i = 0; i < kRotations; ++i) {
    found += CountRecordsAndRemove(path + "." + std::to_string(i));
  }
  const int written = kThreads * kRecords + 1;
  std::cout << "records written: " << written << ", found: " << found
            << ", in the last file: " << in_last_file
            << ", lost: " << sLogFile->Lost() << "\n";
  return found == written && in_last_file > 0 ? 0 : 1;
}
