#include "vellix/logger.h"

#include <sys/stat.h>

#include <cerrno>
#include <ctime>
#include <memory>
#include <mutex>
#include <new>
#include <thread>
#include <type_traits>

#include "vellix/exceptions_report.h"
#include "vellix/logger_record.h"
#include "vellix/logger_time.h"
#include "vellix/process_generation.h"
#include "vellix/sysutils_files.h"
#include "vellix/sysutils_files_core.h"
#include "vellix/sysutils_platform.h"
#include "vellix/thread_id.h"

namespace QuorlBased {
namespace {

constexpr uint16_t kLogMode = 0x0021;  // an existing file, for writing

// Restores errno: a caller may log between a failed call and its look at errno.
class ErrnoKeeper {
 public:
  ErrnoKeeper() = default;
  ErrnoKeeper(const ErrnoKeeper&) = delete;
  ErrnoKeeper& operator=(const ErrnoKeeper&) = delete;
  ~ErrnoKeeper() { errno_ = kept_; }

 private:
  int& errno_ = errno;
  const int kept_ = errno_;
};

// Marks this thread as the one inside the target's Write. Restores the mark on
// every way out: a target may throw, and it may log again.
class WriteMark {
 public:
  WriteMark(std::atomic<bool>& flag, std::atomic<uint32_t>& thread, uint32_t id)
      : flag_(flag), before_(flag.load(std::memory_order_relaxed)) {
    // The id before the flag, so that the id is at least as new as the flag. In
    // the other order a thread could see its own id beside the flag of another.
    thread.store(id, std::memory_order_relaxed);
    flag_.store(true, std::memory_order_release);
  }
  WriteMark(const WriteMark&) = delete;
  WriteMark& operator=(const WriteMark&) = delete;
  ~WriteMark() { flag_.store(before_, std::memory_order_release); }

 private:
  std::atomic<bool>& flag_;
  const bool before_;
};

// The logger's own file. Append does exactly what CHandleStream::Write and
// file_write do, without their calls: on some processors each return after a
// system call is slow (docs/performance.md). A change there is needed here too.
class LogFile final : public CFileStream {
 public:
  using CFileStream::CFileStream;

  void Append(const LogRecord& record) {
    eof_ = false;
    kSysutils.Guard(
        -1, [&] { return WriteSome(handle_, record.Text(), record.Size()); });
  }
};

// Whether there is a file at `path`. If stat cannot tell, it counts as present:
// creating it would empty it.
bool IsThere(const std::string& path) {
  struct stat status {};
  if (stat(path.c_str(), &status) == 0) return true;
  return errno != ENOENT && errno != ENOTDIR;
}

std::unique_ptr<LogFile> OpenLogFile(const std::string& path, bool append) {
  if (append && IsThere(path)) {
    auto stream = std::make_unique<LogFile>(path, kLogMode);
    stream->Seek(0, SeekEnd);
    return stream;
  }
  {
    const CancellationHold hold;  // or a cancelled close would leak the handle
    // Not by a stream, which leaves a handle of 0 open.
    file_close(file_open_exp(path, kCreateFile));
  }
  return std::make_unique<LogFile>(path, kLogMode);
}

}  // namespace

// Sets the generation on every way out of EnterProcess.
class CQuorlLogger::Entry {
 public:
  Entry(std::atomic<uint32_t>& generation, uint32_t left)
      : generation_(generation), value_(left) {}
  Entry(const Entry&) = delete;
  Entry& operator=(const Entry&) = delete;
  ~Entry() { generation_.store(value_, std::memory_order_release); }

  void Complete(uint32_t entered) { value_ = entered; }

