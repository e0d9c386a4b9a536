#include "vellix/sysutils_find.h"

#include <cerrno>
#include <memory>

#include "vellix/sysutils_internal.h"
#include "vellix/sysutils_parsers.h"
#include "vellix/sysutils_paths.h"
#include "vellix/sysutils_platform.h"

namespace QuorlBased {
namespace {

struct SearchCloser {
  void operator()(find_data* search) const {
    const CancellationHold hold;  // POSIX lets closedir be a cancellation point
    find_close(search);
  }
};
using SearchHolder = std::unique_ptr<find_data, SearchCloser>;

// find_next, which also stores the errno with which the directory ended.
bool Advance(find_data* search, int* error) {
  return kSysutils.Guard(false, [&] {
    if (!search) kSysutils.Raise(kNullPointer, "Bad pointer");
    do {
      search->entry = readdir(search->dir);
      // At the end of the directory errno is as it was, and reported as such.
      *error = errno;
      if (!search->entry) {
        kSysutils.RaiseError(*error, kGeneralFailure, "find_next error");
      }
    } while (!StrMatch(search->entry->d_name, search->pattern.c_str()));
    return true;
  });
}

bool OnDotEntry(const find_data& search) {
  const std::string name = search.entry->d_name;
  return name == "." || name == "..";
}

// At most two: the caller gets the entry behind them, whatever its name.
void SkipDotEntries(find_data* search) {
  for (int skipped = 0; skipped < 2 && OnDotEntry(*search); ++skipped) {
    if (!find_next(search)) {
      kSysutils.Raise(kNotFound, "No file can be found");
    }
  }
}

}  // namespace

find_data* find_first(const char* path, const char* pattern) {
  if (!path || !pattern) {
    kSysutils.Raise(kNullPointer, "File path or pattern can't not be null");
  }
  SearchHolder search(new find_data);
  search->path = include_path_backslash(expand_path(path).c_str());
  search->pattern = pattern;
  search->dir = opendir(search->path.c_str());
  if (!search->dir) kSysutils.RaiseErrno(kGeneralFailure, "find_first error");
  int error = 0;
  if (!Advance(search.get(), &error)) {
    kSysutils.RaiseError(error, kGeneralFailure, "find_first error");
  }
  SkipDotEntries(search.get());
  return search.release();
}

bool find_next(find_data* search) {
  int error = 0;
  return Advance(search, &error);
}

std::string find_get_path(const find_data* search) {
  if (!search || !search->entry) return {};
  return search->path + search->entry->d_name;
}

bool find_is_folder(const find_data* search) {
  return search && search->entry && PlatformIsFolder(*search->entry);
}

void find_close(find_data* search) {
  if (!search) return;
  if (search->dir) closedir(search->dir);
  delete search;
}

}  // namespace QuorlBased
