#include "vellix/logger.h"

#include <atomic>
#include <cstdlib>
#include <stdexcept>
#include <thread>

#include "support/support.h"
#include "vellix/exceptions_report.h"
#include "vellix/sysutils_strings.h"

using namespace QuorlBased;
using support::Field;
using support::Recorded;

namespace {

constexpr FailureSource kTest("test");

void LogText(LogLevel level, const char* msg) {
  GetQuorlLogger()->Log(level, "f", msg, nullptr, 0);
}

void Fail(const char* msg) {
  kTest.Guard([msg] { kTest.Raise(42, msg); });
}

TEST(Record, TimeFollowsTheZoneWithinASecond) {
  support::Log();
  for (const char* zone : {"UTC0", "EST5", "UTC0", "<+03>-3"}) {
    setenv("TZ", zone, 1);
    const time_t before = time(nullptr);
    LogText(LogInfo, "");
    const std::string text =
        Field(support::Log().Records().back(), "TM") + "\n";
    const time_t after = time(nullptr);
    const std::string earliest = ctime(&before);
    EXPECT_TRUE(text == earliest || text == ctime(&after)) << text;
  }
}

TEST(Record, TextsAndDataOfEveryKind) {
  std::string longer(1025, '\0'), ends(5000, '\n'), dump, escaped, some;
  const auto* bytes = reinterpret_cast<const unsigned char*>(longer.data());
  for (int i = 0; i < 1025; ++i) longer[size_t(i)] = char(i * 7);
  for (int i = 0; i < 1024; ++i) dump += Format("%02X ", bytes[i]);
  for (int i = 0; i < 5000; ++i) escaped += "\\n";
  support::Log();
  const auto row = [](const char* from, const char* msg,
                      const unsigned char* data, unsigned size,
                      const std::string& tail) {
    GetQuorlLogger()->Log(LogWarn, from, msg, data, size);
    const std::string record = support::Log().Records().back();
    EXPECT_EQ(record.substr(record.find("[LV=")), "[LV=WARN ] [FR=" + tail);
  };
  row(nullptr, nullptr, nullptr, 5, "NULL] [MG=NULL] [BN=NULL]\r\n");
  row("", "", bytes, 0, "] [MG=] [BN=NULL]\r\n");
  row("a\r\nb", "\\n]\t\x80\n", nullptr, 0,
      "a\\r\\nb] [MG=\\n]\t\x80\\n] [BN=NULL]\r\n");
  row("f", "m", bytes, 1024, "f] [MG=m] [BN=" + dump + "]\r\n");
  row("f", "m", bytes, 1025, "f] [MG=m] [BN=" + dump + "]\r\n");
  row("f", ends.c_str(), nullptr, 0, "f] [MG=" + escaped + "] [BN=NULL]\r\n");
  EXPECT_EQ(CQuorlLogger::ConvertToLogText("\ra\nb"), "\\ra\\nb");
  for (unsigned size = 0; size < 6; ++size) {
    CQuorlLogger::ConvertToHexString(bytes, size, some);
    EXPECT_EQ(some, dump.substr(0, 3 * size));
  }
}

TEST(Settings, SwitchesAndLevelsDecideAndTheFirstTargetStays) {
  IQuorlLogger* logger = GetQuorlLogger();
  LogText(LogInfo, "nowhere");
  EXPECT_FALSE(logger->GetLogStream() || logger->GetLogFile());
  EXPECT_FALSE(logger->SetLogStream(nullptr));
  support::RecordingStream second;
  const auto written = [&](bool log, bool exp_log) {
    const size_t seen = support::Log().Records().size();
    logger->EnableLog(log);
    logger->EnableExpLog(exp_log);
    EXPECT_EQ(logger->IsExpLogEnabled(), exp_log);
    for (int i = -2; i < 9; ++i) LogText(static_cast<LogLevel>(i), "");
    std::string levels;
    const auto records = support::Log().Records();
    for (size_t i = seen; i < records.size(); ++i) {
      levels += Field(records[i], "LV");
    }
    return levels;
  };
  EXPECT_EQ(written(true, true), "DEBUGINFO WARN EXP  ERRORFATAL");
  EXPECT_EQ(written(true, false), "DEBUGINFO WARN ERRORFATAL");
  EXPECT_EQ(written(false, true), "");
  EXPECT_FALSE(logger->SetLogStream(&second));
  EXPECT_FALSE(logger->SetLogFile("/dev/null", true));
  EXPECT_EQ(logger->GetLogStream(), &support::Log());
  EXPECT_EQ(logger->GetLogFile(), nullptr);
}

TEST(LogFile, OpensAppendsOrEmpties) {
  const support::TempDir dir;
  const struct {
    const char *name, *content;  // null: there is no file
    bool append, result;
    std::string kept;
  } rows[] = {{"new", nullptr, true, true, ""},
              {"old", "kept\n", true, true, "kept\n"},
              {"old", "gone", false, true, ""},
              {"none/log", nullptr, true, false, ""},
              {"", nullptr, true, false, ""}};
  for (const auto& row : rows) {
    const std::string path = *row.name ? dir / row.name : "";
    if (row.content) support::WriteFile(path, row.content);
    CQuorlLogger logger;
    support::PlantFailure();
    EXPECT_EQ(logger.SetLogFile(path.c_str(), row.append), row.result) << path;
    EXPECT_EQ(Recorded().code, row.result  ? 0
                               : *row.name ? kFileFailure
                                           : kBadArgument);
    EXPECT_EQ(!row.result, logger.SetLogFile((dir / "2").c_str(), false));
    EXPECT_EQ(logger.GetLogFile(), row.result ? path : dir / "2");
    logger.Log(LogInfo, "f", "m", nullptr, 0);
    const std::string content = support::ReadFile(logger.GetLogFile());
    EXPECT_EQ(content.substr(0, row.kept.size() + 4), row.kept + "[TM=");
    EXPECT_EQ(content.substr(content.size() - 3), "]\r\n");
    logger.GetLogStream()->Free();
  }
  EXPECT_FALSE(CQuorlLogger().SetLogFile(nullptr, true));
}

// A target that does on its first Write whatever a target should not.
struct Mischief : support::RecordingStream {
  int32_t Write(const void* buffer, uint32_t count) override {
    RecordingStream::Write(buffer, count);
    if (const auto once = std::exchange(act, nullptr)) once();
    return -1;
  }
  std::function<void()> act;
};

TEST(Target, MayFailThrowLogOrReleaseTheRecord) {
  // Each row needs a process of its own: a target is set once.
  const auto row = [](size_t records, const char* kept, bool throws,
                      const std::function<void()>& act) {
    const auto body = [&] {
      Mischief target;
      target.act = act;
      GetQuorlLogger()->SetLogStream(&target);
      bool thrown = false;
      try {  // what the target throws passes
        Fail("outside");
      } catch (...) {
        thrown = true;
      }
      EXPECT_EQ(thrown, throws);
      EXPECT_EQ(Recorded().msg, kept);
      EXPECT_FALSE(GetQuorlLogger()->IsLogging(nullptr));
      std::thread([] { LogText(LogFatal, "last"); }).join();
      EXPECT_EQ(target.Records().size(), records);
      EXPECT_EQ(Field(target.Records().back(), "MG"), "last");
    };
    EXPECT_EQ(support::InChild(body), 0) << records << kept;
  };
  row(2, "inside", false, [] { Fail("inside"); });
  row(2, "outside", true, [] { throw std::runtime_error("x"); });
  row(2, "outside", true, [] { kTest.Raise(1, "x"); });
  row(3, "inner", false, [] { LogText(LogInfo, ""), Fail("inner"); });
  row(2, "", false, ReleaseQuorlException);
}

TEST(Threads, EveryFailureHasItsLineBesideABusyLogger) {
  support::Log();
  std::atomic<bool> done{false};
  std::thread busy([&done] {
    while (!done) LogText(LogDebug, "busy");
  });
  for (int i = 0; i < 20000; ++i) Fail("counted");
  done = true;
  busy.join();
  int counted = 0;
  for (const std::string& record : support::Log().Records()) {
    counted += Field(record, "LV") == "EXP  ";
  }
  EXPECT_EQ(counted, 20000);
}

}  // namespace
