#include "vellix/exceptions.h"

#include <functional>

#include "vellix/text_or_empty.h"

using QuorlBased::TextOrEmpty;

namespace {

// Whether `text` points into `whole`, its terminator included.
bool PointsInto(const char* text, const std::string& whole) {
  const std::less_equal<> not_after;
  return not_after(whole.data(), text) &&
         not_after(text, whole.data() + whole.size());
}

}  // namespace

CBaseException::CBaseException(int code, const char* msg, int line,
                               const char* file)
    : code_(code),
      message_(TextOrEmpty(msg)),
      line_(line),
      file_(TextOrEmpty(file)) {}

CBaseException::CBaseException(IQuorlException* src) {
  file_ = TextOrEmpty(src->GetExceptionSource(&line_));
  message_ = TextOrEmpty(src->GetExceptionMsg());
  code_ = src->GetExceptionCode();
}

const char* CBaseException::GetExceptionSource(int* line) const {
  *line = line_;
  return file_.c_str();
}

void CBaseException::SetException(int code, const char* msg, int line,
                                  const char* file) {
  file = TextOrEmpty(file);
  // The texts may point into this object. A string may be assigned a part of
  // itself, but a file that lies in the message is copied before the message
  // changes.
  std::string kept_file;
  if (PointsInto(file, message_)) {
    kept_file = file;
    file = kept_file.c_str();
  }
  code_ = code;
  message_ = TextOrEmpty(msg);
  line_ = line;
  file_ = file;
}

void CBaseException::Clear() {
  code_ = 0;
  message_.clear();
}

void CBaseException::Copy(IQuorlException* src) {
  if (src == this) return;
  int line = 0;
  const std::string file = src->GetExceptionSource(&line);
  const char* msg = src->GetExceptionMsg();
  const int code = src->GetExceptionCode();
  SetException(code, msg, line, file.c_str());
}
