#include <sys/stat.h>
#include <unistd.h>

#include "support/support.h"
#include "vellix/sysutils_paths.h"

namespace {

using namespace QuorlBased;

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
struct PathsOnDisk : testing::Test {
  PathsOnDisk() {
    EXPECT_EQ(chdir(dir.Path().c_str()) + mkdir("sub", 0700), 0);
    EXPECT_EQ(symlink("sub", "link") + symlink("gone", "dangling"), 0);
    support::WriteFile("file", "");
  }
  support::TempDir dir;
};

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
    EXPECT_FAILURE(support::Thrown([=] { expand_path(path); }), kGeneralFailure,
                   "Can't expand path", "../sysutils");
  }
}

TEST_F(PathsOnDisk, MakeDirMakesWhatIsMissingAndExistenceIsRecorded) {
  const std::string rooted = "\\" + dir / "r\\s/";
  for (const char* path : {"a\\b//c/", "", rooted.c_str(), "link/d"}) {
    make_dir(path);
  }
  for (const char* path : {"file/a", "e\\..\\file", "dangling"}) {
    EXPECT_FAILURE(support::Thrown([=] { make_dir(path); }), kGeneralFailure,
                   "Can't create directory", "../sysutils");
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
    EXPECT_EQ(support::Recorded().code, 0);
  }
}

}  // namespace
