#include "benchmarks/record.h"
#include "vellix/c.h"
#include "vellix/log_fmt.h"

namespace bench {
namespace {

// The wrapper's forms of a message with arguments, at a level that is on, and
// at one that is off.
template <typename Call>
void AddForm(const std::string& form, Call call) {
  for (const std::string place : {"disk", "null"}) {
    const std::string job = "record/" + form;
    Add(place == "null" ? job : job + "-disk", "vellix",
        [call, place](State& state) {
          LoggerTo(place);
          const vellix::Log log("net");
          const Slots slots;
          for (auto _ : state) call(log, slots);
        });
  }
  Add("record/" + form + "-off", "vellix", [call](State& state) {
    const vellix::Log log("net", Opaque(QuorlBased::LogFatal));
    const Slots slots;
    for (auto _ : state) {
      call(log, slots);
      benchmark::ClobberMemory();
    }
  });
}

const Registration kAll([] {
  AddForm("braces", [](const vellix::Log& log, const Slots& slots) {
    log.Info("{} of {} slots in use", slots.used, slots.all);
  });
  AddForm("printf", [](const vellix::Log& log, const Slots& slots) {
    log.Infof("%d of %d slots in use", slots.used, slots.all);
  });
  AddForm("stream", [](const vellix::Log& log, const Slots& slots) {
    log.Info() << slots.used << " of " << slots.all << " slots in use";
  });
  Add("record/c", "vellix", [](State& state) {
    LoggerTo("null");
    const Slots slots;
    for (auto _ : state) {
      vellix_logf(VELLIX_LOG_INFO, "net", "%d of %d slots in use", slots.used,
                  slots.all);
    }
  });
});

}  // namespace
}  // namespace bench
