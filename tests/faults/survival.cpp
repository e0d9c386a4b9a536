// Records that were written stay, and the host lives, whatever happens to it.
#include <sys/mman.h>

#include <atomic>
#include <cstdlib>
#include <cstring>

#include "faults/faults.h"

using namespace QuorlBased;

namespace {

int ends[2];  // of a pipe

// What thread `thread` says in its record `i`.
std::string Said(int thread, int i) {
  return "[FR=" + std::to_string(thread) + "] [MG=" + std::to_string(i) + " " +
         std::string(size_t(i % 97), char('a' + i % 26)) + "] [BN=NULL]";
}

void Say(IQuorlLogger* logger, int thread, int i) {
  const std::string said = Said(thread, i);
  const size_t msg = said.find("MG=") + 3;
  logger->Log(LogInfo, std::to_string(thread).c_str(),
              said.substr(msg, said.rfind("] [BN=") - msg).c_str(), nullptr, 0);
}

// Reads a log: each record whole, those of a thread in their order and without
// a gap, the time never backwards.
class Reader {
 public:
  explicit Reader(const std::string& log) {
    size_t start = 0;
    for (size_t end = 0; (end = log.find("\r\n", start)) != std::string::npos;
         start = end + 2) {
      Take(log.substr(start, end - start));
    }
    torn = log.size() - start;
  }

  int next[16] = {};  // by thread: records read
  size_t torn = 0;    // bytes behind the last record
  std::vector<std::string> others;

 private:
  void Take(const std::string& line) {
    const size_t said = line.find("[FR=");
    ASSERT_NE(said, std::string::npos) << line;
    const int thread = atoi(line.c_str() + said + 4);
    if (!isdigit(line[said + 4]) || thread >= 16) return others.push_back(line);
    ASSERT_EQ(line.substr(said), Said(thread, next[thread])) << line;
    ++next[thread];
    if (line.compare(0, 28, time_) == 0) return;
    time_ = line.substr(0, 28);
    tm fields{};
    ASSERT_NE(strptime(time_.c_str() + 4, "%c", &fields), nullptr) << line;
    const time_t now = mktime(&fields);
    ASSERT_GE(now, second_) << line;
    second_ = now;
  }

