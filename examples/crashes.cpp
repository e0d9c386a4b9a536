// A host that crashes in the way it is told, and whose log says why. Without an
// argument it lets a child of its own crash and prints the child's log.
#include <fcntl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <atomic>
#include <csignal>
#include <cstdlib>
#include <fstream>
#include <functional>
#include <iostream>
#include <map>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

#include "vellix/crash.h"
#include "vellix/logger.h"
#include "vellix/sysutils.h"

namespace {

constexpr char kLogFile[] = "vellix_crashes.log";

// The compiler must not see that these are what they are.
int* volatile sNullData = nullptr;
void (*volatile sNull)() = nullptr;
void (*volatile sNowhere)() = reinterpret_cast<void (*)()>(0x1000);
volatile int sZero = 0;

void UseNull() { *sNullData = 1; }
void Divide() { sZero = 7 / sZero; }
void Trap() { __builtin_trap(); }
void Throw() { throw std::runtime_error("no route\nto host"); }

int Overflow(int depth) {  // NOLINT: recursive on purpose
  const volatile char room[256] = "";
  return depth < 0 ? room[0] : Overflow(depth + 1) + room[1];
}

void FreeTwice() {
  void* const volatile block = malloc(9);
  free(block);
  free(block);  // NOLINT: on purpose
}

// All at the same time.
void OnThreads(int count, const std::function<void()>& crash) {
  std::atomic<int> missing{count};
  std::vector<std::thread> threads;
  threads.reserve(static_cast<size_t>(count));
  for (int i = 0; i < count; ++i) {
    threads.emplace_back([&] {
      for (--missing; missing > 0;) std::this_thread::yield();
      crash();
    });
  }
  for (std::thread& thread : threads) thread.join();
}

// A thread that may run out of stack has to have a CrashStack.
void OverflowOnThread() {
  OnThreads(1, [] {
    const vellix::CrashStack stack;
    sZero = Overflow(0);
  });
}

void OnSmallStack() {
  pthread_attr_t attributes;
  pthread_attr_init(&attributes);
  pthread_attr_setstacksize(&attributes, size_t{16} << 10);
  const auto body = [](void*) -> void* {
    Trap();
    return nullptr;
  };
  pthread_t thread{};
  pthread_create(&thread, &attributes, body, nullptr);
  pthread_join(thread, nullptr);
}

// The parent ends by what the child has ended by, and says nothing itself.
void InForkedChild() {
  if (fork() == 0) Trap();
  int status = 0;
  wait(&status);
  static_cast<void>(signal(WTERMSIG(status), SIG_DFL));
  kill(getpid(), WTERMSIG(status));
}

void Log() {
  GetQuorlLogger()->Log(QuorlBased::LogInfo, "host", "up", nullptr, 0);
}

// The handler of the host runs after the crash was recorded, and decides how
// the process ends. Other threads log meanwhile.
void WithOwnHandler() {
  static std::atomic<bool> crashed{false};
  static std::atomic<bool> logged{false};
  static_cast<void>(signal(SIGILL, [](int) {
    for (crashed = true; !logged;) usleep(1000);
    kill(getpid(), SIGTERM);
  }));
  vellix::RecordCrashes(kLogFile);
  std::thread([] {
    while (!crashed) std::this_thread::yield();
    Log();
    logged = true;
  }).detach();
  Trap();
}

// The target of the log. Does what the crash needs it to do.
std::atomic<void (*)()> sInWrite{[] {}};
class Target : public QuorlBased::CFileStream {
 public:
  Target() : CFileStream(kLogFile, QuorlBased::kCreateFile) {}
  int32_t Write(const void* buffer, uint32_t count) override {
    sInWrite.load()();
    return CFileStream::Write(buffer, count);
  }
};

void InWrite() {
  sInWrite = Trap;
  Log();
}

void BesideTheLock() {
  static std::atomic<bool> held{false};
  sInWrite = [] {
    for (held = true;;) pause();
  };
  std::thread(Log).detach();
  while (!held) std::this_thread::yield();
  Trap();
}

void WithoutDescriptors() {
  while (open("/dev/null", O_RDONLY) != -1) continue;
  Trap();
}

// A record that the disk took half of.
void AfterTornLine() {
  sInWrite = [] {
    std::ofstream(kLogFile, std::ios::app) << "[TM=Sun N";
    GetQuorlLogger()->GetLogStream()->Seek(0, QuorlBased::SeekEnd);
    Trap();
  };
  Log();
}

const std::map<std::string, std::function<void()>> kWays = {
    {"null", UseNull},
    {"call", [] { sNull(); }},
    {"jump", [] { sNowhere(); }},
    {"overflow", [] { sZero = Overflow(0); }},
    {"overflow-thread", OverflowOnThread},
    {"free", FreeTwice},
    {"abort", abort},
    {"throw", [] { OnThreads(1, Throw); }},
    {"divide", Divide},
    {"illegal", Trap},
    {"write", InWrite},
    {"locked", BesideTheLock},
    {"descriptors", WithoutDescriptors},
    {"fork", InForkedChild},
    {"handler", WithOwnHandler},
    {"small", OnSmallStack},
    {"many", [] { OnThreads(8, Trap); }},
    {"torn", AfterTornLine},
};

bool Show() {
  if (fork() == 0) kWays.at("throw")();
  wait(nullptr);
  std::cout << std::ifstream(kLogFile, std::ios::binary).rdbuf();
  return true;
}

}  // namespace

int main(int argc, char** argv) {
  // The target outlives all that can log.
  if (!GetQuorlLogger()->SetLogStream(new Target)) return 1;
  if (!vellix::RecordCrashes(kLogFile)) return 1;
  Log();
  if (argc < 2) return Show() ? 0 : 1;
  const auto way = kWays.find(argv[1]);
  if (way == kWays.end()) return 2;
  way->second();
}
