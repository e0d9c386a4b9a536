// What the benchmark programs share. A benchmark is a job and who does it,
// "record/null" by "vellix": the script compares those who do the same job.
// Include it first; each program has the main of bench.cpp.
#ifndef VELLIX_BENCHMARKS_BENCH_H_
#define VELLIX_BENCHMARKS_BENCH_H_

#include <benchmark/benchmark.h>

#include <cstddef>
#include <functional>
#include <string>
#include <string_view>
#include <type_traits>

namespace bench {

using benchmark::State;
using Benchmark = benchmark::internal::Benchmark;

// Registers the benchmark `job`/`by`. With BENCH_ITERATIONS in the environment
// it repeats its operation so often and no more, by which tools can count.
Benchmark* Add(const std::string& job, const std::string& by,
               std::function<void(State&)> body);

// The body of a benchmark that repeats `operation`, whose result the compiler
// must not drop.
template <typename Operation>
auto Repeat(Operation operation) {
  return [operation](State& state) mutable {
    for (auto _ : state) {
      if constexpr (std::is_void_v<std::invoke_result_t<Operation&>>) {
        operation();
        benchmark::ClobberMemory();
      } else {
        benchmark::DoNotOptimize(operation());
      }
    }
  };
}

// Registers a benchmark that repeats `operation`.
template <typename Operation>
void AddLoop(const std::string& job, const std::string& by,
             Operation operation) {
  Add(job, by, Repeat(std::move(operation)));
}

// `value`, of which the compiler knows nothing any more.
template <typename Value>
Value Opaque(Value value) {
  benchmark::DoNotOptimize(value);
  return value;
}

// `size` bytes that are the same in every run.
std::string RandomBytes(size_t size);

// `size` bytes of words in lower case, some with a capital, without the letters
// q, x and z; the same in every run.
std::string Words(size_t size);

// Runs its function when the program starts: registers one file's benchmarks.
class Registration {
 public:
  explicit Registration(void (*add)()) { add(); }
};

}  // namespace bench

#endif  // VELLIX_BENCHMARKS_BENCH_H_
