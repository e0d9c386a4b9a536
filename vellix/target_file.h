// FileTarget: the log file of a service. Header-only, needs nothing at link
// time.
#ifndef VELLIX_TARGET_FILE_H_
#define VELLIX_TARGET_FILE_H_

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <cstdint>
#include <cstdio>
#include <ctime>
#include <string>
#include <system_error>
#include <vector>

#include "vellix/target_fd.h"

// Modules with other versions of this header share nothing of it.
#pragma GCC visibility push(hidden)
namespace vellix {

// How a FileTarget opens and rotates its file.
struct FileOptions {
  // The mode of a new file, less the umask.
  mode_t mode = 0640;

  // The size limit in bytes; 0 is none. Before a record would exceed it, the
  // file is renamed to "<path>.1", the old "<path>.1" to "<path>.2", and so on.
  uint64_t max_size = 0;

  // How many old files a rotation by size keeps, 1 to 999.
  unsigned keep = 1;

  // Checks every 64 records whether the path still leads to the file, and
  // reopens it if not: for a file that others rename without a signal. Always
  // on with `max_size`.
  bool follow_path = false;
};

// Appends log records to a file, with all guarantees of FdTarget.
//
// - The file is opened with O_APPEND, so that processes can share it and it can
//   be truncated. It is closed on exec and has a descriptor above 2.
// - A torn last line, left by a killed process or a full disk, is ended before
//   the first record.
// - No record is split between files. A rotation by size loses none as long as
//   each process that writes to the file logs 64 records while `keep` files
//   fill up.
// - If a file cannot be reopened or renamed, it stays in use, and the next
//   record tries again.
//
// If a host closes all descriptors, including the log's, the next record
// reopens the file. But if the host has opened a file of its own by then, that
// may have the same number, and gets the log until Reopen is called. The host's
// file then stays open.
class FileTarget : public FdTarget {
 public:
  // Opens the file `path`, creating it if it is missing. Throws
  // std::system_error on failure. A cancellation point.
  explicit FileTarget(const std::string& path, const FileOptions& options = {})
      : options_(options) {
    names_.push_back(path);
    const unsigned keep = std::clamp(options.keep, 1U, 999U);
    for (unsigned i = 1; options.max_size > 0 && i <= keep; ++i) {
      names_.push_back(path + "." + std::to_string(i));
    }
    const int fd = Open();
    if (fd == -1) throw std::system_error(errno, std::generic_category(), path);
    const ErrnoScope keep_errno;
    Adopt(fd);
  }

  // Closes the file. Nothing may log to it any more.
  ~FileTarget() override {
    const ErrnoScope keep;
    const CancellationScope hold;
    if (IsOwn()) close(fd_);
  }

  // Makes the next record reopen the path, for use after a rename. Any thread,
  // and signal handlers.
  void Reopen() noexcept { reopen_.store(1, std::memory_order_relaxed); }

  // Rotates or reopens the file if due, then writes as FdTarget does.
  int32_t Write(const void* buffer, uint32_t count) override {
    if (is_watching_ || reopen_.load(std::memory_order_relaxed) != 0) {
      ChooseFile(count);
    }
    return FdTarget::Write(buffer, count);
  }

 private:
  static_assert(std::atomic<int>::is_always_lock_free);

  // The identity of a file.
  struct Id {
    dev_t device;
    ino_t inode;
    bool operator==(const Id& other) const {
      return device == other.device && inode == other.inode;
    }
  };

  static constexpr int kRecordsPerLook = 64;
  static constexpr int kUnknown = -1;

  // How the file ends.
  struct Tail {
    off_t size = -1;
    int last = kUnknown;
  };

  const char* Path() const { return names_.front().c_str(); }

  int Open() const {
    int fd = -1;
    do {
      fd = open(Path(), O_WRONLY | O_APPEND | O_CREAT | O_CLOEXEC | O_NOCTTY,
                options_.mode);
    } while (fd == -1 && errno == EINTR);
    if (fd < 0 || fd > 2) return fd;
    // What prints to stdout or stderr must not end up in the log.
    const int above = fcntl(fd, F_DUPFD_CLOEXEC, 3);
    const ErrnoScope keep;
    close(fd);
    return above;
  }

