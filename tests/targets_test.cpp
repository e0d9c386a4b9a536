// The log targets and the reader of log lines, under the faults that they are
// for. Their fields are compared in tests/readers, their files in examples/.
#include "vellix/targets.h"

#include <sys/resource.h>

#include <csignal>

#include "support/support.h"

using namespace QuorlBased;

namespace {

using Texts = std::vector<std::string>;

void Say(const std::string& text, LogLevel level = LogInfo) {
  GetQuorlLogger()->Log(level, "f", text.c_str(), nullptr, 0);
}

// What each line says without its x; "torn" for no record.
Texts Messages(std::string_view log) {
  Texts messages;
  for (std::string_view line; vellix::TakeLine(log, line);) {
    const auto record = vellix::ReadRecord(line);
    messages.emplace_back(record ? record->message : "torn");
    messages.back().resize(messages.back().find_last_not_of('x') + 1);
  }
  return messages;
}

TEST(Targets, WaitForASlowReaderAndItsSignals) {
  struct sigaction no_restart {};
  no_restart.sa_handler = [](int) {};
  sigaction(SIGUSR1, &no_restart, nullptr);
  int ends[2];
  ASSERT_EQ(pipe(ends), 0);
  vellix::FdTarget target(ends[1]);
  GetQuorlLogger()->SetLogStream(&target);
  Texts expected;
  for (int i = 0; i < 500; ++i) expected.push_back(std::to_string(i) + ".");
  const support::Threads reader(1, [&, writer = pthread_self()](int) {
    std::string log, part(4096, 0);
    for (ssize_t n; (n = read(ends[0], part.data(), part.size())) > 0;) {
      log.append(part, 0, size_t(n));
      pthread_kill(writer, SIGUSR1);
    }
    EXPECT_EQ(Messages(log), expected);
  });
  for (const std::string& text : expected) Say(text + std::string(6000, 'x'));
  close(ends[1]);
}

// One that throws stands before it.
TEST(Targets, EndATornLineAndCountWhatIsLost) {
  struct : vellix::Target {
    int32_t Write(const void*, uint32_t) override { throw ENOENT; }
  } thrower;
  const support::TempDir dir;
  support::WriteFile(dir / "log", "half");
  const rlimit little{10000, RLIM_INFINITY}, all{RLIM_INFINITY, RLIM_INFINITY};
  setrlimit(RLIMIT_FSIZE, &little);
  vellix::FileTarget file(dir / "log");
  vellix::TeeTarget tee;
  tee.Add(thrower);
  tee.Add(file, LogWarn);
  GetQuorlLogger()->SetLogStream(&tee);
  support::PlantFailure();
  errno = EDOM;
  for (int i = 0; i < 6; ++i) Say("big" + std::string(3000, 'x'), LogWarn);
  setrlimit(RLIMIT_FSIZE, &all);
  Say("not for the file");
  Say("fatal", LogFatal);
  EXPECT_TRUE(support::FailurePlanted() && errno == EDOM);
  EXPECT_EQ(Messages(support::ReadFile(dir / "log")),
            (Texts{"torn", "big", "big", "big", "torn",
                   "3 records lost: File too large", "fatal"}));
}

}  // namespace
