#include "benchmarks/record.h"

#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cstdlib>
#include <memory>
#include <mutex>
#include <utility>
#include <vector>

#include "vellix/logger.h"
#include "vellix/quorl_base_streams.h"

namespace bench {

using QuorlBased::IQuorlLogger;
using QuorlBased::LogInfo;

IQuorlLogger& LoggerTo(const std::string& place) {
  IQuorlLogger* logger = GetQuorlLogger();
  if (!logger->GetLogStream()) logger->SetLogFile(PathOf("disk"), false);
  auto* file = static_cast<QuorlBased::CHandleStream*>(logger->GetLogStream());
  const int opened = OpenPlace(place);
  dup2(opened, file->GetHandle());
  close(opened);
  return *logger;
}

namespace {

// What one record carries.
struct Load {
  std::string message = kMessage;
  std::string data = {};
};

void Log(IQuorlLogger& logger, const Load& load) {
  logger.Log(LogInfo, "net", load.message.c_str(),
             reinterpret_cast<const unsigned char*>(load.data.data()),
             static_cast<unsigned>(load.data.size()));
}

// The bytes of the record that the logger makes of `load`.
std::string BytesOf(const Load& load) {
  Log(LoggerTo("disk"), load);
  const int file = open(PathOf("disk"), O_RDONLY);
  struct stat status {};
  fstat(file, &status);
  std::string bytes(static_cast<size_t>(status.st_size), '\0');
  if (read(file, bytes.data(), bytes.size()) < 0) abort();
  close(file);
  return bytes;
}

// The floor: a bare write of the same bytes.
class Write {
 public:
  static constexpr char kName[] = "write";

  Write(const std::string& place, const Load& load)
      : bytes_(BytesOf(load)), file_(OpenPlace(place)) {}
  Write(const Write&) = delete;
  Write& operator=(const Write&) = delete;
  ~Write() { close(file_); }

  void operator()() const {
    if (write(file_, bytes_.data(), bytes_.size()) < 0) abort();
  }

 private:
  const std::string bytes_;
  const int file_;
};

// The floor of those who share a target: a write under a lock.
class LockedWrite : public Write {
 public:
  static constexpr char kName[] = "mutex";
  using Write::Write;

  void operator()() {
    const std::lock_guard hold(mutex_);
    Write::operator()();
  }

 private:
  std::recursive_mutex mutex_;
};

class Vellix {
 public:
  static constexpr char kName[] = "vellix";

  Vellix(const std::string& place, Load load)
      : logger_(LoggerTo(place)), load_(std::move(load)) {}

  void operator()() const { Log(logger_, load_); }

 private:
  IQuorlLogger& logger_;
  const Load load_;
};

// Registers `Way` of writing the record of `load`.
template <typename Way>
Benchmark* AddRecord(const std::string& job, const std::string& place,
                     const Load& load = {}) {
  auto way = std::make_shared<std::unique_ptr<Way>>();
  return Add(job, Way::kName, [=](State& state) {
    // The others come to the loop when this thread does.
    if (state.thread_index() == 0) *way = std::make_unique<Way>(place, load);
    for (auto _ : state) (**way)();
  });
}

// The time that 999 of 1,000 records stay below.
template <typename Way>
void AddLatency(const std::string& job, const std::string& place) {
  Add(job, Way::kName,
      [place](State& state) {
        using Clock = std::chrono::steady_clock;
        Way way(place, {});
        std::vector<Clock::duration> times(20000);
        const auto late = times.end() - 20;
        for (auto _ : state) {
          for (Clock::duration& time : times) {
            const Clock::time_point start = Clock::now();
            way();
            time = Clock::now() - start;
          }
          std::nth_element(times.begin(), late, times.end());
          state.SetIterationTime(std::chrono::duration<double>(*late).count());
        }
      })
      ->Iterations(1)
      ->UseManualTime();
}

// A record that is not to be written.
void AddSilent(const std::string& job, QuorlBased::LogLevel level,
               bool enabled) {
  Add(job, "vellix", [level, enabled](State& state) {
    IQuorlLogger& logger = LoggerTo("null");
    logger.EnableLog(enabled);
    for (auto _ : state) logger.Log(level, "net", kMessage, nullptr, 0);
    logger.EnableLog(true);
  });
}

void AddThreads(int threads) {
  const auto share = [threads](Benchmark* benchmark) {
    benchmark->Threads(threads)->UseRealTime();
  };
  share(AddRecord<Write>("record/disk", "disk"));
  share(AddRecord<LockedWrite>("record/disk", "disk"));
  share(AddRecord<Vellix>("record/disk", "disk"));
}

void AddGrowth() {
  for (size_t length = 16; length <= size_t{1} << 20; length *= 4) {
    const std::string job = "record/message:" + std::to_string(length);
    AddRecord<Write>(job, "disk", {std::string(length, 'm')});
    AddRecord<Vellix>(job, "disk", {std::string(length, 'm')});
  }
  for (size_t length = 0; length <= 1024; length += 128) {
    const std::string job = "record/data:" + std::to_string(length);
    const Load load = {kMessage, RandomBytes(length)};
    AddRecord<Write>(job, "disk", load);
    AddRecord<Vellix>(job, "disk", load);
  }
}

const Registration kAll([] {
  for (const std::string place : {"disk", "null"}) {
    const std::string job = "record/" + place;
    AddRecord<Write>(job, place);
    AddRecord<LockedWrite>(job, place);
    AddRecord<Vellix>(job, place);
    const Load load = {kMessage, RandomBytes(1024)};
    AddRecord<Write>(job + "-dump", place, load);
    AddRecord<Vellix>(job + "-dump", place, load);
  }
  AddLatency<Write>("record/disk-99.9%", "disk");
  AddLatency<Vellix>("record/disk-99.9%", "disk");
  AddSilent("record/off", QuorlBased::LogInfo, false);
  AddSilent("record/level", static_cast<QuorlBased::LogLevel>(6), true);
  for (const int threads : {2, 4, 8, 16}) AddThreads(threads);
  AddGrowth();
});

}  // namespace
}  // namespace bench
