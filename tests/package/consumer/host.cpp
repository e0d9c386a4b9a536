// host <library> <module> <module>: opens the library and two modules, which
// must share its logger and one record per thread. The exit status tells which
// line failed.
#include <dlfcn.h>
#include <vellix/loader.h>

#include <thread>

int main(int argc, char** argv) {
  using Fail = IQuorlException*(QuorlBased::IQuorlLogger**);
  vellix::Library library;
  if (argc != 4 || !library.Open(argv[1])) return __LINE__;
  if (!library.Logger()->SetLogFile("host.log", false)) return __LINE__;
  QuorlBased::IQuorlLogger* loggers[2] = {};
  Fail* fail[2] = {};
  for (int i = 0; i < 2; ++i) {
    void* module = dlopen(argv[2 + i], RTLD_NOW | RTLD_LOCAL);
    if (!module) return __LINE__;
    fail[i] = reinterpret_cast<Fail*>(dlsym(module, "Fail"));
    if (fail[i](&loggers[i]) != library.Exception()) return __LINE__;
    if (loggers[i] != library.Logger()) return __LINE__;
  }
  if (library.Exception()->GetExceptionCode() != 10021013) return __LINE__;
  IQuorlException* other = nullptr;
  std::thread([&] { other = fail[0](&loggers[0]); }).join();
  return other == library.Exception() ? __LINE__ : 0;
}
