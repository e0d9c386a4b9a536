// Unfriendly hosts. The environment variables repeat a test at the scale of
// docs/guarantees.md.
#include <fcntl.h>
#include <sys/mman.h>

#include <array>
#include <random>
#include <sstream>

#include "support/support.h"
#include "vellix/loader.h"
#include "vellix/log.h"

using namespace QuorlBased;
using support::BusyThreads;
using support::InChild;
using support::Threads;

static IQuorlLogger* early_logger = nullptr;
static bool log_in_handler = false;
static bool release_in_teardown = false;
static std::atomic<time_t> stopped_time{0};

// Runs before the initialisers of the library, and so does its fork handler.
__attribute__((constructor(101))) static void BeTheFirst() {
  early_logger = GetQuorlLogger();
  pthread_atfork(nullptr, nullptr, [] {
    alarm(60);
    if (log_in_handler) early_logger->Log(LogInfo, "handler", "", nullptr, 0);
  });
}

WRAP(int, pthread_key_delete, (pthread_key_t key)) {
  const bool ours = key == TLSKeyKeeper::sTLSIndex;
  if (!ours || !release_in_teardown) return __real_pthread_key_delete(key);
  ReleaseQuorlException();
  if (pthread_getspecific(key)) _exit(1);  // would be destroyed once more
  __real_pthread_key_delete(key);
  pthread_key_create(&key, nullptr);  // the next library gets the same one
  pthread_setspecific(key, &key);
  GetQuorlException();
  ReleaseQuorlException();
  _exit(pthread_getspecific(key) ? 0 : 2);
}
WRAP(time_t, time, (time_t * now)) {
  return stopped_time ? stopped_time.load() : __real_time(now);
}

int Times(const char* name, int usual) {
  const char* asked = getenv(name);
  return asked ? atoi(asked) : usual;
}

int Random(int limit) { return int(std::random_device{}() % unsigned(limit)); }

void Log(const std::string& from, const std::string& text) {
  GetQuorlLogger()->Log(LogInfo, from.c_str(), text.c_str(), nullptr, 0);
}

// What thread `thread` says in its log record `i`.
std::string Text(int i) {
  return std::to_string(i) + " " + std::string(size_t(i % 97), 'x');
}
void Say(int thread, int i) {
  Log("thread " + std::to_string(thread), Text(i));
}

// A `Value` that forked processes share.
template <typename Value>
Value& Shared() {
  return *static_cast<Value*>(mmap(nullptr, sizeof(Value),
                                   PROT_READ | PROT_WRITE,
                                   MAP_SHARED | MAP_ANONYMOUS, -1, 0));
}

// A log: records whole, of each thread in order, the time never backwards.
struct Content {
  explicit Content(const std::string& log) {
    std::istringstream in(log);
    for (std::string line; std::getline(in, line) && !in.eof();) Take(line);
  }
  void Take(const std::string& line) {
    const std::string from = support::Field(line, "FR");
    if (from == "child") {
      ++children;
      EXPECT_EQ(support::Field(line, "TH"), support::Field(line, "MG"));
    }
    handlers += from == "handler";
    failures += support::Field(line, "LV") == "EXP  ";
    if (from.compare(0, 7, "thread ") != 0) return;
    const int i = records[std::stoul(from.substr(7))]++;
    ASSERT_EQ(line.substr(line.find("[FR=")),
              "[FR=" + from + "] [MG=" + Text(i) + "] [BN=NULL]\r");
    tm fields{};
    ASSERT_NE(strptime(line.c_str() + 4, "%c", &fields), nullptr) << line;
    ASSERT_GE(mktime(&fields), time) << line;
    time = mktime(&fields);
  }

  std::vector<int> records = std::vector<int>(9);  // by thread
  int children = 0, handlers = 0, failures = 0;
  time_t time = 0;
};

