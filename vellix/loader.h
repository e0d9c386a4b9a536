// Loads the library into a host that does not link it.
//
//   vellix::Library library;
//   if (!library.Open()) return Fail(library.Error());
//   library.Logger()->SetLogFile("host.log", true);
//
// Header-only; needs the standard library and dlopen, nothing of vellix at link
// time. Modules with different versions of it can share a process. Open once,
// at start, before the first plug-in, on one thread; what it returns may then
// be used from any thread.
#ifndef VELLIX_LOADER_H_
#define VELLIX_LOADER_H_

#include <dlfcn.h>
#include <unistd.h>

#include <climits>
#include <string>
#include <utility>

#include "vellix/exceptions.h"
#include "vellix/logger.h"

#pragma GCC visibility push(hidden)
namespace vellix {

// What another platform has to change: the library's file name, and the link to
// the running executable.
namespace loader_platform {
constexpr char kLibrary[] = "libvellix.so.1";
constexpr char kExecutable[] = "/proc/self/exe";
}  // namespace loader_platform

// The library, opened at run time. It stays in the process when this object is
// destroyed, unless the host calls Unload before.
class Library {
 public:
  Library() = default;
  Library(const Library&) = delete;
  Library& operator=(const Library&) = delete;

  // Opens the library that the process has already loaded, else the one beside
  // the running executable, else the installed one. False with Error() on
  // failure; a library that was open stays open.
  bool Open() {
    if (handle_) return Fail("a library is open already");
    if (OpenLoaded()) return FindAll(kName);
    const std::string beside = ExecutableDirectory() + kName;
    // If it is there but cannot be opened, that is an error.
    if (access(beside.c_str(), F_OK) == 0) return OpenFile(beside);
    return OpenFile(kName) || Fail("no " + beside + ", and " + error_);
  }

  // Opens the library that the process has already loaded, else the one at
  // `path`: two libraries would be two logs. False with Error() if there is
  // none, it lacks one of its three functions, the path is empty, or one is
  // already open, which stays open.
  bool Open(const std::string& path) {
    if (handle_) return Fail("a library is open already");
    // dlopen would open the program itself.
    if (path.c_str()[0] == '\0')
      return Fail("the path of the library is empty");
    return OpenLoaded() ? FindAll(kName) : OpenFile(path);
  }

  // Whether an Open has succeeded since the last Unload.
  bool IsOpen() const { return handle_ != nullptr; }

  // The last error as readable text; empty after a success.
  const std::string& Error() const { return error_; }

  // The thread's failure record; see GetQuorlException. Only while open.
  IQuorlException* Exception() const { return get_exception_(); }

  // See ReleaseQuorlException. Only while open.
  void ReleaseException() const { release_exception_(); }

  // The process's logger; see GetQuorlLogger. Only while open.
  QuorlBased::IQuorlLogger* Logger() const { return get_logger_(); }

  // Closes the library, which leaves the process unless it is open elsewhere.
  // What it returned is then invalid, and no thread may be in it.
  void Unload() {
    if (handle_) dlclose(handle_);
    handle_ = nullptr;
  }

  // Does nothing: the library stays loaded anyway. Kept for compatibility.
  void KeepLoaded() {}

  // The directory of the running executable with its closing slash, even if
  // that file was replaced or removed; empty if the system does not report it.
  static std::string ExecutableDirectory() {
    char path[PATH_MAX];
    const ssize_t length =
        readlink(loader_platform::kExecutable, path, sizeof path);
    if (length <= 0 || path[0] != '/') return {};
    const std::string executable(path, static_cast<size_t>(length));
    return executable.substr(0, executable.rfind('/') + 1);
  }

 private:
  static constexpr const char* kName = loader_platform::kLibrary;
  static constexpr int kMode = RTLD_NOW | RTLD_LOCAL;

  bool OpenLoaded() {
    handle_ = dlopen(kName, kMode | RTLD_NOLOAD);
    return handle_ != nullptr;
  }

  bool OpenFile(const std::string& path) {
    handle_ = dlopen(path.c_str(), kMode);
    return handle_ ? FindAll(path) : Fail(WithPath(path, LoaderText()));
  }

  bool FindAll(const std::string& path) {
    error_.clear();
    if (Find(get_exception_, "GetQuorlException") &&
        Find(release_exception_, "ReleaseQuorlException") &&
        Find(get_logger_, "GetQuorlLogger")) {
      return true;
    }
    Unload();
    return Fail(WithPath(path, error_));
  }

  template <typename Function>
  bool Find(Function*& function, const char* name) {
    function = reinterpret_cast<Function*>(dlsym(handle_, name));
    return function || Fail(std::string("no function ") + name);
  }

  bool Fail(std::string error) {
    error_ = std::move(error);
    return false;
  }

  // The dynamic linker names the file in most of its texts.
  static std::string WithPath(const std::string& path,
                              const std::string& text) {
    return text.find(path) == std::string::npos ? path + ": " + text : text;
  }

  static std::string LoaderText() {
    const char* text = dlerror();
    return text ? text : "unknown error";
  }

  void* handle_ = nullptr;
  std::string error_;
  IQuorlException* (*get_exception_)() = nullptr;
  void (*release_exception_)() = nullptr;
  QuorlBased::IQuorlLogger* (*get_logger_)() = nullptr;
};

}  // namespace vellix
#pragma GCC visibility pop

#endif  // VELLIX_LOADER_H_
