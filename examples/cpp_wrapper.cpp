// The C++ wrapper of the logger: one source name per module, and messages in
// every form.
#include <array>
#include <fstream>
#include <iostream>
#include <string>
#include <string_view>

#include "vellix/log.h"

namespace {

constexpr char kLogFile[] = "vellix_cpp_wrapper.log";

vellix::Log kLog("net");

int LogInAllForms() {
  const std::string peer = "10.0.0.7";
  const std::array<unsigned char, 3> packet{0x0F, 0xA0, 0x01};
  const std::string_view request = "GET /index.html";

  kLog.Info("listening");
  kLog.Info("peer " + peer);
  kLog.Debug(request.substr(0, 3));
  kLog.Error("bad packet", {packet.data(), packet.size()});
  kLog.Warnf("%d of %d slots in use", 7, 8);
  kLog.Info() << "served " << peer << " in " << 1.5 << " ms";
  return 6;
}

}  // namespace

int main() {
  if (!GetQuorlLogger()->SetLogFile(kLogFile, false)) return 1;
  int expected = LogInAllForms();

  kLog.SetThreshold(QuorlBased::LogWarn);
  kLog.Info("dropped");
  kLog.Info() << "dropped, and nothing is formatted";
  kLog.Fatal("not dropped");
  expected += 1;

  std::ifstream log(kLogFile, std::ios::binary);
  int records = 0;
  for (std::string line; std::getline(log, line); ++records) {
    std::cout << line << "\n";
  }
  return records == expected ? 0 : 1;
}
