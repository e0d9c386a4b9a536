#include <fcntl.h>
#include <unistd.h>

#include <cstdlib>
#include <cstring>
#include <memory>
#include <sstream>
#include <string>
#include <vector>

#include "benchmarks/bench.h"
#include "vellix/quorl_base_streams.h"

namespace bench {
namespace {

using QuorlBased::CFileStream;
using QuorlBased::CMemoryStream;

constexpr size_t kMegabyte = size_t{1} << 20;
constexpr size_t kFileSize = 64 * kMegabyte;
constexpr size_t kPortion = 64;
constexpr char kSource[] = "bench_source.bin";
constexpr char kCopy[] = "bench_copy.bin";

void MakeSource() {
  const std::string bytes = RandomBytes(kFileSize);
  CFileStream(kSource, 0xFFFF).Write(bytes.data(), kFileSize);
}

// As CopyFrom does it: 60 KiB at a time.
void CopyPlain(State& state) {
  MakeSource();
  std::vector<char> buffer(60 * 1024);
  const int from = open(kSource, O_RDONLY);
  const int to = open(kCopy, O_RDWR | O_CREAT | O_TRUNC, 0666);
  for (auto _ : state) {
    lseek(from, 0, SEEK_SET);
    lseek(to, 0, SEEK_SET);
    ssize_t count = 0;
    while ((count = read(from, buffer.data(), buffer.size())) > 0) {
      if (write(to, buffer.data(), static_cast<size_t>(count)) < 0) abort();
    }
  }
  close(from);
  close(to);
}

void CopyStream(State& state) {
  MakeSource();
  CFileStream from(kSource, 0);
  CFileStream to(kCopy, 0xFFFF);
  for (auto _ : state) {
    to.SetPosition(0);
    to.CopyFrom(&from, 0);
  }
}

// What is written: portions whose size the compiler does not know.
struct Portion {
  const std::string bytes = RandomBytes(kPortion);
  const size_t size = Opaque(kPortion);
};

// Success clears the thread's record, so this is part of what a portion costs.
void ClearRecord() { GetQuorlException()->Clear(); }
void LeaveRecord() {}

// The floor: copies into a block that a bare realloc lengthens.
template <void (*kEnd)()>
void GrowBlock(const Portion& portion, size_t total) {
  constexpr size_t kStep = 8192;
  char* block = nullptr;
  size_t capacity = 0;
  for (size_t at = 0; at < total; at += portion.size) {
    if (at + portion.size > capacity) {
      capacity += kStep;
      block = static_cast<char*>(realloc(block, capacity));
    }
    memcpy(block + at, portion.bytes.data(), portion.size);
    kEnd();
  }
  benchmark::DoNotOptimize(block);
  free(block);
}

void AddGrowth(const std::string& job, size_t total) {
  AddLoop(job, "realloc", [portion = Portion(), total] {
    GrowBlock<LeaveRecord>(portion, total);
  });
  AddLoop(job, "vellix", [portion = Portion(), total] {
    CMemoryStream out;
    for (size_t at = 0; at < total; at += portion.size) {
      out.Write(portion.bytes.data(), static_cast<uint32_t>(portion.size));
    }
    benchmark::DoNotOptimize(out.GetMemory());
  });
}

void AddWrites(const std::string& job, size_t total) {
  AddGrowth(job, total);
  AddLoop(job, "realloc-clear", [portion = Portion(), total] {
    GrowBlock<ClearRecord>(portion, total);
  });
  AddLoop(job, "string", [portion = Portion(), total] {
    std::string out;
    for (size_t at = 0; at < total; at += portion.size) {
      out.append(portion.bytes.data(), portion.size);
    }
    benchmark::DoNotOptimize(out.data());
  });
  AddLoop(job, "stringstream", [portion = Portion(), total] {
    std::stringstream out;
    for (size_t at = 0; at < total; at += portion.size) {
      out.write(portion.bytes.data(),
                static_cast<std::streamsize>(portion.size));
    }
    benchmark::DoNotOptimize(out);
  });
}

template <void (*kEnd)()>
void AddBlockReads(const std::string& job, const std::string& by) {
  AddLoop(job, by, [portion = Portion(), from = RandomBytes(kMegabyte)] {
    alignas(kPortion) char out[kPortion];
    for (size_t at = 0; at < kMegabyte; at += portion.size) {
      memcpy(out, from.data() + at, portion.size);
      benchmark::DoNotOptimize(out);
      kEnd();
    }
  });
}

void AddReads() {
  constexpr char kJob[] = "streams/read-1MiB";
  AddBlockReads<LeaveRecord>(kJob, "memcpy");
  AddBlockReads<ClearRecord>(kJob, "memcpy-clear");
  AddLoop(kJob, "stringstream",
          [portion = Portion(), bytes = RandomBytes(kMegabyte)] {
            static std::stringstream from(bytes);
            alignas(kPortion) char out[kPortion];
            from.clear();
            from.seekg(0);
            const auto size = static_cast<std::streamsize>(portion.size);
            while (from.read(out, size)) benchmark::DoNotOptimize(out);
          });
  AddLoop(kJob, "vellix", [portion = Portion()] {
    static const std::unique_ptr<CMemoryStream> from = [] {
      auto stream = std::make_unique<CMemoryStream>();
      stream->Write(RandomBytes(kMegabyte).data(), kMegabyte);
      return stream;
    }();
    alignas(kPortion) char out[kPortion];
    from->SetPosition(0);
    const auto size = static_cast<uint32_t>(portion.size);
    while (from->Read(out, size) > 0) benchmark::DoNotOptimize(out);
  });
}

const Registration kAll([] {
  Add("streams/copy-64MiB", "loop", CopyPlain);
  Add("streams/copy-64MiB", "vellix", CopyStream);
  AddWrites("streams/write-1MiB", kMegabyte);
  AddWrites("streams/write-64MiB", 64 * kMegabyte);
  AddGrowth("streams/write-1GiB", 1024 * kMegabyte);
  AddReads();
});

}  // namespace
}  // namespace bench
