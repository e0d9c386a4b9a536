#include "vellix/exceptions_report.h"

#include <algorithm>
#include <cstring>
#include <new>
#include <string>
#include <string_view>

#include "vellix/sysutils_strings.h"

namespace QuorlBased {
namespace {

// The text of a system failure. It would be cut at the end of the buffer, but
// the system's texts are much shorter.
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

void FailureSource::Keep(const CBaseException& failure, CBaseException& kept) {
  int line = 0;
  const char* file = failure.GetExceptionSource(&line);
  kept.SetException(failure.GetExceptionCode(), failure.GetExceptionMsg(), line,
                    file);
}

void FailureSource::Set(int code, const char* msg, int line,
                        CBaseException* kept) const {
  if (kept) kept->SetException(code, msg, line, name_);
  GetQuorlException()->SetException(code, msg, line, name_);
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
  // Free and a close go on without a record; everything else fails without one.
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
