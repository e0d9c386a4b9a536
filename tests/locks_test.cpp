#include <atomic>
#include <chrono>
#include <thread>
#include <vector>

#include "support/support.h"
#include "vellix/sysutils_locks.h"

using namespace QuorlBased;

static std::atomic<int> sleeps, asleep;

extern "C" {
int __real_usleep(unsigned);
int __wrap_usleep(unsigned time) { return ++sleeps, __real_usleep(time); }
int __real_pthread_cond_wait(pthread_cond_t*, pthread_mutex_t*);
int __wrap_pthread_cond_wait(pthread_cond_t* cond, pthread_mutex_t* mutex) {
  // The first wake-up of each thread has no cause.
  static thread_local bool woken = false;
  if (!woken) return woken = true, 0;
  return ++asleep, __real_pthread_cond_wait(cond, mutex);
}
}

TEST(Locks, ANullHandleIsRefused) {
  for (auto* call : {enter_critical, leave_critical, delete_critical}) {
    EXPECT_FAILURE(support::Thrown([call] { call(nullptr); }), kNullPointer,
                   "Bad pointer", "../sysutils");
  }
}

TEST(Locks, MutexIsRecursiveAndCountsItsAttempts) {
  CXMutex mutex;
  ASSERT_TRUE(mutex.Lock(kWaitForever) && mutex.Lock(0) && mutex.Unlock());
  std::thread other([&] {
    const int rows[][2] = {{0, 1}, {9, 1}, {10, 2}, {25, 3}, {30, 4}};
    for (const auto& [timeout, attempts] : rows) {
      sleeps = 0;
      EXPECT_FALSE(mutex.Lock(static_cast<uint32_t>(timeout)));
      EXPECT_EQ(sleeps, attempts) << timeout;
    }
    sleeps = 100;
    EXPECT_TRUE(mutex.Lock(0xFFFFFFFE) && mutex.Unlock());
  });
  while (sleeps <= 100) std::this_thread::yield();
  EXPECT_TRUE(mutex.Unlock());
  other.join();
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
