// The logger: one per process, one line per log record, one target.
//
// A host sets the target once, at start, before other threads log: a file with
// SetLogFile, or its own stream with SetLogStream. From then on every module of
// the process writes there through Log, from any thread. A log record is
// complete in its target when Log returns.
#ifndef VELLIX_LOGGER_H_
#define VELLIX_LOGGER_H_

#include <atomic>
#include <cstdint>
#include <string>

#include "vellix/quorl_base_streams.h"
#include "vellix/sysutils_locks.h"

namespace QuorlBased {

// The level of a log record. The library itself uses only LogExp.
enum LogLevel : int {
  LogDebug = 0,  // for debugging
  LogInfo = 1,   // normal operation
  LogWarn = 2,   // unexpected, but handled
  LogExp = 3,    // failures that were recorded; has a switch of its own
  LogError = 4,  // an operation failed
  LogFatal = 5,  // the program cannot continue
};

// The text of each level in a log record, five characters wide. Defined in
// logger_text.cpp.
extern const char* const loglevel_text[6];

// The logger as every module of the process sees it. The order of the
// operations is part of the binary interface.
class IQuorlLogger {
 public:
  // Makes the file `path` the target and creates it if it is missing. An
  // existing file is appended to when `append` is true, emptied when it is
  // false. The file stays open until the process ends; it gets the lowest free
  // descriptor, 0 to 2 in a process that has closed those.
  //
  // Failure: false, and a target can still be set. If the file could not be
  // opened, the thread's failure record holds the reason; if memory ran out, it
  // may be cleared instead. It is unchanged if a target is already set, for a
  // null path and after the teardown. Success clears it, except when appending
  // to something that cannot seek, such as a pipe. Not synchronised: set the
  // target before other threads log.
  virtual bool SetLogFile(const char* path, bool append) = 0;

  // The path given to SetLogFile; null if there was none. Valid as long as the
  // logger. Any thread, once the target is set.
  virtual const char* GetLogFile() = 0;

  // Makes `stream` the target. The caller keeps it, and it must outlive
  // everything that can log. If a forked child is to log, the stream must have
  // no state that a thread of the parent may have left half changed: a stream
  // over a descriptor has none, a CMemoryStream has.
  //
  // Failure: false, and nothing is changed or recorded, for null, if a target
  // is already set, and after the teardown. Success leaves the thread's failure
  // record as it was. Not synchronised, as SetLogFile.
  virtual bool SetLogStream(IQuorlStream* stream) = 0;

  // The target; null while there is none.
  virtual IQuorlStream* GetLogStream() = 0;

  // The master switch, on at start. May be changed at any time, by any thread.
  virtual void EnableLog(bool enable) = 0;

  // The switch for log records of level LogExp, on at start. May be changed at
  // any time, by any thread.
  virtual void EnableExpLog(bool enable) = 0;

  // Whether recorded failures are also logged, as set by EnableExpLog. Any
  // thread.
  virtual bool IsExpLogEnabled() = 0;

  // Writes one log record: one line, ended by CR LF, in one call of the
  // target's Write.
  //
  //   [TM=Sun Nov  1 09:05:00 2026] [TH=4711] [LV=INFO ] [FR=net] [MG=up]
  //   [BN=NULL]
  //
  // `from` names the source and `msg` is the text, written as "NULL" if null;
  // line feed and carriage return in them become \n and \r. The first 1024 of
  // the `size` bytes of `data` are dumped as hexadecimal digits, "NULL" if
  // there are none. Does nothing if logging is off, for LogExp while
  // EnableExpLog is off, without a target, and for an unknown level.
  //
  // The time is local time. Once a second the C library reads TZ; no other
  // thread may change the environment meanwhile. The child of a multi-threaded
  // process keeps the offset from UTC that its parent last used.
  //
  // Failure: a failed Write is neither reported nor repeated. Throws what the
  // target's Write throws, std::bad_alloc, and std::length_error for more than
  // 4 GiB; the next log record is still whole. A file takes at most 2 GiB less
  // 4 KiB; the rest of a longer log record is lost.
  //
  // Leaves errno unchanged, and also the thread's failure record if the target
  // does. Any thread; log records never interleave. A cancellation point with
  // SetLogFile, or if the target's Write is one. Not in a signal handler, and
  // not under asynchronous cancellation: either may end or hang the process.
  virtual void Log(LogLevel level, const char* from, const char* msg,
                   const unsigned char* data, unsigned int size) = 0;

