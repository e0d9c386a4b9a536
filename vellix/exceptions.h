// The failure value and the failure record of each thread.
//
// A call of the toolkit that fails returns its failure value and puts the
// reason into the calling thread's failure record, which GetQuorlException
// returns; or it throws a CBaseException. The comment of each function says
// which. The failure record belongs to its thread, a CBaseException to its
// owner. Nothing here takes a lock, except that Copy into a failure record logs
// and so takes the logger's lock.
#ifndef VELLIX_EXCEPTIONS_H_
#define VELLIX_EXCEPTIONS_H_

#include <pthread.h>

#include <atomic>
#include <cstdint>
#include <string>

#include "vellix/visibility.h"

// A failure as every module of the process sees it. The order of the
// operations is part of the binary interface. There is no destructor: do not
// delete an object through this type.
class IQuorlException {
 public:
  // The failure code; 0 is no failure.
  virtual int GetExceptionCode() const = 0;

  // The message, never null. Valid until the object changes or is destroyed.
  virtual const char* GetExceptionMsg() const = 0;

  // The source name of the statement that raised the failure, never null, valid
  // until the object changes or is destroyed. Writes its line to `*line`, which
  // must not be null.
  virtual const char* GetExceptionSource(int* line) const = 0;

  // Stores the four fields. A null `msg` or `file` empties that text; both may
  // point into the object itself. Never writes to the log. Throws
  // std::bad_alloc when memory runs out: the code is then stored, unless `file`
  // lies in the object's message, and the other fields may be unchanged.
  virtual void SetException(int code, const char* msg, int line,
                            const char* file) = 0;

  // Sets the code to 0 and empties the message. Line and file stay: they are
  // meaningful only while the code is not 0.
  virtual void Clear() = 0;

  // Copies the four fields of `src`, which must not be null and whose source
  // name must not be null. May throw std::bad_alloc. On the failure record of a
  // thread it also writes a log record (IQuorlLogger::EnableExpLog), and throws
  // what IQuorlLogger::Log throws.
  virtual void Copy(IQuorlException* src) = 0;
};

// A failure as a value: what the toolkit throws to report one.
class CBaseException : public IQuorlException {
 public:
  // Code 0, empty texts, line 0.
  VELLIX_HIDDEN CBaseException() = default;

  // A null `msg` or `file` becomes an empty text. May throw std::bad_alloc.
  CBaseException(int code, const char* msg, int line, const char* file);

  // A copy of the failure in `src`, to be thrown or kept. `src` must not be
  // null and is not used afterwards. May throw std::bad_alloc.
  explicit CBaseException(IQuorlException* src);

  VELLIX_HIDDEN CBaseException(const CBaseException&) = default;
  VELLIX_HIDDEN CBaseException(CBaseException&&) = default;
  VELLIX_HIDDEN CBaseException& operator=(const CBaseException&) = default;
  VELLIX_HIDDEN CBaseException& operator=(CBaseException&&) = default;
  VELLIX_HIDDEN ~CBaseException() = default;

  VELLIX_HIDDEN int GetExceptionCode() const override { return GetCode(); }
  VELLIX_HIDDEN const char* GetExceptionMsg() const override {
    return GetMsg();
  }
  const char* GetExceptionSource(int* line) const override;
  void SetException(int code, const char* msg, int line,
                    const char* file) override;
  void Clear() override;

  // Does nothing when `src` is this object. Never writes to the log.
  void Copy(IQuorlException* src) override;

  // The failure code and the message, without a virtual call.
  VELLIX_HIDDEN int GetCode() const { return code_; }
  VELLIX_HIDDEN const char* GetMsg() const { return message_.c_str(); }

 private:
  int32_t code_ = 0;
  std::string message_;
  int32_t line_ = 0;
  std::string file_;
};

// The object behind GetQuorlException, one per thread. Inside the library only.
// Copying a failure into it also writes a log record. Defined in
// exceptions_store.cpp, like TLSKeyKeeper.
class CQuorlException final : public CBaseException {
 public:
  // Code 0, empty texts, line -1.
  CQuorlException();

  // Copies the fields of `src` and writes them to the log at level LogExp,
  // unless EnableExpLog is off or this thread is inside the target's Write.
  // With this object itself as `src` only the log record is written.
  void Copy(IQuorlException* src) override;
};

static_assert(sizeof(CQuorlException) == sizeof(CBaseException),
              "the failure record of a thread is a plain failure value");

// Owner of the key under which each thread keeps its failure record. Inside the
// library only: the one object lives from the library's load to its teardown.
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
constexpr int32_t kNotFound = 10021005;     // the thing asked for is not there
constexpr int32_t kOutOfMemory = 10021007;  // out of memory
constexpr int32_t kGeneralFailure = 10021008;  // no other code fits
constexpr int32_t kBadArgument = 10021010;     // an argument has a bad value
constexpr int32_t kNoData = 10021011;          // the source holds no data
constexpr int32_t kTooSmall = 10021012;        // the destination is too small
constexpr int32_t kFileFailure = 10021013;     // an operation on a file failed
constexpr int32_t kStandardException = 10021015;  // message is its what() text
constexpr int32_t kEndOfData = 10021016;          // end of data
constexpr int32_t kWrongState = 10021019;  // wrong state for the operation

// The calling thread's failure as four lines of text, or an empty text if its
// code is 0:
//
//   [!!! Exception Code: 10021016
//   Msg: End of file
//   File: ../sysutils
//   Line: 123 !!!]
//
// without a line feed at the end. Creates the thread's failure record if there
// is none, and does not change it. May throw std::bad_alloc. Any thread.
// Defined in exceptions_text.cpp, like the next one.
std::string GetLastQuorlExpAsText();

// `e` rendered through `format`, a printf format that takes a text (the file
// without its directories), an integer (the line) and a text (the message), in
// this order: FormatQuorlExp(e, "%s:%d: %s"). `format` must not come from data.
// At most 255 bytes; a longer text is cut. Any thread.
//
// Failure: throws kGeneralFailure "Can't expand path", such as for a relative
// file in a working directory that was removed, kOutOfMemory "No enough memory"
// or std::bad_alloc. Nothing is recorded.
std::string FormatQuorlExp(const CBaseException& e, const std::string& format);

}  // namespace QuorlBased

extern "C" {

// The calling thread's failure record, created by the first call on the thread;
// never null. One record per thread serves all modules of the process. It stays
// valid until the thread calls ReleaseQuorlException or ends, and must not be
// deleted. Throws std::bad_alloc when there is no memory for a new one. Any
// thread. Defined in exceptions_store.cpp, like the next one.
//
// Each call makes a new record, and leaks it, if the process had used up its
// pthread keys before the library was loaded, or while there is no memory for
// the thread's slot of the key.
__attribute__((visibility("default"))) IQuorlException* GetQuorlException();

// Destroys the calling thread's failure record, if it has one. The next
// GetQuorlException makes a new one: code 0, empty texts, line -1. Any thread.
__attribute__((visibility("default"))) void ReleaseQuorlException();

}  // extern "C"

#endif  // VELLIX_EXCEPTIONS_H_
