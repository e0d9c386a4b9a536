// What is on the disk: files, paths, searches and temporary names; and the
// environment that leads there.
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <deque>

#include "support/support.h"
#include "vellix/sysutils.h"

using namespace QuorlBased;

using Names = std::deque<std::string>;
static Names* scripted = nullptr;  // what is read instead of the disk
static int zero_draws = 0;         // so many draws to come give zeros

extern "C" {
dirent* __real_readdir(DIR* dir);
dirent* __wrap_readdir(DIR* dir) {
  static dirent entry;
  if (!scripted) return __real_readdir(dir);
  if (scripted->empty()) return nullptr;  // errno keeps what it had
  strcpy(entry.d_name, scripted->front().c_str());
  scripted->pop_front();
  errno = EDOM;
  return &entry;
}
ssize_t __real_getrandom(void*, size_t, unsigned);
ssize_t __wrap_getrandom(void* out, size_t bytes, unsigned flags) {
  if (zero_draws-- <= 0) return __real_getrandom(out, bytes, flags);
  return memset(out, 0, bytes), static_cast<ssize_t>(bytes);
}
}

namespace {

void Threw(const std::function<void()>& call, int code,
           const std::string& message) {
  EXPECT_FAILURE(support::Thrown(call), code, message, "../sysutils");
}

TEST(Files, SuccessClearsTheRecordOrLeavesIt) {
  const auto refused = [](int64_t result, int code, const char* message) {
    EXPECT_EQ(result, -1);
    EXPECT_FAILURE(support::Recorded(), code, message, "../sysutils");
  };
  const auto done = [](bool clears, int64_t expected, int64_t result) {
    EXPECT_EQ(result, expected);
    EXPECT_EQ(support::Recorded().code, clears ? 0 : 1) << result;
    support::PlantFailure();
  };
  const support::TempDir dir;
  const std::string name = dir / "f", other = dir / "g";
  umask(027);
  const int32_t handle = file_create(name);
  char buffer[32] = {};
  refused(file_open("", kCreateFile), kBadArgument, "filename can't be empty");
  refused(file_open("", 19), kBadArgument, "file_open error: bad access mode");
  refused(file_read(handle, nullptr, 0), kNullPointer, "Bad pointer");
  refused(file_write(handle, nullptr, 0), kNullPointer, "Bad pointer");
  refused(file_read(handle, buffer, 0), kEndOfData, "End of file");
  refused(file_write(file_open(name, 0x0010), "x", 1), kFileFailure,
          support::ErrnoMessage("file_write error", EBADF).c_str());
  support::PlantFailure();
  done(false, 2, file_write(handle, "ab", 2));
  for (const int64_t end : {int64_t{7}, (int64_t{1} << 32) + 5}) {
    done(false, end, file_seek(handle, end, 0));
    done(false, true, file_set_current_end(handle));
    done(false, end - 3, file_seek(handle, -3, 2));
    done(false, 3, file_read(handle, buffer, sizeof buffer));
    done(false, end, file_seek(handle, 0, 1));
  }
  struct stat status {};
  done(false, 0, stat(name.c_str(), &status));
  EXPECT_EQ(status.st_mode & 0777, 0640U);
  const int32_t emptied = file_open(name, kCreateFile);
  done(false, 0, file_seek(emptied, 0, 2));
  done(true, -1, (file_close(emptied), close(emptied)));
  done(false, true, move_file(name, other));
  done(true, 0, close(file_open(other, 0x0012)));
  done(true, true, file_delete(other));
  EXPECT_EQ(access(other.c_str(), F_OK), -1);
  support::Log();
  EXPECT_FALSE(file_set_current_end(-1));
  EXPECT_EQ(support::Log().Records().size(), 2U);  // of its seek, too
}

TEST(Paths, TextIsTakenApartAndPutTogether) {
  const char* rows[][4] = {{"a.tar.gz", ".gz", "a.tar.bak", "a.tar.gz/"},
                           {".profile", ".profile", ".bak", ".profile/"},
                           {"d.d/a", "", "d.d/a.bak", "d.d/a/"},
                           {"d.d\\", "", "d.d\\.bak", "d.d/"},
                           {"a/\\", "", "a/\\.bak", "a//"},
                           {"", "", ".bak", "/"}};
  for (const auto& [path, extension, with_bak, closed] : rows) {
    EXPECT_EQ(extract_file_ext(path), extension);
    EXPECT_EQ(change_file_ext(path, ".bak"), with_bak);
    std::string connected = path;
    EXPECT_EQ(&path_connect(connected, "/x\\", true), &connected);
    EXPECT_EQ(connected, std::string(closed) + "/x/");
  }
  std::string own = "a text too long to be kept in the string itself";
  const std::string connected = own + "/" + own.substr(1);
  EXPECT_EQ(path_connect(own, own.c_str() + 1, false), connected);
}

// A tree with the current directory in it: sub/, file, and links.
struct Tree {
  Tree() {
    EXPECT_EQ(chdir(dir.Path().c_str()) + mkdir("sub", 0700), 0);
    EXPECT_EQ(symlink("sub", "link") + symlink("gone", "dangling"), 0);
    support::WriteFile("file", "");
  }
  support::TempDir dir;
};
struct PathsOnDisk : testing::Test, Tree {};

TEST_F(PathsOnDisk, ExpandGivesTheFullPathOfWhatIsThereAndWhatIsNot) {
  const char* rows[][2] = {{".", ""},
                           {"link/", "/sub/"},
                           {"sub/../link/new//", "/sub/new/"},
                           {"src/net/./a.cpp", "/src/net/a.cpp"},
                           {"no/x/..", "/no"},
                           {"no/a\\b/.", "/no/a\\b"},
                           {"sub/no/a/../../../file", "/file"},
                           {"dangling/a/", "/gone/a/"}};
  for (const auto& [path, below] : rows) {
    for (const std::string& given : {std::string(path), dir / path}) {
      const std::string expanded = dir.Path() + below;
      const size_t name = expanded.rfind('/') + 1;
      EXPECT_EQ(expand_path(given.c_str()), expanded) << given;
      EXPECT_EQ(extract_file_path(given), expanded.substr(0, name));
      EXPECT_EQ(extract_file_name(given), expanded.substr(name));
    }
  }
  EXPECT_EQ(expand_path("/no/../.."), "/");
  EXPECT_EQ(expand_path("") + extract_file_path(""), "/");
  for (const char* path : {"file/", static_cast<const char*>(nullptr)}) {
    Threw([=] { expand_path(path); }, kGeneralFailure, "Can't expand path");
  }
}

TEST_F(PathsOnDisk, MakeDirMakesWhatIsMissingAndExistenceIsRecorded) {
  const std::string rooted = "\\" + dir / "r\\s/";
  for (const char* path : {"a\\b//c/", "", rooted.c_str(), "link/d"}) {
    make_dir(path);
  }
  for (const char* path : {"file/a", "e\\..\\file", "dangling"}) {
    Threw([=] { make_dir(path); }, kGeneralFailure, "Can't create directory");
  }
  const auto refused = [](bool exists, const char* message) {
    EXPECT_FALSE(exists);
    EXPECT_EQ(support::Recorded().msg, message);
  };
  refused(dir_exists("file"), "dir_exist: It's not a directory");
  refused(dir_exists("no"), "dir_exist: Can't stat the directory");
  refused(file_exists("no"), "file_exist: Can't stat the file");
  refused(file_exists(nullptr), "Bad pointer");
  for (const char* path : {"a/b/c", "r/s", "sub/d", "e", "link"}) {
    EXPECT_TRUE(file_exists(path) && dir_exists(path)) << path;
  }
}

// The paths that a search delivers, folders marked, up to its recorded end.
Names Search(const char* path, const char* pattern) {
  Names found;
  find_data* search = find_first(path, pattern);
  do {
    found.push_back(find_get_path(search) +
                    (find_is_folder(search) ? "|" : ""));
  } while (find_next(search));
  EXPECT_FALSE(find_is_folder(search) || !find_get_path(search).empty());
  return find_close(search), found;
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
    Threw([=] { find_first(path, pattern); }, code, message);
  };
  const std::string domain = support::ErrnoMessage("find_first error", EDOM);
  const auto open = support::OpenDescriptors();
  failed(nullptr, "*", {}, kNullPointer,
         "File path or pattern can't not be null");
  failed("/dev/null/", "*", {}, kGeneralFailure, "Can't expand path");
  failed("/", "x", {"a"}, kGeneralFailure, domain);
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
    const Tree tree;
    support::WriteFile("sub/x", "");
    const Names found = Search(tree.dir.Path().c_str(), "*");
    for (const std::string& name : {tree.dir / "sub|", tree.dir / "link"}) {
      EXPECT_EQ(std::count(found.begin(), found.end(), name), 1);
    }
    EXPECT_EQ(Search("link", "X"), Names{tree.dir / "sub/x"});
  }
}

