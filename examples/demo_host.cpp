// A typical host: it loads the library beside it, sets a log file, logs from
// several threads, and loads a module whose calls fail.
#include <dlfcn.h>

#include <cstdio>
#include <fstream>
#include <iostream>
#include <string>
#include <thread>
#include <vector>

#include "vellix/loader.h"

namespace {

constexpr int kThreads = 4;

void LogAtAllLevels(QuorlBased::IQuorlLogger* logger, int worker) {
  const std::string from = "worker " + std::to_string(worker);
  const unsigned char packet[] = {0x0F, 0xA0,
                                  static_cast<unsigned char>(worker)};
  logger->Log(QuorlBased::LogDebug, from.c_str(), "packet received", packet,
              sizeof packet);
  logger->Log(QuorlBased::LogInfo, from.c_str(), "started", nullptr, 0);
  logger->Log(QuorlBased::LogWarn, from.c_str(), "two lines\nin one record",
              nullptr, 0);
  logger->Log(QuorlBased::LogExp, from.c_str(), "a failure of the host's own",
              nullptr, 0);
  logger->Log(QuorlBased::LogError, from.c_str(), nullptr, packet, 1);
  logger->Log(QuorlBased::LogFatal, from.c_str(), "stopped", nullptr, 0);
}

// Makes the module's calls fail on this thread.
bool RunModule(const std::string& path) {
  void* module = dlopen(path.c_str(), RTLD_NOW | RTLD_LOCAL);
  if (!module) {
    std::cerr << "cannot open the module: " << dlerror() << "\n";
    return false;
  }
  using Function = void (*)();
  auto show_failures =
      reinterpret_cast<Function>(dlsym(module, "show_failures"));
  if (show_failures) show_failures();
  return show_failures != nullptr;
}

}  // namespace

int main() {
  vellix::Library library;
  if (!library.Open()) {
    std::cerr << library.Error() << "\n";
    return 1;
  }
  QuorlBased::IQuorlLogger* logger = library.Logger();

  const std::string directory = vellix::Library::ExecutableDirectory();
  const std::string log_path = directory + "vellix_demo.log";
  const std::streamoff old_size =
      std::ifstream(log_path, std::ios::ate | std::ios::binary).tellg();
  if (!logger->SetLogFile(log_path.c_str(), true)) {
    std::cerr << library.Exception()->GetExceptionMsg() << "\n";
    return 1;
  }

  std::vector<std::thread> workers;
  for (int worker = 0; worker < kThreads; ++worker) {
    workers.emplace_back(LogAtAllLevels, logger, worker);
  }
  for (std::thread& worker : workers) worker.join();

  std::cout << "Calls that fail, and the failure record after each:\n\n";
  if (!RunModule(directory + "libvellix_demo_module.so")) return 1;

  std::cout << "The log in " << log_path;
  if (old_size > 0) std::cout << ", continued after " << old_size << " bytes";
  std::cout << ":\n\n" << std::ifstream(log_path).rdbuf();
  return 0;
}
