#include "benchmarks/failure_floor.h"

#include <pthread.h>

static const pthread_key_t kKey = [] {
  pthread_key_t key = 0;
  pthread_key_create(&key, nullptr);
  return key;
}();

void* bench_floor_get() { return pthread_getspecific(kKey); }

void bench_floor_set(void* value) { pthread_setspecific(kKey, value); }
