#include <spdlog/sinks/basic_file_sink.h>
#include <spdlog/spdlog.h>

#include <memory>

#include "benchmarks/record.h"

namespace bench {
namespace {

// Its basic file with the layout of our records, each in the kernel when the
// call returns.
std::shared_ptr<spdlog::logger> NewLogger(const std::string& place) {
  auto sink =
      std::make_shared<spdlog::sinks::basic_file_sink_mt>(PathOf(place), true);
  auto logger = std::make_shared<spdlog::logger>("net", sink);
  logger->set_pattern(
      "[TM=%a %b %e %T %Y] [TH=%t] [LV=%l] [FR=%n] [MG=%v] [BN=NULL]\r");
  logger->flush_on(spdlog::level::trace);
  return logger;
}

void AddTo(const std::string& place, int threads) {
  auto logger = std::make_shared<std::shared_ptr<spdlog::logger>>();
  Benchmark* added =
      Add("record/" + place, "spdlog", [place, logger](State& state) {
        if (state.thread_index() == 0) *logger = NewLogger(place);
        for (auto _ : state) (*logger)->info(kMessage);
      });
  if (threads > 1) added->Threads(threads)->UseRealTime();
}

// A message with arguments, written or below the logger's level.
void AddBraces(const std::string& job, const std::string& place,
               spdlog::level::level_enum level) {
  Add(job, "spdlog", [place, level](State& state) {
    const auto logger = NewLogger(place);
    logger->set_level(level);
    const Slots slots;
    for (auto _ : state) {
      logger->info("{} of {} slots in use", slots.used, slots.all);
      benchmark::ClobberMemory();
    }
  });
}

const Registration kAll([] {
  AddTo("disk", 1);
  AddTo("null", 1);
  for (const int threads : {2, 4, 8, 16}) AddTo("disk", threads);
  AddBraces("record/braces", "null", spdlog::level::info);
  AddBraces("record/braces-disk", "disk", spdlog::level::info);
  AddBraces("record/braces-off", "null", spdlog::level::err);
});

}  // namespace
}  // namespace bench
