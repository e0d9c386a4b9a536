// Locks, threads and processes.
#include <sys/wait.h>
#include <unistd.h>

#include <atomic>
#include <chrono>
#include <csignal>
#include <deque>
#include <stdexcept>
#include <thread>

#include "support/support.h"
#include "vellix/logger.h"
#include "vellix/sysutils.h"

using namespace QuorlBased;

static thread_local int sleeps = 0;
static std::atomic<int> all_sleeps, asleep, created, joined, signals;
static bool no_threads = false, no_fork = false;

extern "C" {
int __real_usleep(unsigned);
int __wrap_usleep(unsigned time) {
  return ++sleeps, ++all_sleeps, __real_usleep(time);
}
int __real_pthread_cond_wait(pthread_cond_t*, pthread_mutex_t*);
int __wrap_pthread_cond_wait(pthread_cond_t* cond, pthread_mutex_t* mutex) {
  // The first wake-up of each thread has no cause.
  static thread_local bool woken = false;
  if (!woken) return woken = true, 0;
  return ++asleep, __real_pthread_cond_wait(cond, mutex);
}
using Entry = void* (*)(void*);
int __real_pthread_create(pthread_t*, const pthread_attr_t*, Entry, void*);
int __wrap_pthread_create(pthread_t* thread, const pthread_attr_t* attributes,
                          Entry entry, void* argument) {
  if (no_threads) return EAGAIN;
  return ++created, __real_pthread_create(thread, attributes, entry, argument);
}
int __real_pthread_join(pthread_t, void**);
int __wrap_pthread_join(pthread_t thread, void** result) {
  return ++joined, __real_pthread_join(thread, result);
}
pid_t __real_fork();
pid_t __wrap_fork() { return no_fork ? -1 : __real_fork(); }
int __real_kill(pid_t, int);
int __wrap_kill(pid_t pid, int signal) {
  return ++signals, __real_kill(pid, signal);
}
}