TEST(Hosts, GetTheLoggerBeforeItsInitialiser) {
  EXPECT_EQ(early_logger, GetQuorlLogger());
}

TEST(Hosts, KilledHaveWrittenWhatWasAcknowledged) {
  const support::TempDir dir;
  auto& acknowledged = Shared<std::array<std::atomic<int>, 8>>();
  for (int kills = Times("VELLIX_KILLS", 50); kills > 0; --kills) {
    for (auto& count : acknowledged) count = 0;
    const pid_t child = fork();
    if (child == 0) {
      GetQuorlLogger()->SetLogFile((dir / "log").c_str(), false);
      Threads(8, [&](int t) {
        for (int i = 0;; acknowledged[size_t(t)] = ++i) Say(t, i);
      });
    }
    const int enough = Random(Times("VELLIX_KILL_RECORDS", 300));
    while (acknowledged[0] <= enough) {
      ASSERT_EQ(waitpid(child, nullptr, WNOHANG), 0) << "it has died by itself";
      usleep(100);
    }
    kill(child, SIGKILL);
    waitpid(child, nullptr, 0);
    const Content log(support::ReadFile(dir / "log"));
    for (size_t t = 0; t < 8; ++t) ASSERT_GE(log.records[t], acknowledged[t]);
  }
}

// Beside threads that hold the logger's lock and the C library's of the zone.
void ExpectChildrenWork(pid_t (*fork_one)(), int handlers_of_each) {
  const support::TempDir dir;
  setenv("TZ", "<+03>-3", 1);
  EXPECT_TRUE(GetQuorlLogger()->SetLogFile((dir / "log").c_str(), false));
  log_in_handler = true;
  const int forks = Times("VELLIX_FORKS", 50);
  {
    const BusyThreads busy(8, [](int t) {
      static thread_local int i = 0;
      Say(t, i++);
    });
    const BusyThreads clock(2, [now = time(nullptr)](int) {
      tm fields;
      localtime_r(&now, &fields);
    });
    Say(8, 0);  // the thread that forks has its id by then
    for (int i = 0; i < forks; ++i) {
      const pid_t child = fork_one();
      if (child == 0) {
        alarm(60);
        Log("child", std::to_string(getpid()));
        if (file_exists("/none")) _exit(2);
        execlp("true", "true", nullptr);
      }
      int status = -1;
      waitpid(child, &status, 0);
      EXPECT_EQ(status, 0) << i;
    }
  }
  const Content log(support::ReadFile(dir / "log"));
  EXPECT_EQ(log.children, forks);
  EXPECT_EQ(log.failures, forks);
  EXPECT_EQ(log.handlers, forks * handlers_of_each);
}

TEST(Hosts, ForkedChildrenLogFailAndExecute) { ExpectChildrenWork(fork, 1); }

#ifndef __SANITIZE_THREAD__  // has a thread of its own, and hangs in _Fork
TEST(Hosts, AChildThatStartsAThreadFollowsTheZone) {
  stopped_time = 1793523900;
  support::Log();
  const auto child = [] {
    std::thread([] {}).join();
    setenv("TZ", "EST5", 1);
    Log("f", "m");
    EXPECT_EQ(support::Field(support::Log().records[0], "TM"),
              "Sun Nov  1 04:05:00 2026");
  };
  EXPECT_EQ(InChild(child), 0);
}

TEST(Hosts, ForkedWithoutHandlersTheyDoTheSame) {
  ExpectChildrenWork(_Fork, 0);
}
#endif

TEST(Hosts, ChangeTheEnvironmentBesideLogs) {
  // A new second would ask for TZ, and getenv beside setenv is a race.
  stopped_time = time(nullptr);
  ASSERT_TRUE(GetQuorlLogger()->SetLogFile("/dev/null", true));
  const BusyThreads loggers(4, [](int) { Log("f", "m"); });
  for (int i = 0; i < 20000; ++i) {
    setenv(("NAME" + std::to_string(i)).c_str(), "value", 1);
  }
}

