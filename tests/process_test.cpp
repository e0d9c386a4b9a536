#include <sys/wait.h>

#include <cerrno>
#include <csignal>
#include <cstdio>

#include "support/support.h"
#include "vellix/sysutils_locks.h"
#include "vellix/sysutils_process.h"

using namespace QuorlBased;

static bool no_threads = false, no_fork = false;
static int signals = 0;

extern "C" {
int __real_pthread_create(pthread_t*, const pthread_attr_t*, void* (*)(void*),
                          void*);
int __wrap_pthread_create(pthread_t* thread, const pthread_attr_t* attributes,
                          void* (*entry)(void*), void* argument) {
  if (no_threads) return EAGAIN;
  return __real_pthread_create(thread, attributes, entry, argument);
}
pid_t __real_fork();
pid_t __wrap_fork() { return no_fork ? -1 : __real_fork(); }
int __real_kill(pid_t, int);
int __wrap_kill(pid_t pid, int signal) {
  return ++signals, __real_kill(pid, signal);
}
}

static uint32_t ExitCode(CQuorlBasedProcess& process) {
  uint32_t code = 1000;
  EXPECT_TRUE(process.Wait(kWaitForever) && process.GetExitCode(code));
  return code;
}

TEST(Process, ExitCodeTellsHowTheProgramEnded) {
  const support::TempDir dir;
  FILE* const unwritten = fopen((dir / "out").c_str(), "w");
  fputs("once", unwritten);
  const struct {
    std::string command_line;
    bool background;
    uint32_t exit_code;
  } rows[] = {{"sh -c \"exit 3\"", false, 3},
              {std::string("true\0 x", 7), false, 0},
              {"/nonexistent/program", false, 254},
              {"   ", false, 254},
              {"sh -c \"kill -HUP $$; exit 4\"", false, 0xFFFFFFFF},
              {"sh -c \"kill -HUP $$; exit 4\"", true, 4}};
  for (const auto& row : rows) {
    CQuorlBasedProcess process(row.command_line);
    EXPECT_TRUE(row.background ? process.RunBackgroundly(false)
                               : process.Run(false));
    EXPECT_EQ(ExitCode(process), row.exit_code) << row.command_line;
  }
  fclose(unwritten);
  EXPECT_EQ(support::ReadFile(dir / "out"), "once");
}

TEST(Process, FailsToStartWithoutATrace) {
  CQuorlBasedProcess process("true");
  uint32_t code = 1;
  const std::function<void()> calls[] = {
      [&] { process.Wait(0); }, [&] { process.GetExitCode(code); },
      [&] { process.Suspend(); }, [&] { process.Resume(); },
      [&] { process.Terminate(5); }};
  for (auto* failure : {&no_threads, &no_fork}) {
    *failure = true;
    EXPECT_FALSE(process.Run(false));
    *failure = false;
    for (const auto& call : calls) {
      EXPECT_FAILURE(support::Thrown(call), kWrongState,
                     "The process has not run", "../sysutils");
    }
    EXPECT_EQ(process.GetProcesspId(), 0);
    EXPECT_TRUE(process.Run(false));
    EXPECT_EQ(ExitCode(process), 0U);
  }
}

TEST(Process, SuspendedStartNeverLosesAResume) {
  CQuorlBasedProcess process("true");
  for (int i = 0; i < 200; ++i) {
    ASSERT_TRUE(process.Run(true));
    ASSERT_FALSE(process.Wait(i == 0 ? 50 : 0));
    ASSERT_EQ(process.Resume(), 0);
    ASSERT_EQ(ExitCode(process), 0U);
  }
}

TEST(Process, TerminateKillsAndACollectedChildGetsNoSignal) {
  CQuorlBasedProcess process("sleep 600");
  for (const bool stopped : {false, true}) {
    uint32_t code = 1;
    ASSERT_TRUE(process.Run(stopped));
    EXPECT_FAILURE(support::Thrown([&] { process.Run(false); }), kWrongState,
                   "The process has run already", "../sysutils");
    EXPECT_FALSE(process.GetExitCode(code));
    EXPECT_EQ(code, 1U);
    EXPECT_EQ(process.Suspend(), 0);
    EXPECT_TRUE(process.Terminate(5));
    EXPECT_EQ(ExitCode(process), 5U);
    signals = 0;
    EXPECT_FALSE(process.Terminate(6));
    EXPECT_EQ(process.Suspend() + process.Resume(), -2);
    EXPECT_EQ(signals, 0);
    EXPECT_EQ(ExitCode(process), 6U);
  }
}

TEST(Process, DestructorWaitsOrAbandons) {
  for (const bool waits : {true, false}) {
    pid_t child = 0;
    {
      CQuorlBasedProcess process(waits ? "sleep 0.1" : "sleep 600");
      process.SetWaitWhenDestruct(waits);
      ASSERT_TRUE(process.Run(false));
      child = process.GetProcesspId();
    }
    EXPECT_EQ(waitpid(child, nullptr, WNOHANG), waits ? -1 : 0);
    if (waits) continue;
    EXPECT_EQ(kill(child, SIGKILL), 0);
    EXPECT_EQ(waitpid(child, nullptr, 0), child);
  }
}
