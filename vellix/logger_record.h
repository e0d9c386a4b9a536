// The line of one record: pure text, no lock.
#ifndef VELLIX_LOGGER_RECORD_H_
#define VELLIX_LOGGER_RECORD_H_

#include <cstddef>
#include <cstdint>
#include <memory>

#include "vellix/logger.h"

namespace QuorlBased {

// The characters of a time in a record.
constexpr size_t kTimeLength = 24;

// A text as it stands in a record: on one line.
class LogText {
 public:
  // `text` must not be null and must outlive this object.
  explicit LogText(const char* text);

  size_t Length() const { return length_ + line_ends_; }

  // Writes Length() characters to `out` and gives what follows them.
  char* AppendTo(char* out) const;

 private:
  const char* text_;
  size_t length_;
  size_t line_ends_ = 0;
};

// Writes two digits and a blank for each byte to `out`, then a NUL, and gives
// the address of the NUL.
char* DumpBytes(const unsigned char* data, size_t size, char* out);

// One record, complete but for its time.
class LogRecord {
 public:
  // The bytes of `data` that a record takes at the most.
  static constexpr unsigned int kMaxData = 1024;

  // Null texts and data stand as "NULL". Throws std::bad_alloc, and
  // std::length_error for a record that one Write cannot take.
  LogRecord(uint32_t thread_id, LogLevel level, const char* from,
            const char* msg, const unsigned char* data, unsigned int size);
  LogRecord(const LogRecord&) = delete;
  LogRecord& operator=(const LogRecord&) = delete;

  // Puts the kTimeLength characters of `time` into their place.
  void SetTime(const char* time);

  const char* Text() const { return text_; }
  uint32_t Size() const { return size_; }

 private:
  void Reserve(size_t size);

  // Most records need no heap.
  char room_[4096];
  std::unique_ptr<char[]> heap_;
  char* text_ = room_;
  uint32_t size_ = 0;
};

}  // namespace QuorlBased

#endif  // VELLIX_LOGGER_RECORD_H_
