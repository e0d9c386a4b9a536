// Log targets for services, for IQuorlLogger::SetLogStream:
//
//   FileTarget     a file that may be rotated, shared or full
//   FdTarget       a descriptor: standard output, a pipe, a socket
//   JsonTarget     JSON in front of any target
//   TeeTarget      several targets, each with a lowest level
//   CaptureTarget  the records as fields, for tests
//
//   static auto* file = new vellix::FileTarget("/var/log/app.log");
//   GetQuorlLogger()->SetLogStream(file);
//
// Header-only; uses only the interface. A target must outlive everything that
// can log, so make it with new and never delete it. Only the logger calls its
// Write, under its lock. docs/targets.md has more.
#ifndef VELLIX_TARGETS_H_
#define VELLIX_TARGETS_H_

#include <cstddef>
#include <cstdint>
#include <list>
#include <mutex>
#include <optional>
#include <string>
#include <string_view>
#include <utility>

#include "vellix/logger.h"
#include "vellix/record.h"
#include "vellix/target_fd.h"
#include "vellix/target_file.h"
#include "vellix/target_json.h"
#include "vellix/target_stream.h"

// Modules with other versions of this header share nothing of it.
#pragma GCC visibility push(hidden)
namespace vellix {

// Passes each log record to several targets, in the order of Add. If one fails
// or throws, the others still get it. Anything else than a log record goes to
// all.
class TeeTarget : public Target {
 public:
  // `target`, which must outlive this, gets the records of `lowest` and above.
  // Only before the tee becomes the log's target. Throws std::bad_alloc.
  void Add(QuorlBased::IQuorlStream& target,
           QuorlBased::LogLevel lowest = QuorlBased::LogDebug) {
    branches_.push_back({&target, lowest});
  }

  // Passes on one log record. Returns `count`, or -1 if a target failed or
  // threw. Throws nothing. Not a cancellation point.
  int32_t Write(const void* buffer, uint32_t count) override {
    if (!buffer) return -1;
    const CancellationScope hold;  // its unwinding could not pass the handler
    const std::string_view line(static_cast<const char*>(buffer), count);
    const std::optional<Record> record = ReadRecord(line);
    bool all = true;
    for (const Branch& branch : branches_) {
      if (record && record->level < branch.lowest) continue;
      all &= TakesAll(*branch.target, buffer, count);
    }
    return all ? static_cast<int32_t>(count) : -1;
  }

 private:
  struct Branch {
    QuorlBased::IQuorlStream* target;
    QuorlBased::LogLevel lowest;
  };

  static bool TakesAll(QuorlBased::IQuorlStream& target, const void* buffer,
                       uint32_t count) {
    try {
      return target.Write(buffer, count) == static_cast<int32_t>(count);
    } catch (...) {  // the other targets still get the record
      return false;
    }
  }

  std::list<Branch> branches_;
};

// A log record that owns its fields. Kept in lists: for a vector of hidden
// types g++ exports functions that other modules would share.
struct CapturedRecord {
  std::string time;     // 24 characters, local time
  std::string thread;   // decimal, signed
  std::string source;   // the text after FR=
  std::string message;  // the text after MG=
  std::string data;     // "NULL", or two digits and a blank for each byte
  QuorlBased::LogLevel level = QuorlBased::LogDebug;  // DEBUG for no log record
};

// Keeps the log's records, for tests of a host. Leaves the thread's failure
// record alone, unlike a CMemoryStream, which clears it at every Write.
class CaptureTarget : public Target {
 public:
  // Keeps one log record. Anything else is kept as a message. Throws
  // std::bad_alloc.
  int32_t Write(const void* buffer, uint32_t count) override {
    if (!buffer) return -1;
    const std::string_view line(static_cast<const char*>(buffer), count);
    CapturedRecord captured = Copy(line);
    const std::lock_guard<std::mutex> hold(mutex_);
    records_.push_back(std::move(captured));
    return static_cast<int32_t>(count);
  }

  // The records so far. Any thread, even while others log.
  std::list<CapturedRecord> Records() const {
    const std::lock_guard<std::mutex> hold(mutex_);
    return records_;
  }

  // Drops the records. Any thread.
  void Clear() {
    const std::lock_guard<std::mutex> hold(mutex_);
    records_.clear();
  }

 private:
  static CapturedRecord Copy(std::string_view line) {
    const std::optional<Record> read = ReadRecord(line);
    CapturedRecord copy;
    if (read) {
      copy.time = read->time;
      copy.thread = read->thread;
      copy.level = read->level;
      copy.source = read->source;
      copy.message = read->message;
      copy.data = read->data;
    } else {
      copy.message = line;
    }
    return copy;
  }

  mutable std::mutex mutex_;
  std::list<CapturedRecord> records_;
};

}  // namespace vellix
#pragma GCC visibility pop

#endif  // VELLIX_TARGETS_H_
