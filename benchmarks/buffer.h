// What all queues do: portions of mixed sizes in and out.
#ifndef VELLIX_BENCHMARKS_BUFFER_H_
#define VELLIX_BENCHMARKS_BUFFER_H_

#include <cstddef>
#include <string>

#include "benchmarks/bench.h"

namespace bench {

constexpr size_t kPushes[] = {16, 100, 1500, 64, 4096, 300, 8, 1024};
constexpr size_t kPops[] = {512, 64, 4000, 1000, 20, 2048};

// Registers the jobs of a queue with Push(bytes, size) and Pop(bytes, size),
// which gives the bytes taken.
template <typename Queue>
void AddQueue(const std::string& by) {
  AddLoop("buffer/mixed", by, [bytes = RandomBytes(4096)] {
    Queue queue;
    char out[4096];
    for (int round = 0; round < 16; ++round) {
      for (const size_t size : kPushes) queue.Push(bytes.data(), size);
      for (const size_t size : kPops) {
        benchmark::DoNotOptimize(queue.Pop(out, size));
      }
    }
    while (queue.Pop(out, sizeof out) > 0) {
    }
  });
  for (const int nodes : {100'000, 1'000'000}) {
    AddLoop("buffer/nodes:" + std::to_string(nodes), by, [nodes] {
      Queue queue;
      char bytes[16] = {};
      for (int i = 0; i < nodes; ++i) queue.Push(bytes, sizeof bytes);
      while (queue.Pop(bytes, sizeof bytes) > 0) {
      }
    });
  }
}

}  // namespace bench

#endif  // VELLIX_BENCHMARKS_BUFFER_H_
