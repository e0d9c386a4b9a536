// Files, paths, searches, temporary names, and the environment.
#include <sys/stat.h>

#include <deque>

#include "support/support.h"

using namespace QuorlBased;

using Names = std::deque<std::string>;
static Names* scripted = nullptr;  // what is read instead of the disk
static int interrupted_draws = 0;  // the next n draws fail with EINTR
static int zero_draws = 0;         // the next n draws return zeros

WRAP(dirent*, readdir, (DIR * dir)) {
  static dirent entry;
  if (!scripted) return __real_readdir(dir);
  if (scripted->empty()) return nullptr;  // errno keeps what it had
  strcpy(entry.d_name, scripted->front().c_str());
  scripted->pop_front();
  errno = EDOM;
  return &entry;
}
WRAP(ssize_t, getrandom, (void* to, size_t size, unsigned flags)) {
  errno = EINTR;
  if (interrupted_draws-- > 0) return -1;
  if (zero_draws-- <= 0) return __real_getrandom(to, size, flags);
  memset(to, 0, size);
  return static_cast<ssize_t>(size);
}

void ExpectThrown(const std::function<void()>& call, int code,
                  const std::string& message) {
  EXPECT_FAILURE(support::Thrown(call), code, message, "../sysutils");
}

// The result of a success that leaves the record.
template <typename Result>
Result Leaves(Result result) {
  EXPECT_TRUE(support::FailurePlanted());
  return result;
}

// Only the two low bits of an access mode count: read and write, and neither.
constexpr uint16_t kReadWriteBits = 0x0012, kNoAccessBits = 0x0013;

struct Files : testing::Test {
  const support::TempDir dir;
  const std::string name = dir / "f";
};

TEST_F(Files, AreMadeWrittenCutAndReadBeyond32Bits) {
  umask(027);
  support::PlantFailure();
  const int32_t handle = Leaves(file_create(name));
  char buffer[32] = {};
  const int64_t end = (int64_t{1} << 32) + 5;
  EXPECT_EQ(Leaves(file_write(handle, "ab", 2)), 2);
  EXPECT_EQ(Leaves(file_seek(handle, end, 0)), end);
  EXPECT_TRUE(Leaves(file_set_current_end(handle)));
  EXPECT_EQ(Leaves(file_seek(handle, -3, 2)), end - 3);
  EXPECT_EQ(Leaves(file_read(handle, buffer, sizeof buffer)), 3);
  EXPECT_EQ(Leaves(file_seek(handle, 0, 1)), end);
  file_close(handle);
  EXPECT_EQ(support::Recorded().code, 0);
  EXPECT_EQ(close(handle), -1);
  struct stat status {};
  EXPECT_EQ(stat(name.c_str(), &status), 0);
  EXPECT_EQ(status.st_mode & 0777, 0640U);
}

TEST_F(Files, AreEmptiedMovedOpenedAndDeleted) {
  support::WriteFile(name, "content");
  support::PlantFailure();
  const int32_t emptied = Leaves(file_open(name, kCreateFile));
  EXPECT_EQ(close(emptied), 0);
  EXPECT_EQ(support::ReadFile(name), "");
  EXPECT_TRUE(Leaves(move_file(name, dir / "g")));
  const int32_t opened = file_open(dir / "g", kReadWriteBits);
  EXPECT_EQ(support::Recorded().code, 0);
  EXPECT_EQ(close(opened), 0);
  EXPECT_TRUE(file_delete(dir / "g"));
  EXPECT_EQ(access((dir / "g").c_str(), F_OK), -1);
}

TEST_F(Files, FailuresAreRecorded) {
  support::WriteFile(name, "x");
  const int32_t file = file_open(name, kOpenRead);
  char byte = 0;
  const auto refused = [](bool done, int code, const std::string& msg) {
    EXPECT_FALSE(done);
    EXPECT_FAILURE(support::Recorded(), code, msg, "../sysutils");
  };
  refused(file_open("", kCreateFile) != -1, kBadArgument,
          "filename can't be empty");
  refused(file_open("", kNoAccessBits) != -1, kBadArgument,
          "file_open error: bad access mode");
  refused(file_write(file, nullptr, 0) != -1, kNullPointer, "Bad pointer");
  refused(file_read(file, &byte, 0) != -1, kEndOfData, "End of file");
  const auto failed = [&](bool done, const std::string& call, int error) {
    refused(done, kFileFailure, support::ErrnoMessage(call + " error", error));
  };
  failed(file_write(file, "x", 1) != -1, "file_write", EBADF);
  failed(file_seek(-1, 0, SEEK_SET) != -1, "file_seek", EBADF);
  failed(file_delete(dir / "none"), "file_delete", ENOENT);
  failed(move_file(dir / "none", name), "move_file", ENOENT);
}

