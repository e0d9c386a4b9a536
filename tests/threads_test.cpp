// The clock, locks, events, threads and child processes.
#include <fcntl.h>
#include <sys/syscall.h>

#include <csignal>

#include "support/support.h"

using namespace QuorlBased;

static thread_local int sleeps = 0;
static std::atomic<int> all_sleeps, asleep, created, joined, kills;
static std::atomic<bool> sleep_until_join{false};
static bool no_threads = false, no_fork = false;

WRAP(int, usleep, (unsigned time)) {
  ++sleeps;
  ++all_sleeps;
  while (sleep_until_join && joined == 0) __real_usleep(1000);
  return __real_usleep(time);
}
WRAP(int, pthread_cond_wait, (pthread_cond_t * cond, pthread_mutex_t* mutex)) {
  // The first wait of each thread wakes spuriously.
  static thread_local bool woken = false;
  if (!woken) {
    woken = true;
    return 0;
  }
  ++asleep;
  return __real_pthread_cond_wait(cond, mutex);
}
WRAP(int, pthread_create,
     (pthread_t * thread, const pthread_attr_t* attributes,
      void* (*entry)(void*), void* argument)) {
  if (no_threads) return EAGAIN;
  ++created;
  return __real_pthread_create(thread, attributes, entry, argument);
}
WRAP(int, pthread_join, (pthread_t thread, void** result)) {
  ++joined;
  return __real_pthread_join(thread, result);
}
WRAP(pid_t, fork, ()) { return no_fork ? -1 : __real_fork(); }
WRAP(int, kill, (pid_t pid, int signal)) {
  ++kills;
  if (signal == SIGSTOP) __real_usleep(30000);  // a child stops late
  return __real_kill(pid, signal);
}

// A counter read before the start was stored must give 0, not an underflow.
TEST(Clock, TicksCountFromTheFirstCallWhicheverThreadMakesIt) {
  support::Threads(8, [](int) { EXPECT_LT(QuorlBased_GetTicks(), 30000U); });
  const uint64_t before = QuorlBased_GetTicks();
  QuorlBased_Sleep(60);
  EXPECT_GE(QuorlBased_GetTicks(), before + 60);
}

struct Timed {
  uint32_t timeout;
  int sleeps;
};

TEST(Locks, MutexIsRecursiveAndCountsItsAttempts) {
  CXMutex mutex;
  ASSERT_TRUE(mutex.Lock(kWaitForever));
  ASSERT_TRUE(mutex.Lock(0));
  ASSERT_TRUE(mutex.Unlock());
  constexpr int kTimedSleeps = 1 + 1 + 2 + 3 + 4;  // before the wait for Unlock
  const support::Threads other(1, [&](int) {
    for (const Timed& row : {Timed{0, 1}, {9, 1}, {10, 2}, {25, 3}, {30, 4}}) {
      sleeps = 0;
      EXPECT_FALSE(mutex.Lock(row.timeout));
      EXPECT_EQ(sleeps, row.sleeps) << row.timeout;
    }
    EXPECT_TRUE(mutex.Lock(0xFFFFFFFE));
    EXPECT_TRUE(mutex.Unlock());
  });
  while (all_sleeps <= kTimedSleeps) std::this_thread::yield();
  EXPECT_TRUE(mutex.Unlock());
}

TEST(Locks, AnAutoResetEventReleasesOneWait) {
  CXEvent event(true, false);
  for (const uint32_t timeout : {0U, 999U, 0xFFFFFFFEU, kWaitForever}) {
    EXPECT_FALSE(event.Wait(1));
    event.Set();
    event.Set();  // is not counted
    EXPECT_TRUE(event.Wait(timeout));
    EXPECT_FALSE(event.Wait(1));
    event.Set();
    event.Reset();
  }
  EXPECT_FALSE(event.Wait(1));
}

TEST(Locks, AManualEventStaysSetUntilReset) {
  CXEvent event(false, true);
  EXPECT_TRUE(event.Wait(0));
  event.Reset();
  EXPECT_FALSE(event.Wait(1));
  event.Set();
  EXPECT_TRUE(event.Wait(kWaitForever));
  EXPECT_TRUE(event.Wait(0));
}

TEST(Locks, SetReleasesAllWaitersAndACancelledOneHoldsNoLock) {
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
  ~Thread() override { Join(); }
  uint32_t ThreadBody() override { return body(); }
  const std::function<uint32_t()> body;
};

