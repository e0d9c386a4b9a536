// Loads the library into a host that does not link it.
//
//   vellix::Library library;
//   if (!library.Open()) return Fail(library.Error());
//   library.Logger()->SetLogFile("host.log", true);
//
// Header-only; needs the standard library and dlopen, nothing of vellix at link
// time. Open once, at start, on one thread; what it returns may then be used
// from any thread.
#ifndef VELLIX_LOADER_H_
#define VELLIX_LOADER_H_

#include <dlfcn.h>

#include <climits>
#include <cstdlib>
#include <string>
#include <utility>

#include "vellix/exceptions.h"
#include "vellix/logger.h"

namespace vellix {

// The library as a module that is opened at run time. The destructor closes it;
// a host that logs until its end keeps the object, or calls KeepLoaded.
class Library {
 public:
  Library() = default;
  Library(const Library&) = delete;
  Library& operator=(const Library&) = delete;
  ~Library() { Close(); }

  // Opens the library that lies beside the running executable. False with
  // Error() on failure; a library that was open stays open.
  bool Open() {
    const std::string directory = ExecutableDirectory();
    if (directory.empty()) {
      return Fail("cannot find the directory of the executable");
    }
    return Open(directory + "libvellix.so.1");
  }

  // Opens the library at `path` and looks up its three functions. False with
  // Error() when it cannot be opened, lacks one of them, or a library is open
  // already, which stays open.
  bool Open(const std::string& path) {
    if (handle_) return Fail("a library is open already");
    handle_ = dlopen(path.c_str(), RTLD_NOW | RTLD_LOCAL);
    if (!handle_) return Fail("cannot open " + path + ": " + LoaderText());
    if (Find(get_exception_, "GetQuorlException") &&
        Find(release_exception_, "ReleaseQuorlException") &&
        Find(get_logger_, "GetQuorlLogger")) {
      error_.clear();
      return true;
    }
    dlclose(handle_);
    handle_ = nullptr;
    return false;
  }

  bool IsOpen() const { return handle_ != nullptr; }

  // What went wrong last, for a person to read; empty after a success.
  const std::string& Error() const { return error_; }

  // The thread's failure record; see GetQuorlException. Only while open.
  IQuorlException* Exception() const { return get_exception_(); }

  // See ReleaseQuorlException. Only while open.
  void ReleaseException() const { release_exception_(); }

  // The process's logger; see GetQuorlLogger. Only while open.
  QuorlBased::IQuorlLogger* Logger() const { return get_logger_(); }

  // Keeps the destructor from closing the library.
  void KeepLoaded() { keep_loaded_ = true; }

  // The directory of the running executable with its closing slash; empty when
  // the system does not tell.
  static std::string ExecutableDirectory() {
    char path[PATH_MAX];
    if (!realpath("/proc/self/exe", path)) return {};
    const std::string executable = path;
    return executable.substr(0, executable.rfind('/') + 1);
  }

 private:
  template <typename Function>
  bool Find(Function*& function, const char* name) {
    function = reinterpret_cast<Function*>(dlsym(handle_, name));
    return function || Fail(std::string("no function ") + name);
  }

  bool Fail(std::string error) {
    error_ = std::move(error);
    return false;
  }

  static std::string LoaderText() {
    const char* text = dlerror();
    return text ? text : "unknown error";
  }

  void Close() {
    if (handle_ && !keep_loaded_) dlclose(handle_);
    handle_ = nullptr;
  }

  void* handle_ = nullptr;
  bool keep_loaded_ = false;
  std::string error_;
  IQuorlException* (*get_exception_)() = nullptr;
  void (*release_exception_)() = nullptr;
  QuorlBased::IQuorlLogger* (*get_logger_)() = nullptr;
};

}  // namespace vellix

#endif  // VELLIX_LOADER_H_
