#include "benchmarks/text.h"

#include <cstring>

#include "vellix/sysutils_strings.h"
#include "vellix/sysutils_vectors.h"

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

void AddReplace(const std::string& job, const char* by, const std::string& text,
                const QuorlBased::VectorPath& path) {
  AddLoop(job, by, [text, &path] {
    static const std::string from = kReplaced;
    static const std::string to = kReplacement;
    QuorlBased::UsePath(path);
    return QuorlBased::StrReplace(text, from, to);
  });
}

void AddReplace() {
  const std::string none = ReplaceText(false);
  const std::string dense = ReplaceText(true);
  AddLoop("text/replace-none", "copy", [none] { return none; });
  AddLoop("text/replace-dense", "copy", [dense] { return dense; });
  const QuorlBased::VectorPaths paths = QuorlBased::PathsOfProcessor();
  AddReplace("text/replace-none", "vellix", none, *paths[0]);
  AddReplace("text/replace-dense", "vellix", dense, *paths[0]);
  for (const QuorlBased::VectorPath* path : paths) {
    AddReplace("text/replace-none", path->name, none, *path);
    if (path == &QuorlBased::kTablesPath) break;
  }
}

const Registration kAll([] {
  AddSearch("rare", Words(kLongText), "quartz");
  AddSearch("common", Words(kLongText), "exotic");
  AddSearch("repeating", std::string(kLongText, 'a'), "aaaaab");
  AddReplace();
  AddLoop("text/split", "vellix", [text = Fields()] {
    static const std::string separators = kSeparators;
    return QuorlBased::StrSplit(text, separators);
  });
  AddLoop("text/int", "vellix",
          [] { return QuorlBased::IntToStr(Opaque(kNumber)); });
  // The floor of a text that ends at a NUL: a look for it, and the result.
  AddLoop("text/trim", "copy", [text = QuorlBased::Trim(kPadded, " \r\n")] {
    return std::string(text.c_str());
  });
  AddLoop("text/trim", "vellix", [text = std::string(kPadded)] {
    static const std::string set = " \r\n";
    return QuorlBased::Trim(text, set);
  });
  AddLoop("text/lower", "vellix",
          [text = Words(1024)] { return QuorlBased::LowerCase(text); });
});

}  // namespace
}  // namespace bench
