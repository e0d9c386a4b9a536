#include "vellix/sysutils_env.h"

#include <dlfcn.h>

#include <algorithm>
#include <cstdlib>
#include <list>

#include "vellix/sysutils_internal.h"
#include "vellix/sysutils_strings.h"

namespace QuorlBased {
namespace {

constexpr char kLoadPath[] = "LD_LIBRARY_PATH";

}  // namespace

bool get_environment_variable(const std::string& name, std::string& value) {
  return kSysutils.Guard(false, [&] {
    const char* text = std::getenv(name.c_str());
    if (!text) {
      kSysutils.RaiseErrno(kNotFound, "get_environment_variable error");
    }
    value = text;
    return true;
  });
}

bool set_environment_variable(const std::string& name,
                              const std::string& value) {
  return kSysutils.Guard(false, [&] {
    if (setenv(name.c_str(), value.c_str(), 1) != 0) {
      kSysutils.RaiseErrno(kGeneralFailure, "set_environment_variable error");
    }
    GetQuorlException()->Clear();
    return true;
  });
}

bool delete_environment_variable(const std::string& name) {
  return kSysutils.Guard(false, [&] {
    unsetenv(name.c_str());
    GetQuorlException()->Clear();
    return true;
  });
}

void dll_set_load_path(const std::string& dir) {
  std::string load_path;
  if (!get_environment_variable(kLoadPath, load_path) &&
      GetQuorlException()->GetExceptionCode() != kNotFound) {
    return;  // what is there could not be read, and must not be lost
  }
  const std::list<std::string> entries = StrSplit(load_path, ":");
  if (std::find(entries.begin(), entries.end(), dir) != entries.end()) return;
  load_path += ':';
  load_path += dir;
  set_environment_variable(kLoadPath, load_path);
}

void* load_dll(const char* filename) { return dlopen(filename, RTLD_LAZY); }

void* get_proc_addr(void* handle, const char* symbol) {
  return dlsym(handle, symbol);
}

void free_dll(void* handle) {
  // glibc reads through the handle without a test.
  if (handle) dlclose(handle);
}

}  // namespace QuorlBased
