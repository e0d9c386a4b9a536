#include "vellix/exceptions.h"

#include <pthread.h>

#include <cerrno>
#include <stdexcept>
#include <thread>

#include "support/support.h"
#include "vellix/exceptions_report.h"
#include "vellix/logger.h"
#include "vellix/res_keeper.h"

namespace {

using QuorlBased::FailureSource;
using support::Recorded;

constexpr FailureSource kTest("../dir/test");

void ExpectFields(const IQuorlException& e, int code, const char* msg, int line,
                  const char* file) {
  int seen_line = 99;
  EXPECT_EQ(e.GetExceptionCode(), code);
  EXPECT_STREQ(e.GetExceptionMsg(), msg);
  EXPECT_STREQ(e.GetExceptionSource(&seen_line), file);
  EXPECT_EQ(seen_line, line);
}

TEST(FailureValue, StartsStoresClearsAndCopies) {
  ExpectFields(CBaseException(), 0, "", 0, "");
  ExpectFields(CQuorlException(), 0, "", -1, "");
  ExpectFields(CBaseException(5, nullptr, 7, nullptr), 5, "", 7, "");

  CBaseException e;
  e.SetException(3, "msg", 7, "file");
  ExpectFields(CBaseException(&e), 3, "msg", 7, "file");
  e.Copy(&e);
  ExpectFields(e, 3, "msg", 7, "file");
  e.Clear();
  ExpectFields(e, 0, "", 7, "file");
  e.SetException(-1, nullptr, -2, nullptr);
  ExpectFields(e, -1, "", -2, "");
}

TEST(FailureValue, TakesTextsThatLieInItself) {
  CBaseException e(1, "0123456789", 2, "../source");
  int line = 0;
  e.SetException(2, e.GetExceptionSource(&line) + 3, 3,
                 e.GetExceptionMsg() + 4);
  ExpectFields(e, 2, "source", 3, "456789");
  e.SetException(2, e.GetExceptionMsg() + 2, 3, e.GetExceptionMsg() + 1);
  ExpectFields(e, 2, "urce", 3, "ource");
}

TEST(Store, OneRecordPerThreadUntilReleased) {
  ReleaseQuorlException();
  ReleaseQuorlException();
  IQuorlException* mine = GetQuorlException();
  ExpectFields(*mine, 0, "", -1, "");
  mine->SetException(4, "mine", 4, "mine");
  std::thread([mine] {
    EXPECT_NE(GetQuorlException(), mine);
    ExpectFields(*GetQuorlException(), 0, "", -1, "");
    support::PlantFailure();
  }).join();
  EXPECT_EQ(GetQuorlException(), mine);
  ExpectFields(*mine, 4, "mine", 4, "mine");
  ReleaseQuorlException();
  ExpectFields(*GetQuorlException(), 0, "", -1, "");
}

// A record that outlives its thread shows as a leak under the address
// sanitizer; one destroyed twice as a crash.
TEST(Store, EndedThreadsLeaveNothing) {
  for (int i = 0; i < 200; ++i) {
    std::thread([i] {
      GetQuorlException()->SetException(1, std::string(100, 'x').c_str(), 1,
                                        "file");
      if (i % 2) ReleaseQuorlException();
    }).join();
  }
}

TEST(Guard, RecordsByKindAndLogsOnlyItsOwn) {
  struct Row {
    std::function<int()> body;
    int result;
    int code;
    const char* msg;
    size_t records;
  };
  const Row rows[] = {
      {[] { return 5; }, 5, 1, "planted", 0},
      {[]() -> int { kTest.Raise(42, "own"); }, -1, 42, "own", 1},
      {[]() -> int { throw std::out_of_range("std"); }, -1,
       QuorlBased::kStandardException, "std", 0},
      {[]() -> int { throw 7; }, -1, QuorlBased::kGeneralFailure,
       "Unknown exception", 0},
      {[]() -> int {
         errno = ENOENT;
         kTest.RaiseErrno(43, "prefix");
       },
       -1, 43, "prefix: errno: 2 No such file or directory", 1},
  };
  for (const Row& row : rows) {
    support::PlantFailure();
    const size_t before = support::Log().Records().size();
    EXPECT_EQ(kTest.Guard(-1, row.body), row.result);
    EXPECT_EQ(Recorded().code, row.code);
    EXPECT_EQ(Recorded().msg, row.msg);
    EXPECT_EQ(support::Log().Records().size() - before, row.records);
  }
}

TEST(Guard, ForeignFailureCarriesTheBoundarysOwnLine) {
  const int line = __LINE__ + 1;
  kTest.Guard([] { throw 1; });
  EXPECT_EQ(Recorded().line, line);
  EXPECT_EQ(Recorded().file, "../dir/test");
}

TEST(Guard, LetsThreadExitAndCancellationPass) {
  pthread_t thread{};
  ASSERT_EQ(pthread_create(
                &thread, nullptr,
                [](void*) -> void* {
                  static int returned;
                  kTest.Guard([] { pthread_exit(nullptr); });
                  return &returned;
                },
                nullptr),
            0);
  void* result = nullptr;
  pthread_join(thread, &result);
  EXPECT_EQ(result, nullptr);
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

TEST(StoredFailure, IsThrownAgainAndLoggedAgain) {
  support::Log();
  kTest.Guard([] { kTest.Raise(42, "twice"); });
  const support::Failure first = Recorded();
  kTest.Guard([] { QuorlBased::RaiseStoredFailure(); });
  EXPECT_EQ(Recorded().line, first.line);
  const auto records = support::Log().Records();
  ASSERT_EQ(records.size(), 2U);
  EXPECT_EQ(support::Field(records[0], "FR"), support::Field(records[1], "FR"));
  GetQuorlException()->Clear();
  QuorlBased::RaiseStoredFailure();
}

TEST(Rendering, OfTheRecordAndThroughAFormat) {
  GetQuorlException()->SetException(0, "", 9, "old");
  EXPECT_EQ(QuorlBased::GetLastQuorlExpAsText(), "");
  GetQuorlException()->SetException(-5, "why", 12, "../sysutils");
  EXPECT_EQ(QuorlBased::GetLastQuorlExpAsText(),
            "[!!! Exception Code: -5\nMsg: why\nFile: ../sysutils\n"
            "Line: 12 !!!]");
  for (const char* file : {"../sysutils", "src/net/sysutils", "sysutils"}) {
    EXPECT_EQ(QuorlBased::FormatQuorlExp(CBaseException(1, "why", 12, file),
                                         "%s:%d %s"),
              "sysutils:12 why");
  }
}

TEST(ResKeeperBlock, FailuresTellTheirOperationAndLoseNothing) {
  QuorlBased::ResKeeper keeper;
  void* block = keeper.Alloc(8);
  EXPECT_EQ(keeper.Size(), 8U);
  keeper.Attach(nullptr);
  EXPECT_EQ(keeper.Get(), block);
  const auto failed = support::Thrown([&] { keeper.Realloc(SIZE_MAX); });
  EXPECT_FAILURE(failed, 10021007, "No enough memory", "../res_keeper");
  EXPECT_EQ(keeper.Get(), nullptr);
  EXPECT_EQ(keeper.Size(), 0U);
  keeper.Attach(block);
  const auto alloc = support::Thrown([&] { keeper.Alloc(SIZE_MAX); });
  EXPECT_NE(alloc.line, failed.line);
  EXPECT_EQ(keeper.Release(), nullptr);
}

}  // namespace
