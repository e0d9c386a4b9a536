// What all do who work on text: the same texts.
#ifndef VELLIX_BENCHMARKS_TEXT_H_
#define VELLIX_BENCHMARKS_TEXT_H_

#include <cstdint>
#include <string>

#include "benchmarks/bench.h"

namespace bench {

constexpr size_t kLongText = 64 * 1024;
constexpr int32_t kNumber = -1234567;
constexpr char kPadded[] =
    "  \r\n a line of a file with blanks before and behind it \r\n  ";

// The texts of the jobs "replace-none" and "replace-dense", and what is
// replaced in them.
inline std::string ReplaceText(bool dense) {
  std::string text = Words(kLongText);
  for (size_t i = 0; dense && i + 2 < text.size(); i += 8) text[i] = 'x';
  return text;
}
constexpr char kReplaced[] = "x";
constexpr char kReplacement[] = "&amp;";

// A line of 100 fields.
inline std::string Fields() {
  std::string text;
  for (int i = 0; i < 100; ++i)
    text += "field" + std::to_string(i * i) + ",;"[i % 2];
  return text;
}
constexpr char kSeparators[] = ",;";

}  // namespace bench

#endif  // VELLIX_BENCHMARKS_TEXT_H_