  void Adopt(int fd) {
    struct stat status {};
    fstat(fd, &status);
    Use(fd);
    id_ = {status.st_dev, status.st_ino};
    size_ = static_cast<uint64_t>(status.st_size);
    EndLineWith(EndOfTornLine());
  }

  // What the file lacks at its end, or "".
  const char* EndOfTornLine() const {
    const Tail tail = ReadTail();
    for (int i = 0; i < 10; ++i) {
      if (tail.last == kUnknown || tail.last == '\n') return "";
      // Another process may be in the middle of a record.
      const timespec moment{0, 1000000};
      nanosleep(&moment, nullptr);
      if (ReadTail().size != tail.size) return "";
    }
    return tail.last == '\r' ? "\n" : "\r\n";
  }

  // For an empty file the last byte is taken to be LF.
  Tail ReadTail() const {
    const int fd = open(Path(), O_RDONLY | O_NONBLOCK | O_CLOEXEC | O_NOCTTY);
    if (fd == -1) return {};
    struct stat status {};
    fstat(fd, &status);
    unsigned char last = '\n';
    const bool known =
        S_ISREG(status.st_mode) && id_ == Id{status.st_dev, status.st_ino} &&
        (status.st_size == 0 || pread(fd, &last, 1, status.st_size - 1) == 1);
    close(fd);
    if (!known) return {};
    return {status.st_size, last};
  }

  bool LineHasItsEnd() override { return ReadTail().last == '\n'; }

  // The host has closed the descriptor.
  bool Mend(int error) override { return error == EBADF && OpenAgain(); }

  bool PathLeadsToFile() const {
    struct stat status {};
    return stat(Path(), &status) == 0 &&
           id_ == Id{status.st_dev, status.st_ino};
  }

  // Whether the descriptor is still the file's, not one of the host's.
  bool IsOwn() const {
    struct stat status {};
    return fstat(fd_, &status) == 0 && id_ == Id{status.st_dev, status.st_ino};
  }

  bool OpenAgain() {
    const int old = IsOwn() ? fd_ : -1;  // the new one may get its number
    reopen_.store(0, std::memory_order_relaxed);  // a later one stays
    const int fresh = Open();
    if (fresh == -1) Reopen();
    if (fresh == -1) return false;
    if (old != -1) EndLine();
    Adopt(fresh);
    if (old != -1) close(old);
    return true;
  }

  // Rotates or reopens the file if a record of `count` bytes needs it.
  __attribute__((noinline)) void ChooseFile(uint32_t count) {
    const ErrnoScope keep;
    const CancellationScope hold;
    if (reopen_.exchange(0, std::memory_order_relaxed) != 0) OpenAgain();
    if (!is_watching_) return;
    if (++records_ % kRecordsPerLook == 0 && !PathLeadsToFile()) OpenAgain();
    if (options_.max_size == 0) return;
    if (size_ > 0 && size_ + count > options_.max_size) Rotate(count);
    size_ += count;
  }

  void Rotate(uint32_t count) {
    if (IsOwn()) {
      // The real size: other processes write too.
      struct stat status {};
      fstat(fd_, &status);
      size_ = static_cast<uint64_t>(status.st_size);
      if (size_ == 0 || size_ + count <= options_.max_size) return;
      // Keeps other processes from renaming until the file is closed. One that
      // finds it locked keeps writing.
      struct flock lock {};
      lock.l_type = F_WRLCK;
      if (fcntl(fd_, F_SETLK, &lock) == -1 && errno != ENOLCK) return;
      if (PathLeadsToFile()) Rename();
    }
    OpenAgain();
  }

  // Stops if one cannot be renamed: it must not be overwritten.
  void Rename() const {
    for (size_t i = names_.size() - 1; i > 0; --i) {
      const int result = rename(names_[i - 1].c_str(), names_[i].c_str());
      if (result != 0 && errno != ENOENT) return;
    }
  }

  const FileOptions options_;
  std::vector<std::string> names_;  // of the file and the old ones
  const bool is_watching_ = options_.max_size > 0 || options_.follow_path;
  std::atomic<int> reopen_{0};
  Id id_{};
  uint64_t size_ = 0;
  unsigned records_ = 0;
};

}  // namespace vellix
#pragma GCC visibility pop

#endif  // VELLIX_TARGET_FILE_H_
