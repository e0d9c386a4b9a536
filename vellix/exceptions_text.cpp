#include "vellix/exceptions.h"
#include "vellix/sysutils_paths.h"
#include "vellix/sysutils_strings.h"

namespace QuorlBased {

std::string GetLastQuorlExpAsText() {
  const IQuorlException* failure = GetQuorlException();
  const int code = failure->GetExceptionCode();
  if (code == 0) return {};
  int line = 0;
  const char* file = failure->GetExceptionSource(&line);
  std::string text = "[!!! Exception Code: ";
  text += IntToStr(code);
  text += "\nMsg: ";
  text += failure->GetExceptionMsg();
  text += "\nFile: ";
  text += file;
  text += "\nLine: ";
  text += IntToStr(line);
  text += " !!!]";
  return text;
}

std::string FormatQuorlExp(const CBaseException& e, const std::string& format) {
  int line = 0;
  const std::string file = extract_file_name(e.GetExceptionSource(&line));
  return Format(format, file.c_str(), line, e.GetMsg());
}

}  // namespace QuorlBased
