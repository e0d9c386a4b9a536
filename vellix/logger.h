// The logger: one per process, one line per record, one target.
//
// A host sets the target once, at start, before other threads log: a file with
// SetLogFile, or a stream of its own with SetLogStream. From then on every
// module of the process writes there through Log, from any thread. A record is
// complete in its target when Log returns.
#ifndef VELLIX_LOGGER_H_
#define VELLIX_LOGGER_H_

#include <atomic>
#include <cstdint>
#include <string>

#include "vellix/quorl_base_streams.h"
#include "vellix/sysutils_locks.h"

namespace QuorlBased {

// The level of a record.
enum LogLevel : int {
  LogDebug = 0,
  LogInfo = 1,
  LogWarn = 2,
  LogExp = 3,  // the records of recorded failures; has a switch of its own
  LogError = 4,
  LogFatal = 5,
};

// The text of each level in a record, five characters wide.
extern const char* const loglevel_text[6];

// The logger as every module of the process sees it. The order of the
// operations is part of the binary interface.
class IQuorlLogger {
 public:
  // Makes the file `path` the target: an existing one is continued at its end
  // when `append` is true and emptied when it is false, a missing one is made.
  // The file stays open for the rest of the process's life. False when a target
  // is set already, for a null path, and when the file cannot be opened; the
  // thread's exception object then holds the reason and a target can still be
  // set. Success leaves that object empty, unless what is continued cannot
  // seek, as a pipe.
  virtual bool SetLogFile(const char* path, bool append) = 0;

  // The name given to SetLogFile; null without one. Valid as long as the
  // logger.
  virtual const char* GetLogFile() = 0;

  // Makes `stream` the target. It stays the caller's and has to outlive all
  // that can log. False, and nothing changed, for null and when a target is set
  // already.
  virtual bool SetLogStream(IQuorlStream* stream) = 0;

  // The target; null while there is none.
  virtual IQuorlStream* GetLogStream() = 0;

  // The master switch, on at start. May be changed at any time.
  virtual void EnableLog(bool enable) = 0;

  // The switch for records of level LogExp, on at start. May be changed at any
  // time.
  virtual void EnableExpLog(bool enable) = 0;
  virtual bool IsExpLogEnabled() = 0;

  // Writes one record: one line, ended by CR LF, given to the target's Write in
  // one call.
  //
  //   [TM=Sun Nov  1 09:05:00 2026] [TH=4711] [LV=INFO ] [FR=net] [MG=up]
  //   [BN=NULL]
  //
  // `from` names the source and `msg` is the text, "NULL" when null; line feed
  // and carriage return in them become \n and \r. Of `data` the first 1024 of
  // `size` bytes are dumped as hexadecimal digits, "NULL" without any. Nothing
  // happens when logging is off, without a target, and for an unknown level. A
  // failed write is not reported and not repeated. Leaves errno as it was.
  // Throws what the target's Write throws, and std::bad_alloc; the next record
  // is whole all the same. Any thread; records never interleave.
  virtual void Log(LogLevel level, const char* from, const char* msg,
                   const unsigned char* data, unsigned int size) = 0;

  // Whether a record is being written now. Writes to `*threadId`, unless it is
  // null, the id of the thread that last began to write one. A thread that
  // finds true and its own id is itself inside the target's Write.
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
  // return as \r. May throw std::bad_alloc.
  static std::string ConvertToLogText(const char* text);

  // Fills `out` with the dump of `size` bytes: two upper-case digits and a
  // blank for each. May throw std::bad_alloc.
  static void ConvertToHexString(const unsigned char* data, unsigned int size,
                                 std::string& out);

  // Forgets the target, which is left alone, for good: a later Log does
  // nothing. For the library's teardown alone.
  void TearDown();

 private:
  class Entry;

  TimeText& Time();
  void LearnOffset();
  void EnterProcess(uint32_t generation);
  void WriteRecord(LogLevel level, const char* from, const char* msg,
                   const unsigned char* data, unsigned int size);

  std::string log_file_;
  // Freed by nobody. Kept beyond the teardown, which forgets the target: a leak
  // checker of the host still finds it.
  IQuorlStream* log_file_stream_ = nullptr;
  std::atomic<IQuorlStream*> stream_{nullptr};
  std::atomic<bool> torn_down_{false};
  std::atomic<bool> log_enabled_{true};
  std::atomic<bool> exp_log_enabled_{true};
  std::atomic<bool> logging_{false};
  std::atomic<uint32_t> logging_thread_{0};
  CXMutex mutex_;
  std::atomic<uint32_t> generation_;  // of the process that the fields are of
  alignas(8) unsigned char time_room_[64];
};

}  // namespace QuorlBased

extern "C" {

// The logger of the process; never null, never fails, not the caller's.
__attribute__((visibility("default"))) QuorlBased::IQuorlLogger*
GetQuorlLogger();

}  // extern "C"

#endif  // VELLIX_LOGGER_H_