TEST(Temp, ANameIsFreeAndInTheDirectoryAskedFor) {
  const support::TempDir dir;
  const std::string taken = dir / "tmpf0000000000000000.dat", dat = ".dat";
  zero_draws = 1;
  EXPECT_EQ(CTmpFile(dir.Path(), dat).GetFilePathName(), taken);
  ASSERT_EQ(symlink("/nowhere", taken.c_str()), 0);
  zero_draws = 1;
  const std::string next = CTmpFile::CreateTempFile(dir / "", dat);
  EXPECT_EQ(next.substr(0, next.size() - 20), dir / "tmpf");
  EXPECT_NE(next, taken);
  zero_draws = 1000;
  for (const std::string& place : {dir.Path(), dir / "no"}) {
    Threw([&] { CTmpFile(place, dat); }, kGeneralFailure, "Unexpected error");
  }
}

TEST(Temp, ATextNameStandsInTheSystemsDirectoryAndAnOwnedFileGoes) {
  const support::TempDir dir;
  setenv("TMPDIR", (dir / "no").c_str(), 1);
  EXPECT_EQ(CTmpFile("dat", "r").GetFilePathName(), "/tmp/r");
  setenv("TMPDIR", dir.Path().c_str(), 1);
  EXPECT_EQ(CTmpFile("", nullptr).GetFilePathName().find(dir / "tmpf"), 0U);
  support::WriteFile(dir / "r.dat", "");
  support::PlantFailure();
  for (const bool owned : {false, true, true}) {  // the last finds no file
    CTmpFile(".dat", "r").SetOwned(owned);
    EXPECT_EQ(access((dir / "r.dat").c_str(), F_OK), owned ? -1 : 0);
  }
  EXPECT_TRUE(support::FailurePlanted());
}

