#include <absl/strings/ascii.h>
#include <absl/strings/str_cat.h>
#include <absl/strings/str_replace.h>
#include <absl/strings/str_split.h>
#include <absl/strings/strip.h>

#include <list>

#include "benchmarks/text.h"

namespace bench {
namespace {

void AddReplace(const std::string& job, const std::string& text) {
  AddLoop(job, "abseil", [text] {
    return absl::StrReplaceAll(text, {{kReplaced, kReplacement}});
  });
}

const Registration kAll([] {
  AddReplace("text/replace-none", ReplaceText(false));
  AddReplace("text/replace-dense", ReplaceText(true));
  AddLoop("text/split", "abseil",
          [text = Fields()]() -> std::list<std::string> {
            return absl::StrSplit(text, absl::ByAnyChar(kSeparators),
                                  absl::SkipEmpty());
          });
  AddLoop("text/int", "abseil", [] { return absl::StrCat(Opaque(kNumber)); });
  AddLoop("text/trim", "abseil", [text = std::string(kPadded)] {
    return std::string(absl::StripAsciiWhitespace(text));
  });
  AddLoop("text/lower", "abseil",
          [text = Words(1024)] { return absl::AsciiStrToLower(text); });
});

}  // namespace
}  // namespace bench
