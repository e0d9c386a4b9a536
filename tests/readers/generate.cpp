// generate <directory>: logs one record for each row below to log.txt, and
// writes what was logged to expected.txt: a line for each record, its fields
// apart by the character 0x1F.
#include <unistd.h>

#include <array>
#include <cstdlib>
#include <fstream>
#include <string>
#include <vector>

#include "vellix/exceptions.h"
#include "vellix/logger.h"

namespace {

struct Time {
  time_t seconds;
  const char *text, *iso;
};
const Time kTimes[] = {
    {1793523900, "Sun Nov  1 09:05:00 2026", "2026-11-01 09:05:00"},
    {1794355199, "Tue Nov 10 23:59:59 2026", "2026-11-10 23:59:59"},
    {1835395200, "Tue Feb 29 00:00:00 2028", "2028-02-29 00:00:00"},
};
const Time* now = kTimes;

const char* const kLevels[] = {"DEBUG", "INFO",  "WARN",
                               "EXP",   "ERROR", "FATAL"};

struct Row {
  QuorlBased::LogLevel level;
  std::string from, message;
  unsigned dumped = 0;
  std::string from_read = from, message_read = message;  // by readers
};

std::vector<Row> Rows() {
  using namespace QuorlBased;
  return {
      {LogDebug, "net", "opened"},
      {LogInfo, "net", "one byte", 1},
      {LogWarn, "net", "a full dump", 1024},
      {LogExp, "File: net/conn.cpp Line: 12", "Can't open [/tmp/[x]"},
      {LogError, "", ""},
      {LogFatal, "", "no source", 2},
      {LogInfo, "no text", "", 2},
      {LogInfo, "[a] [b]", "] ] [ [MG= [BN="},
      {LogInfo, "net", "x] [BN=00 ] y"},
      {LogInfo, "net", "x] [BN=00 ] y", 3},
      {LogInfo, "net", "x] [BN=NULL]"},
      {LogInfo, "net", "x] [BN=NULL] [BN=NULL", 1},
      {LogInfo, "net", "] [BN=", 1},
      {LogInfo, "net", "x] [LV=FATAL] [FR=y] [MG=z"},
      {LogInfo, "x] [LV=FATAL", "forged level"},
      {LogInfo, "x] [BN=NULL]", "data in the source", 1},
      {LogInfo, "x] [MG=y", "z", 0, "x", "y] [MG=z"},
      {LogInfo, "net", "a\r\n[TM=b\\n", 0, "net", "a\\r\\n[TM=b\\n"},
      {LogWarn, "net", "tab\t bell\a blanks  "},
      {LogWarn, "net", "\x1B[31mred\x1B[0m"},
      {LogWarn, "Größe", "日本 €"},
      {LogError, "net\xFF", "\xC3( \x80 \xED\xA0\x80", 1},
      {LogError, "long", std::string(20000, 'x') + "] end", 1024},
  };
}

}  // namespace

extern "C" time_t __wrap_time(time_t* result) {
  if (result) *result = now->seconds;
  return now->seconds;
}

int main(int, char** arguments) {
  setenv("TZ", "UTC0", 1);
  const std::string directory = arguments[1];
  std::ofstream expected(directory + "/expected.txt");
  QuorlBased::IQuorlLogger* logger = GetQuorlLogger();
  if (!logger->SetLogFile((directory + "/log.txt").c_str(), false)) return 1;

  const std::array<unsigned char, 1024> data{0x0F, 0xA0};
  for (const Time& time : kTimes) {
    now = &time;
    for (const Row& row : Rows()) {
      logger->Log(row.level, row.from.c_str(), row.message.c_str(), data.data(),
                  row.dumped);
      std::string dump;
      for (unsigned i = 0; i < row.dumped; ++i) {
        dump += i == 0 ? "0F " : i == 1 ? "A0 " : "00 ";
      }
      const char end = '\x1F';
      expected << time.text << end << time.iso << end << gettid() << end
               << kLevels[row.level] << end << row.from_read << end
               << row.message_read << end << (dump.empty() ? "NULL" : dump)
               << '\n';
    }
  }
  return expected.flush() ? 0 : 1;
}
