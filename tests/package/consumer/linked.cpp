// A program that links the library.
#include <vellix/logger.h>

int main() {
  QuorlBased::IQuorlLogger* logger = GetQuorlLogger();
  if (!logger->SetLogFile("linked.log", false)) return 1;
  logger->Log(QuorlBased::LogInfo, "linked", "up", nullptr, 0);
  return 0;
}
