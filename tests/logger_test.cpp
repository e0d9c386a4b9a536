#include "vellix/logger.h"

#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <stdexcept>
#include <thread>

#include "support/support.h"
#include "vellix/exceptions_report.h"
#include "vellix/sysutils_files.h"

namespace {

using namespace QuorlBased;
using support::Field;
using support::Recorded;
using support::TempDir;

constexpr FailureSource kTest("test");

void LogText(LogLevel level, const char* from, const char* msg) {
  GetQuorlLogger()->Log(level, from, msg, nullptr, 0);
}

void Fail(const char* msg) {
  kTest.Guard([msg] { kTest.Raise(42, msg); });
}

TEST(Record, HasEachFieldInItsPlace) {
  support::Log();
  setenv("TZ", "UTC0", 1);
  const unsigned char data[] = {0x0F, 0xA0};
  const time_t before = time(nullptr);
  GetQuorlLogger()->Log(LogInfo, "net", "up", data, 2);
  const time_t after = time(nullptr);
  const std::string record = support::Log().Records().at(0);
  const std::string rest = "] [TH=" + std::to_string(gettid()) +
                           "] [LV=INFO ] [FR=net] [MG=up] [BN=0F A0 ]\r\n";
  ASSERT_EQ(record.size(), 4 + 24 + rest.size());
  EXPECT_EQ(record.substr(28), rest);
  const auto as_text = [](time_t t) {
    return std::string(asctime(gmtime(&t))).substr(0, 24);
  };
  EXPECT_TRUE(record.substr(4, 24) == as_text(before) ||
              record.substr(4, 24) == as_text(after))
      << record;
}

TEST(Record, TimeFollowsTheZoneWithinASecond) {
  support::Log();
  std::string hours;
  for (const char* zone : {"UTC0", "EST5", "UTC0", "<+03>-3"}) {
    setenv("TZ", zone, 1);
    LogText(LogInfo, "", "");
    const time_t now = time(nullptr);
    tm fields{};
    localtime_r(&now, &fields);
    const std::string time =
        Field(support::Log().Records().back(), "TM").substr(11, 2);
    EXPECT_EQ(std::stoi(time), fields.tm_hour) << zone;
  }
}

TEST(Record, TextsAndDataOfEveryKind) {
  support::Log();
  const std::string kilobyte(1024, '\xAB');
  const std::string longer = kilobyte + "\x01";
  const std::string text(100000, 't');
  const std::string ends(5000, '\n');
  const auto bytes = [](const std::string& s) {
    return reinterpret_cast<const unsigned char*>(s.data());
  };
  std::string dump, escaped;
  for (int i = 0; i < 1024; ++i) dump += "AB ";
  for (int i = 0; i < 5000; ++i) escaped += "\\n";
  struct Row {
    const char* from;
    const char* msg;
    const unsigned char* data;
    unsigned size;
    std::string tail;  // from the field FR on
  };
  const Row rows[] = {
      {nullptr, nullptr, nullptr, 5, "NULL] [MG=NULL] [BN=NULL]\r\n"},
      {"", "", bytes(kilobyte), 0, "] [MG=] [BN=NULL]\r\n"},
      {"a\r\nb", "\\n]\t\x80\n", nullptr, 0,
       "a\\r\\nb] [MG=\\n]\t\x80\\n] [BN=NULL]\r\n"},
      {"f", "m", bytes(kilobyte), 1024, "f] [MG=m] [BN=" + dump + "]\r\n"},
      {"f", "m", bytes(longer), 1025, "f] [MG=m] [BN=" + dump + "]\r\n"},
      {"f", text.c_str(), nullptr, 0, "f] [MG=" + text + "] [BN=NULL]\r\n"},
      {"f", ends.c_str(), nullptr, 0, "f] [MG=" + escaped + "] [BN=NULL]\r\n"},
  };
  for (const Row& row : rows) {
    GetQuorlLogger()->Log(LogWarn, row.from, row.msg, row.data, row.size);
    const std::string record = support::Log().Records().back();
    EXPECT_EQ(record.substr(record.find("[FR=") + 4), row.tail);
  }
  EXPECT_EQ(CQuorlLogger::ConvertToLogText("\ra\nb"), "\\ra\\nb");
  std::string out = "old";
  CQuorlLogger::ConvertToHexString(bytes(longer), 0, out);
  EXPECT_EQ(out, "");
}

TEST(Settings, SwitchesAndLevelsDecide) {
  struct Row {
    bool log, exp_log;
    std::string levels;  // those that write
  };
  const Row rows[] = {{true, true, "DEBUG INFO  WARN  EXP   ERROR FATAL "},
                      {true, false, "DEBUG INFO  WARN  ERROR FATAL "},
                      {false, true, ""}};
  IQuorlLogger* logger = GetQuorlLogger();
  size_t seen = support::Log().Records().size();
  for (const Row& row : rows) {
    logger->EnableLog(row.log);
    logger->EnableExpLog(row.exp_log);
    EXPECT_EQ(logger->IsExpLogEnabled(), row.exp_log);
    for (int level = -2; level < 9; ++level) {
      LogText(static_cast<LogLevel>(level), "", "");
    }
    std::string levels;
    const auto records = support::Log().Records();
    for (; seen < records.size(); ++seen) {
      levels += Field(records[seen], "LV") + " ";
    }
    EXPECT_EQ(levels, row.levels);
  }
}

TEST(Settings, TheFirstTargetStays) {
  IQuorlLogger* logger = GetQuorlLogger();
  LogText(LogInfo, "", "nowhere");
  EXPECT_EQ(logger->GetLogStream(), nullptr);
  EXPECT_EQ(logger->GetLogFile(), nullptr);
  EXPECT_FALSE(logger->SetLogStream(nullptr));
  support::RecordingStream first, second;
  EXPECT_TRUE(logger->SetLogStream(&first));
  EXPECT_FALSE(logger->SetLogStream(&second));
  EXPECT_FALSE(logger->SetLogFile("/dev/null", true));
  EXPECT_EQ(logger->GetLogStream(), &first);
  EXPECT_EQ(logger->GetLogFile(), nullptr);
}

TEST(LogFile, OpensAppendsOrEmpties) {
  const TempDir dir;
  struct Row {
    const char* name;
    const char* content;  // null: there is no file
    bool append, result;
    std::string kept;
  };
  const Row rows[] = {{"new", nullptr, true, true, ""},
                      {"new2", nullptr, false, true, ""},
                      {"old", "kept\n", true, true, "kept\n"},
                      {"old2", "gone", false, true, ""},
                      {"none/log", nullptr, true, false, ""},
                      {"", nullptr, true, false, ""}};
  for (const Row& row : rows) {
    const std::string path = *row.name ? dir / row.name : "";
    if (row.content) support::WriteFile(path, row.content);
    CQuorlLogger logger;
    support::PlantFailure();
    EXPECT_EQ(logger.SetLogFile(path.c_str(), row.append), row.result) << path;
    EXPECT_EQ(Recorded().code != 0, !row.result) << path;
    EXPECT_EQ(logger.GetLogStream() != nullptr, row.result);
    if (!row.result) {
      EXPECT_FALSE(support::FailurePlanted());
      EXPECT_EQ(logger.GetLogFile(), nullptr);
      ASSERT_TRUE(logger.SetLogFile((dir / "second").c_str(), false));
      logger.GetLogStream()->Free();
      continue;
    }
    EXPECT_EQ(logger.GetLogFile(), path);
    EXPECT_FALSE(logger.SetLogFile((dir / "other").c_str(), true));
    logger.Log(LogInfo, "f", "m", nullptr, 0);
    const std::string content = support::ReadFile(path);
    EXPECT_EQ(content.substr(0, row.kept.size() + 4), row.kept + "[TM=");
    EXPECT_EQ(content.substr(content.size() - 3), "]\r\n");
    logger.GetLogStream()->Free();
  }
  CQuorlLogger logger;
  EXPECT_FALSE(logger.SetLogFile(nullptr, true));
}

TEST(FailureLine, CarriesPlaceAndMessageOnly) {
  support::Log();
  kTest.Guard([] { throw CBaseException(42, "why\n", 17, "../here"); });
  GetQuorlException()->Copy(GetQuorlException());
  GetQuorlLogger()->EnableExpLog(false);
  Fail("silent");
  EXPECT_EQ(Recorded().msg, "silent");
  const auto records = support::Log().Records();
  ASSERT_EQ(records.size(), 2U);
  for (const std::string& record : records) {
    EXPECT_EQ(record.substr(record.find("[LV=")),
              "[LV=EXP  ] [FR=File: ../here Line: 17] [MG=why\\n] "
              "[BN=NULL]\r\n");
  }
}

// A target that does on its first Write whatever a target should not.
class Mischief : public support::RecordingStream {
 public:
  explicit Mischief(std::function<int32_t()> act) : act_(std::move(act)) {}
  int32_t Write(const void* buffer, uint32_t count) override {
    RecordingStream::Write(buffer, count);
    if (acted_) return static_cast<int32_t>(count);
    acted_ = true;
    return act_();
  }