TEST(Hosts, ChangeATextThatIsBeingLogged) {
  ASSERT_TRUE(GetQuorlLogger()->SetLogFile("/dev/null", true));
  char* const text = Shared<std::array<char, 3000>>().data();
  memset(text, 'x', 2999);
  const pid_t parent = getpid(), child = fork();
  for (unsigned i = 0; child == 0 && getppid() == parent; ++i) {
    memset(text + 1, i & 32 ? '\n' : 'x', 2900);
  }
  for (int i = 0; i < 20000; ++i) {
    GetQuorlLogger()->Log(LogInfo, "f", text, nullptr, 0);
  }
  kill(child, SIGKILL);
  waitpid(child, nullptr, 0);
}

TEST(Hosts, ACancelledThreadLeavesNoLockHeld) {
  const support::TempDir dir;
  GetQuorlLogger()->SetLogFile((dir / "log").c_str(), false);
  CXEvent event(false, false);
  for (int i = Times("VELLIX_CANCELS", 300); i > 0; --i) {
    std::atomic<bool> begun{false};
    std::thread thread([&] {
      for (begun = true;;) {
        CFileStream(dir / "log", kOpenRead).Write("", 1);
        event.Wait(0);
      }
    });
    while (!begun) std::this_thread::yield();
    usleep(unsigned(Random(500)));
    pthread_cancel(thread.native_handle());
    thread.join();
  }
  // Would block if a cancelled thread still held a lock.
  Log("", "");
  event.Set();
}

TEST(Hosts, LoadUseAndUnloadTheLibrary) {
  for (int i = Times("VELLIX_LOADS", 50); i > 0; --i) {
    {
      vellix::Library library;
      ASSERT_TRUE(library.Open(VELLIX_LIBRARY)) << library.Error();
      support::RecordingStream target;
      library.Logger()->SetLogStream(&target);
      library.Exception()->Copy(library.Exception());
      EXPECT_EQ(target.records.size(), 1U);
      library.ReleaseException();
      if (i > 1) library.Unload();
    }
    const std::string maps = support::ReadFile("/proc/self/maps");
    ASSERT_EQ(maps.find("libvellix") != maps.npos, i == 1);
  }
}

TEST(Hosts, OpenTheLibraryThatAPlugInBroughtAndNoEmptyPath) {
  const support::TempDir dir;
  std::filesystem::copy_file(VELLIX_LIBRARY, dir / "copy");
  vellix::Library library;
  EXPECT_FALSE(library.Open(""));
  EXPECT_NE(library.Error().find("empty"), std::string::npos);
  EXPECT_FALSE(library.Open(dir / "none"));
  EXPECT_EQ(library.Error().rfind(dir / "none"), 0U) << library.Error();
  dlopen((dir / "copy").c_str(), RTLD_NOW);
  ASSERT_TRUE(library.Open(VELLIX_LIBRARY));
  const std::string maps = support::ReadFile("/proc/self/maps");
  EXPECT_EQ(maps.find(VELLIX_LIBRARY), maps.npos);
}

struct Groups : std::numpunct<char> {
  std::string do_grouping() const override { return "\1"; }
};
struct End {};
std::ostream& operator<<(std::ostream&, End) { pthread_exit(nullptr); }

TEST(Hosts, LogThroughTheWrapperInAnyLocaleAndNoHalfLine) {
  std::locale::global(std::locale(std::locale(), new Groups));
  // Not by the function: a linker may export what has its address taken, and
  // the library that other tests load would then use ours.
  const vellix::Log log("f", GetQuorlLogger());
  support::Log();
  std::thread([&log] { log.Info() << "half" << End(); }).join();
  log.Info() << 8080;
  log.Infof("%ls", L"\xD800");
  ASSERT_EQ(support::Log().records.size(), 2U);
  EXPECT_EQ(support::Field(support::Log().records[0], "MG"), "8080");
  EXPECT_EQ(support::Field(support::Log().records[1], "MG"), "%ls");
}