TEST(Threads, OutcomeIsKeptWhateverWayTheBodyEnds) {
  const auto plant = [] {
    support::PlantFailure();
    return 7U;
  };
  const auto raise = []() -> uint32_t { throw CBaseException(5, "", 1, ""); };
  const auto exit_thread = []() -> uint32_t { pthread_exit(nullptr); };
  const struct {
    std::function<uint32_t()> body;
    uint32_t exit_code;
    int failure;
  } rows[] = {
      {plant, 7, 1}, {raise, UINT32_MAX, 5}, {exit_thread, UINT32_MAX, 0}};
  static CMemoryStream log;  // clears the record
  GetQuorlLogger()->SetLogStream(&log);
  for (const auto& row : rows) {
    Thread thread(row.body);
    uint32_t code = 1;
    EXPECT_FALSE(thread.GetExitCode(code));
    thread.Resume();
    EXPECT_TRUE(thread.Wait(0xFFFFFFFE));
    EXPECT_TRUE(thread.Wait(0));
    EXPECT_TRUE(thread.GetExitCode(code));
    EXPECT_EQ(code, row.exit_code);
    EXPECT_EQ(thread.GetThreadException()->GetCode(), row.failure);
  }
}

TEST(Threads, WaitCountsSleepsAndDestructionEndsTheGate) {
  Thread thread([] {
    ADD_FAILURE();
    return 0U;
  });
  for (const Timed& row : {Timed{0, 0}, {1, 1}, {10, 1}, {11, 2}, {25, 3}}) {
    sleeps = 0;
    EXPECT_FALSE(thread.Wait(row.timeout));
    EXPECT_EQ(sleeps, row.sleeps) << row.timeout;
  }
}

TEST(Threads, AnOwnerThatIsCancelledWaitsForTheEnd) {
  std::atomic<bool> began{false}, ended{false};
  std::thread([&] {
    Thread thread([&] {
      began = true;
      __real_usleep(50000);
      ended = true;
      return 0U;
    });
    thread.Resume();
    while (!began) std::this_thread::yield();
    pthread_cancel(pthread_self());
  }).join();
  EXPECT_TRUE(ended);
}

TEST(Threads, EveryThreadIsJoinedInWhateverState) {
  for (int i = 0; i < 100; ++i) {
    Thread suspended([] { return 7U; }), running(suspended.body),
        ended(suspended.body);
    running.Resume();
    ended.Resume();
    ended.Wait(kWaitForever);
  }
  EXPECT_EQ(created, 300);
  EXPECT_EQ(joined, 300);
}

uint32_t ExitCode(CQuorlBasedProcess& process) {
  uint32_t code = 1000;
  EXPECT_TRUE(process.Wait(60000));
  EXPECT_TRUE(process.GetExitCode(code));
  return code;
}

TEST(Process, ExitCodeTellsHowTheProgramEnded) {
  const support::TempDir dir;
  FILE* const unwritten = fopen((dir / "out").c_str(), "w");
  fputs("once", unwritten);  // not by a child
  const struct {
    std::string line;
    bool background;
    uint32_t code;
  } rows[] = {
      {"sh -c \"exit 3\"", false, 3},
      {std::string("true\0 x", 7), false, 0},
      {"   ", false, 254},
      {"/nonexistent/program", false, 254},
      {"sh -c \"kill -HUP $$; exit 4\"", false, 0xFFFFFFFF},
      {"sh -c \"kill -HUP $$; exit 4\"", true, 4},
      {"sh -c \"kill -USR1 $$; exit 5\"", false, 5},
  };
  signal(SIGHUP, SIG_DFL);
  signal(SIGUSR1, SIG_IGN);
  for (const auto& row : rows) {
    CQuorlBasedProcess process(row.line);
    EXPECT_TRUE(row.background ? process.RunBackgroundly(false)
                               : process.Run(false));
    EXPECT_EQ(ExitCode(process), row.code) << row.line;
  }
  fclose(unwritten);
  EXPECT_EQ(support::ReadFile(dir / "out"), "once");
  signal(SIGCHLD, SIG_IGN);  // no one can collect it
  CQuorlBasedProcess uncollected("true");
  EXPECT_TRUE(uncollected.Run(false));
  EXPECT_EQ(ExitCode(uncollected), 0xFFFFFFFF);
}

TEST(Process, FailsToStartWithoutATrace) {
  CQuorlBasedProcess process("true");
  for (bool* failure : {&no_threads, &no_fork}) {
    *failure = true;
    EXPECT_FALSE(process.Run(false));
    *failure = false;
    EXPECT_FAILURE(support::Thrown([&] { process.Wait(0); }), kWrongState,
                   "The process has not run", "../sysutils");
    EXPECT_EQ(process.GetProcesspId(), 0);
    EXPECT_TRUE(process.Run(false));
    EXPECT_EQ(ExitCode(process), 0U);
  }
}

