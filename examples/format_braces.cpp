// The {} form of the C++ wrapper: checked at compile time, formatted only above
// the threshold, and never the cause of a failed call.
#include <fstream>
#include <iostream>
#include <string>

#include "vellix/log_fmt.h"

namespace {

constexpr char kLogFile[] = "vellix_format_braces.log";

vellix::Log kLog("pool", QuorlBased::LogInfo);

}  // namespace

int main() {
  if (!GetQuorlLogger()->SetLogFile(kLogFile, false)) return 1;
  const int used = 7;
  const int all = 1024;
  const int width = -1;  // only known when the program runs

  kLog.Info("{} of {} slots in use", used, all);
  kLog.Warn(std::string("{} is no format without arguments"));
  kLog.Debug("{} is below the threshold", used);
  kLog.Error("used {:{}}", used, width);

  std::ifstream log(kLogFile, std::ios::binary);
  int records = 0;
  for (std::string line; std::getline(log, line); ++records) {
    std::cout << line << "\n";
  }
  return records == 3 ? 0 : 1;
}
