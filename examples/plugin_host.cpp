// A host with two plug-ins. All three write to one log and, on one thread, see
// one failure record.
#include <iostream>
#include <string>
#include <thread>

#include "plugin.h"
#include "vellix/exceptions.h"
#include "vellix/logger.h"
#include "vellix/sysutils.h"

namespace {

struct Plugin {
  PluginRun run = nullptr;
  PluginSeenCode seen_code = nullptr;
};

bool Load(const std::string& name, Plugin& plugin) {
  using namespace QuorlBased;
  const std::string path = extract_file_path(get_executable_path()) +
                           "libvellix_plugin_" + name + ".so";
  void* module = load_dll(path.c_str());
  if (!module) {
    GetQuorlLogger()->Log(LogError, "host", ("cannot load " + path).c_str(),
                          nullptr, 0);
    return false;
  }
  plugin.run = reinterpret_cast<PluginRun>(get_proc_addr(module, "plugin_run"));
  plugin.seen_code = reinterpret_cast<PluginSeenCode>(
      get_proc_addr(module, "plugin_seen_code"));
  return plugin.run && plugin.seen_code;
}

}  // namespace

int main() {
  // Never destroyed: the target outlives all that can log.
  static auto* target = new QuorlBased::CHandleStream(1);
  GetQuorlLogger()->SetLogStream(target);
  Plugin net;
  Plugin disk;
  if (!Load("net", net) || !Load("disk", disk)) return 1;

  // `net` finds no configuration. The host and `disk` read why.
  const bool failed = !net.run();
  const int host_sees = GetQuorlException()->GetExceptionCode();
  const int disk_sees = disk.seen_code();

  int other_thread_sees = -1;
  std::thread([&] { other_thread_sees = disk.seen_code(); }).join();

  std::cout << "the host sees " << host_sees << ", the other plug-in "
            << disk_sees << ", another thread " << other_thread_sees << "\n";
  const bool one_record = host_sees == QuorlBased::kFileFailure &&
                          disk_sees == host_sees && other_thread_sees == 0;
  return failed && one_record ? 0 : 1;
}
