#include "vellix/targets.h"

#include <cstdlib>
#include <memory>
#include <utility>

#include "benchmarks/record.h"
#include "vellix/logger.h"
#include "vellix/record.h"

namespace bench {
namespace {

using QuorlBased::IQuorlStream;

// The logger's target, which can be set only once: passes all on to the target
// of the benchmark that runs.
class Switch : public vellix::Target {
 public:
  int32_t Write(const void* buffer, uint32_t count) override {
    return target_->Write(buffer, count);
  }
  void To(std::unique_ptr<IQuorlStream, void (*)(IQuorlStream*)> target) {
    target_ = std::move(target);
  }

 private:
  std::unique_ptr<IQuorlStream, void (*)(IQuorlStream*)> target_{nullptr,
                                                                 nullptr};
};

Switch& Target() {
  static auto* const target = [] {
    auto* made = new Switch;
    GetQuorlLogger()->SetLogStream(made);
    return made;
  }();
  return *target;
}

void Free(IQuorlStream* stream) { stream->Free(); }

// Registers a record of 120 bytes through what `make` gives.
template <typename Make>
void AddTarget(const std::string& job, const std::string& by, Make make) {
  Add(job, by, [make](State& state) {
    Target().To({make(), Free});
    for (auto _ : state) {
      GetQuorlLogger()->Log(QuorlBased::LogInfo, "net", kMessage, nullptr, 0);
    }
  });
}

// What SetLogFile makes the target.
IQuorlStream* BuiltIn(const std::string& place) {
  close(OpenPlace(place));
  return new QuorlBased::CFileStream(PathOf(place), 0x0021);
}

IQuorlStream* File(const std::string& place) {
  close(OpenPlace(place));
  return new vellix::FileTarget(PathOf(place));
}

// JSON over the null device.
class JsonToNull : public vellix::JsonTarget {
 public:
  JsonToNull() : JsonTarget(null_) {}

 private:
  vellix::FileTarget null_{PathOf("null")};
};

// Two branches: all goes to the null device, warnings to a target more.
class TeeToNull : public vellix::TeeTarget {
 public:
  TeeToNull() {
    Add(null_);
    Add(warnings_, QuorlBased::LogWarn);
  }

 private:
  vellix::FileTarget null_{PathOf("null")};
  vellix::FileTarget warnings_{PathOf("null")};
};

// A log of about 1 MiB, of records of 120 bytes and some with a dump.
std::string SomeLog() {
  const std::string dump = RandomBytes(64);
  auto* const capture = new QuorlBased::CMemoryStream;
  Target().To({capture, Free});
  for (int i = 0; capture->GetSize() < (1 << 20); ++i) {
    GetQuorlLogger()->Log(QuorlBased::LogInfo, "net", kMessage,
                          reinterpret_cast<const unsigned char*>(dump.data()),
                          i % 10 == 0 ? 64 : 0);
  }
  return {static_cast<const char*>(capture->GetMemory()),
          static_cast<size_t>(capture->GetSize())};
}

size_t CountLines(std::string_view log) {
  std::string_view line;
  size_t lines = 0;
  while (vellix::TakeLine(log, line)) ++lines;
  return lines;
}

size_t CountRecords(std::string_view log) {
  std::string_view line;
  size_t records = 0;
  while (vellix::TakeLine(log, line)) {
    const auto record = vellix::ReadRecord(line);
    records += record && record->level >= QuorlBased::LogInfo;
  }
  return records;
}

const Registration kAll([] {
  for (const std::string place : {"disk", "null"}) {
    const auto built_in = [place] { return BuiltIn(place); };
    AddTarget("targets/file-" + place, "built-in", built_in);
    AddTarget("targets/file-" + place, "vellix",
              [place] { return File(place); });
  }
  AddTarget("targets/json-null", "built-in", [] { return BuiltIn("null"); });
  AddTarget("targets/json-null", "vellix", [] { return new JsonToNull; });
  AddTarget("targets/tee-null", "built-in", [] { return BuiltIn("null"); });
  AddTarget("targets/tee-null", "vellix", [] { return new TeeToNull; });
  const std::string log = SomeLog();
  if (CountRecords(log) != CountLines(log)) abort();
  AddLoop("targets/read-1MiB", "lines",
          [log] { return CountLines(Opaque(std::string_view(log))); });
  AddLoop("targets/read-1MiB", "vellix",
          [log] { return CountRecords(Opaque(std::string_view(log))); });
});

}  // namespace
}  // namespace bench
