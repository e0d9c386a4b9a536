#include "vellix/sysutils_paths.h"

#include <sys/stat.h>

#include <cerrno>
#include <climits>
#include <cstdlib>
#include <filesystem>
#include <string_view>
#include <system_error>
#include <utility>

#include "vellix/sysutils_env.h"
#include "vellix/sysutils_internal.h"
#include "vellix/sysutils_platform.h"
#include "vellix/sysutils_strings.h"

namespace QuorlBased {
namespace {

constexpr mode_t kPermissions = 0777;  // less the umask
constexpr uint32_t kWholeRest = 0xFFFFFFFF;

// Resolves `path` into `resolved`, a buffer of PATH_MAX bytes. Returns 0 or the
// system's error.
int Resolve(const char* path, char* resolved) {
  resolved[0] = '\0';
  return realpath(path, resolved) ? 0 : errno;
}

[[noreturn]] void RaiseCannotExpand(int line = __builtin_LINE()) {
  kSysutils.Raise(kGeneralFailure, "Can't expand path", line);
}

// A path that does not exist as a whole, parted where it ceases to.
struct PartedPath {
  std::filesystem::path existing;  // resolved
  std::filesystem::path missing;   // the first component that is not there
  std::filesystem::path rest;      // what follows it
};

// Looks for the missing component from the end, where a new file's name stands.
PartedPath PartPath(const std::filesystem::path& path) {
  PartedPath parts;
  std::filesystem::path tried = path;
  char resolved[PATH_MAX];
  for (;;) {
    const std::filesystem::path parent = tried.parent_path();
    if (!parts.missing.empty()) parts.rest = parts.missing / parts.rest;
    parts.missing = tried.filename();
    const int error = Resolve(parent.empty() ? "." : parent.c_str(), resolved);
    if (error == 0) break;
    // Where even "." is missing, the working directory was removed.
    const bool at_start = parent.empty() || parent == tried;
    if (error != ENOENT || at_start) RaiseCannotExpand();
    tried = parent;
  }
  parts.existing = resolved;
  return parts;
}

// `path` in its shortest form, without a closing slash.
std::string Normalized(const std::filesystem::path& path) {
  std::string normal = path.lexically_normal().string();
  // A dropped "." or ".." at the end leaves its slash.
  if (normal.size() > 1 && normal.back() == '/') normal.pop_back();
  return normal;
}

// The full path of `path`, of which something is missing. The missing component
// may be a link without a target: its text then takes its place.
std::string CompleteMissing(std::filesystem::path path) {
  constexpr int kMaxLinks = 40;  // as many as the system follows
  for (int links = 0; links <= kMaxLinks; ++links) {
    const PartedPath parts = PartPath(path);
    const std::filesystem::path missing = parts.existing / parts.missing;
    std::error_code no_link;
    const auto target = std::filesystem::read_symlink(missing, no_link);
    if (no_link) return Normalized(missing / parts.rest);
    path = parts.existing / target / parts.rest;
  }
  RaiseCannotExpand();
}

// The position of the dot that begins the extension of the last component.
size_t ExtensionStart(const std::string& path) {
  const size_t last = path.find_last_of("./\\");
  const bool found = last != std::string::npos && path[last] == '.';
  return found ? last : std::string::npos;
}

// Makes one directory, or passes over the one that is there.
void MakeOneDir(const std::string& path) {
  if (mkdir(path.c_str(), kPermissions) == 0) return;
  if (errno != EEXIST) {
    kSysutils.Raise(kGeneralFailure, "Can't create directory");
  }
  struct stat status {};
  if (stat(path.c_str(), &status) != 0) {
    kSysutils.Raise(kGeneralFailure, "Can't create directory");
  }
  if (!S_ISDIR(status.st_mode)) {
    kSysutils.Raise(kGeneralFailure, "Can't create directory");
  }
}

}  // namespace

std::string expand_path(const char* path) {
  char buffer[PATH_MAX];
  const int error = Resolve(path, buffer);
  if (error != 0 && error != ENOENT) RaiseCannotExpand();
  const std::string_view argument = path;
  if (argument.empty()) return {};
  std::string expanded = error == 0 ? buffer : CompleteMissing(path);
  if (argument.back() == '/') {
    expanded = include_path_backslash(expanded.c_str());
  }
  return expanded;
}

std::string extract_file_path(const std::string& path) {
  const std::string expanded = expand_path(path.c_str());
  const size_t slash = expanded.rfind('/');
  if (slash == std::string::npos) {
    return include_path_backslash(expanded.c_str());
  }
  return LeftStr(expanded, static_cast<uint32_t>(slash + 1));
}

std::string extract_file_name(const std::string& path) {
  std::string expanded = expand_path(path.c_str());
  const size_t slash = expanded.rfind('/');
  if (slash == std::string::npos) return expanded;
  return SubStr(expanded, static_cast<uint32_t>(slash + 1), kWholeRest);
}

std::string extract_file_ext(const std::string& path) {
  const size_t start = ExtensionStart(path);
  return start == std::string::npos ? std::string() : path.substr(start);
}

std::string change_file_ext(const std::string& path,
                            const std::string& extension) {
  return path.substr(0, ExtensionStart(path)) + extension;
}

std::string include_path_backslash(const char* path) {
  std::string closed = path;
  if (!closed.empty() && closed.back() == '\\') {
    closed.back() = '/';
  } else if (closed.empty() || closed.back() != '/') {
    closed += '/';
  }
  return closed;
}

std::string& path_connect(std::string& path, const char* sub_path,
                          bool closing_slash) {
  std::string connected = include_path_backslash(path.c_str()) + sub_path;
  if (closing_slash) connected = include_path_backslash(connected.c_str());
  path = std::move(connected);
  return path;
}

void make_dir(const char* path) {
  if (!path) kSysutils.Raise(kNullPointer, "Bad pointer");
  const bool from_root = path[0] == '/' || path[0] == '\\';
  std::string made = from_root ? "/" : "";
  for (const std::string& name : StrSplit(path, "\\/")) {
    made += name;
    made += '/';
    MakeOneDir(made);
  }
}

bool dir_exists(const char* path) {
  return kSysutils.Guard(false, [&] {
    GetQuorlException()->Clear();
    if (!path) kSysutils.Raise(kNullPointer, "Bad pointer");
    struct stat status {};
    if (stat(path, &status) != 0) {
      kSysutils.Raise(kGeneralFailure, "dir_exist: Can't stat the directory");
    }
    if (!S_ISDIR(status.st_mode)) {
      kSysutils.Raise(kGeneralFailure, "dir_exist: It's not a directory");
    }
    return true;
  });
}

bool file_exists(const char* path) {
  return kSysutils.Guard(false, [&] {
    GetQuorlException()->Clear();
    if (!path) kSysutils.Raise(kNullPointer, "Bad pointer");
    struct stat status {};
    if (stat(path, &status) != 0) {
      kSysutils.Raise(kGeneralFailure, "file_exist: Can't stat the file");
    }
    return true;
  });
}

std::string get_home_path() {
  std::string home;
  get_environment_variable("HOME", home);
  return home;
}

std::string get_executable_path() { return PlatformExecutablePath(); }

}  // namespace QuorlBased
