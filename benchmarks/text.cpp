#include "benchmarks/text.h"

#include <cstring>

#include "vellix/sysutils_strings.h"

namespace bench {
namespace {

// A search through all of `text`, for what is only at its far end.
void AddSearch(const std::string& name, std::string text,
               const std::string& pattern) {
  std::string reversed = pattern + text;
  text += pattern;
  AddLoop("text/find-" + name, "memmem", [text, pattern] {
    return memmem(text.data(), text.size(), pattern.data(), pattern.size());
  });
  AddLoop("text/find-" + name, "vellix",
          [text, pattern] { return QuorlBased::StrPos(text, 0, pattern); });
  // memmem finds no last one: it has the same way to go as above.
  AddLoop("text/rfind-" + name, "memmem", [text, pattern] {
    return memmem(text.data(), text.size(), pattern.data(), pattern.size());
  });
  AddLoop("text/rfind-" + name, "vellix", [reversed, pattern] {
    return QuorlBased::StrRPos(reversed, 0xFFFFFFFF, pattern);
  });
}

void AddReplace(const std::string& job, const std::string& text) {
  AddLoop(job, "copy", [text] { return text; });
  AddLoop(job, "vellix", [text] {
    static const std::string from = kReplaced;
    static const std::string to = kReplacement;
    return QuorlBased::StrReplace(text, from, to);
  });
}

const Registration kAll([] {
  AddSearch("rare", Words(kLongText), "quartz");
  AddSearch("common", Words(kLongText), "exotic");
  AddSearch("repeating", std::string(kLongText, 'a'), "aaaaab");
  AddReplace("text/replace-none", ReplaceText(false));
  AddReplace("text/replace-dense", ReplaceText(true));
  AddLoop("text/split", "vellix", [text = Fields()] {
    static const std::string separators = kSeparators;
    return QuorlBased::StrSplit(text, separators);
  });
  AddLoop("text/int", "vellix",
          [] { return QuorlBased::IntToStr(Opaque(kNumber)); });
  AddLoop("text/trim", "vellix", [text = std::string(kPadded)] {
    static const std::string set = " \r\n";
    return QuorlBased::Trim(text, set);
  });
  AddLoop("text/lower", "vellix",
          [text = Words(1024)] { return QuorlBased::LowerCase(text); });
});

}  // namespace
}  // namespace bench
