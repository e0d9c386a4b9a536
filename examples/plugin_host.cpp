// A host with three plug-ins, one of them in C. All write to one log and, on
// the same thread, share one failure record.
#include <iostream>
#include <string>
#include <thread>

#include "plugin.h"
#include "vellix/exceptions.h"
#include "vellix/log.h"
#include "vellix/logger.h"
#include "vellix/sysutils.h"

namespace {

const vellix::Log kLog("host");

struct Plugin {
  decltype(&plugin_run) run = nullptr;
  decltype(&plugin_seen_code) seen_code = nullptr;
};

bool Load(const std::string& name, Plugin& plugin) {
  using namespace QuorlBased;
  const std::string path = extract_file_path(get_executable_path()) +
                           "libvellix_plugin_" + name + ".so";
  void* module = load_dll(path.c_str());
  if (!module) {
    kLog.Error("cannot load " + path);
    return false;
  }
  plugin.run = reinterpret_cast<decltype(plugin.run)>(
      get_proc_addr(module, "plugin_run"));
  plugin.seen_code = reinterpret_cast<decltype(plugin.seen_code)>(
      get_proc_addr(module, "plugin_seen_code"));
  return plugin.run && plugin.seen_code;
}

}  // namespace

int main() {
  // Never destroyed: the target outlives everything that can log.
  static auto* target = new QuorlBased::CHandleStream(1);
  GetQuorlLogger()->SetLogStream(target);
  Plugin net;
  Plugin disk;
  Plugin pump;
  if (!Load("net", net) || !Load("disk", disk) || !Load("pump", pump)) return 1;

  kLog.Info("plug-ins are loaded");

  // `net` finds no configuration. The host and `disk` read why.
  const bool failed = !net.run();
  const int host_sees = GetQuorlException()->GetExceptionCode();
  const int disk_sees = disk.seen_code();

  int other_thread_sees = -1;
  std::thread([&] { other_thread_sees = disk.seen_code(); }).join();

  // `pump`, in C, reads what `net` left there, and records its own failure.
  const bool c_sees_it = pump.seen_code() == host_sees;
  const bool c_failed = !pump.run() && disk.seen_code() == QuorlBased::kNoData;

  std::cout << "the host sees " << host_sees << ", the other plug-in "
            << disk_sees << ", another thread " << other_thread_sees << "\n";
  const bool one_record = host_sees == QuorlBased::kFileFailure &&
                          disk_sees == host_sees && other_thread_sees == 0;
  return failed && one_record && c_sees_it && c_failed ? 0 : 1;
}
