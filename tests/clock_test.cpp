#include <gtest/gtest.h>

#include <thread>
#include <vector>

#include "vellix/sysutils_clock.h"

using namespace QuorlBased;

// A reading older than the start would come out as an eternity, an empty rate
// as a division by zero.
TEST(Clock, CountsFromTheFirstCallWhichAllThreadsMayMakeAtOnce) {
  std::vector<std::thread> threads;
  for (int i = 0; i < 8; ++i) {
    threads.emplace_back([] { EXPECT_LT(QuorlBased_GetTicks(), 30000U); });
  }
  for (std::thread& thread : threads) thread.join();
  const uint64_t before = QuorlBased_GetTicks();
  QuorlBased_Sleep(60);
  EXPECT_GE(QuorlBased_GetTicks(), before + 60);
  QuorlBased_Sleep(4294968);  // 704 microseconds more than 32 bits hold
  EXPECT_LT(QuorlBased_GetTicks(), before + 30000);
  EXPECT_GE(get_cpu_count(), 1);
}
