// A search in one directory, not recursive, in the order in which the system
// returns the entries:
//
//   find_data* found = find_first("/var/log", "*.log");  // throws if none
//   do {
//     if (!find_is_folder(found)) Read(find_get_path(found));
//   } while (find_next(found));
//   find_close(found);
//
// A search is for one thread at a time; separate searches are independent.
#ifndef VELLIX_SYSUTILS_FIND_H_
#define VELLIX_SYSUTILS_FIND_H_

#include <dirent.h>

#include <string>

namespace QuorlBased {

// A search, from find_first to find_close. For these functions only.
struct find_data {
  dirent* entry = nullptr;  // the stream's; null off an entry
  std::string path;         // with a closing slash
  DIR* dir = nullptr;       // the open directory
  std::string pattern;      // what a name has to match
};

// Opens the directory `path`, expanded by expand_path (the empty path is the
// root), and moves to its first entry that StrMatch matches with `pattern`.
// Returns the search, never null, which the caller ends with find_close. "."
// and ".." are skipped only while they are the first matches; find_next returns
// them like any other entry.
//
// Failure: throws and leaves nothing open: kNullPointer "File path or pattern
// can't not be null"; kGeneralFailure "Can't expand path" or "find_first error:
// errno: …" (cannot be opened, or no entry matches at all); kNotFound "No file
// can be found" (only dot entries match); std::bad_alloc. If it reaches the end
// of the directory, that is recorded as find_next records it; otherwise the
// thread's failure record stays as it was.
find_data* find_first(const char* path, const char* pattern);

// Moves to the next matching entry. The end of the directory gives false and is
// recorded as a failure: kGeneralFailure "find_next error: errno: …", with the
// number that errno held. Also recorded: kNullPointer "Bad pointer". Success
// leaves the record as it was.
bool find_next(find_data* search);

// The expanded directory and the current entry's name. Empty for a null
// `search` and without a current entry. Leaves the record as it was.
std::string find_get_path(const find_data* search);

// Whether the type of the current entry has the bit of DT_DIR: directories, and
// also block devices and sockets. false if the system does not know the type,
// for a null `search` and without a current entry. Leaves the record as it was.
bool find_is_folder(const find_data* search);

// Ends the search; the pointer is invalid afterwards. Null does nothing. Leaves
// the record as it was.
void find_close(find_data* search);

}  // namespace QuorlBased

#endif  // VELLIX_SYSUTILS_FIND_H_
