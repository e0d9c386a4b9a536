#include <glib.h>
#include <unistd.h>

#include "benchmarks/record.h"

namespace bench {
namespace {

// Its writer to standard error, which stands for the place meanwhile.
void Run(State& state, const std::string& place) {
  const int error_output = dup(STDERR_FILENO);
  const int file = OpenPlace(place);
  dup2(file, STDERR_FILENO);
  const GLogField fields[] = {{"MESSAGE", kMessage, -1},
                              {"GLIB_DOMAIN", "net", -1}};
  for (auto _ : state) {
    g_log_writer_standard_streams(G_LOG_LEVEL_WARNING, fields, 2, nullptr);
  }
  dup2(error_output, STDERR_FILENO);
  close(error_output);
  close(file);
}

const Registration kAll([] {
  for (const std::string place : {"disk", "null"}) {
    Add("record/" + place, "glib",
        [place](State& state) { Run(state, place); });
  }
});

}  // namespace
}  // namespace bench
