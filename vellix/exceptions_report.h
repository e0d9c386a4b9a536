// Raising and guarding: how the toolkit fails.
//
// A failure is thrown as a CBaseException. A boundary function runs its body
// under Guard, which stores what the body throws in the calling thread's
// failure record and returns the function's failure value.
//
// The toolkit never decides by reading the record back: recording a failure
// logs it, and the log's target may clear the record or itself fail. The
// toolkit passes failures on as values.
#ifndef VELLIX_EXCEPTIONS_REPORT_H_
#define VELLIX_EXCEPTIONS_REPORT_H_

#include <cerrno>
#include <exception>
#include <type_traits>
#include <utility>

#include "vellix/exceptions.h"
#include "vellix/sysutils_platform_cancel.h"

namespace QuorlBased {

// Marks a function that lets forced unwinding pass, by which a thread is
// cancelled or exits: a handler that swallows it aborts the process. There is
// no C++ object then, so the handler binds a null reference. It has its own
// clause, because `catch (...)` cannot tell it from an exception of another
// language, and rethrowing one of those would count it as uncaught forever.
#define VELLIX_LETS_UNWINDING_PASS __attribute__((no_sanitize("null")))

// Runs `body`. False if it throws, even an exception from another language's
// runtime; the exception is dropped.
template <typename Body>
VELLIX_LETS_UNWINDING_PASS bool Completes(Body body) {
  [[maybe_unused]] const UnwindingHold hold;
  try {
    body();
    return true;
  } catch (ForcedUnwind&) {
    throw;
  } catch (...) {
    return false;
  }
}

// A module of the toolkit. Its name is the file of its failures.
class FailureSource {
 public:
  explicit constexpr FailureSource(const char* name) : name_(name) {}

  // Throws the failure. Inlined, as RaiseErrno is: unwinding takes most of the
  // time of a failure, and each frame that it leaves adds a fifth.
  [[noreturn, gnu::always_inline]] void Raise(
      int code, const char* msg, int line = __builtin_LINE()) const {
    throw CBaseException(code, msg, line, name_);
  }

  // Throws the failure of the preceding system call. The message is composed of
  // `prefix` and errno: "file_open error: errno: 2 No such file or directory".
  // Must be the first statement after the failed call.
  [[noreturn, gnu::always_inline]] void RaiseErrno(
      int code, const char* prefix, int line = __builtin_LINE()) const {
    const int error = errno;  // before the throw allocates
    throw SystemFailure(error, code, prefix, line);
  }

  // The same for an errno that was read before.
  [[noreturn, gnu::always_inline]] void RaiseError(
      int error, int code, const char* prefix,
      int line = __builtin_LINE()) const {
    throw SystemFailure(error, code, prefix, line);
  }

  // Runs `body` and returns its result. What it throws is recorded, and the
  // result is then `failure`. If `kept` is not null, the failure is stored
  // there as well, whatever happens to the record.
  //
  // Forced unwinding passes. So does what the recording throws: std::bad_alloc,
  // and what a foreign log target throws.
  template <typename Body>
  VELLIX_LETS_UNWINDING_PASS std::invoke_result_t<Body&> Guard(
      std::invoke_result_t<Body&> failure, Body body,
      CBaseException* kept = nullptr, int line = __builtin_LINE()) const {
    [[maybe_unused]] const UnwindingHold unwinding_hold;
    try {
      return body();
    } catch (CBaseException& e) {
      // The log's write may be cancelled. That unwinding would meet the write's
      // own guard while `e` is still caught, which ends the process.
      const CancellationHold hold;
      if (kept) Keep(e, *kept);
      GetQuorlException()->Copy(&e);
    } catch (const std::exception& e) {
      Set(kStandardException, e.what(), line, kept);
    } catch (ForcedUnwind&) {
      throw;
    } catch (...) {
      Set(kGeneralFailure, "Unknown exception", line, kept);
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
        nullptr, line);
  }

  // Guard for a function that itself fails by throwing: throws what it has
  // recorded as a CBaseException.
  template <typename Body>
  std::invoke_result_t<Body&> Relay(Body body,
                                    int line = __builtin_LINE()) const {
    CBaseException failure;
    std::invoke_result_t<Body&> result{};
    const auto run = [&] {
      result = body();
      return true;
    };
    if (!Guard(false, run, &failure, line)) {
      throw CBaseException(std::move(failure));
    }
    return result;
  }

 private:
  // Copies `failure` into `kept`, the code first. Not moved: the host may still
  // hold the exception.
  static void Keep(const CBaseException& failure, CBaseException& kept);

  // Records a failure without a log record.
  void Set(int code, const char* msg, int line, CBaseException* kept) const;

  CBaseException SystemFailure(int error, int code, const char* prefix,
                               int line) const;

  const char* name_;
};

// The calling thread's record; null if there is none and no memory for one.
// Then there is nothing to clear.
IQuorlException* RecordIfAny();

// Throws a copy of the failure in the calling thread's record, if there is one.
// Only for what a host's code has put there: for the toolkit's failures the
// record may have lost the true reason.
void RaiseStoredFailure();

}  // namespace QuorlBased

#endif  // VELLIX_EXCEPTIONS_REPORT_H_
