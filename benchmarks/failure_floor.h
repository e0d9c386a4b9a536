// The floor of what reaches a thread's record from another module.
#ifndef VELLIX_BENCHMARKS_FAILURE_FLOOR_H_
#define VELLIX_BENCHMARKS_FAILURE_FLOOR_H_

extern "C" {

// One pthread_getspecific, behind one exported function: what it keeps for the
// calling thread.
void* bench_floor_get();

// Keeps `value` for the calling thread.
void bench_floor_set(void* value);

}  // extern "C"

#endif  // VELLIX_BENCHMARKS_FAILURE_FLOOR_H_