 private:
  std::atomic<uint32_t>& generation_;
  uint32_t value_;
};

CQuorlLogger::CQuorlLogger() : generation_(ProcessGeneration()) {
  static_assert(sizeof(TimeText) <= sizeof time_room_ &&
                alignof(TimeText) <= 8 &&
                std::is_trivially_destructible_v<TimeText>);
  new (time_room_) TimeText;
}

CQuorlLogger::~CQuorlLogger() = default;

void CQuorlLogger::TearDown() {
  torn_down_.store(true);
  log_enabled_.store(false);
  exp_log_enabled_.store(false);
  stream_.store(nullptr);
  std::string().swap(log_file_);
}

bool CQuorlLogger::SetLogFile(const char* path, bool append) {
  if (GetLogStream() || torn_down_.load()) return false;
  if (!path) return false;
  // Whatever fails, the host continues without a log; file_open has recorded
  // why.
  return Completes([&] {
    GetQuorlException()->Clear();  // a failure below puts its reason there
    std::string name = path;
    std::unique_ptr<LogFile> target = OpenLogFile(name, append);
    LearnOffset();
    log_file_.swap(name);
    log_file_stream_ = target.release();
    stream_.store(log_file_stream_, std::memory_order_release);
  });
}

const char* CQuorlLogger::GetLogFile() {
  return log_file_.empty() ? nullptr : log_file_.c_str();
}

bool CQuorlLogger::SetLogStream(IQuorlStream* stream) {
  if (GetLogStream() || torn_down_.load() || !stream) return false;
  LearnOffset();
  stream_.store(stream, std::memory_order_release);
  return true;
}

IQuorlStream* CQuorlLogger::GetLogStream() {
  return stream_.load(std::memory_order_acquire);
}

void CQuorlLogger::EnableLog(bool enable) {
  log_enabled_.store(enable, std::memory_order_relaxed);
}

void CQuorlLogger::EnableExpLog(bool enable) {
  exp_log_enabled_.store(enable, std::memory_order_relaxed);
}

bool CQuorlLogger::IsExpLogEnabled() {
  return exp_log_enabled_.load(std::memory_order_relaxed);
}

bool CQuorlLogger::IsLogging(unsigned int* threadId) {
  // A child inherits the mark of a thread that it does not have.
  const bool logging = logging_.load(std::memory_order_acquire) &&
                       generation_.load() == ProcessGeneration();
  if (threadId) *threadId = logging_thread_.load(std::memory_order_relaxed);
  return logging;
}

void CQuorlLogger::Log(LogLevel level, const char* from, const char* msg,
                       const unsigned char* data, unsigned int size) {
  if (!log_enabled_.load(std::memory_order_relaxed)) return;
  if (level == LogExp && !IsExpLogEnabled()) return;
  if (!stream_.load(std::memory_order_relaxed)) return;
  if (static_cast<unsigned>(level) > LogFatal) return;
  WriteRecord(level, from, msg, data, size);
}

// noinline: the early returns of Log need no stack for a record.
__attribute__((noinline)) void CQuorlLogger::WriteRecord(
    LogLevel level, const char* from, const char* msg,
    const unsigned char* data, unsigned int size) {
  IQuorlStream* target = GetLogStream();
  if (!target) return;  // the library was torn down meanwhile
  const ErrnoKeeper errno_keeper;
  [[maybe_unused]] const UnwindingHold hold_off;
  const ThreadId& thread_id = CurrentThreadId();
  if (generation_.load(std::memory_order_acquire) != thread_id.generation) {
    EnterProcess(thread_id.generation);
  }
  LogRecord record({thread_id, level, from, msg, data, size});
  const std::lock_guard<CXMutex> hold(mutex_);
  record.SetTime(Time().For(time(nullptr)));
  const WriteMark mark(logging_, logging_thread_, thread_id.number);
  if (target == log_file_stream_) {
    static_cast<LogFile*>(target)->Append(record);
  } else {
    target->Write(record.Text(), record.Size());
  }
}

TimeText& CQuorlLogger::Time() {
  return *std::launder(reinterpret_cast<TimeText*>(time_room_));
}

// To be called before the target is set: no other thread uses the text then.
void CQuorlLogger::LearnOffset() {
  EnterForkedChild();
  Time().LearnOffset();
}

void CQuorlLogger::EnterForkedChild() { EnterProcess(ProcessGeneration()); }

// Makes the logger usable in a forked child, in which the parent's other
// threads are gone: one of them may have held the lock. Nothing is locked in
// the parent. The first thread of the child to get here does the work, others
// wait.
void CQuorlLogger::EnterProcess(uint32_t generation) {
  constexpr uint32_t kEntering = 0x80000000;  // beside the generation
  uint32_t seen = generation_.load();
  while (seen != generation) {
    if (seen == (generation | kEntering)) {
      std::this_thread::yield();
      seen = generation_.load(std::memory_order_acquire);
      continue;
    }
    if (!generation_.compare_exchange_strong(seen, generation | kEntering)) {
      continue;
    }
    Entry entry(generation_, seen);
    new (&mutex_) CXMutex;
    logging_.store(false);
    Time().EnterChild(PlatformHadThreads());
    entry.Complete(generation);
    return;
  }
}

}  // namespace QuorlBased
