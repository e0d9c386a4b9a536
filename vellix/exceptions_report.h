// Raising and guarding: the one way in which the toolkit fails.
//
// A failure is thrown as a CBaseException. A boundary operation runs its body
// under Guard, which records what leaves the body in the calling thread's
// exception object and gives the operation's failure value.
#ifndef VELLIX_EXCEPTIONS_REPORT_H_
#define VELLIX_EXCEPTIONS_REPORT_H_

#include <pthread.h>

#include <cerrno>
#include <exception>
#include <type_traits>

#include "vellix/exceptions.h"

namespace QuorlBased {

// First statement of a `catch (...)`. The unwinding by which a thread is
// cancelled or exits must not be swallowed, or the process aborts. It is no C++
// exception, so that there is no current one; abi::__forced_unwind has no
// object either, and a handler for it would bind a null reference.
inline void LetUnwindingPass() {
  if (!std::current_exception()) throw;
}

// Keeps the calling thread from being cancelled while it lives.
class CancellationHold {
 public:
  CancellationHold() {
    pthread_setcancelstate(PTHREAD_CANCEL_DISABLE, &previous_);
  }
  CancellationHold(const CancellationHold&) = delete;
  CancellationHold& operator=(const CancellationHold&) = delete;
  ~CancellationHold() { pthread_setcancelstate(previous_, nullptr); }

 private:
  int previous_ = PTHREAD_CANCEL_ENABLE;
};

// A module of the toolkit, by the name that its failures carry as their file.
class FailureSource {
 public:
  explicit constexpr FailureSource(const char* name) : name_(name) {}

  // Throws the failure. Inlined as RaiseErrno is: the unwinding takes most of
  // the time of a failure, and each call that it has to leave a fifth of that.
  [[noreturn, gnu::always_inline]] void Raise(
      int code, const char* msg, int line = __builtin_LINE()) const {
    throw CBaseException(code, msg, line, name_);
  }

  // Throws the failure of the system call just made. The message is composed
  // of `prefix` and errno: "file_open error: errno: 2 No such file or
  // directory". Must be the first statement after the failed call.
  [[noreturn, gnu::always_inline]] void RaiseErrno(
      int code, const char* prefix, int line = __builtin_LINE()) const {
    const int error = errno;  // before the throw allocates
    throw SystemFailure(error, code, prefix, line);
  }

  // Runs `body` and gives its result. What leaves it ends in the calling
  // thread's exception object, and the result is then `failure`.
  //
  // The unwinding by which a thread is cancelled or exits must not be
  // swallowed, or the process aborts: it passes.
  template <typename Body>
  std::invoke_result_t<Body&> Guard(std::invoke_result_t<Body&> failure,
                                    Body body,
                                    int line = __builtin_LINE()) const {
    try {
      return body();
    } catch (CBaseException& e) {
      // The log's write may be cancelled. That unwinding would meet the write's
      // own guard while `e` is still caught, which ends the process.
      const CancellationHold hold;
      GetQuorlException()->Copy(&e);
    } catch (const std::exception& e) {
      GetQuorlException()->SetException(kStandardException, e.what(), line,
                                        name_);
    } catch (...) {
      LetUnwindingPass();
      GetQuorlException()->SetException(kGeneralFailure, "Unknown exception",
                                        line, name_);
    }
    return failure;
  }

  // The same for an operation without a result.
  template <typename Body, typename = std::enable_if_t<
                               std::is_void_v<std::invoke_result_t<Body&>>>>
  void Guard(Body body, int line = __builtin_LINE()) const {
    Guard(
        false,
        [&body] {
          body();
          return true;
        },
        line);
  }

 private:
  CBaseException SystemFailure(int error, int code, const char* prefix,
                               int line) const;

  const char* name_;
};

// Throws a copy of the failure that the calling thread's exception object
// holds, if it holds one. For an operation that called a boundary operation
// and must itself fail by throwing.
void RaiseStoredFailure();

}  // namespace QuorlBased

#endif  // VELLIX_EXCEPTIONS_REPORT_H_
