// The built library in hosts that load it, leave it, and end at any moment; and
// targets that take nothing for a while.
#include <sched.h>
#include <sys/mount.h>
#include <sys/resource.h>
#include <sys/socket.h>

#include "faults/faults.h"
#include "vellix/loader.h"

using namespace QuorlBased;

namespace {

int ends[2];  // of a pipe

TEST(Hosts, LoadUseAndUnloadLeavesNothing) {
  long blocks = 0;
  const int loads = Times("VELLIX_LOADS", 50);
  for (int i = 0; i < loads + 5; ++i) {
    if (i == 5) blocks = support::LiveBlocks();
    {
      vellix::Library library;
      ASSERT_TRUE(library.Open(VELLIX_LIBRARY)) << library.Error();
      support::RecordingStream target;
      ASSERT_TRUE(library.Logger()->SetLogStream(&target));
      std::thread([&] {
        library.Exception()->SetException(1, "", 1, "");
      }).join();
      library.Exception()->Copy(library.Exception());
      EXPECT_EQ(target.Records().size(), 1U);
      library.ReleaseException();
    }
    const std::string maps = support::ReadFile("/proc/self/maps");
    ASSERT_EQ(maps.find("libvellix"), std::string::npos);
  }
  EXPECT_EQ(support::LiveBlocks(), blocks);
}

vellix::Library* host_library = nullptr;

// Runs when the library has been torn down already.
void LogLate() {
  host_library->Logger()->Log(LogFatal, "late", "", nullptr, 0);
  host_library->Exception()->SetException(1, "late", 1, "");
  host_library->Exception()->Copy(host_library->Exception());
  host_library->ReleaseException();
}

[[noreturn]] void LogAndEnd(const std::string& log, bool linked) {
  atexit(LogLate);
  host_library = new vellix::Library;
  host_library->Open(VELLIX_LIBRARY);
  host_library->KeepLoaded();
  IQuorlLogger* logger = linked ? GetQuorlLogger() : host_library->Logger();
  logger->SetLogFile(log.c_str(), false);
  auto threads = Start(4, [logger](int) {
    for (;; ReleaseQuorlException()) {
      logger->Log(LogInfo, "f", "m", nullptr, 0);
      file_exists("/none");
    }
  });
  for (std::thread& thread : threads) thread.detach();
  usleep(unsigned(Random(2000)));
  exit(0);
}

TEST(Hosts, EndWhileThreadsLogAndFail) {
  const support::TempDir dir;
  const std::string log = dir / "log";
  for (int exits = Times("VELLIX_EXITS", 30); exits > 0; --exits) {
    ASSERT_EQ(support::InChild([&] { LogAndEnd(log, exits % 2); }), 0);
    EXPECT_EQ(support::ReadFile(log).find("late"), std::string::npos);
  }
}

// What tests/faults/strace.sh runs under faults: a host that logs 20 records to
// the file in VELLIX_HOST_LOG and fails at times. Alive when it gets to its
// end.
TEST(Hosts, LogAFewRecords) {
  const support::TempDir dir;
  const char* path = getenv("VELLIX_HOST_LOG");
  vellix::Library library;
  ASSERT_TRUE(library.Open(VELLIX_LIBRARY));
  library.Logger()->SetLogFile(path ? path : (dir / "log").c_str(), true);
  for (int i = 0; i < 20; ++i) {
    library.Logger()->Log(LogInfo, "host", std::to_string(i).c_str(), 0, 0);
    EXPECT_FALSE(library.Logger()->IsLogging(nullptr));
  }
  library.KeepLoaded();
}

// A target that counts how often it is asked.
struct Counted : CHandleStream {
  using CHandleStream::CHandleStream;
  int32_t Write(const void* buffer, uint32_t count) override {
    return ++writes, CHandleStream::Write(buffer, count);
  }
  int writes = 0;
};

// What a host sees whose log is what `open` gives, where a write fails with
// `error` until `mend` has been called. It ends by `_exit`.
void GoOn(const std::function<int()>& open, int error,
          const std::function<void(int)>& mend) {
  signal(SIGPIPE, SIG_IGN);
  signal(SIGXFSZ, SIG_IGN);
  const int fd = open();
  Counted target(fd);
  GetQuorlLogger()->SetLogStream(&target);
  const auto log = [] {
    GetQuorlException()->Clear();
    errno = EDOM;
    GetQuorlLogger()->Log(LogInfo, "f", "m", nullptr, 0);
    EXPECT_EQ(errno, EDOM);
    return support::Recorded().msg;
  };
  EXPECT_EQ(log(), log());
  EXPECT_EQ(log(), support::ErrnoMessage("file_write error", error));
  EXPECT_FALSE(file_exists("/none"));  // whose record is lost too
  EXPECT_EQ(target.writes, 4);
  EXPECT_FALSE(GetQuorlLogger()->IsLogging(nullptr));
  if (!mend) return;
  mend(fd);
  EXPECT_EQ(log(), "");
}

void Drain(int) {
  char bytes[65536];
  fcntl(ends[0], F_SETFL, O_NONBLOCK);
  while (read(ends[0], bytes, sizeof bytes) > 0) continue;
}

void LimitFiles(rlim_t bytes) {
  const rlimit limit{bytes, RLIM_INFINITY};
  setrlimit(RLIMIT_FSIZE, &limit);
}

int FullPipe(bool sockets) {
  EXPECT_EQ(sockets ? socketpair(AF_UNIX, SOCK_STREAM, 0, ends) : pipe(ends),
            0);
  return Fill(ends[1], sockets ? 1 : 4096);
}

// A file on a full disk: a small one of its own where that may be mounted.
int OnFullDisk(const std::string& disk) {
  mkdir(disk.c_str(), 0700);
  const bool own = unshare(CLONE_NEWNS) == 0 &&
                   mount("", "/", "", MS_REC | MS_PRIVATE, "") == 0 &&
                   mount("", disk.c_str(), "tmpfs", 0, "size=8k") == 0;
  const std::string log = own ? disk + "/log" : "/dev/full";
  if (own) support::WriteFile(disk + "/ballast", std::string(9000, 'x'));
  return open(log.c_str(), O_RDWR | O_CREAT, 0600);
}

TEST(Hosts, GoOnWhenTheLogTakesNothing) {
  const support::TempDir dir;
  const std::string f = dir / "f", disk = dir / "disk";
  const auto row = [](const char* name, int error,
                      const std::function<void(int)>& mend,
                      const std::function<int()>& open) {
    EXPECT_EQ(support::InChild([&] { GoOn(open, error, mend); }), 0) << name;
  };
  const auto unlimited = [](int) { LimitFiles(RLIM_INFINITY); };
  const auto mended = [](int fd) { dup2(open("/dev/null", O_WRONLY), fd); };
  const auto room = [&](int fd) {
    if (unlink((disk + "/ballast").c_str()) != 0) mended(fd);
  };
  const auto broken = [](bool sockets) {
    return FullPipe(sockets), close(ends[0]), ends[1];
  };
  row("device", ENOSPC, mended, [] { return open("/dev/full", O_WRONLY); });
  row("disk", ENOSPC, room, [&] { return OnFullDisk(disk); });
  row("limit", EFBIG, unlimited, [&] { return LimitFiles(0), file_create(f); });
  row("pipe", EAGAIN, Drain, [] { return FullPipe(false); });
  row("socket", EAGAIN, Drain, [] { return FullPipe(true); });
  row("broken pipe", EPIPE, {}, [&] { return broken(false); });
  row("broken socket", EPIPE, {}, [&] { return broken(true); });
  row("read only", EBADF, mended, [] { return open("/dev/null", O_RDONLY); });
  row("directory", EBADF, mended, [] { return open("/", O_RDONLY); });
  row("path only", EBADF, mended, [] { return open("/", O_PATH); });
  row("read end", EBADF, mended, [] { return pipe(ends), ends[0]; });
  row("closed", EBADF, mended, [] { return 99; });
}

}  // namespace