namespace {

TEST(Locks, MutexIsRecursiveAndCountsItsAttempts) {
  CXMutex mutex;
  ASSERT_TRUE(mutex.Lock(kWaitForever) && mutex.Lock(0) && mutex.Unlock());
  std::thread other([&] {
    const uint32_t rows[][2] = {{0, 1}, {9, 1}, {10, 2}, {25, 3}, {30, 4}};
    for (const auto& [timeout, attempts] : rows) {
      sleeps = 0;
      EXPECT_FALSE(mutex.Lock(timeout));
      EXPECT_EQ(sleeps, attempts) << timeout;
    }
    EXPECT_TRUE(mutex.Lock(0xFFFFFFFE) && mutex.Unlock());
  });
  while (all_sleeps <= 11) std::this_thread::yield();
  EXPECT_TRUE(mutex.Unlock());
  other.join();
  for (auto* call : {enter_critical, leave_critical, delete_critical}) {
    EXPECT_EQ(support::Thrown([call] { call(nullptr); }).msg, "Bad pointer");
  }
}

TEST(Locks, EventKeepsItsState) {
  const struct {
    bool auto_reset, initial;
    std::string script;  // S: Set, R: Reset, W and w: Wait gives true, false
  } rows[] = {{true, false, "wSWwSSWwSRw"}, {false, true, "WSWRwSWW"}};
  for (const auto& row : rows) {
    for (const uint32_t timeout : {0U, 999U, 0xFFFFFFFEU, kWaitForever}) {
      CXEvent event(row.auto_reset, row.initial);
      for (const char step : row.script) {
        if (step == 'S') event.Set();
        if (step == 'R') event.Reset();
        if (step != 'W' && step != 'w') continue;
        EXPECT_EQ(event.Wait(step == 'W' ? timeout : 1), step == 'W');
      }
    }
  }
  const auto start = std::chrono::steady_clock::now();
  EXPECT_FALSE(CXEvent(true, false).Wait(999));
  EXPECT_GE(std::chrono::steady_clock::now() - start,
            std::chrono::milliseconds(999));
}

TEST(Locks, SetReleasesAllSleepersAndCancellationOne) {
  CXEvent event(true, false);
  std::atomic<int> released{0};
  std::vector<std::thread> threads(5);
  for (std::thread& thread : threads) {
    thread = std::thread([&] { released += event.Wait(kWaitForever); });
  }
  while (asleep < 5) std::this_thread::yield();
  event.Reset();
  EXPECT_EQ(released, 0);
  pthread_cancel(threads[0].native_handle());
  threads[0].join();
  event.Set();
  for (size_t i = 1; i < threads.size(); ++i) threads[i].join();
  EXPECT_EQ(released, 4);
  EXPECT_FALSE(event.Wait(0));
}

struct Thread : CQuorlBasedThread {
  explicit Thread(std::function<uint32_t()> work) : body(std::move(work)) {}
  ~Thread() override { IsSuspended() || Wait(kWaitForever); }
  uint32_t ThreadBody() override { return body(); }
  const std::function<uint32_t()> body;
};

// Takes Suspend as its sign to end; its destructor leaves the wait to the base.
struct Loop : CQuorlBasedThread {
  uint32_t ThreadBody() override {
    for (began = true; !IsSuspended();) usleep(1000);
    return 0;
  }
  static inline std::atomic<bool> began;
};

// What a failure is logged to while it is being recorded.
struct ThrowingStream : support::RecordingStream {
  int32_t Write(const void*, uint32_t) override { throw 1; }
};

TEST(Threads, OutcomeIsKeptWhateverWayTheBodyEnds) {
  static ThrowingStream target;
  ASSERT_TRUE(GetQuorlLogger()->SetLogStream(&target));
  const std::string text(100, 'x');
  const auto row = [](uint32_t exit_code, int kept, const std::string& msg,
                      const std::function<uint32_t()>& body) {
    Thread thread(body);
    uint32_t code = 1;
    EXPECT_FALSE(thread.GetExitCode(code));
    EXPECT_EQ(code, 1U);
    thread.Resume();
    EXPECT_TRUE(thread.Wait(0xFFFFFFFE) && thread.Wait(0));
    EXPECT_TRUE(thread.GetExitCode(code));
    EXPECT_EQ(code, exit_code);
    EXPECT_EQ(thread.GetThreadException()->GetCode(), kept);
    EXPECT_EQ(thread.GetThreadException()->GetMsg(), msg);
  };
  row(7, 1, "planted", [] { return support::PlantFailure(), 7U; });
  row(0xFFFFFFFF, kBadArgument, text, [&]() -> uint32_t {
    throw CBaseException(kBadArgument, text.c_str(), 5, "f");
  });
  row(0xFFFFFFFF, kStandardException, text,
      [&]() -> uint32_t { throw std::runtime_error(text); });
  row(0xFFFFFFFF, 0, "", []() -> uint32_t { pthread_exit(nullptr); });
}

TEST(Threads, GateHoldsAndWaitCountsSleeps) {
  Thread thread([] { return 0U; });  // destroyed at its gate
  const uint32_t rows[][2] = {{0, 0}, {1, 1}, {10, 1}, {11, 2}, {25, 3}};
  for (const auto& [timeout, expected] : rows) {
    sleeps = 0;
    EXPECT_FALSE(thread.Wait(timeout));
    EXPECT_EQ(sleeps, expected) << timeout;
  }
  EXPECT_TRUE(thread.IsSuspended());
  Loop loop;
  loop.Resume();
  while (!Loop::began) usleep(1000);
  loop.Suspend();
}

TEST(Threads, EveryThreadIsJoinedInWhateverState) {
  std::atomic<uint32_t> ended{0};
  for (int i = 0; i < 80; ++i) {
    std::deque<Thread> threads;
    for (int k = 0; k < 50; ++k) {
      threads.emplace_back([&] { return ++ended, 7U; });
      threads.back().Resume();
    }
    uint32_t code = 0;
    while (!threads.back().GetExitCode(code)) continue;
    EXPECT_EQ(code, 7U);
  }
  EXPECT_EQ(ended, 4000U);
  EXPECT_EQ(created, joined);
}

uint32_t ExitCode(CQuorlBasedProcess& process) {
  uint32_t code = 1000;
  EXPECT_TRUE(process.Wait(kWaitForever) && process.GetExitCode(code));
  return code;
}

TEST(Process, ExitCodeTellsHowTheProgramEnded) {
  const support::TempDir dir;
  FILE* const unwritten = fopen((dir / "out").c_str(), "w");
  fputs("once", unwritten);
  const auto row = [](const std::string& line, bool background, uint32_t code) {
    CQuorlBasedProcess process(line);
    EXPECT_TRUE(background ? process.RunBackgroundly(false)
                           : process.Run(false));
    EXPECT_EQ(ExitCode(process), code) << line;
  };
  row("sh -c \"exit 3\"", false, 3);
  row(std::string("true\0 x", 7), false, 0);
  row("/nonexistent/program", false, 254);
  row("   ", false, 254);
  row("sh -c \"kill -HUP $$; exit 4\"", false, 0xFFFFFFFF);
  row("sh -c \"kill -HUP $$; exit 4\"", true, 4);
  fclose(unwritten);
  EXPECT_EQ(support::ReadFile(dir / "out"), "once");
}

TEST(Process, FailsToStartWithoutATrace) {
  CQuorlBasedProcess process("true");
  uint32_t code = 1;
  const std::function<void()> calls[] = {
      [&] { process.Wait(0); }, [&] { process.GetExitCode(code); },
      [&] { process.Suspend(); }, [&] { process.Resume(); },
      [&] { process.Terminate(5); }};
  for (auto* failure : {&no_threads, &no_fork}) {
    *failure = true;
    EXPECT_FALSE(process.Run(false));
    *failure = false;
    for (const auto& call : calls) {
      EXPECT_FAILURE(support::Thrown(call), kWrongState,
                     "The process has not run", "../sysutils");
    }
    EXPECT_EQ(process.GetProcesspId(), 0);
    EXPECT_TRUE(process.Run(false));
    EXPECT_EQ(ExitCode(process), 0U);
  }
}

TEST(Process, SuspendedStartNeverLosesAResume) {
  CQuorlBasedProcess process("true");
  for (int i = 0; i < 200; ++i) {
    ASSERT_TRUE(process.Run(true));
    ASSERT_FALSE(process.Wait(i == 0 ? 50 : 0));
    ASSERT_EQ(process.Resume(), 0);
    ASSERT_EQ(ExitCode(process), 0U);
  }
}

TEST(Process, TerminateKillsAndACollectedChildGetsNoSignal) {
  CQuorlBasedProcess process("sleep 600");
  for (const bool stopped : {false, true}) {
    uint32_t code = 1;
    ASSERT_TRUE(process.Run(stopped));
    EXPECT_FAILURE(support::Thrown([&] { process.Run(false); }), kWrongState,
                   "The process has run already", "../sysutils");
    EXPECT_FALSE(process.GetExitCode(code));
    EXPECT_EQ(code, 1U);
    EXPECT_EQ(process.Suspend(), 0);
    EXPECT_TRUE(process.Terminate(5));
    EXPECT_EQ(ExitCode(process), 5U);
    signals = 0;
    EXPECT_FALSE(process.Terminate(6));
    EXPECT_EQ(process.Suspend() + process.Resume(), -2);
    EXPECT_EQ(signals, 0);
    EXPECT_EQ(ExitCode(process), 6U);
  }
}

TEST(Process, DestructorWaitsOrAbandons) {
  for (const bool waits : {true, false}) {
    pid_t child = 0;
    {
      CQuorlBasedProcess process(waits ? "sleep 0.1" : "sleep 600");
      process.SetWaitWhenDestruct(waits);
      ASSERT_TRUE(process.Run(false));
      child = process.GetProcesspId();
    }
    EXPECT_EQ(waitpid(child, nullptr, WNOHANG), waits ? -1 : 0);
    if (waits) continue;
    EXPECT_EQ(kill(child, SIGKILL), 0);
    EXPECT_EQ(waitpid(child, nullptr, 0), child);
  }
}

}  // namespace
