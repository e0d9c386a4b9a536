#include <glib.h>

#include "benchmarks/parsers.h"

namespace bench {
namespace {

const Registration kAll([] {
  AddLoop("parsers/command-line", "glib", [] {
    int count = 0;
    char** arguments = nullptr;
    g_shell_parse_argv(kCommandLine, &count, &arguments, nullptr);
    g_strfreev(arguments);
    return count;
  });
});

}  // namespace
}  // namespace bench
