// What all do who write records: the same text to the same places.
#ifndef VELLIX_BENCHMARKS_RECORD_H_
#define VELLIX_BENCHMARKS_RECORD_H_

#include <fcntl.h>

#include <string>

#include "benchmarks/bench.h"
#include "vellix/logger.h"

namespace bench {

// Makes a record of 120 bytes, about as many as a line of a log has.
constexpr char kMessage[] = "connection from 192.0.2.17:50412 accepted.";

// A place for records by its name in a job.
inline const char* PathOf(const std::string& place) {
  return place == "disk" ? "bench_record.log" : "/dev/null";
}

// Opens the place anew; the file on disk is then empty.
inline int OpenPlace(const std::string& place) {
  return open(PathOf(place), O_RDWR | O_CREAT | O_TRUNC, 0666);
}

// The numbers of a message with arguments.
struct Slots {
  int used = Opaque(7);
  int all = Opaque(1024);
};

// The logger with its file, which can be set only once: that a benchmark may
// have its own, the handle is made to stand for another one.
QuorlBased::IQuorlLogger& LoggerTo(const std::string& place);

}  // namespace bench

#endif  // VELLIX_BENCHMARKS_RECORD_H_
