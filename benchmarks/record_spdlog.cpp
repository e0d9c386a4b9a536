#include <spdlog/sinks/basic_file_sink.h>
#include <spdlog/spdlog.h>

#include <memory>

#include "benchmarks/record.h"

namespace bench {
namespace {

// Its basic file with the layout of our records, each in the kernel when the
// call returns.
void AddTo(const std::string& place, int threads) {
  auto logger = std::make_shared<std::shared_ptr<spdlog::logger>>();
  Benchmark* added =
      Add("record/" + place, "spdlog", [place, logger](State& state) {
        if (state.thread_index() == 0) {
          auto sink = std::make_shared<spdlog::sinks::basic_file_sink_mt>(
              PathOf(place), true);
          *logger = std::make_shared<spdlog::logger>("net", sink);
          (*logger)->set_pattern(
              "[TM=%a %b %e %T %Y] [TH=%t] [LV=%l] [FR=%n] [MG=%v] "
              "[BN=NULL]\r");
          (*logger)->flush_on(spdlog::level::trace);
        }
        for (auto _ : state) (*logger)->info(kMessage);
      });
  if (threads > 1) added->Threads(threads)->UseRealTime();
}

const Registration kAll([] {
  AddTo("disk", 1);
  AddTo("null", 1);
  for (const int threads : {2, 4, 8, 16}) AddTo("disk", threads);
});

}  // namespace
}  // namespace bench
