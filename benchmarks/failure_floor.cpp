#include "benchmarks/failure_floor.h"

#include <pthread.h>

namespace {

const pthread_key_t kKey = [] {
  pthread_key_t key = 0;
  pthread_key_create(&key, nullptr);
  return key;
}();

class OwnRecord : public bench::Record {
 public:
  void Clear() override {
    code_ = 0;
    message_.clear();
  }
};

}  // namespace

bench::Record* bench_floor_get() {
  return static_cast<bench::Record*>(pthread_getspecific(kKey));
}

void bench_floor_make() { pthread_setspecific(kKey, new OwnRecord); }
