// The built library in hosts that load it, leave it, and end at any moment; and
// targets that take nothing for a while.
#include <dlfcn.h>
#include <fcntl.h>
#include <sched.h>
#include <sys/mount.h>
#include <sys/resource.h>
#include <sys/socket.h>

#include <atomic>
#include <csignal>

#include "faults/faults.h"
#include "support/inject.h"
#include "support/support.h"
#include "vellix/loader.h"
#include "vellix/sysutils.h"

using namespace QuorlBased;

namespace {

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

TEST(Hosts, EndWhileThreadsLogAndFail) {
  const support::TempDir dir;
  for (int exits = Times("VELLIX_EXITS", 30); exits > 0; --exits) {
    const bool linked = exits % 2;
    ASSERT_EQ(support::InChild([&] {
                atexit(LogLate);
                host_library = new vellix::Library;
                host_library->Open(VELLIX_LIBRARY);
                host_library->KeepLoaded();
                IQuorlLogger* logger =
                    linked ? GetQuorlLogger() : host_library->Logger();
                logger->SetLogFile((dir / "log").c_str(), false);
                for (std::thread& thread : Start(4, [logger](int) {
                       for (;;) {
                         logger->Log(LogInfo, "f", "m", nullptr, 0);
                         file_exists("/none");
                         ReleaseQuorlException();
                       }
                     })) {
                  thread.detach();
                }
                usleep(unsigned(Random(2000)));
                exit(0);
              }),
              0);
    EXPECT_EQ(support::ReadFile(dir / "log").find("late"), std::string::npos);
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
class Counted : public CHandleStream {
 public:
  using CHandleStream::CHandleStream;
  int32_t Write(const void* buffer, uint32_t count) override {
    ++writes;
    return CHandleStream::Write(buffer, count);
  }
  int writes = 0;
};

struct Trouble {
  const char* name;
  int error;                      // of a write
  std::function<int()> open;      // gives the descriptor
  std::function<void(int)> mend;  // null where there is no hope
};

int ends[2];

int FullPipe(int size) {
  fcntl(ends[1], F_SETFL, O_NONBLOCK);
  const std::string filler(size_t(size), 'x');
  while (write(ends[1], filler.data(), filler.size()) > 0) continue;
  return ends[1];
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

TEST(Hosts, GoOnWhenTheLogTakesNothing) {
  const support::TempDir dir;
  const std::string disk = dir / "disk", file = disk + "/f", plain = dir / "f";
  const auto open_disk = [&] {
    mkdir(disk.c_str(), 0700);
    unshare(CLONE_NEWNS);
    mount("", "/", "", MS_REC | MS_PRIVATE, "");
    mount("none", disk.c_str(), "tmpfs", 0, "size=8k");
    return open(file.c_str(), O_RDWR | O_CREAT, 0600);
  };
  const bool may_mount = getuid() == 0;
  const auto make_pipe = [](bool sockets) {
    return sockets ? socketpair(AF_UNIX, SOCK_STREAM, 0, ends) : pipe(ends);
  };
  const Trouble rows[] = {
      {"full device", ENOSPC, [] { return open("/dev/full", O_WRONLY); }, {}},
      {"size limit", EFBIG,
       [&] {
         LimitFiles(0);
         return open(plain.c_str(), O_RDWR | O_CREAT, 0600);
       },
       [](int) { LimitFiles(RLIM_INFINITY); }},
      {"full disk", ENOSPC,
       [&] {
         if (!may_mount) return open("/dev/full", O_WRONLY);
         support::WriteFile((open_disk(), disk + "/ballast"),
                            std::string(9000, 'x'));
         return open(file.c_str(), O_RDWR | O_CREAT, 0600);
       },
       [&](int fd) {
         unlink((disk + "/ballast").c_str());
         if (!may_mount) dup2(open(plain.c_str(), O_RDWR | O_CREAT, 0600), fd);
       }},
      {"full pipe", EAGAIN, [&] { return make_pipe(false), FullPipe(4096); },
       Drain},
      {"full socket", EAGAIN, [&] { return make_pipe(true), FullPipe(1); },
       Drain},
      {"broken pipe",
       EPIPE,
       [&] { return make_pipe(false), close(ends[0]), ends[1]; },
       {}},
      {"broken socket",
       EPIPE,
       [&] { return make_pipe(true), close(ends[0]), ends[1]; },
       {}},
      {"read only", EBADF, [&] { return open("/dev/null", O_RDONLY); },
       [](int fd) { dup2(open("/dev/null", O_WRONLY), fd); }},
      {"directory", EBADF, [&] { return open("/", O_RDONLY); }, {}},
      {"closed", EBADF, [] { return 99; },
       [](int) { dup2(open("/dev/null", O_WRONLY), 99); }},
      {"path only", EBADF, [] { return open("/dev/null", O_PATH); }, {}},
      {"read end", EBADF, [&] { return make_pipe(false), ends[0]; }, {}}};
  for (const Trouble& row : rows) {
    const int status = support::InChild([&] {
      signal(SIGPIPE, SIG_IGN);
      signal(SIGXFSZ, SIG_IGN);
      const int fd = row.open();
      Counted target(fd);
      GetQuorlLogger()->SetLogStream(&target);
      const auto log = [](int count) {
        GetQuorlException()->Clear();
        for (int i = 0; i < count; ++i)
          GetQuorlLogger()->Log(LogInfo, "f", "m", 0, 0);
        return support::Recorded().msg;
      };
      EXPECT_EQ(log(3), support::ErrnoMessage("file_write error", row.error));
      errno = EDOM;
      GetQuorlLogger()->Log(LogInfo, "f", "m", nullptr, 0);
      EXPECT_EQ(errno, EDOM);
      EXPECT_FALSE(file_exists("/none"));  // whose record is lost too
      EXPECT_EQ(target.writes, 5);
      EXPECT_FALSE(GetQuorlLogger()->IsLogging(nullptr));
      if (row.mend) {
        row.mend(fd);
        EXPECT_EQ(log(1), "");
      }
    });
    EXPECT_EQ(status, 0) << row.name;
  }
}

}  // namespace
