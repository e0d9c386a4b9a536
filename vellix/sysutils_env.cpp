#include "vellix/sysutils_env.h"

#include <dlfcn.h>

#include <algorithm>
#include <cstdlib>
#include <list>

#include "vellix/sysutils_internal.h"
#include "vellix/sysutils_platform.h"
#include "vellix/sysutils_strings.h"

namespace QuorlBased {
namespace {

// get_environment_variable, which also stores its failure in `kept`.
bool ReadVariable(const std::string& name, std::string& value,
                  CBaseException* kept) {
  const auto read = [&] {
    const char* text = std::getenv(name.c_str());
    if (!text) {
      kSysutils.RaiseErrno(kNotFound, "get_environment_variable error");
    }
    value = text;
    return true;
  };
  return kSysutils.Guard(false, read, kept);
}

}  // namespace

bool get_environment_variable(const std::string& name, std::string& value) {
  return ReadVariable(name, value, nullptr);
}

bool set_environment_variable(const std::string& name,
                              const std::string& value) {
  return kSysutils.Guard(false, [&] {
    IQuorlException* record = GetQuorlException();  // while nothing is changed
    if (setenv(name.c_str(), value.c_str(), 1) != 0) {
      kSysutils.RaiseErrno(kGeneralFailure, "set_environment_variable error");
    }
    record->Clear();
    return true;
  });
}

bool delete_environment_variable(const std::string& name) {
  return kSysutils.Guard(false, [&] {
    IQuorlException* record = GetQuorlException();  // while nothing is changed
    unsetenv(name.c_str());
    record->Clear();
    return true;
  });
}

void dll_set_load_path(const std::string& dir) {
  std::string load_path;
  CBaseException failure;
  if (!ReadVariable(kPlatformLoadPath, load_path, &failure) &&
      failure.GetCode() != kNotFound) {
    return;  // set, but there was no memory to read it: it must not be lost
  }
  const std::list<std::string> entries = StrSplit(load_path, ":");
  if (std::find(entries.begin(), entries.end(), dir) != entries.end()) return;
  load_path += ':';
  load_path += dir;
  set_environment_variable(kPlatformLoadPath, load_path);
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
