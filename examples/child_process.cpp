// Child processes: one that ends in time, one that does not, and a missing
// program.
#include <iostream>
#include <string>

#include "vellix/sysutils.h"

namespace {

constexpr uint32_t kKilled = 9;
constexpr uint32_t kNotStarted = 1000;

// Returns the child's exit code, or kKilled if it took more than `timeout`
// milliseconds.
uint32_t RunFor(const std::string& command_line, uint32_t timeout) {
  QuorlBased::CQuorlBasedProcess child(command_line);
  if (!child.Run(false)) return kNotStarted;
  if (!child.Wait(timeout)) child.Terminate(kKilled);
  uint32_t exit_code = 0;
  child.GetExitCode(exit_code);
  std::cout << command_line << ": exit code " << exit_code << "\n";
  return exit_code;
}

}  // namespace

int main() {
  const bool in_time = RunFor("sh -c \"exit 3\"", 60'000) == 3;
  const bool killed = RunFor("sleep 600", 50) == kKilled;
  const bool missing = RunFor("no-such-program", 60'000) == 254;
  return in_time && killed && missing ? 0 : 1;
}
