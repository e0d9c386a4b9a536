// A log with two targets: all of it as JSON on standard output, warnings and
// worse in a file.
#include <unistd.h>

#include <fstream>
#include <iterator>
#include <string>

#include "vellix/logger.h"
#include "vellix/targets.h"

int main() {
  const std::string warnings = "vellix_warnings.log";
  unlink(warnings.c_str());

  // Never destroyed: the targets outlive everything that can log.
  static auto& out = *new vellix::FdTarget(STDOUT_FILENO);
  static auto& json = *new vellix::JsonTarget(out);
  static auto& file = *new vellix::FileTarget(warnings);
  static auto& both = *new vellix::TeeTarget;
  both.Add(json);
  both.Add(file, QuorlBased::LogWarn);
  QuorlBased::IQuorlLogger* logger = GetQuorlLogger();
  logger->SetLogStream(&both);

  logger->Log(QuorlBased::LogInfo, "net", "listening", nullptr, 0);
  const unsigned char packet[] = {0x0F, 0xA0};
  logger->Log(QuorlBased::LogError, "net", "bad \"packet\"", packet, 2);

  std::ifstream log(warnings, std::ios::binary);
  const std::string text{std::istreambuf_iterator<char>(log), {}};
  const auto record = vellix::ReadRecord(text);  // of the one line
  return record && record->data == "0F A0 " ? 0 : 1;
}
