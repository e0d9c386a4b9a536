#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <deque>

#include "support/support.h"
#include "vellix/sysutils_find.h"
#include "vellix/sysutils_paths.h"

using Names = std::deque<std::string>;
static Names* scripted = nullptr;  // what is read instead of the disk

extern "C" dirent* __real_readdir(DIR* dir);

extern "C" dirent* __wrap_readdir(DIR* dir) {
  static dirent entry;
  if (!scripted) return __real_readdir(dir);
  if (scripted->empty()) return nullptr;  // errno keeps what it had
  strcpy(entry.d_name, scripted->front().c_str());
  scripted->pop_front();
  errno = EDOM;
  return &entry;
}

namespace {

using namespace QuorlBased;

// The paths that a search delivers, folders marked, up to its recorded end.
Names Search(const char* path, const char* pattern) {
  Names found;
  find_data* search = find_first(path, pattern);
  const auto current = [search] {
    return find_get_path(search) + (find_is_folder(search) ? "|" : "");
  };
  do {
    found.push_back(current());
  } while (find_next(search));
  EXPECT_EQ(current(), "");
  find_close(search);
  return found;
}

TEST(Find, SkipsDotEntriesOnlyWhileTheyAreTheFirstMatches) {
  struct {
    Names delivered;
    const char* pattern;
    Names found;
  } rows[] = {{{"..", ".", "a", "b"}, "*", {"/a", "/b"}},
              {{".", "a", ".."}, "*", {"/a", "/.."}},
              {{".", "..", ".", "b"}, "*", {"/.", "/b"}},
              {{"b", ".", "a.TXT", "c.txt"}, "*.txt", {"/a.TXT", "/c.txt"}}};
  for (auto& row : rows) {
    scripted = &row.delivered;
    EXPECT_EQ(Search("", row.pattern), row.found);
    EXPECT_EQ(support::Recorded().msg,
              support::ErrnoMessage("find_next error", EDOM));
  }
}

TEST(Find, FailureIsThrownAndLeavesNothingOpen) {
  const auto failed = [](const char* path, const char* pattern, Names names,
                         int code, const std::string& message) {
    scripted = &names;
    EXPECT_FAILURE(support::Thrown([=] { find_first(path, pattern); }), code,
                   message, "../sysutils");
    scripted = nullptr;
  };
  const std::string prefix = "find_first error";
  const int open = support::OpenDescriptors();
  failed(nullptr, "*", {}, kNullPointer,
         "File path or pattern can't not be null");
  failed("/dev/null/", "*", {}, kGeneralFailure, "Can't expand path");
  failed("/no", "*", {}, kGeneralFailure,
         support::ErrnoMessage(prefix, ENOENT));
  failed("/", "x", {"a"}, kGeneralFailure, support::ErrnoMessage(prefix, EDOM));
  failed("/", "*", {"..", "."}, kNotFound, "No file can be found");
  EXPECT_EQ(support::OpenDescriptors(), open);
  find_close(nullptr);
  EXPECT_FALSE(find_is_folder(nullptr) || find_next(nullptr));
  EXPECT_EQ(support::Recorded().msg + find_get_path(nullptr), "Bad pointer");
}

TEST(Find, ReadsDirectoriesOfEachFileSystem) {
  for (const char* place : {"/dev/shm", "/tmp"}) {
    if (access(place, W_OK) != 0) continue;
    setenv("TMPDIR", place, 1);
    const support::TempDir dir;
    make_dir((dir / "sub").c_str());
    support::WriteFile(dir / "sub/x", "");
    ASSERT_EQ(symlink("sub", (dir / "link").c_str()), 0);
    const Names found = Search(dir.Path().c_str(), "*");
    for (const std::string& name : {dir / "sub|", dir / "link"}) {
      EXPECT_EQ(std::count(found.begin(), found.end(), name), 1);
    }
    EXPECT_EQ(Search((dir / "link").c_str(), "X"), Names{dir / "sub/x"});
  }
}

}  // namespace