TEST(Env, VariablesAreSetReadAndRemoved) {
  EXPECT_TRUE(set_environment_variable("HOME", "/h"));
  EXPECT_EQ(get_home_path(), "/h");
  support::PlantFailure();
  EXPECT_TRUE(delete_environment_variable("HOME"));
  EXPECT_EQ(support::Recorded().code, 0);
  std::string value = "kept";
  errno = EDOM;
  EXPECT_FALSE(get_environment_variable("HOME", value));
  EXPECT_EQ(support::Recorded().msg,
            support::ErrnoMessage("get_environment_variable error", EDOM));
  EXPECT_EQ(get_home_path() + value, "kept");
}

TEST(Env, LoadPathGrowsByWhatIsNotInIt) {
  const char* rows[][3] = {
      {"", "/a", ":/a"}, {"/a:/b", "/b", "/a:/b"}, {":/a:", "/A", ":/a::/A"}};
  for (const auto& [before, dir, after] : rows) {
    setenv("LD_LIBRARY_PATH", before, 1);
    support::PlantFailure();
    dll_set_load_path(dir);
    EXPECT_STREQ(getenv("LD_LIBRARY_PATH"), after);
    EXPECT_EQ(support::FailurePlanted(), after == std::string(before));
  }
  void* module = load_dll("libm.so.6");
  EXPECT_NE(get_proc_addr(module, "cos"), nullptr);
  free_dll(module);
  free_dll(load_dll("/no/such/module"));
  EXPECT_EQ(extract_file_name(get_executable_path()), "files_test");
}

}  // namespace
