// A host in a container: the log goes to standard output, where the container
// runtime picks it up.
#include <unistd.h>

#include "vellix/logger.h"
#include "vellix/targets.h"

int main() {
  // Never destroyed: the target outlives everything that can log.
  static auto* target = new vellix::FdTarget(STDOUT_FILENO);
  QuorlBased::IQuorlLogger* logger = GetQuorlLogger();
  logger->SetLogStream(target);

  logger->Log(QuorlBased::LogInfo, "main", "listening on 0.0.0.0:8080", nullptr,
              0);
  return target->Lost() == 0 ? 0 : 1;
}
