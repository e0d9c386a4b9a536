#include "vellix/exceptions_report.h"

#include <cxxabi.h>

#include <algorithm>
#include <cstring>
#include <new>
#include <string>
#include <string_view>

#include "vellix/sysutils_strings.h"

namespace QuorlBased {
namespace {

// The text of a system failure, cut where it would not fit: the texts of the
// system are much shorter.
class SystemMessage {
 public:
  void Append(std::string_view piece) {
    const size_t room = sizeof text_ - 1 - length_;
    const size_t taken = std::min(piece.size(), room);
    memcpy(text_ + length_, piece.data(), taken);
    length_ += taken;
    text_[length_] = '\0';
  }
  const char* Text() const { return text_; }

 private:
  char text_[512] = "";
  size_t length_ = 0;
};

}  // namespace

// Neither forced unwinding nor a foreign exception is a current exception. They
// are told apart by the types that the run time gives them. Their handlers bind
// a null reference: such an exception has no C++ object.
__attribute__((no_sanitize("null"))) void LetUnwindingPass() {
  if (std::current_exception()) return;
  try {
    throw;
  } catch (abi::__foreign_exception&) {
    // Forced unwinding goes on from here.
  }
}

void FailureSource::Set(int code, const char* msg, int line,
                        CBaseException* kept) const {
  GetQuorlException()->SetException(code, msg, line, name_);
  if (kept) kept->SetException(code, msg, line, name_);
}

CBaseException FailureSource::SystemFailure(int error, int code,
                                            const char* prefix,
                                            int line) const {
  SystemMessage message;
  message.Append(prefix);
  message.Append(": errno: ");
  message.Append(IntToStr(error));
  message.Append(" ");
  message.Append(strerror(error));
  return CBaseException(code, message.Text(), line, name_);
}

IQuorlException* RecordIfAny() {
  // Here since the store is in the shared library, which has no such function.
  try {
    return GetQuorlException();
  } catch (const std::bad_alloc&) {
    return nullptr;
  }
}

void RaiseStoredFailure() {
  IQuorlException* stored = GetQuorlException();
  if (stored->GetExceptionCode() != 0) throw CBaseException(stored);
}

}  // namespace QuorlBased