  // Whether a log record is being written now. Stores the id of the last writer
  // in `*threadId` unless that is null. If the result is true and the id is the
  // caller's, the caller is inside the target's Write. Any thread.
  virtual bool IsLogging(unsigned int* threadId) = 0;
};

class TimeText;

// The class of the one logger. Inside the library only.
class CQuorlLogger final : public IQuorlLogger {
 public:
  // Throws what the constructor of CXMutex throws.
  CQuorlLogger();
  CQuorlLogger(const CQuorlLogger&) = delete;
  CQuorlLogger& operator=(const CQuorlLogger&) = delete;

  // Leaves the target alone.
  ~CQuorlLogger();

  bool SetLogFile(const char* path, bool append) override;
  const char* GetLogFile() override;
  bool SetLogStream(IQuorlStream* stream) override;
  IQuorlStream* GetLogStream() override;
  void EnableLog(bool enable) override;
  void EnableExpLog(bool enable) override;
  bool IsExpLogEnabled() override;
  void Log(LogLevel level, const char* from, const char* msg,
           const unsigned char* data, unsigned int size) override;
  bool IsLogging(unsigned int* threadId) override;

  // `text`, which must not be null, with each line feed as \n and each carriage
  // return as \r. May throw std::bad_alloc. For hosts too; defined in
  // logger_text.cpp, like the next one.
  static std::string ConvertToLogText(const char* text);

  // Fills `out` with the dump of `size` bytes: two upper-case digits and a
  // blank for each. May throw std::bad_alloc, and std::length_error where
  // sizes have 32 bits.
  static void ConvertToHexString(const unsigned char* data, unsigned int size,
                                 std::string& out);

  // Drops the target without freeing it. Later calls of Log do nothing. Only
  // for the library's teardown.
  void TearDown();

  // Sets the logger up for the current process. Only for the library's fork
  // handler; a child in which no handler ran does this when it logs.
  void EnterForkedChild();

 private:
  class Entry;

  TimeText& Time();
  void LearnOffset();
  void EnterProcess(uint32_t generation);
  void WriteRecord(LogLevel level, const char* from, const char* msg,
                   const unsigned char* data, unsigned int size);

  std::string log_file_;
  // A LogFile; null if the target is a host's stream. Stored once, before
  // stream_: who has read the target from there may read this too. Never freed
  // or forgotten, so that its address stays unique and a leak checker finds it.
  IQuorlStream* log_file_stream_ = nullptr;
  std::atomic<IQuorlStream*> stream_{nullptr};
  std::atomic<bool> torn_down_{false};
  std::atomic<bool> log_enabled_{true};
  std::atomic<bool> exp_log_enabled_{true};
  std::atomic<bool> logging_{false};
  std::atomic<uint32_t> logging_thread_{0};
  CXMutex mutex_;
  std::atomic<uint32_t> generation_;  // of the process that has set them up
  alignas(8) unsigned char time_room_[64];  // for a TimeText
};

}  // namespace QuorlBased

extern "C" {

// The logger of the process; never null, never fails, not the caller's. Its
// operations may be called once the library has been loaded. Any thread.
// Defined in library.cpp.
__attribute__((visibility("default"))) QuorlBased::IQuorlLogger*
GetQuorlLogger();

}  // extern "C"

#endif  // VELLIX_LOGGER_H_
