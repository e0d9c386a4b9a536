#include "benchmarks/record.h"
#include "vellix/log_fmt.h"

namespace bench {
namespace {

// The wrapper's forms of a message with arguments, at a level that is on, and
// at one that is off.
template <typename Call>
void AddForm(const std::string& form, Call call) {
  Add("record/" + form, "vellix", [call](State& state) {
    LoggerTo("null");
    const vellix::Log log("net");
    const Slots slots;
    for (auto _ : state) call(log, slots);
  });
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
});

}  // namespace
}  // namespace bench
