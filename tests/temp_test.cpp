#include <unistd.h>

#include <cstring>

#include "support/support.h"
#include "vellix/sysutils_temp.h"

static int zero_draws = 0;  // so many draws to come give zeros

extern "C" ssize_t __real_getrandom(void*, size_t, unsigned);

extern "C" ssize_t __wrap_getrandom(void* out, size_t bytes, unsigned flags) {
  if (zero_draws-- <= 0) return __real_getrandom(out, bytes, flags);
  memset(out, 0, bytes);
  return static_cast<ssize_t>(bytes);
}

namespace {

using namespace QuorlBased;

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
    EXPECT_FAILURE(support::Thrown([&] { CTmpFile(place, dat); }),
                   kGeneralFailure, "Unexpected error", "../sysutils");
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

}  // namespace