 private:
  std::function<int32_t()> act_;
  bool acted_ = false;
};

TEST(Target, MayFailThrowLogOrReleaseTheRecord) {
  struct Row {
    const char* name;
    std::function<int32_t()> act;
    bool throws;
    size_t records;
    std::string kept;  // the message of the thread's record afterwards
  };
  const Row rows[] = {
      {"fails",
       [] {
         Fail("inside");
         return -1;
       },
       false, 2, "inside"},
      {"throws", []() -> int32_t { throw std::runtime_error("x"); }, true, 2,
       "outside"},
      {"throws a failure", []() -> int32_t { kTest.Raise(1, "x"); }, true, 2,
       "outside"},
      {"logs",
       [] {
         LogText(LogInfo, "", "inner");
         Fail("inner");
         return 1;
       },
       false, 3, "inner"},
      {"releases",
       [] {
         ReleaseQuorlException();
         return 1;
       },
       false, 2, ""},
      {"fails elsewhere",
       [] {
         std::thread([] { ReleaseQuorlException(); }).join();
         return 1;
       },
       false, 2, "outside"},
  };
  for (const Row& row : rows) {
    // Each row needs a process of its own: a target is set once.
    const int status = support::InChild([&row] {
      Mischief target(row.act);
      GetQuorlLogger()->SetLogStream(&target);
      bool thrown = false;
      try {
        Fail("outside");
      } catch (...) {
        thrown = true;
      }
      EXPECT_EQ(thrown, row.throws) << row.name;
      EXPECT_EQ(Recorded().msg, row.kept) << row.name;
      EXPECT_FALSE(GetQuorlLogger()->IsLogging(nullptr)) << row.name;
      std::thread([] { LogText(LogFatal, "f", "last"); }).join();
      const auto records = target.Records();
      EXPECT_EQ(records.size(), row.records) << row.name;
      EXPECT_EQ(Field(records.back(), "MG"), "last") << row.name;
    });
    EXPECT_EQ(status, 0) << row.name;
  }
}

TEST(Threads, EveryFailureHasItsLineBesideABusyLogger) {
  constexpr int kFailures = 20000;
  support::Log();
  std::atomic<bool> done{false};
  std::thread busy([&done] {
    while (!done) LogText(LogDebug, "busy", "");
  });
  for (int i = 0; i < kFailures; ++i) Fail("counted");
  done = true;
  busy.join();
  const auto records = support::Log().Records();
  EXPECT_EQ(std::count_if(records.begin(), records.end(),
                          [](const std::string& record) {
                            return Field(record, "MG") == "counted";
                          }),
            kFailures);
}

}  // namespace
