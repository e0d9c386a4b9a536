// The part of a crash record that needs no crash; examples/crashes.cpp tests
// the others.
#include "support/support.h"
#include "vellix/crash_record.h"

namespace {

TEST(CrashRecords, HaveTheTimeOfAsctime) {
  for (time_t now = 0; now < time_t{1} << 33; now += 1234567) {
    tm fields{};
    char expected[32];
    asctime_r(gmtime_r(&now, &fields), expected);
    vellix::crash_internal::Line line;
    line.Begin();
    vellix::crash_internal::PutTime(line, static_cast<uint64_t>(now));
    ASSERT_EQ(std::string(line.Data(false), line.Size(false)) + "\n", expected);
  }
}

}  // namespace
