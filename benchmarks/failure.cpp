#include <fcntl.h>
#include <pthread.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdint>
#include <string>

#include "benchmarks/bench.h"
#include "benchmarks/failure_floor.h"
#include "vellix/exceptions.h"
#include "vellix/logger.h"
#include "vellix/sysutils_files.h"
#include "vellix/sysutils_paths.h"

namespace bench {
namespace {

constexpr char kMissing[] = "/nonexistent/file";

// What a failure consists of, without anything around it.
struct Plain {
  int32_t code = 0;
  std::string message;
  int32_t line = 0;
  std::string file;
};

pthread_key_t MakeKey(void* value) {
  pthread_key_t key = 0;
  pthread_key_create(&key, nullptr);
  pthread_setspecific(key, value);
  return key;
}

void AddReach() {
  static Plain kept;
  static const pthread_key_t key = MakeKey(&kept);
  bench_floor_make();
  AddLoop("failure/get", "getspecific",
          [] { return pthread_getspecific(key); });
  AddLoop("failure/get", "exported", bench_floor_get);
  AddLoop("failure/get", "vellix", GetQuorlException);
  AddLoop("failure/clear", "getspecific",
          [] { return pthread_getspecific(key); });
  AddLoop("failure/clear", "exported", [] { bench_floor_get()->Clear(); });
  AddLoop("failure/clear", "vellix", [] { GetQuorlException()->Clear(); });
}

void AddSet(const std::string& job, const std::string& message,
            const std::string& file) {
  static Plain kept;
  static const pthread_key_t key = MakeKey(&kept);
  AddLoop(job, "strings", [message, file] {
    auto* plain = static_cast<Plain*>(pthread_getspecific(key));
    plain->code = 1;
    plain->message = message.c_str();
    plain->line = 2;
    plain->file = file.c_str();
  });
  AddLoop(job, "vellix", [message, file] {
    GetQuorlException()->SetException(1, message.c_str(), 2, file.c_str());
  });
}

// The floor of an operation that fails: its system call, and a failure thrown
// and caught.
template <typename Call>
void AddFloor(const std::string& job, Call call, const char* message) {
  AddLoop(job, "throw", [call, message] {
    try {
      call();
      throw Plain{1, message, 2, "../sysutils"};
    } catch (const Plain& plain) {
      return plain.code;
    }
  });
}

const Registration kAll([] {
  AddReach();
  AddSet("failure/set-short", "End of file", "../sysutils");
  AddSet("failure/set-long",
         "file_open error: errno: 2 No such file or directory",
         "/a/path/to/sources/of/a/module.cpp");
  GetQuorlLogger()->EnableExpLog(false);
  AddLoop("failure/no-target", "vellix", [] {
    GetQuorlLogger()->Log(QuorlBased::LogInfo, "net", "text", nullptr, 0);
  });
  AddFloor(
      "failure/stat",
      [] {
        struct stat status;
        return stat(kMissing, &status);
      },
      "file_exist: Can't stat the file");
  AddLoop("failure/stat", "vellix",
          [] { return QuorlBased::file_exists(kMissing); });
  AddFloor(
      "failure/read",
      [] {
        char byte = 0;
        return read(-1, &byte, 1);
      },
      "file_read error: errno: 9 Bad file descriptor");
  AddLoop("failure/read", "vellix", [] {
    char byte = 0;
    return QuorlBased::file_read(-1, &byte, 1);
  });
});

}  // namespace
}  // namespace bench
