#include "vellix/sysutils_temp.h"

#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstdlib>

#include "vellix/sysutils_internal.h"
#include "vellix/sysutils_paths.h"
#include "vellix/sysutils_platform.h"

namespace QuorlBased {
namespace {

// A second attempt is hardly ever needed. If several fail, the names cannot be
// looked up.
constexpr int kAttempts = 16;

bool IsDirectory(const char* path) {
  struct stat status {};
  return stat(path, &status) == 0 && S_ISDIR(status.st_mode);
}

std::string SystemDirectory() {
  const char* chosen = std::getenv("TMPDIR");
  return chosen && IsDirectory(chosen) ? chosen : P_tmpdir;
}

// "tmpf" and 16 letters and digits of 5 random bits each.
std::string RandomName() {
  constexpr char kDigits[] = "0123456789abcdefghijklmnopqrstuv";
  unsigned char random[16];
  if (!PlatformRandom(random, sizeof random)) {
    kSysutils.Raise(kGeneralFailure, "Unexpected error");
  }
  std::string name = "tmpf";
  for (const unsigned char byte : random) name += kDigits[byte % 32];
  return name;
}

// A dangling link is in use: creating the file would write through it.
bool IsFree(const std::string& path) {
  struct stat status {};
  return lstat(path.c_str(), &status) != 0 && errno == ENOENT;
}

}  // namespace

std::string CTmpFile::CreateTempFile(const std::string& directory,
                                     const std::string& extension) {
  std::string prefix = directory.empty() ? SystemDirectory() : directory;
  if (IsDirectory(prefix.c_str())) {
    if (prefix.back() != '/') prefix += '/';
    for (int attempt = 0; attempt < kAttempts; ++attempt) {
      std::string name = prefix;
      name.append(RandomName()).append(extension);
      if (IsFree(name)) return name;
    }
  }
  kSysutils.Raise(kGeneralFailure, "Unexpected error");
}

CTmpFile::CTmpFile(const std::string& directory, const std::string& extension)
    : file_path_name_(CreateTempFile(directory, extension)) {}

CTmpFile::CTmpFile(const std::string& extension, const char* name)
    : file_path_name_(CreateTempFile("", extension)) {
  if (!name) return;
  const std::string kept_extension = extract_file_ext(file_path_name_);
  file_path_name_ = extract_file_path(file_path_name_) + name + kept_extension;
}

CTmpFile::~CTmpFile() {
  const CancellationHold hold;  // POSIX lets unlink be a cancellation point
  if (owned_) unlink(file_path_name_.c_str());
}

}  // namespace QuorlBased