vellix::Library* host_library = nullptr;

// Runs when the library has been torn down already.
void LogLate() {
  static support::RecordingStream late;
  IQuorlLogger* logger = host_library->Logger();
  logger->Log(LogFatal, "late", "", nullptr, 0);
  if (logger->SetLogStream(&late)) _exit(6);
  host_library->ReleaseException();
  host_library->Exception()->SetException(1, "late", 1, "");
  host_library->Exception()->Copy(host_library->Exception());
  if (host_library->Exception()->GetExceptionCode() != 1) _exit(7);
  host_library->ReleaseException();
}

TEST(Hosts, ReleaseARecordDuringTheTeardown) {
  const auto end = [] {
    GetQuorlException();
    release_in_teardown = true;
    exit(3);
  };
  EXPECT_EQ(InChild(end), 0);
}

TEST(Hosts, EndWhileThreadsLogAndFail) {
  const support::TempDir dir;
  const std::string log = dir / "log";
  for (int exits = Times("VELLIX_EXITS", 30); exits > 0; --exits) {
    const auto end = [&] {
      atexit(LogLate);
      host_library = new vellix::Library;
      host_library->Open(VELLIX_LIBRARY);
      host_library->Logger()->SetLogFile(log.c_str(), false);
      new Threads(4, [](int) {
        for (;; host_library->ReleaseException()) {
          host_library->Exception()->Copy(host_library->Exception());
        }
      });
      usleep(unsigned(Random(2000)));
      exit(0);
    };
    ASSERT_EQ(InChild(end), 0);
    EXPECT_EQ(support::ReadFile(log).find("late"), std::string::npos);
  }
}

// With a log that cannot be written, and one that clears the failure record.
TEST(Hosts, HaveTheSameResultsWhateverTheirLogDoes) {
  const support::TempDir dir;
  support::WriteFile(dir / "f", "hello");
  CMemoryStream clearing, stream;
  CHandleStream full(open("/dev/full", O_WRONLY));
  for (IQuorlStream* log :
       std::initializer_list<IQuorlStream*>{&clearing, &full}) {
    const auto body = [&] {
      GetQuorlLogger()->SetLogStream(log);
      CFileStream in(dir / "f", kOpenRead);
      char byte = 0;
      int reads = 0;
      for (; !in.Eof() && reads < 10; ++reads) in.Read(&byte, 1);
      EXPECT_EQ(reads, 6);
      const auto open_missing = [&] { CFileStream(dir / "no", kOpenRead); };
      EXPECT_EQ(support::Thrown(open_missing).msg,
                support::ErrnoMessage("file_open error", ENOENT));
      EXPECT_EQ(support::Thrown([&] { stream.SetCapacity(INT64_MAX); }).code,
                kOutOfMemory);
      unsetenv("LD_LIBRARY_PATH");
      dll_set_load_path("/x");
      EXPECT_STREQ(getenv("LD_LIBRARY_PATH"), ":/x");
    };
    EXPECT_EQ(InChild(body), 0);
  }
}

TEST(Hosts, LogKeepsErrnoAndRecoversWhenThereIsRoomAgain) {
  const support::TempDir dir;
  const int device = open("/dev/full", O_WRONLY);
  CHandleStream target(device);
  GetQuorlLogger()->SetLogStream(&target);
  errno = EDOM;
  Log("f", "lost");
  EXPECT_EQ(errno, EDOM);
  EXPECT_EQ(support::Recorded().code, kFileFailure);
  GetQuorlException()->Clear();
  dup2(open((dir / "log").c_str(), O_CREAT | O_WRONLY, 0600), device);
  Log("f", "m");
  EXPECT_EQ(support::Recorded().code, 0);
  EXPECT_EQ(support::Field(support::ReadFile(dir / "log"), "MG"), "m");
}
