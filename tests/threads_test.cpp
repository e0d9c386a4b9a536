#include <unistd.h>

#include <atomic>
#include <cstdlib>
#include <deque>
#include <stdexcept>
#include <thread>

#include "support/support.h"
#include "vellix/logger.h"
#include "vellix/sysutils_threads.h"

using namespace QuorlBased;

static thread_local int sleeps = 0;
static std::atomic<int> created, joined;

extern "C" {
int __real_usleep(unsigned);
int __wrap_usleep(unsigned time) { return ++sleeps, __real_usleep(time); }
int __real_pthread_create(pthread_t*, const pthread_attr_t*, void* (*)(void*),
                          void*);
int __wrap_pthread_create(pthread_t* thread, const pthread_attr_t* attributes,
                          void* (*entry)(void*), void* argument) {
  return ++created, __real_pthread_create(thread, attributes, entry, argument);
}
int __real_pthread_join(pthread_t, void**);
int __wrap_pthread_join(pthread_t thread, void** result) {
  return ++joined, __real_pthread_join(thread, result);
}
}

namespace {

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

}  // namespace

TEST(Threads, OutcomeIsKeptWhateverWayTheBodyEnds) {
  const std::string text(100, 'x');
  static ThrowingStream target;
  ASSERT_TRUE(GetQuorlLogger()->SetLogStream(&target));
  using Body = std::function<uint32_t()>;
  const Body returns = [] { return support::PlantFailure(), 7U; };
  const Body throws = [&]() -> uint32_t {
    throw CBaseException(kBadArgument, text.c_str(), 5, "f");
  };
  const Body throws_standard = [&]() -> uint32_t {
    throw std::runtime_error(text);
  };
  const Body throws_other = []() -> uint32_t { throw 1; };
  const Body leaves = []() -> uint32_t { pthread_exit(nullptr); };
  const struct {
    Body body;
    uint32_t exit_code;
    int code;
    std::string msg;
  } rows[] = {{[] { return 7U; }, 7, 0, ""},
              {returns, 7, 1, "planted"},
              {throws, 0xFFFFFFFF, kBadArgument, text},
              {throws_standard, 0xFFFFFFFF, kStandardException, text},
              {throws_other, 0xFFFFFFFF, kGeneralFailure, "Unknown exception"},
              {leaves, 0xFFFFFFFF, 0, ""}};
  for (const auto& row : rows) {
    Thread thread(row.body);
    uint32_t code = 1;
    EXPECT_FALSE(thread.GetExitCode(code));
    EXPECT_EQ(code, 1U);
    thread.Resume();
    EXPECT_TRUE(thread.Wait(0xFFFFFFFE) && thread.Wait(kWaitForever));
    EXPECT_TRUE(thread.Wait(0) && thread.GetExitCode(code));
    EXPECT_EQ(code, row.exit_code);
    EXPECT_EQ(thread.GetThreadException()->GetCode(), row.code);
    EXPECT_EQ(thread.GetThreadException()->GetMsg(), row.msg);
  }
}

TEST(Threads, GateHoldsAndWaitCountsSleeps) {
  Thread thread([] { return 0U; });
  const int rows[][2] = {{0, 0}, {1, 1}, {10, 1}, {11, 2}, {25, 3}};
  for (const auto& [timeout, expected] : rows) {
    sleeps = 0;
    EXPECT_FALSE(thread.Wait(static_cast<uint32_t>(timeout)));
    EXPECT_EQ(sleeps, expected) << timeout;
  }
  EXPECT_TRUE(thread.IsSuspended());
  // Destroyed at the gate.
}

TEST(Threads, DestructorLeavesTheSuspensionThatABodyWaitsFor) {
  Loop loop;
  loop.Resume();
  while (!Loop::began) usleep(1000);
  loop.Suspend();
}

TEST(Threads, EveryThreadIsJoinedInWhateverState) {
  std::atomic<int> ended{0};
  for (int i = 0; i < 80; ++i) {
    std::deque<Thread> threads;
    for (int k = 0; k < 50; ++k) {
      threads.emplace_back([&] { return static_cast<uint32_t>(++ended); });
      threads.back().Resume();
    }
  }
  EXPECT_EQ(ended, 4000);
  EXPECT_EQ(created, joined);
}
