// Where the log record of a crash goes, and how a signal handler writes it.
// Only for crash.h.
#ifndef VELLIX_CRASH_FILE_H_
#define VELLIX_CRASH_FILE_H_

#include <dirent.h>
#include <fcntl.h>
#include <poll.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <climits>
#include <csignal>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <cstring>

#include "vellix/crash_record.h"

#pragma GCC visibility push(hidden)
namespace vellix::crash_internal {

struct Destination {
  char path[PATH_MAX];  // empty for a descriptor of the host's
  int descriptor;
  struct stat file;  // behind `descriptor`, if there is a path
  bool shared;       // `descriptor` shares the log's position
  int spare;         // closed at the crash, so that one is free
  struct stat spare_file;
};
inline Destination sDestination;

inline bool IsSameFile(int descriptor, const struct stat& file) {
  struct stat now {};
  return fstat(descriptor, &now) == 0 && now.st_dev == file.st_dev &&
         now.st_ino == file.st_ino;
}

// O_NONBLOCK: does not wait for the reader of a named pipe.
inline int OpenPath(const char* path) {
  return open(path,
              O_WRONLY | O_APPEND | O_CREAT | O_CLOEXEC | O_NOCTTY | O_NONBLOCK,
              0640);
}

// The process may have closed all descriptors since, and opened others.
inline int OpenLog() {
  const Destination& to = sDestination;
  if (to.path[0] == '\0') return to.descriptor;
  const bool kept = IsSameFile(to.descriptor, to.file);
  if (kept && to.shared) return to.descriptor;
  const int fresh = OpenPath(to.path);
  return fresh == -1 && kept ? to.descriptor : fresh;
}

// Whether what is written to `log` would continue a line that has no end.
inline bool IsTorn(int log) {
  struct stat file {};
  if (fstat(log, &file) != 0 || !S_ISREG(file.st_mode)) return false;
  const bool append = fcntl(log, F_GETFL) & O_APPEND;
  const off_t end = append ? file.st_size : lseek(log, 0, SEEK_CUR);
  char path[40] = "/proc/self/fd/";
  char room[24];
  const char* digits = Digits(static_cast<uint64_t>(log), 10, 1, '0', room);
  memcpy(path + strlen(path), digits, strlen(digits) + 1);
  const int reader = open(path, O_RDONLY | O_CLOEXEC);
  char last = '\n';
  if (end > 0 && pread(reader, &last, 1, end - 1) != 1) last = '\n';
  close(reader);
  return last != '\n';
}

// ---- At installation ----

// Makes `to` the destination, with a new spare descriptor. Those of an earlier
// call stay open: their numbers may belong to the host by now.
inline void Set(Destination to) {
  const int root = open("/", O_PATH | O_CLOEXEC);
  to.spare = fcntl(root, F_DUPFD_CLOEXEC, 3);
  fstat(to.spare, &to.spare_file);
  close(root);
  sDestination = to;
}

// The descriptor by which the process writes to `file` at its own position.
inline int FindWriter(const struct stat& file) {
  DIR* const directory = opendir("/proc/self/fd");
  int found = -1;
  while (const dirent* entry = directory ? readdir(directory) : nullptr) {
    const int descriptor = atoi(entry->d_name);
    const int flags = fcntl(descriptor, F_GETFL);
    const bool writes =
        flags != -1 && (flags & O_ACCMODE) != O_RDONLY && !(flags & O_APPEND);
    if (writes && IsSameFile(descriptor, file)) found = descriptor;
  }
  if (directory) closedir(directory);
  return found;
}

// Keeps links in the path: a rotation may change them.
inline bool MakeAbsolute(const char* path, char (&absolute)[PATH_MAX]) {
  char directory[PATH_MAX] = "";
  if (path[0] != '/' && !getcwd(directory, sizeof directory)) return false;
  const size_t prefix = path[0] == '/' ? 0 : strlen(directory) + 1;
  if (prefix + strlen(path) >= sizeof absolute) {
    errno = ENAMETOOLONG;
    return false;
  }
  memcpy(absolute, directory, prefix);
  if (prefix > 0) absolute[prefix - 1] = '/';
  memcpy(absolute + prefix, path, strlen(path) + 1);
  return true;
}

inline bool SetPath(const char* path) {
  Destination to{};
  if (!MakeAbsolute(path, to.path)) return false;
  const int own = OpenPath(path);
  if (own == -1) return false;
  fstat(own, &to.file);
  const int writer = FindWriter(to.file);
  to.shared = writer != -1;
  to.descriptor = fcntl(to.shared ? writer : own, F_DUPFD_CLOEXEC, 3);
  close(own);
  if (to.descriptor == -1) return false;
  Set(to);
  return true;
}

inline bool SetDescriptor(int descriptor) {
  if (fcntl(descriptor, F_GETFL) == -1) return false;
  Destination to{};
  to.descriptor = descriptor;
  Set(to);
  return true;
}

// ---- At the crash ----

inline void FreeSpare() {
  Destination& to = sDestination;
  if (IsSameFile(to.spare, to.spare_file)) close(to.spare);
  to.spare = 0;
}

inline void WriteLog(const Line& line) {
  const int log = OpenLog();
  const bool torn = IsTorn(log);
  const char* data = line.Data(torn);
  size_t size = line.Size(torn);
  pollfd room{log, POLLOUT, 0};
  for (int tries = 0; size > 0 && tries < 10; ++tries) {
    if (poll(&room, 1, 1000) == 0) break;
    const ssize_t written = write(log, data, size);
    if (written <= 0) continue;
    data += written;
    size -= static_cast<size_t>(written);
  }
  if (log != sDestination.descriptor) close(log);
}

// Without SIGPIPE and SIGXFSZ.
inline void WriteQuietly(const Line& line) {
  struct sigaction ignore {};
  struct sigaction pipe {};
  struct sigaction size {};
  ignore.sa_handler = SIG_IGN;
  sigaction(SIGPIPE, &ignore, &pipe);
  sigaction(SIGXFSZ, &ignore, &size);
  WriteLog(line);
  sigaction(SIGPIPE, &pipe, nullptr);
  sigaction(SIGXFSZ, &size, nullptr);
}

}  // namespace vellix::crash_internal
#pragma GCC visibility pop

#endif  // VELLIX_CRASH_FILE_H_
