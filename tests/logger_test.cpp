// The logger's settings, its records, their time, and targets of every kind.

#include "support/support.h"
#include "vellix/exceptions_report.h"
#include "vellix/logger_time.h"

using namespace QuorlBased;
using support::Field;
using support::Recorded;

constexpr FailureSource kTest("test");

void LogText(LogLevel level, const char* msg) {
  GetQuorlLogger()->Log(level, "f", msg, nullptr, 0);
}

void Fail(const char* msg) {
  kTest.Guard([msg] { kTest.Raise(42, msg); });
}

void LogAndFail() {
  LogText(LogInfo, "");
  Fail("inner");
}

TEST(Time, FollowsTheZoneWhenTheNextSecondBegins) {
  TimeText text;
  setenv("TZ", "EST5", 1);
  EXPECT_STREQ(text.For(1793523900), "Sun Nov  1 04:05:00 2026\n");
  setenv("TZ", "UTC0", 1);
  EXPECT_STREQ(text.For(1793523900), "Sun Nov  1 04:05:00 2026\n");
  EXPECT_STREQ(text.For(1793523901), "Sun Nov  1 09:05:01 2026\n");
}

// It must not call the C library, whose lock of the zone may be held for ever.
TEST(Time, AChildOfThreadsComposesItByTheLastOffset) {
  setenv("TZ", "<+0530>-5:30", 1);
  TimeText child;
  child.LearnOffset();
  setenv("TZ", "UTC0", 1);
  child.EnterChild(true);
  // 63 days less a second: every weekday and month, some leap days.
  for (int64_t now = -3000000000; now < 30000000000; now += 5443199) {
    const auto shown = static_cast<time_t>(now + 19800);
    tm fields{};
    char expected[64];
    EXPECT_STREQ(child.For(static_cast<time_t>(now)),
                 asctime_r(gmtime_r(&shown, &fields), expected));
  }
}

std::string Logged(const char* from, const char* msg, const void* data,
                   unsigned size) {
  GetQuorlLogger()->Log(LogWarn, from, msg,
                        static_cast<const unsigned char*>(data), size);
  const std::string record = support::Log().records.back();
  return record.substr(record.find("[LV="));
}

TEST(Record, HasATextForEachFieldOnOneLine) {
  support::Log();
  EXPECT_EQ(Logged(nullptr, nullptr, nullptr, 5),
            "[LV=WARN ] [FR=NULL] [MG=NULL] [BN=NULL]\r\n");
  std::string data(1025, '\xA0');
  EXPECT_EQ(Logged("f", "m", data.data(), 1025),
            "[LV=WARN ] [FR=f] [MG=m] [BN=" +
                BinaryToHexString(data.data(), 1024, " ") + "]\r\n");
}

// Around the room on the stack.
TEST(Record, OfEveryLengthIsWhole) {
  support::Log();
  for (size_t length = 3900; length < 4200; ++length) {
    const std::string text(length, 'x');
    ASSERT_EQ(Logged("f", text.c_str(), nullptr, 0),
              "[LV=WARN ] [FR=f] [MG=" + text + "] [BN=NULL]\r\n");
  }
}

TEST(Settings, TheFirstTargetStays) {
  IQuorlLogger* logger = GetQuorlLogger();
  EXPECT_FALSE(logger->SetLogStream(nullptr));
  EXPECT_FALSE(logger->SetLogFile(nullptr, true));
  IQuorlStream* first = &support::Log();
  support::RecordingStream second;
  EXPECT_FALSE(logger->SetLogStream(&second));
  EXPECT_FALSE(logger->SetLogFile("/dev/null", true));
  EXPECT_EQ(logger->GetLogStream(), first);
}

// The levels that are written, of those that there are and some that are not.
std::vector<std::string> Written() {
  support::Log().records.clear();
  for (int i = -2; i < 9; ++i) LogText(static_cast<LogLevel>(i), "");
  std::vector<std::string> levels;
  for (const std::string& record : support::Log().records) {
    levels.push_back(Field(record, "LV"));
  }
  return levels;
}