TEST(Paths, TextIsTakenApartAndPutTogether) {
  const struct {
    const char *path, *extension, *with_bak, *connected;
  } rows[] = {{"a.tar.gz", ".gz", "a.tar.bak", "a.tar.gz//x/"},
              {"d.d/a", "", "d.d/a.bak", "d.d/a//x/"},
              {"d.d\\", "", "d.d\\.bak", "d.d//x/"},
              {"", "", ".bak", "//x/"}};
  for (const auto& row : rows) {
    EXPECT_EQ(extract_file_ext(row.path), row.extension);
    EXPECT_EQ(change_file_ext(row.path, ".bak"), row.with_bak);
    std::string path = row.path;
    EXPECT_EQ(path_connect(path, "/x\\", true), row.connected);
  }
}

// The current directory is a tree: sub/, file, and links.
struct PathsOnDisk : testing::Test {
  PathsOnDisk() {
    EXPECT_EQ(chdir(dir.path.c_str()), 0);
    EXPECT_EQ(mkdir("sub", 0700), 0);
    EXPECT_EQ(symlink("sub", "link"), 0);
    EXPECT_EQ(symlink("gone/./by/../far", "dangling"), 0);
    EXPECT_EQ(symlink("dangling/too", "dangling2"), 0);
    EXPECT_EQ(symlink("loop", "loop"), 0);
    support::WriteFile("file", "");
  }
  support::TempDir dir;
};

TEST_F(PathsOnDisk, ExpandToWhatIsThereAndWhatIsNot) {
  const struct {
    const char *path, *expanded;  // below the tree
  } rows[] = {{".", ""},
              {"link/", "/sub/"},
              {"sub/../link/new//", "/sub/new/"},
              {"no/x/..", "/no"},
              {"sub/no/a/../../../file", "/file"},
              {"dangling/a/", "/gone/far/a/"},
              {"link/../dangling2/../b", "/gone/far/b"}};
  for (const auto& row : rows) {
    for (const std::string& given : {std::string(row.path), dir / row.path}) {
      const std::string expanded = dir.path + row.expanded;
      const size_t name = expanded.rfind('/') + 1;
      EXPECT_EQ(expand_path(given.c_str()), expanded) << given;
      EXPECT_EQ(extract_file_path(given), expanded.substr(0, name));
      EXPECT_EQ(extract_file_name(given), expanded.substr(name));
    }
  }
  EXPECT_EQ(expand_path("/no/../.."), "/");
  EXPECT_EQ(expand_path(""), "");
  EXPECT_EQ(extract_file_path(""), "/");
}

TEST_F(PathsOnDisk, ExpandFailsForLoopsFilesAndARemovedDirectory) {
  const auto refused = [](const char* path) {
    ExpectThrown([=] { expand_path(path); }, kGeneralFailure,
                 "Can't expand path");
  };
  refused(nullptr);
  refused("file/");
  refused("loop/x");
  rmdir("sub");
  mkdir("removed", 0700);
  EXPECT_EQ(chdir("removed"), 0);
  rmdir("../removed");
  refused("data/in/log.txt");
  refused(".");
}

TEST_F(PathsOnDisk, MakeDirMakesWhatIsMissing) {
  const std::string rooted = "\\" + dir / "r\\s/";
  for (const char* path : {"a\\b//c/", "", rooted.c_str(), "link/d"}) {
    make_dir(path);
  }
  for (const char* path : {"a/b/c", "r/s", "sub/d"}) {
    EXPECT_TRUE(dir_exists(path)) << path;
  }
  const auto refused = [](const char* path) {
    ExpectThrown([=] { make_dir(path); }, kGeneralFailure,
                 "Can't create directory");
  };
  refused("/proc/none");
  refused("e\\..\\file");
  EXPECT_TRUE(dir_exists("e"));  // made before the failure
}

// The paths that a search delivers up to its recorded end.
Names Search(const char* path, const char* pattern, Names* folders = nullptr) {
  Names found;
  find_data* search = find_first(path, pattern);
  do {
    found.push_back(find_get_path(search));
    if (folders && find_is_folder(search)) folders->push_back(found.back());
  } while (find_next(search));
  EXPECT_FALSE(find_is_folder(search));
  EXPECT_EQ(find_get_path(search), "");
  find_close(search);
  return found;
}

