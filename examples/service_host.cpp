// A service whose log file is rotated from outside by a rename and a SIGHUP
// while several threads log; then all records are counted. An argument is a
// shell command that rotates; the files are then kept.
#include <unistd.h>

#include <atomic>
#include <csignal>
#include <cstdio>
#include <cstdlib>
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
constexpr int kRotations = 10;

std::atomic<bool> sIsRotated{false};
std::atomic<int> sWritten{0};

// Never destroyed: the target outlives everything that can log.
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
  while (!sIsRotated) {
    for (int record = 0; record < 100; ++record) {
      GetQuorlLogger()->Log(QuorlBased::LogInfo, "worker", "record", nullptr,
                            0);
    }
    sWritten += 100;
    QuorlBased::QuorlBased_Sleep(1);
  }
}

void Rotate(const std::string& path, int number) {
  rename(path.c_str(), (path + "." + std::to_string(number)).c_str());
  kill(getpid(), SIGHUP);
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

// The last file must have been reopened, or it is empty.
bool HasAllRecords(const std::string& path, int written) {
  const int in_last_file = CountRecordsAndRemove(path);
  int found = in_last_file;
  for (int i = 0; i < kRotations; ++i) {
    found += CountRecordsAndRemove(path + "." + std::to_string(i));
  }
  std::cout << "found: " << found << ", in the last file: " << in_last_file
            << "\n";
  return found == written && in_last_file > 0;
}

}  // namespace

int main(int argc, char** argv) {
  const std::string path = "vellix_service.log";
  unlink(path.c_str());
  StartLog(path);

  std::vector<std::thread> threads;
  for (int i = 0; i < kThreads; ++i) threads.emplace_back(LogRecords);
  bool is_good = true;
  for (int i = 0; i < kRotations; ++i) {
    QuorlBased::QuorlBased_Sleep(5);
    if (argc == 1) Rotate(path, i);
    if (argc > 1) is_good &= std::system(argv[1]) == 0;
  }
  sIsRotated = true;
  for (std::thread& thread : threads) thread.join();
  GetQuorlLogger()->Log(QuorlBased::LogInfo, "main", "the last", nullptr, 0);

  const int written = sWritten + 1;
  std::cout << "records written: " << written << ", lost: " << sLogFile->Lost()
            << "\n";
  if (argc == 1) is_good = HasAllRecords(path, written);
  return is_good ? 0 : 1;
}
