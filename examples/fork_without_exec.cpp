// A host that forks while other threads log. The child logs to the same file,
// under its own thread id.
#include <sys/wait.h>
#include <unistd.h>

#include <atomic>
#include <fstream>
#include <iostream>
#include <string>
#include <thread>

#include "vellix/logger.h"

namespace {

constexpr int kChildren = 20;
constexpr char kLogFile[] = "vellix_fork.log";

void Log(const char* from, const std::string& message) {
  GetQuorlLogger()->Log(QuorlBased::LogInfo, from, message.c_str(), nullptr, 0);
}

// The child ends with _exit: exit would run the host's static destructors and
// flush its buffers a second time.
pid_t ForkChild() {
  const pid_t child = fork();
  if (child == 0) {
    Log("child", std::to_string(getpid()));
    _exit(0);
  }
  return child;
}

// Whether each child's one log record is there, under the child's own thread
// id. On Linux the id of a process's first thread is that of the process.
bool Check() {
  std::ifstream log(kLogFile, std::ios::binary);
  int children = 0;
  int others = 0;
  for (std::string line; std::getline(log, line);) {
    if (line.rfind("[TM=", 0) != 0 || line.back() != '\r') return false;
    const size_t message = line.find("[FR=child] [MG=");
    if (message == std::string::npos) {
      ++others;
      continue;
    }
    const std::string pid =
        line.substr(message + 15, line.find("] [BN=") - message - 15);
    if (line.find("[TH=" + pid + "]") == std::string::npos) return false;
    ++children;
  }
  std::cout << "records of children: " << children
            << ", of the host's threads: " << others << "\n";
  return children == kChildren && others > 0;
}

}  // namespace

int main() {
  if (!GetQuorlLogger()->SetLogFile(kLogFile, false)) return 1;
  Log("host", "start");

  std::atomic<bool> stop{false};
  std::thread busy([&stop] {
    while (!stop) Log("busy", "the lock is held most of the time");
  });
  bool all_ended_well = true;
  for (int i = 0; i < kChildren; ++i) {
    int status = -1;
    waitpid(ForkChild(), &status, 0);
    if (status != 0) all_ended_well = false;
  }
  stop = true;
  busy.join();
  return all_ended_well && Check() ? 0 : 1;
}
