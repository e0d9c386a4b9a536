// What the runs under faults share.
#ifndef VELLIX_TESTS_FAULTS_FAULTS_H_
#define VELLIX_TESTS_FAULTS_FAULTS_H_

#include <fcntl.h>

#include <csignal>
#include <random>
#include <thread>

#include "support/inject.h"
#include "support/support.h"
#include "vellix/sysutils.h"

// The environment variable `name`, or what the suite can afford.
inline int Times(const char* name, int usual) {
  const char* asked = getenv(name);
  return asked ? atoi(asked) : usual;
}

inline int Random(int limit) {
  static std::mt19937 generator(std::random_device{}());
  return int(generator() % unsigned(limit));
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

inline int Fill(int fd, size_t step) {
  fcntl(fd, F_SETFL, O_NONBLOCK);
  const std::string filler(step, 'x');
  while (write(fd, filler.data(), step) > 0) continue;
  return fd;
}

#endif  // VELLIX_TESTS_FAULTS_FAULTS_H_
