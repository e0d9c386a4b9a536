// The {} forms of vellix::Log through the fmt library, for a standard library
// without std::format; with one, this header adds nothing.
//
//   #include <vellix/log_fmt.h>
//
//   kLog.Info("{} of {} slots in use", used, all);
//   kLog.Info(FMT_STRING("{} of {} slots in use"), used, all);
//
// C++20 checks both when they are compiled. C++17 checks only the second;
// define FMT_ENFORCE_COMPILE_STRING to allow no other. Link fmt, or define
// FMT_HEADER_ONLY.
#ifndef VELLIX_LOG_FMT_H_
#define VELLIX_LOG_FMT_H_

#include "vellix/log.h"

#ifndef __cpp_lib_format
#include <fmt/format.h>

#pragma GCC visibility push(hidden)
namespace vellix {
inline namespace braces_of_fmt {

template <typename Target>
__attribute__((noinline)) void WriteBraces(const Target& log,
                                           QuorlBased::LogLevel level,
                                           fmt::string_view format,
                                           fmt::format_args args) {
  fmt::memory_buffer text;
  try {
    fmt::vformat_to(fmt::appender(text), format, args);
  } catch (const std::exception& error) {  // of a width, or of a formatter
    text.clear();
    fmt::format_to(fmt::appender(text), "{} ({})", format, error.what());
  }
  text.push_back('\0');
  log.Write(level, text.data());
}

template <typename... Args>
struct Braces {
  using Format = fmt::format_string<Args...>;

  template <typename Target>
  static void Write(const Target& log, QuorlBased::LogLevel level,
                    Format format, std::remove_reference_t<Args>&... args) {
    WriteBraces(log, level, format, fmt::make_format_args(args...));
  }
};

}  // namespace braces_of_fmt
}  // namespace vellix
#pragma GCC visibility pop
#endif

#endif  // VELLIX_LOG_FMT_H_