TEST(Find, SkipsDotEntriesOnlyWhileTheyAreTheFirstMatches) {
  struct {
    Names delivered;
    const char* pattern;
    Names found;
  } rows[] = {{{".", "a", ".."}, "*", {"/a", "/.."}},
              {{".", "..", ".", "b"}, "*", {"/.", "/b"}},
              {{"b", ".", "a.TXT", "c.txt"}, "*.txt", {"/a.TXT", "/c.txt"}}};
  for (auto& row : rows) {
    scripted = &row.delivered;
    EXPECT_EQ(Search("", row.pattern), row.found);
    EXPECT_EQ(support::Recorded().msg,
              support::ErrnoMessage("find_next error", EDOM));
  }
}

TEST(Find, AFailureIsThrownAndLeavesNothingOpen) {
  const auto open = support::OpenDescriptors();
  Names dots = {"..", "."};
  scripted = &dots;
  ExpectThrown([] { find_first("/", "*"); }, kNotFound, "No file can be found");
  ExpectThrown([] { find_first("/", "x"); }, kGeneralFailure,
               support::ErrnoMessage("find_first error", EDOM));
  EXPECT_EQ(support::OpenDescriptors(), open);
}

TEST_F(PathsOnDisk, SearchTellsFoldersFromLinks) {
  support::WriteFile("sub/x", "");
  const char* const root = dir.path.c_str();
  Names folders;
  EXPECT_EQ(Search(root, "sub", &folders), Names{dir / "sub"});
  EXPECT_EQ(Search(root, "link", &folders), Names{dir / "link"});
  EXPECT_EQ(folders, Names{dir / "sub"});
  EXPECT_EQ(Search("link", "X"), Names{dir / "sub/x"});
}

TEST(Temp, ANameIsFreeAndInTheDirectoryAskedFor) {
  const support::TempDir dir;
  const std::string taken = dir / "tmpf0000000000000000.dat";
  const auto name = [&](const char* place) {
    return CTmpFile(dir / place, std::string(".dat")).GetFilePathName();
  };
  interrupted_draws = 1;
  zero_draws = 1;
  EXPECT_EQ(name(""), taken);
  ASSERT_EQ(symlink("/nowhere", taken.c_str()), 0);
  zero_draws = 1;
  EXPECT_NE(name(""), taken);
  const auto refused = [&](const char* place) {
    ExpectThrown([&] { name(place); }, kGeneralFailure, "Unexpected error");
  };
  refused("no");
  refused(std::string(300, 'x').c_str());  // cannot be looked up
  zero_draws = 1000;
  refused("");
}

TEST(Temp, NamesAreDrawnFrom32Characters) {
  std::set<char> drawn;
  for (int i = 0; i < 50; ++i) {
    const std::string name = CTmpFile::CreateTempFile("/tmp", "").substr(9);
    drawn.insert(name.begin(), name.end());
  }
  EXPECT_EQ(drawn.size(), 32U);
}

TEST(Temp, AGivenNameLiesInTheTempDirectory) {
  setenv("TMPDIR", "/nonexistent", 1);
  EXPECT_EQ(CTmpFile("dat", "r").GetFilePathName(), "/tmp/r");
}

TEST(Temp, AnOwnedFileIsRemoved) {
  const support::TempDir dir;
  setenv("TMPDIR", dir.path.c_str(), 1);
  support::WriteFile(dir / "r.dat", "");
  for (const bool owned : {false, true, true}) {  // the last finds no file
    CTmpFile(".dat", "r").SetOwned(owned);
    EXPECT_EQ(access((dir / "r.dat").c_str(), F_OK), owned ? -1 : 0);
  }
}

TEST(Env, NothingToDeleteOrFreeIsNoFailure) {
  support::PlantFailure();
  EXPECT_TRUE(delete_environment_variable("VELLIX_NONE"));
  EXPECT_FALSE(support::FailurePlanted());
  free_dll(nullptr);
}

TEST(Env, LoadPathGrowsByWhatIsNotInIt) {
  setenv("LD_LIBRARY_PATH", "/a:/b", 1);
  dll_set_load_path("/b");
  dll_set_load_path("/B");
  EXPECT_STREQ(getenv("LD_LIBRARY_PATH"), "/a:/b:/B");
}
