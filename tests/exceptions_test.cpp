// Failures from the throw to their text, and the scoped heap block.
#include <unwind.h>

#include "support/support.h"
#include "vellix/exceptions_report.h"
#include "vellix/res_keeper.h"

using namespace QuorlBased;
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

TEST(FailureValue, NullTextsAreEmptyAndClearKeepsTheSource) {
  ExpectFields(CBaseException(5, nullptr, 7, nullptr), 5, "", 7, "");
  CBaseException failure(3, "message", 7, "../source");
  CBaseException copy(&failure);
  copy.Clear();
  ExpectFields(copy, 0, "", 7, "../source");
  ExpectFields(failure, 3, "message", 7, "../source");
}

TEST(FailureValue, TakesTextsThatLieInItself) {
  CBaseException failure(3, "0123456789", 7, "../source");
  int line = 0;
  failure.SetException(2, failure.GetExceptionSource(&line) + 3, 3,
                       failure.GetExceptionMsg() + 4);
  ExpectFields(failure, 2, "source", 3, "456789");
}

TEST(Store, EachThreadHasOneRecordUntilItReleasesIt) {
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

// What a module in another language lets out.
[[noreturn]] int ThrowForeign() {
  static _Unwind_Exception foreign;
  memcpy(&foreign.exception_class, "FOREIGN", 8);
  _Unwind_RaiseException(&foreign);
  abort();
}

TEST(Guard, RecordsWhatLeavesTheBodyAndLogsItsOwnFailures) {
  const struct {
    int (*body)();
    int code;
    const char* msg;
    size_t logged;
  } rows[] = {
      {[]() -> int { kTest.Raise(42, "own"); }, 42, "own", 1},
      {[]() -> int { kTest.RaiseError(2, 43, "p"); }, 43,
       "p: errno: 2 No such file or directory", 1},
      {[]() -> int { throw std::range_error("std"); }, kStandardException,
       "std", 0},
      {[]() -> int { throw 7; }, kGeneralFailure, "Unknown exception", 0},
      {ThrowForeign, kGeneralFailure, "Unknown exception", 0},
  };
  for (const auto& row : rows) {
    const size_t before = support::Log().records.size();
    CBaseException kept;
    EXPECT_EQ(kTest.Guard(-1, row.body, &kept), -1);
    EXPECT_FAILURE(Recorded(), row.code, row.msg, "../dir/test");
    EXPECT_EQ(kept.GetCode(), row.code);
    EXPECT_EQ(std::uncaught_exceptions(), 0);
    EXPECT_EQ(support::Log().records.size() - before, row.logged);
  }
  support::PlantFailure();
  EXPECT_EQ(kTest.Guard(-1, [] { return 5; }), 5);
  EXPECT_TRUE(support::FailurePlanted());
}

TEST(Guard, LeavesAnExceptionThatTheHostKeepsWhole) {
  struct Own final : CBaseException {
    using CBaseException::CBaseException;
    const char* GetExceptionMsg() const override {
      return *GetMsg() ? "own" : "moved from";
    }
  };
  const auto thrown = std::make_exception_ptr(Own(5, "msg", 1, ""));
  const auto rethrow = [&thrown]() -> int { std::rethrow_exception(thrown); };
  CBaseException kept;
  kTest.Guard(0, rethrow, &kept);
  EXPECT_STREQ(kept.GetMsg(), "own");
  EXPECT_EQ(support::Thrown(rethrow).msg, "own");
}

TEST(Rendering, AFailureIsText) {
  GetQuorlException()->SetException(0, "", 9, "old");
  EXPECT_EQ(GetLastQuorlExpAsText(), "");
  CBaseException failure(-5, "why", 12, "src/net/sysutils");
  GetQuorlException()->Copy(&failure);
  EXPECT_EQ(GetLastQuorlExpAsText(),
            "[!!! Exception Code: -5\nMsg: why\nFile: src/net/sysutils\n"
            "Line: 12 !!!]");
  EXPECT_EQ(FormatQuorlExp(failure, "%s:%d %s"), "sysutils:12 why");
}

TEST(ResKeeper, AFailureLosesNothing) {
  ResKeeper keeper;
  void* block = keeper.Alloc(8);
  keeper.Attach(nullptr);
  EXPECT_EQ(keeper.Get(), block);
  EXPECT_FAILURE(support::Thrown([&] { keeper.Realloc(UINT64_MAX); }),
                 kOutOfMemory, "No enough memory", "../res_keeper");
  EXPECT_EQ(keeper.Size(), 0U);
  free(block);
}
