// What all codecs do: the same bytes to text and back, by two sizes.
#ifndef VELLIX_BENCHMARKS_CODECS_H_
#define VELLIX_BENCHMARKS_CODECS_H_

#include <cstddef>
#include <string>
#include <utility>

#include "benchmarks/bench.h"

namespace bench {

// Registers `job` of `by` for 1 KiB and for 1 MiB: code(text, out), where
// `text` is what `prepare` makes of that many bytes.
template <typename Prepare, typename Code>
void AddCodec(const std::string& job, const std::string& by, Prepare prepare,
              Code code) {
  for (const auto& [name, size] :
       {std::pair("-1KiB", size_t{1} << 10), {"-1MiB", size_t{1} << 20}}) {
    Add(job + name, by, [prepare, code, size = size](State& state) {
      std::string text = prepare(RandomBytes(size));
      std::string out;
      for (auto _ : state) {
        code(text, out);
        benchmark::DoNotOptimize(out.data());
      }
    });
  }
}

// For what reads bytes as they are.
inline std::string Plain(std::string bytes) { return bytes; }

// For what reads them as text; made by the library.
std::string Base64Of(std::string bytes);
std::string HexOf(std::string bytes);

inline unsigned char* Bytes(std::string& text) {
  return reinterpret_cast<unsigned char*>(text.data());
}

}  // namespace bench

#endif  // VELLIX_BENCHMARKS_CODECS_H_
