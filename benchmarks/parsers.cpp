#include "benchmarks/parsers.h"

#include <fnmatch.h>

#include <climits>
#include <cstdlib>
#include <list>
#include <string>

#include "vellix/sysutils_parsers.h"
#include "vellix/sysutils_paths.h"

namespace bench {
namespace {

constexpr const char* kNames[] = {
    "main.cpp",           "README.md",          "quorl_base_streams.h",
    "log_2026_11_01.txt", "libvellix.so.1.0.0", "Screenshot 12.PNG"};
constexpr const char* kMasks[] = {"*.cpp", "log_*_??.txt", "lib*.so.*", "*.png",
                                  "readme*"};

// How many of the names fit the masks by match(name, mask).
template <typename Match>
int CountFits(Match match) {
  int fits = 0;
  for (const char* name : kNames) {
    for (const char* mask : kMasks) fits += match(name, mask);
  }
  return fits;
}

bool FitsGlob(const char* text, const char* mask) {
  return fnmatch(mask, text, FNM_CASEFOLD) == 0;
}

void AddStars(const std::string& job, const std::string& text,
              const std::string& mask) {
  AddLoop(job, "fnmatch",
          [text, mask] { return FitsGlob(text.c_str(), mask.c_str()); });
  AddLoop(job, "vellix", [text, mask] {
    return QuorlBased::StrMatch(text.c_str(), mask.c_str());
  });
}

void AddMatches() {
  AddLoop("parsers/match-files", "fnmatch", [] { return CountFits(FitsGlob); });
  AddLoop("parsers/match-files", "vellix",
          [] { return CountFits(QuorlBased::StrMatch); });
  AddStars("parsers/match-stars", Words(2000), "*a*e*i*o*u*r*s*t*q");
  AddStars("parsers/match-stars-hit", Words(2000), "*a*e*i*o*u*r*s*t*");
  // Twenty stars, and a part that fits almost everywhere but for its last byte.
  std::string mask;
  for (int i = 0; i < 20; ++i) mask += "*a";
  mask += "aaaaaaaaaaaaaaab*";
  AddLoop("parsers/match-64KiB", "vellix",
          [text = std::string(64 * 1024, 'a'), mask] {
            return QuorlBased::StrMatch(text.c_str(), mask.c_str());
          });
}

const Registration kAll([] {
  AddMatches();
  AddLoop("parsers/command-line", "vellix", [line = std::string(kCommandLine)] {
    std::list<std::string> arguments;
    QuorlBased::parse_cmd_line(line, arguments);
    return arguments;
  });
  static constexpr const char* kPath = "/usr/share/../lib/./x86_64-linux-gnu";
  AddLoop("parsers/expand-path", "realpath", []() -> std::string {
    char resolved[PATH_MAX];
    return realpath(kPath, resolved) ? resolved : "";
  });
  AddLoop("parsers/expand-path", "vellix",
          [] { return QuorlBased::expand_path(kPath); });
});

}  // namespace
}  // namespace bench