TEST(Settings, SwitchesAndLevelsDecideWhatIsWritten) {
  using Levels = std::vector<std::string>;
  IQuorlLogger* logger = GetQuorlLogger();
  EXPECT_EQ(Written(),
            (Levels{"DEBUG", "INFO ", "WARN ", "EXP  ", "ERROR", "FATAL"}));
  logger->EnableExpLog(false);
  EXPECT_FALSE(logger->IsExpLogEnabled());
  EXPECT_EQ(Written(), (Levels{"DEBUG", "INFO ", "WARN ", "ERROR", "FATAL"}));
  logger->EnableExpLog(true);
  logger->EnableLog(false);
  EXPECT_TRUE(logger->IsExpLogEnabled());
  EXPECT_EQ(Written(), Levels());
}

TEST(LogFile, IsAppendedToOrEmptied) {
  const support::TempDir dir;
  const std::string name = dir / "log";
  for (const bool append : {true, false}) {
    CQuorlLogger logger;
    support::WriteFile(name, "kept");
    support::PlantFailure();
    EXPECT_TRUE(logger.SetLogFile(name.c_str(), append));
    EXPECT_EQ(Recorded().code, 0);
    EXPECT_EQ(logger.GetLogFile(), name);
    logger.Log(LogInfo, "f", "m", nullptr, 0);
    logger.GetLogStream()->Free();
    const std::string start = append ? "kept[TM=" : "[TM=";
    EXPECT_EQ(support::ReadFile(name).substr(0, start.size()), start);
  }
}

TEST(LogFile, AfterAFailureTakesOneDescriptorEvenIf0IsFree) {
  const support::TempDir dir;
  CQuorlLogger logger;
  EXPECT_FALSE(logger.SetLogFile((dir / "none/log").c_str(), true));
  EXPECT_EQ(Recorded().code, kFileFailure);
  close(0);
  const auto before = support::OpenDescriptors();
  EXPECT_TRUE(logger.SetLogFile((dir / "new").c_str(), true));
  EXPECT_EQ(support::OpenDescriptors(), before + 1);
  logger.GetLogStream()->Free();
}

void ForkInside() {
#ifndef __SANITIZE_THREAD__  // does not know _Fork, and hangs in it
  const pid_t child = _Fork();
  if (child == 0) _exit(GetQuorlLogger()->IsLogging(nullptr));
  int status = -1;
  waitpid(child, &status, 0);
  EXPECT_EQ(status, 0);
#endif
}

TEST(Target, MayFailThrowLogOrReleaseTheRecord) {
  struct Target : support::RecordingStream {
    int32_t Write(const void* buffer, uint32_t count) override {
      RecordingStream::Write(buffer, count);
      if (const auto once = std::exchange(act, nullptr)) once();
      return -1;
    }
    void (*act)();
  };
  const struct {
    void (*act)();  // at the first Write
    size_t records;
    const char* failure;  // left in the record
  } rows[] = {
      {[] { Fail("inside"); }, 2, "inside"},
      {[] { throw std::runtime_error("x"); }, 2, "outside"},
      {LogAndFail, 3, "inner"},
      {ReleaseQuorlException, 2, ""},
      {ForkInside, 2, "outside"},
  };
  for (const auto& row : rows) {
    // In a process of its own: a target is set once.
    const auto body = [&row] {
      Target target;
      target.act = row.act;
      GetQuorlLogger()->SetLogStream(&target);
      try {
        Fail("outside");
      } catch (const std::runtime_error&) {
      }
      EXPECT_EQ(Recorded().msg, row.failure);
      EXPECT_FALSE(GetQuorlLogger()->IsLogging(nullptr));
      std::thread([] { LogText(LogFatal, "last"); }).join();
      EXPECT_EQ(target.records.size(), row.records);
    };
    EXPECT_EQ(support::InChild(body), 0) << row.failure;
  }
}

TEST(Target, GetsEveryFailureBesideABusyLogger) {
  support::Log();
  {
    const support::BusyThreads busy(1, [](int) { LogText(LogDebug, "busy"); });
    for (int i = 0; i < 20000; ++i) Fail("counted");
  }
  int counted = 0;
  for (const std::string& record : support::Log().records) {
    counted += Field(record, "LV") == "EXP  ";
  }
  EXPECT_EQ(counted, 20000);
}
