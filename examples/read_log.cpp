// Splits a log on standard input into fields, for cut, awk and other tools:
//
//   vellix_read_log          the fields of each record, separated by 0x1F
//   vellix_read_log json     each line as JsonTarget gives it, with the time
//   now
//
// Skips lines that are not log records; fails at the end if there were any.
#include <unistd.h>

#include <iostream>
#include <iterator>
#include <string>
#include <string_view>

#include "vellix/targets.h"

namespace {

void PrintFields(const vellix::Record& record) {
  std::string_view level = vellix::record_rule::kLevels[record.level];
  level = level.substr(0, level.find(' '));
  std::cout << record.time << '\x1f' << record.thread << '\x1f' << level
            << '\x1f' << record.source << '\x1f' << record.message << '\x1f'
            << record.data << '\n';
}

}  // namespace

int main(int argc, char** argv) {
  const bool as_json = argc > 1 && argv[1] == std::string_view("json");
  const std::string text{std::istreambuf_iterator<char>(std::cin), {}};
  vellix::FdTarget out(STDOUT_FILENO);
  vellix::JsonTarget json(out);
  std::string_view log = text;
  std::string_view line;
  bool all = true;
  while (vellix::TakeLine(log, line)) {
    const auto record = vellix::ReadRecord(line);
    all = all && record;
    if (as_json) {
      json.Write(line.data(), static_cast<uint32_t>(line.size()));
    } else if (record) {
      PrintFields(*record);
    }
  }
  return all ? 0 : 1;
}
