#include "vellix/exceptions.h"

#include <cerrno>
#include <stdexcept>
#include <thread>

#include "support/support.h"
#include "vellix/exceptions_report.h"
#include "vellix/res_keeper.h"

using namespace QuorlBased;
using support::Recorded;

namespace {

constexpr FailureSource kTest("../dir/test");

void ExpectFields(const IQuorlException& e, int code, const char* msg, int line,
                  const char* file) {
  int seen_line = 99;
  EXPECT_EQ(e.GetExceptionCode(), code);
  EXPECT_STREQ(e.GetExceptionMsg(), msg);
  EXPECT_STREQ(e.GetExceptionSource(&seen_line), file);
  EXPECT_EQ(seen_line, line);
}

TEST(FailureValue, StoresCopiesClearsAndTakesTextsThatLieInItself) {
  ExpectFields(CBaseException(), 0, "", 0, "");
  ExpectFields(CBaseException(5, nullptr, 7, nullptr), 5, "", 7, "");
  CBaseException e(3, "0123456789", 7, "../source");
  ExpectFields(CBaseException(&e), 3, "0123456789", 7, "../source");
  e.Clear();
  ExpectFields(e, 0, "", 7, "../source");
  e.SetException(-1, "0123456789", -2, "../source");
  int line = 0;
  e.SetException(2, e.GetExceptionSource(&line) + 3, 3,
                 e.GetExceptionMsg() + 4);
  ExpectFields(e, 2, "source", 3, "456789");
  e.SetException(2, e.GetExceptionMsg() + 2, 3, e.GetExceptionMsg() + 1);
  ExpectFields(e, 2, "urce", 3, "ource");
}

TEST(Store, OneRecordPerThreadUntilReleased) {
  ReleaseQuorlException();
  IQuorlException* mine = GetQuorlException();
  mine->SetException(4, "mine", 4, "mine");
  std::thread([] {
    ExpectFields(*GetQuorlException(), 0, "", -1, "");
    support::PlantFailure();
  }).join();
  EXPECT_EQ(GetQuorlException(), mine);
  ExpectFields(*mine, 4, "mine", 4, "mine");
  ReleaseQuorlException();
  ExpectFields(*GetQuorlException(), 0, "", -1, "");
}

TEST(Guard, RecordsByKindAndLogsOnlyItsOwn) {
  const auto row = [](int code, const char* msg, size_t logged, auto body) {
    support::PlantFailure();
    const size_t before = support::Log().Records().size();
    EXPECT_EQ(kTest.Guard(-1, body), code == 1 ? 5 : -1);
    EXPECT_EQ(Recorded().code, code);
    EXPECT_EQ(Recorded().msg, msg);
    EXPECT_EQ(support::Log().Records().size() - before, logged);
  };
  row(1, "planted", 0, [] { return 5; });
  row(42, "own", 1, []() -> int { kTest.Raise(42, "own"); });
  row(kStandardException, "std", 0,
      []() -> int { throw std::range_error("std"); });
  row(43, "p: errno: 2 No such file or directory", 1, []() -> int {
    errno = ENOENT;
    kTest.RaiseErrno(43, "p");
  });
  row(kGeneralFailure, "Unknown exception", 0, []() -> int { throw 7; });
  const int line = __LINE__ + 1;
  kTest.Guard([] { throw 1; });
  EXPECT_EQ(Recorded().line, line);
}

TEST(Guard, AFailureIsLoggedThoughItsThreadIsToBeCancelled) {
  ASSERT_TRUE(GetQuorlLogger()->SetLogFile("/dev/null", true));
  std::thread([] {
    pthread_cancel(pthread_self());
    kTest.Guard([] { kTest.Raise(42, "cancelled"); });
    int state = -1;
    pthread_setcancelstate(PTHREAD_CANCEL_DISABLE, &state);
    EXPECT_EQ(state, PTHREAD_CANCEL_ENABLE);
    EXPECT_EQ(Recorded().code, 42);
  }).join();
}

TEST(Guard, AStoredFailureIsThrownAgainAndLoggedAgain) {
  support::Log();
  kTest.Guard([] { kTest.Raise(42, "twice"); });
  kTest.Guard([] { RaiseStoredFailure(); });
  const auto records = support::Log().Records();
  ASSERT_EQ(records.size(), 2U);
  EXPECT_EQ(support::Field(records[0], "FR"), support::Field(records[1], "FR"));
  GetQuorlException()->Clear();
  RaiseStoredFailure();
}

TEST(Rendering, OfTheRecordAndThroughAFormat) {
  GetQuorlException()->SetException(0, "", 9, "old");
  EXPECT_EQ(GetLastQuorlExpAsText(), "");
  GetQuorlException()->SetException(-5, "why", 12, "../sysutils");
  EXPECT_EQ(GetLastQuorlExpAsText(),
            "[!!! Exception Code: -5\nMsg: why\nFile: ../sysutils\n"
            "Line: 12 !!!]");
  const CBaseException e(1, "why", 12, "src/net/sysutils");
  EXPECT_EQ(FormatQuorlExp(e, "%s:%d %s"), "sysutils:12 why");
}

TEST(ResKeeperBlock, FailuresTellTheirOperationAndLoseNothing) {
  ResKeeper keeper;
  void* block = keeper.Alloc(8);
  keeper.Attach(nullptr);
  EXPECT_EQ(keeper.Get(), block);
  const auto failed = support::Thrown([&] { keeper.Realloc(SIZE_MAX); });
  EXPECT_FAILURE(failed, kOutOfMemory, "No enough memory", "../res_keeper");
  EXPECT_EQ(keeper.Get(), nullptr);
  EXPECT_EQ(keeper.Size(), 0U);
  keeper.Attach(block);
  const auto alloc = support::Thrown([&] { keeper.Alloc(SIZE_MAX); });
  EXPECT_NE(alloc.line, failed.line);
  EXPECT_EQ(keeper.Release(), nullptr);
}

}  // namespace
