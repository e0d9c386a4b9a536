// A host in a container: the log goes to standard output, where the container
// runtime picks it up.
#include <unistd.h>

#include <csignal>

#include "vellix/logger.h"

int main() {
  // Without this a reader that goes away ends the process at the next record.
  signal(SIGPIPE, SIG_IGN);

  // The target outlives all that can log: it is never destroyed.
  static auto* target = new QuorlBased::CHandleStream(STDOUT_FILENO);
  QuorlBased::IQuorlLogger* logger = GetQuorlLogger();
  logger->SetLogStream(target);

  logger->Log(QuorlBased::LogInfo, "main", "listening on 0.0.0.0:8080", nullptr,
              0);
  return logger->GetLogFile() == nullptr ? 0 : 1;
}
