// The forms of a message that vellix::Log takes. Included by vellix/log.h.
#ifndef VELLIX_LOG_FORMS_H_
#define VELLIX_LOG_FORMS_H_

#include <cstddef>
#include <exception>
#include <string>
#include <string_view>
#include <type_traits>
#include <version>

#ifdef __cpp_lib_format
#include <format>
#endif

#include "vellix/logger.h"

#pragma GCC visibility push(hidden)
namespace vellix {

// A block of bytes; at most 1024 are dumped.
struct Bytes {
  const void* data = nullptr;  // null for no dump
  size_t size = 0;             // in bytes
};

// A message in any of the usual forms, valid during a call.
class Text {
 public:
  // Refers to `text`, which must live as long as the call. A null pointer is
  // written as "NULL".
  Text(const char* text) : text_(text) {}                 // NOLINT: implicit
  Text(const std::string& text) : text_(text.c_str()) {}  // NOLINT: implicit
  Text(std::string_view text)                             // NOLINT: implicit
      : text_(text.data()), size_(text.size()) {}

 private:
  friend class Log;

  // Marks a NUL-terminated text.
  static constexpr size_t kTerminated = ~size_t{0};

  const char* text_;
  size_t size_ = kTerminated;
};

// The type of the format in a {} form for these arguments, and the code that
// writes it: by std::format, or else completed by vellix/log_fmt.h.
#ifdef __cpp_lib_format
inline namespace braces_of_std {

template <typename Target>
__attribute__((noinline)) void WriteBraces(const Target& log,
                                           QuorlBased::LogLevel level,
                                           std::string_view format,
                                           std::format_args args) {
  std::string text;
  try {
    text = std::vformat(format, args);
  } catch (const std::exception& error) {  // of a width, or of a formatter
    text.assign(format).append(" (").append(error.what()).append(")");
  }
  log.Write(level, text);
}

template <typename... Args>
struct Braces {
  using Format = std::format_string<Args...>;

  template <typename Target>
  static void Write(const Target& log, QuorlBased::LogLevel level,
                    Format format, std::remove_reference_t<Args>&... args) {
    WriteBraces(log, level, format.get(), std::make_format_args(args...));
  }
};

}  // namespace braces_of_std
#else
inline namespace braces_of_fmt {

template <typename... Args>
struct Braces;

}  // namespace braces_of_fmt
#endif

// The type of the format for these arguments.
template <typename First, typename... Rest>
using FormatOf = typename Braces<First, Rest...>::Format;

}  // namespace vellix
#pragma GCC visibility pop

#endif  // VELLIX_LOG_FORMS_H_
