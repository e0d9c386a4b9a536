// A host that crashes as requested, and whose log says why. Without an argument
// it tries all ways, each in a child process, and checks the child's log and
// the signal that ended it.
#include <dlfcn.h>
#include <fcntl.h>
#include <link.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <atomic>
#include <csignal>
#include <cstdlib>
#include <ctime>
#include <fstream>
#include <functional>
#include <iostream>
#include <iterator>
#include <regex>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

#include "vellix/crash.h"
#include "vellix/logger.h"
#include "vellix/sysutils.h"

namespace {

constexpr char kLogFile[] = "vellix_crashes.log";

// Hidden from the optimiser.
int* volatile sNullData = nullptr;
void (*volatile sNull)() = nullptr;
void (*volatile sNowhere)() = reinterpret_cast<void (*)()>(0x1000);
volatile int sZero = 0;

void UseNull() { *sNullData = 1; }
void Divide() { sZero = 7 / sZero; }
[[gnu::noinline]] void Trap() { __builtin_trap(); }
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

// All at once.
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

// A thread that may run out of stack needs a CrashStack.
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

// The parent ends like the child, and logs nothing itself.
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

// The host's handler runs after the crash was recorded, and decides how the
// process ends. Other threads log meanwhile.
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

// The log's target. Calls sInWrite in each Write.
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

// A torn record.
void AfterTornLine() {
  sInWrite = [] {
    std::ofstream(kLogFile, std::ios::app) << "[TM=Sun N";
    GetQuorlLogger()->GetLogStream()->Seek(0, QuorlBased::SeekEnd);
    Trap();
  };
  Log();
}

// A way to crash, the signal that ends the process, and the message of the log
// record as a regular expression.
struct Way {
  std::string name;
  std::function<void()> crash;
  int signal;
  std::string message;
};

const std::string kFrames = R"(; vellix_crashes\+0x.*)";
const std::string kTrap =
    R"(SIGILL \(ILL_ILLOPN\) at 0x\w+; vellix_crashes\+0x(\w+).*)";
const std::string kNoPage = R"(SIGSEGV \(SEGV_MAPERR\) at 0x)";
// On i386 the C library makes its system calls in the kernel's page.
const std::string kAbort = R"(SIGABRT \(SI_TKILL\) from process \d+; )"
                           R"((?:\[vdso\]\S+ )?libc\..*)";
const std::string kOverflow = R"(SIGSEGV \(SEGV_\w+\) at 0x\w+; )"
                              R"((?:vellix_crashes\+0x\w+(?:, )?){32})";

const Way kWays[] = {
    {"null", UseNull, SIGSEGV, kNoPage + "0" + kFrames},
    {"call", [] { sNull(); }, SIGSEGV, kNoPage + "0; 0x0"},
    {"jump", [] { sNowhere(); }, SIGSEGV, kNoPage + "1000"},
    {"overflow", [] { sZero = Overflow(0); }, SIGSEGV, kOverflow},
    {"overflow-thread", OverflowOnThread, SIGSEGV, kOverflow},
    {"free", FreeTwice, SIGABRT, kAbort},
    {"abort", abort, SIGABRT, kAbort},
    {"throw", [] { OnThreads(1, Throw); }, SIGABRT,
     R"(std::terminate: std::runtime_error: no route\\nto host; .*)"},
    {"divide", Divide, SIGFPE, R"(SIGFPE \(FPE_INTDIV\) at 0x\w+)" + kFrames},
    {"illegal", Trap, SIGILL, kTrap},
    {"write", InWrite, SIGILL, kTrap},
    {"locked", BesideTheLock, SIGILL, kTrap},
    {"descriptors", WithoutDescriptors, SIGILL, kTrap},
    {"fork", InForkedChild, SIGILL, kTrap},
    {"handler", WithOwnHandler, SIGTERM, kTrap},
    {"small", OnSmallStack, SIGILL, kTrap},
    {"many", [] { OnThreads(8, Trap); }, SIGILL, kTrap},
    {"torn", AfterTornLine, SIGILL, kTrap},
};

// The signal that ends a crashed process.
int EndOf(const Way& way) {
  const pid_t child = fork();
  if (child == 0) {
    alarm(100);
    const rlimit no_core{};
    setrlimit(RLIMIT_CORE, &no_core);
    setenv("TZ", "<+0330>-3:30", 1);
    // A sanitizer's own handlers would exit.
    setenv("ASAN_OPTIONS", "handle_segv=0:handle_sigfpe=0", 1);
    setenv("TSAN_OPTIONS", "handle_segv=0:handle_sigfpe=0", 1);
    execl("/proc/self/exe", "crashes", way.name.c_str(), nullptr);
    _exit(127);
  }
  int status = 0;
  waitpid(child, &status, 0);
  return WIFSIGNALED(status) ? WTERMSIG(status) : 0;
}

std::string Line(const std::string& start, const std::string& message) {
  return R"(\[TM=(.{24})\] \[TH=\d+\] )" + start + R"( \[MG=)" + message +
         R"(\] \[BN=NULL\]\r\n)";
}

time_t TimeOf(const std::string& text) {
  tm fields{};
  strptime(text.c_str(), "%a %b %e %T %Y", &fields);
  return mktime(&fields);
}

// A record of the host, the crash record, and perhaps another of the host.
bool Fits(const std::string& log, const Way& way) {
  const std::string up = Line(R"(\[LV=INFO \] \[FR=host\])", "up");
  const std::string torn = way.name == "torn" ? R"(\[TM=Sun N\r\n)" : "";
  const std::string crash = Line(R"(\[LV=FATAL\] \[FR=crash\])", way.message);
  std::smatch found;
  const std::regex whole(up + torn + crash + "(?:" + up + ")?");
  if (!std::regex_match(log, found, whole)) return false;
  const time_t passed = TimeOf(found[2]) - TimeOf(found[1]);
  if (passed < 0 || passed > 100) return false;
  if (way.message != kTrap) return true;
  // The first frame lies in Trap.
  const uintptr_t frame = std::stoul(found[3], nullptr, 16);
  const uintptr_t trap =
      reinterpret_cast<uintptr_t>(Trap) - _r_debug.r_map->l_addr;
  return frame >= trap && frame < trap + 64;
}

// The sanitizers catch these first. The thread sanitizer blocks all signals in
// a handler, so a fault at the bad address ends the process.
bool IsLeftOut(const Way& way) {
  const std::string names = dlsym(RTLD_DEFAULT, "__asan_init")
                                ? "null call jump divide free"
                            : dlsym(RTLD_DEFAULT, "__tsan_init") ? "jump free"
                                                                 : "";
  return names.find(way.name) != std::string::npos;
}

bool CrashInAllWays() {
  bool all_fit = true;
  for (const Way& way : kWays) {
    if (IsLeftOut(way)) continue;
    const bool ends = EndOf(way) == way.signal;
    std::ifstream file(kLogFile, std::ios::binary);
    const std::string log(std::istreambuf_iterator<char>(file), {});
    const bool fits = ends && Fits(log, way);
    std::cout << way.name << (fits ? ":\n" : ": NOT AS EXPECTED\n") << log;
    all_fit = all_fit && fits;
  }
  return all_fit;
}

}  // namespace

int main(int argc, char** argv) {
  if (argc < 2) return CrashInAllWays() ? 0 : 1;
  // The target outlives everything that can log.
  if (!GetQuorlLogger()->SetLogStream(new Target)) return 1;
  if (!vellix::RecordCrashes(kLogFile)) return 1;
  Log();
  for (const Way& way : kWays) {
    if (way.name == argv[1]) way.crash();
  }
  return 2;
}
