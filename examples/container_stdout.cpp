// A host in a container: the log goes to standard output, where the container
// runtime picks it up.
#include <unistd.h>

#include <csignal>

#include "vellix/logger.h"

int main() {
  // Otherwise the first log record after the reader has gone ends the process.
  signal(SIGPIPE, SIG_IGN);

  // The target outlives all that can log: it is never destroyed.
  static auto* target = new QuorlBased::CHandleStream(STDOUT_FILENO);
  QuorlBased::IQuorlLogger* logger = GetQuorlLogger();
  const bool set = logger->SetLogStream(target);

  logger->Log(QuorlBased::LogInfo, "main", "listening on 0.0.0.0:8080", nullptr,
              0);
  return set ? 0 : 1;
}