  std::string time_;
  time_t second_ = 0;
};

TEST(Survival, AKilledProcessHasWrittenWhatItAcknowledged) {
  const support::TempDir dir;
  using Counts = std::atomic<int>[8];
  auto& acknowledged = *static_cast<Counts*>(
      mmap(nullptr, sizeof(Counts), PROT_READ | PROT_WRITE,
           MAP_SHARED | MAP_ANONYMOUS, -1, 0));
  int64_t records = 0;
  for (int kills = Times("VELLIX_KILLS", 50); kills > 0; --kills) {
    for (auto& count : acknowledged) count = 0;
    const int enough = 1 + Random(Times("VELLIX_KILL_RECORDS", 2000));
    const pid_t child = fork();
    if (child == 0) {
      GetQuorlLogger()->SetLogFile((dir / "log").c_str(), false);
      auto threads = Start(8, [&](int t) {
        for (int i = 0;; acknowledged[t] = ++i) Say(GetQuorlLogger(), t, i);
      });
      Join(threads);
    }
    for (int sum = 0; sum < enough;) {
      usleep(100);
      sum = 0;
      for (auto& count : acknowledged) sum += count;
    }
    kill(child, SIGKILL);
    waitpid(child, nullptr, 0);
    const Reader log(support::ReadFile(dir / "log"));
    for (int t = 0; t < 8; ++t) {
      ASSERT_GE(log.next[t], acknowledged[t]);
      records += log.next[t];
    }
  }
  RecordProperty("records", std::to_string(records));
}

TEST(Survival, AForkedChildLogsFailsAndExecutes) {
  const support::TempDir dir;
  ASSERT_TRUE(GetQuorlLogger()->SetLogFile((dir / "log").c_str(), false));
  std::atomic<bool> done{false};
  auto threads = Start(8, [&](int t) {
    for (int i = 0; !done; ++i) Say(GetQuorlLogger(), t, i);
  });
  Say(GetQuorlLogger(), 8, 0);  // the thread that forks has its id by then
  const int forks = Times("VELLIX_FORKS", 100);
  for (int i = 0; i < forks; ++i) {
    ASSERT_EQ(support::InChild([&] {
                alarm(60);
                GetQuorlLogger()->Log(LogInfo, "child",
                                      std::to_string(getpid()).c_str(), 0, 0);
                if (file_exists("/none")) _exit(2);
                execlp("true", "true", nullptr);
                _exit(3);
              }),
              0);
  }
  done = true;
  Join(threads);
  const Reader log(support::ReadFile(dir / "log"));
  EXPECT_EQ(log.torn, 0U);
  EXPECT_EQ(log.others.size(), size_t(2 * forks));
  for (const std::string& line : log.others) {
    if (support::Field(line, "FR") == "child") {
      EXPECT_EQ(support::Field(line, "TH"), support::Field(line, "MG"));
    }
  }
}

TEST(Survival, ThreadsThatFailLeaveNothing) {
  auto storm = [](int count) {
    for (; count > 0; count -= 8) {
      auto threads = Start(8, [](int t) {
        EXPECT_EQ(file_open("/none/" + std::string(50, 'x'), 0), -1);
        if (t % 2) ReleaseQuorlException();
      });
      Join(threads);
    }
  };
  support::Log();
  GetQuorlLogger()->EnableLog(false);
  storm(64);
  const long blocks = support::LiveBlocks();
  storm(Times("VELLIX_THREADS", 1000));
  EXPECT_EQ(support::LiveBlocks(), blocks);
}

TEST(Survival, CancelledThreadsLeaveTheLocksFree) {
  const support::TempDir dir;
  support::WriteFile(dir / "f", "x");
  int empty[2], full[2];
  ASSERT_TRUE(pipe(empty) == 0 && pipe(full) == 0);
  fcntl(Fill(full[1], 1), F_SETFL, 0);
  CQuorlLogger blocked, file;
  CHandleStream full_stream(full[1]);
  blocked.SetLogStream(&full_stream);
  file.SetLogFile((dir / "log").c_str(), false);
  GetQuorlLogger()->SetLogFile((dir / "global").c_str(), false);
  CXEvent event(false, false);
  char byte = 0;
  const std::function<void()> rows[] = {
      [&] { file_read(empty[0], &byte, 1); },
      [&] { file_write(full[1], &byte, 1); },
      [&] { blocked.Log(LogInfo, "", "", nullptr, 0); },
      [&] { event.Wait(kWaitForever); },
      [&] { QuorlBased_Sleep(999); },
      [&] {  // never blocked, and so cancelled anywhere
        CFileStream stream(dir / "f", kOpenRead);
        stream.Read(&byte, 1);
        stream.Read(&byte, 1);
        file.Log(LogInfo, "f", "m", nullptr, 0);
        event.Wait(0);
      }};
  const int cancels = Times("VELLIX_CANCELS", 300);
  for (int i = 0; i < cancels; ++i) {
    std::atomic<bool> begun{false};
    std::thread thread([&, row = rows[size_t(i) % std::size(rows)]] {
      for (begun = true;;) row();
    });
    while (!begun) std::this_thread::yield();
    usleep(unsigned(Random(500)));
    pthread_cancel(thread.native_handle());
    thread.join();
    EXPECT_FALSE(blocked.IsLogging(nullptr) || file.IsLogging(nullptr));
  }
  // On this thread, where the locks of the others would hold.
  file.Log(LogInfo, "", "", nullptr, 0);
  GetQuorlLogger()->Log(LogInfo, "", "", nullptr, 0);
  ASSERT_EQ(read(full[0], &byte, 1), 1);
  event.Set();
  file.GetLogStream()->Free();
}

// The records of 16 threads, read back, through what `set` gives the logger.
void SayAll(const std::function<void(CQuorlLogger&)>& set,
            const std::function<std::string()>& log) {
  const int records = Times("VELLIX_RECORDS", 1000);
  CQuorlLogger logger;
  set(logger);
  auto threads = Start(16, [&](int t) {
    for (int i = 0; i < records; ++i) Say(&logger, t, i);
  });
  Join(threads);
  const Reader reader(log());
  if (logger.GetLogFile()) logger.GetLogStream()->Free();
  EXPECT_EQ(reader.torn + reader.others.size(), 0U);
  for (const int count : reader.next) EXPECT_EQ(count, records);
}

TEST(Survival, RecordsOfManyThreadsThroughEveryTarget) {
  const support::TempDir dir;
  const std::string path = dir / "log";
  SayAll([&](CQuorlLogger& logger) { logger.SetLogFile(path.c_str(), false); },
         [&] { return support::ReadFile(path); });

  ASSERT_EQ(pipe(ends), 0);
  std::string piped;
  std::thread reader([&] {
    char bytes[4096];
    for (ssize_t got; (got = read(ends[0], bytes, sizeof bytes)) != 0;) {
      if (got > 0) piped.append(bytes, size_t(got));
    }
  });
  CHandleStream to_pipe(ends[1]);
  SayAll([&](CQuorlLogger& logger) { logger.SetLogStream(&to_pipe); },
         [&] { return close(ends[1]), reader.join(), piped; });

  CMemoryStream memory;
  SayAll([&](CQuorlLogger& logger) { logger.SetLogStream(&memory); },
         [&] {
           return std::string(static_cast<char*>(memory.GetMemory()),
                              size_t(memory.GetSize()));
         });

  support::RecordingStream host;
  SayAll([&](CQuorlLogger& logger) { logger.SetLogStream(&host); },
         [&] {
           std::string all;
           for (const std::string& record : host.Records()) all += record;
           return all;
         });
}

}  // namespace
