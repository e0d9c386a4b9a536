// The floor of what reaches a thread's record from another module: the same
// way, with nothing in it that is not needed.
#ifndef VELLIX_BENCHMARKS_FAILURE_FLOOR_H_
#define VELLIX_BENCHMARKS_FAILURE_FLOOR_H_

#include <string>

namespace bench {

class Record {
 public:
  virtual void Clear() = 0;

 protected:
  int code_ = 0;
  std::string message_;
};

}  // namespace bench

// The calling thread's record, by one pthread_getspecific behind one exported
// function. Null before bench_floor_make.
extern "C" bench::Record* bench_floor_get();

// Makes the calling thread's record.
extern "C" void bench_floor_make();

#endif  // VELLIX_BENCHMARKS_FAILURE_FLOOR_H_
