// One log file for several processes, with permissions of the host's choice,
// and what becomes of it under a rotation from outside:
//
//   vellix_shared_file [rename | copytruncate]
//
// Four processes write into the file; then all of it is counted.
#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
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

namespace {

constexpr int kProcesses = 4;
constexpr int kRecords = 5000;
constexpr int kCheckEvery = 50;

enum class Rotation { kNone, kRename, kCopyTruncate };

// O_APPEND puts each log record at the end of the file, wherever that is by
// then: no process overwrites another's, and none leaves a hole after a
// truncation.
int OpenShared(const std::string& path) {
  return open(path.c_str(), O_WRONLY | O_APPEND | O_CREAT | O_CLOEXEC, 0640);
}

// Points `handle` to the file that has the name now. dup3 exchanges the file
// behind the number in one step, so that a write finds one or the other.
void FollowName(const std::string& path, int handle) {
  struct stat named {};
  struct stat opened {};
  if (stat(path.c_str(), &named) == 0 && fstat(handle, &opened) == 0 &&
      named.st_ino == opened.st_ino && named.st_dev == opened.st_dev) {
    return;
  }
  const int fresh = OpenShared(path);
  if (fresh == -1) return;  // keeps the old file
  dup3(fresh, handle, O_CLOEXEC);
  close(fresh);
}

// Keeps a rotation that copies and truncates, and that takes the same lock,
// from losing what would be written between its two steps.
class LockingStream : public QuorlBased::CHandleStream {
 public:
  using CHandleStream::CHandleStream;

  int32_t Write(const void* buffer, uint32_t count) override {
    flock(handle_, LOCK_EX);
    const int32_t written = CHandleStream::Write(buffer, count);
    flock(handle_, LOCK_UN);
    return written;
  }
};

int Work(Rotation rotation, const std::string& path, int worker) {
  const int handle = OpenShared(path);
  if (handle == -1) return 1;
  static QuorlBased::IQuorlStream* target =
      rotation == Rotation::kCopyTruncate
          ? new LockingStream(handle)
          : new QuorlBased::CHandleStream(handle);
  QuorlBased::IQuorlLogger* logger = GetQuorlLogger();
  logger->SetLogStream(target);
  const std::string from = std::to_string(worker);
  for (int record = 0; record < kRecords; ++record) {
    if (record % kCheckEvery == 0) FollowName(path, handle);
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

// What is there after the run; removes the files.
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
