// What the runs under faults share.
#ifndef VELLIX_TESTS_FAULTS_FAULTS_H_
#define VELLIX_TESTS_FAULTS_FAULTS_H_

#include <cstdlib>
#include <functional>
#include <random>
#include <thread>
#include <vector>

// The environment variable `name`, or what the suite can afford.
inline int Times(const char* name, int usual) {
  const char* asked = getenv(name);
  return asked ? atoi(asked) : usual;
}

inline int Random(int limit) {
  static std::mt19937 generator(std::random_device{}());
  return static_cast<int>(generator() % static_cast<unsigned>(limit));
}

inline std::vector<std::thread> Start(int count,
                                      const std::function<void(int)>& run) {
  std::vector<std::thread> threads;
  for (int i = 0; i < count; ++i) threads.emplace_back(run, i);
  return threads;
}

inline void Join(std::vector<std::thread>& threads) {
  for (std::thread& thread : threads) thread.join();
}

#endif  // VELLIX_TESTS_FAULTS_FAULTS_H_