TEST(Process, SuspendedStartBesideAHostThatCollects) {
  const support::BusyThreads reaper(
      1, [](int) { waitpid(-1, nullptr, WUNTRACED | WNOHANG); });
  CQuorlBasedProcess process("true");
  EXPECT_TRUE(process.Run(true));
  EXPECT_FALSE(process.Wait(50));
  EXPECT_EQ(process.Resume(), 0);
  EXPECT_TRUE(process.Wait(60000));
}

TEST(Process, ASuspendedStartIsResumedHoweverLateItStops) {
  CQuorlBasedProcess process("true");
  ASSERT_TRUE(process.Run(true));
  EXPECT_EQ(process.Resume(), 0);
  if (process.Wait(60000)) return;
  ADD_FAILURE() << "it stopped after Resume";
  process.Terminate(0);
}

TEST(Process, NoHandlerOfTheHostRunsInAChild) {
  int ends[2];
  ASSERT_EQ(pipe2(ends, O_NONBLOCK), 0);
  static const int self = ends[1];
  signal(SIGTERM, [](int) { EXPECT_EQ(write(self, "x", 1), 1); });
  CQuorlBasedProcess process("true");
  ASSERT_TRUE(process.Run(true));
  kill(process.GetProcesspId(), SIGTERM);
  process.Resume();
  EXPECT_EQ(ExitCode(process), 0xFFFFFFFF);
  char byte = 0;
  EXPECT_EQ(read(ends[0], &byte, 1), -1);
}

TEST(Process, TerminateKillsByDescriptor) {
  const bool by_descriptor = syscall(SYS_pidfd_open, getpid(), 0) != -1;
  CQuorlBasedProcess process("sleep 600");
  for (const bool stopped : {false, true}) {
    uint32_t code = 1;
    ASSERT_TRUE(process.Run(stopped));
    EXPECT_FAILURE(support::Thrown([&] { process.Run(false); }), kWrongState,
                   "The process has run already", "../sysutils");
    EXPECT_FALSE(process.GetExitCode(code));
    kills = 0;
    EXPECT_EQ(process.Suspend(), 0);
    EXPECT_TRUE(process.Terminate(5));
    EXPECT_EQ(ExitCode(process), 5U);
    EXPECT_EQ(kills, by_descriptor ? 0 : 2);
    EXPECT_FALSE(process.Terminate(6));
    EXPECT_EQ(process.Resume(), -1);
    EXPECT_EQ(ExitCode(process), 6U);
  }
}

TEST(Process, TerminateOnTwoThreadsLeavesTheNextRunAlone) {
  CQuorlBasedProcess process("sleep 600");
  for (int round = 0; round < 20; ++round) {
    ASSERT_TRUE(process.Run(false));
    {
      const support::Threads two(2, [&](int) { process.Terminate(5); });
      EXPECT_EQ(ExitCode(process), 5U);
      ASSERT_TRUE(process.Run(false));
    }  // joined: neither waits for the next run
    process.Terminate(6);
    EXPECT_EQ(ExitCode(process), 6U);
  }
  EXPECT_EQ(joined, 40);
}

TEST(Process, TheLauncherOfTheRunBeforeIsJoined) {
  CQuorlBasedProcess process("true");
  for (int round = 0; round < 2; ++round) {
    ASSERT_TRUE(process.Run(false));
    EXPECT_TRUE(process.Wait(kWaitForever));
  }
  EXPECT_EQ(joined, 1);
}

TEST(Process, DestructorWaitsForTheChild) {
  pid_t child = 0;
  {
    CQuorlBasedProcess process("sleep 0.1");
    ASSERT_TRUE(process.Run(false));
    child = process.GetProcesspId();
  }
  EXPECT_EQ(waitpid(child, nullptr, WNOHANG), -1);
  EXPECT_EQ(joined, 1);
}

TEST(Process, DestructorLeavesTheChildToTheHost) {
  pid_t child = 0;
  {
    CQuorlBasedProcess process("sleep 600");
    process.SetWaitWhenDestruct(false);
    ASSERT_TRUE(process.Run(false));
    child = process.GetProcesspId();
    sleep_until_join = true;
    const int sleeps_before = all_sleeps;
    while (all_sleeps == sleeps_before) sched_yield();
    kill(child, SIGKILL);
  }
  EXPECT_EQ(waitpid(child, nullptr, 0), child);
}
