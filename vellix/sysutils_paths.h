// Paths: splitting, joining, and file system lookups. A path is plain bytes.
// These functions write only slashes; those that also accept a backslash say
// so. A relative path starts at the process's current directory. Any thread.
// They throw std::bad_alloc if there is no memory for a text.
#ifndef VELLIX_SYSUTILS_PATHS_H_
#define VELLIX_SYSUTILS_PATHS_H_

#include <string>

namespace QuorlBased {

// The absolute path of `path` (realpath of POSIX). Links, "." and ".." are
// resolved. The path need not exist: the existing part is resolved and the rest
// appended, where "." is dropped and ".." removes one component. A dangling
// link is replaced by its target, completed in the same way. A closing slash is
// kept; the empty text stays empty.
//
//   expand_path("/tmp/missing/../x/")  ->  "/tmp/x/"
//
// Failure: throws kGeneralFailure "Can't expand path" if a component on the way
// is a file, may not be searched, is a loop of links or is too long; also for
// null, and for a relative path in a working directory that was removed. Leaves
// the thread's failure record alone.
std::string expand_path(const char* path);

// The directory of the expanded path: everything up to and including the last
// slash. For "/usr/lib" it is "/usr/", for "/usr/lib/" the same, for the empty
// path "/".
//
// Failure: throws what expand_path throws, and kOutOfMemory "No enough memory".
// Leaves the thread's failure record alone.
std::string extract_file_path(const std::string& path);

// The last component of the expanded path, empty for a path with a closing
// slash and for the root. Failure: as extract_file_path. Leaves the thread's
// failure record alone.
std::string extract_file_name(const std::string& path);

// The extension of the last component, with its dot: ".gz" of "a.tar.gz",
// ".profile" of ".profile", nothing of "dir.d/a". A backslash separates like a
// slash. No lookup.
std::string extract_file_ext(const std::string& path);

// The path with its extension (extract_file_ext) replaced by `extension`, which
// includes the dot; a path without one gets it appended. No lookup.
std::string change_file_ext(const std::string& path,
                            const std::string& extension);

// The path with a closing slash: a closing backslash becomes one, the empty
// path a single one. `path` must not be null. No lookup.
std::string include_path_backslash(const char* path);

// Adds a closing slash to `path` as include_path_backslash does, appends
// `sub_path` unchanged and, if `closing_slash`, does the same for the result.
// Returns `path`. `sub_path` must not be null and may lie inside `path`. No
// lookup.
std::string& path_connect(std::string& path, const char* sub_path,
                          bool closing_slash);

// Makes the directory `path` and those missing above it, permissions 0777 less
// the process's umask. Slash and backslash both separate. Existing directories
// are skipped; those made before a failure stay.
//
// Failure: throws kNullPointer "Bad pointer", kGeneralFailure "Can't create
// directory". Leaves the thread's failure record alone.
void make_dir(const char* path);

// Whether `path` is a directory; links are followed.
//
// false is always recorded: kNullPointer "Bad pointer", kGeneralFailure
// "dir_exist: Can't stat the directory" (also when it is not there),
// "dir_exist: It's not a directory". true clears the record.
bool dir_exists(const char* path);

// Whether `path` exists, as a file or directory; links are followed.
//
// false is always recorded: kNullPointer "Bad pointer", kGeneralFailure
// "file_exist: Can't stat the file" (also when it is not there). true clears
// the record.
bool file_exists(const char* path);

// The value of HOME; empty if it is not set, which is recorded as by
// get_environment_variable. Success leaves the record as it was.
std::string get_home_path();

// The full path of the running executable as the system reports it; empty if it
// does not. Leaves the thread's failure record alone.
std::string get_executable_path();

}  // namespace QuorlBased

#endif  // VELLIX_SYSUTILS_PATHS_H_
