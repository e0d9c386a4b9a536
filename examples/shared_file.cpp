// One log file for several processes, with permissions of the host's choice,
// and rotation from outside:
//
//   vellix_shared_file [rename | copytruncate]
//
// Four processes write to the file; then all records are counted.
#include <fcntl.h>
#include <sys/file.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdio>
#include <fstream>
#include <iostream>
#include <regex>
#include <set>
#include <string>
#include <utility>

#include "vellix/logger.h"
#include "vellix/sysutils.h"
#include "vellix/targets.h"

namespace {

constexpr int kProcesses = 4;
constexpr int kRecords = 5000;

enum class Rotation { kNone, kRename, kCopyTruncate };

// Keeps a rotation that copies and truncates under the same lock from losing
// records between its two steps.
class LockingFile : public vellix::FileTarget {
 public:
  explicit LockingFile(const std::string& path)
      : FileTarget(path), lock_(open(path.c_str(), O_RDONLY | O_CLOEXEC)) {}

  int32_t Write(const void* buffer, uint32_t count) override {
    flock(lock_, LOCK_EX);
    const int32_t written = FileTarget::Write(buffer, count);
    flock(lock_, LOCK_UN);
    return written;
  }

 private:
  const int lock_;
};

vellix::FileTarget* NewTarget(Rotation rotation, const std::string& path) {
  if (rotation == Rotation::kCopyTruncate) return new LockingFile(path);
  vellix::FileOptions options;
  options.follow_path = rotation == Rotation::kRename;
  return new vellix::FileTarget(path, options);
}

int Work(Rotation rotation, const std::string& path, int worker) {
  static vellix::FileTarget* target = NewTarget(rotation, path);
  QuorlBased::IQuorlLogger* logger = GetQuorlLogger();
  logger->SetLogStream(target);
  const std::string from = std::to_string(worker);
  for (int record = 0; record < kRecords; ++record) {
    logger->Log(QuorlBased::LogInfo, from.c_str(),
                std::to_string(record).c_str(), nullptr, 0);
  }
  return 0;
}

// The same in a script:
//   flock app.log sh -c 'cp app.log app.log.1 && truncate -s 0 app.log'
void CopyAndTruncate(const std::string& path, const std::string& old) {
  const int lock = open(path.c_str(), O_RDONLY | O_CLOEXEC);
  if (lock == -1) return;
  flock(lock, LOCK_EX);
  std::ofstream(old, std::ios::binary)
      << std::ifstream(path, std::ios::binary).rdbuf();
  if (truncate(path.c_str(), 0) == -1) perror("truncate");
  close(lock);
}

void Rotate(Rotation rotation, const std::string& path,
            const std::string& old) {
  if (rotation == Rotation::kRename) {
    rename(path.c_str(), old.c_str());
  } else if (rotation == Rotation::kCopyTruncate) {
    CopyAndTruncate(path, old);
  }
}

// Rotates until all processes have ended. Returns the number of rotations, or
// -1 when one of the processes failed.
int RotateUntilTheEnd(Rotation rotation, const std::string& path) {
  int rotations = 0;
  int ended = 0;
  while (ended < kProcesses) {
    int status = 0;
    if (waitpid(-1, &status, WNOHANG) > 0) {
      if (status != 0) return -1;
      ++ended;
      continue;
    }
    QuorlBased::QuorlBased_Sleep(5);
    if (rotation == Rotation::kNone) continue;
    Rotate(rotation, path, path + "." + std::to_string(rotations));
    ++rotations;
  }
  return rotations;
}

struct Count {
  std::set<std::pair<int, int>> found;  // worker and record
  int lines = 0;
  int torn = 0;
};

void CountFile(const std::string& path, Count& count) {
  static const std::regex whole_record(
      R"(\[TM=.{24}\] \[TH=\d+\] \[LV=INFO \] )"
      R"(\[FR=(\d+)\] \[MG=(\d+)\] \[BN=NULL\]\r)");
  std::ifstream file(path, std::ios::binary);
  std::smatch parts;
  for (std::string line; std::getline(file, line); ++count.lines) {
    if (std::regex_match(line, parts, whole_record)) {
      count.found.emplace(std::stoi(parts[1]), std::stoi(parts[2]));
    } else {
      ++count.torn;
    }
  }
}

// Counts the records after the run and removes the files.
Count CountAndRemove(const std::string& path, int rotations) {
  Count count;
  CountFile(path, count);
  QuorlBased::file_delete(path);
  for (int i = 0; i < rotations; ++i) {
    const std::string old = path + "." + std::to_string(i);
    CountFile(old, count);
    unlink(old.c_str());
  }
  return count;
}

}  // namespace

int main(int argc, char** argv) {
  const std::string how = argc > 1 ? argv[1] : "none";
  const Rotation rotation = how == "rename"         ? Rotation::kRename
                            : how == "copytruncate" ? Rotation::kCopyTruncate
                                                    : Rotation::kNone;
  const std::string path = "vellix_shared_" + how + ".log";
  unlink(path.c_str());

  for (int worker = 0; worker < kProcesses; ++worker) {
    if (fork() == 0) _exit(Work(rotation, path, worker));
  }
  const int rotations = RotateUntilTheEnd(rotation, path);
  if (rotations == -1) return 1;

  const Count count = CountAndRemove(path, rotations);
  const int written = kProcesses * kRecords;
  const int found = static_cast<int>(count.found.size());
  const int twice = count.lines - count.torn - found;
  std::cout << "rotations: " << rotations << ", records written: " << written
            << ", found: " << found << ", twice: " << twice
            << ", torn: " << count.torn << "\n";

  return found == written && twice == 0 && count.torn == 0 ? 0 : 1;
}
