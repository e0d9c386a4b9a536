#include "benchmarks/bench.h"

#include <gnu/libc-version.h>

#include <cstdlib>
#include <random>
#include <utility>

namespace bench {

// By its name a tool knows what belongs to a benchmark and what does not.
[[gnu::noinline]] void RunBody(const std::function<void(State&)>& body,
                               State& state) {
  body(state);
}

Benchmark* Add(const std::string& job, const std::string& by,
               std::function<void(State&)> body) {
  Benchmark* added = benchmark::RegisterBenchmark(
      (job + "/" + by).c_str(),
      [body = std::move(body)](State& state) { RunBody(body, state); });
  const char* iterations = getenv("BENCH_ITERATIONS");
  if (iterations) added->Iterations(atoll(iterations));
  return added;
}

std::string RandomBytes(size_t size) {
  std::mt19937 random(4711);
  std::string bytes(size, '\0');
  for (char& byte : bytes) byte = static_cast<char>(random());
  return bytes;
}

std::string Words(size_t size) {
  constexpr std::string_view kLetters = "abcdefghijklmnoprstuvwy";
  std::mt19937 random(4711);
  std::string text;
  text.reserve(size + 16);
  while (text.size() < size) {
    const size_t length = 2 + random() % 9;
    const size_t start = text.size();
    for (size_t i = 0; i < length; ++i) {
      text += kLetters[random() % kLetters.size()];
    }
    if (random() % 8 == 0) text[start] = static_cast<char>(text[start] - 32);
    text += ' ';
  }
  text.resize(size);
  return text;
}

}  // namespace bench

int main(int argc, char** argv) {
  benchmark::AddCustomContext("compiler", __VERSION__);
  benchmark::AddCustomContext("libc", gnu_get_libc_version());
  benchmark::AddCustomContext("absent", VELLIX_ABSENT_PEERS);
  benchmark::Initialize(&argc, argv);
  if (benchmark::ReportUnrecognizedArguments(argc, argv)) return 2;
  benchmark::RunSpecifiedBenchmarks();
  return 0;
}
