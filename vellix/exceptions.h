// The failure value and the record of the last failure of each thread.
//
// A module reads its thread's record through GetQuorlException after a call
// has returned its failure value. The record belongs to the calling thread;
// a CBaseException belongs to whoever holds it. Nothing here takes a lock.
#ifndef VELLIX_EXCEPTIONS_H_
#define VELLIX_EXCEPTIONS_H_

#include <pthread.h>

#include <atomic>
#include <cstdint>
#include <string>

// A failure as every module of the process sees it. The order of the
// operations is part of the binary interface. There is no destructor: nobody
// may delete an object through this type.
class IQuorlException {
 public:
  // The failure code; 0 is no failure.
  virtual int GetExceptionCode() const = 0;

  // The message, never null. Valid until the object changes or dies.
  virtual const char* GetExceptionMsg() const = 0;

  // The source name of the raising statement, never null, valid until the
  // object changes or dies. Writes its line to `*line`, which must not be null.
  virtual const char* GetExceptionSource(int* line) const = 0;

  // Stores the four fields. A null `msg` or `file` empties that text; both may
  // point into the object itself. Never writes to the log. May throw
  // std::bad_alloc.
  virtual void SetException(int code, const char* msg, int line,
                            const char* file) = 0;

  // Sets the code to 0 and empties the message. Line and file stay as they
  // are: they mean something only while the code is not 0.
  virtual void Clear() = 0;

  // Takes over the four fields of `src`, which must not be null and must give
  // a source name that is not null. May throw std::bad_alloc.
  virtual void Copy(IQuorlException* src) = 0;
};

// What the toolkit throws, by value, and the only type that it throws.
class CBaseException : public IQuorlException {
 public:
  // Code 0, empty texts, line 0.
  CBaseException() = default;

  // A null `msg` or `file` gives an empty text. May throw std::bad_alloc.
  CBaseException(int code, const char* msg, int line, const char* file);

  // A copy of the failure that `src` holds, to be thrown again. `src` must not
  // be null and is not referred to afterwards. May throw std::bad_alloc.
  explicit CBaseException(IQuorlException* src);

  CBaseException(const CBaseException&) = default;
  CBaseException(CBaseException&&) = default;
  CBaseException& operator=(const CBaseException&) = default;
  CBaseException& operator=(CBaseException&&) = default;
  ~CBaseException() = default;

  int GetExceptionCode() const override { return GetCode(); }
  const char* GetExceptionMsg() const override { return GetMsg(); }
  const char* GetExceptionSource(int* line) const override;
  void SetException(int code, const char* msg, int line,
                    const char* file) override;
  void Clear() override;

  // Does nothing when `src` is this object. Never writes to the log.
  void Copy(IQuorlException* src) override;

  int GetCode() const { return code_; }
  const char* GetMsg() const { return message_.c_str(); }

 private:
  int32_t code_ = 0;
  std::string message_;
  int32_t line_ = 0;
  std::string file_;
};

// The object behind GetQuorlException: one per thread, made and destroyed by
// the store. What is copied into it goes to the log as well.
class CQuorlException final : public CBaseException {
 public:
  // Code 0, empty texts, line -1.
  CQuorlException();

  // Takes over the fields of `src` and writes them to the log at level LogExp,
  // unless exception logging is off or this thread is inside the logger's own
  // write. With this object itself as `src` only the record is written.
  void Copy(IQuorlException* src) override;
};

static_assert(sizeof(CQuorlException) == sizeof(CBaseException),
              "the record of a thread is a plain failure value");

// Owner of the key under which each thread keeps its record. The library holds
// the only object: the key lives from the library's load to its teardown.
class TLSKeyKeeper {
 public:
  TLSKeyKeeper();
  TLSKeyKeeper(const TLSKeyKeeper&) = delete;
  TLSKeyKeeper& operator=(const TLSKeyKeeper&) = delete;
  ~TLSKeyKeeper();

  static std::atomic<pthread_key_t> sTLSIndex;
};

namespace QuorlBased {

// The failure codes. 0 is no failure.
constexpr int32_t kNullPointer = 10021003;  // a required argument is null
constexpr int32_t kNotFound = 10021005;     // what was looked for is not there
constexpr int32_t kOutOfMemory = 10021007;  // out of memory
constexpr int32_t kGeneralFailure = 10021008;  // no other code fits
constexpr int32_t kBadArgument = 10021010;     // an argument has a bad value
constexpr int32_t kNoData = 10021011;          // the source holds no data
constexpr int32_t kTooSmall = 10021012;        // the destination is too small
constexpr int32_t kFileFailure = 10021013;     // an operation on a file failed
constexpr int32_t kStandardException = 10021015;  // message is its what() text
constexpr int32_t kEndOfData = 10021016;          // end of data
constexpr int32_t kWrongState = 10021019;  // wrong state for the operation

// The calling thread's failure as four lines of text, or the empty text when
// its code is 0:
//
//   [!!! Exception Code: 10021016
//   Msg: End of file
//   File: ../sysutils
//   Line: 123 !!!]
//
// without a line feed at the end. Makes the thread's record if there is none
// and does not change it. May throw std::bad_alloc. Any thread.
std::string GetLastQuorlExpAsText();

// `e` rendered through `format`, a printf format that takes a text (the file
// without its directories), an integer (the line) and a text (the message), in
// this order: FormatQuorlExp(e, "%s:%d: %s"). At most 255 bytes; what is longer
// is cut. Throws what extract_file_name throws. Any thread.
std::string FormatQuorlExp(const CBaseException& e, const std::string& format);

}  // namespace QuorlBased

extern "C" {

// The calling thread's record, made by the first call on the thread; never
// null. One record per thread serves all modules of the process. It stays
// valid until the thread calls ReleaseQuorlException or ends, and must not be
// deleted. Throws std::bad_alloc when there is no memory for the first one.
// Any thread.
__attribute__((visibility("default"))) IQuorlException* GetQuorlException();

// Destroys the calling thread's record, if it has one. The next
// GetQuorlException gives a new one: code 0, empty texts, line -1. Any thread.
__attribute__((visibility("default"))) void ReleaseQuorlException();

}  // extern "C"

#endif  // VELLIX_EXCEPTIONS_H_
