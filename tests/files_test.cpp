#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>

#include "support/support.h"
#include "vellix/sysutils_files.h"

namespace {

using namespace QuorlBased;

struct Files : testing::Test {
  support::TempDir dir;
  const std::string name = dir / "f", other = dir / "g";
  const int32_t handle = file_create(name);
  char buffer[32] = {};
};

TEST_F(Files, FailureIsTheValueTheRecordAndALogLine) {
  // `why` is a code of ours or the system's error. The call is made before.
  const auto failed = [](int why, const std::string& msg, int64_t result) {
    const bool ours = why >= kNullPointer;
    EXPECT_EQ(result, -1) << msg;
    EXPECT_FAILURE(support::Recorded(), ours ? why : kFileFailure,
                   ours ? msg : support::ErrnoMessage(msg, why), "../sysutils");
  };
  const int32_t reader = file_open(name, 0x0010);
  support::Log();
  failed(kBadArgument, "filename can't be empty", file_open("", kCreateFile));
  failed(kBadArgument, "file_open error: bad access mode", file_open("", 19));
  failed(EINVAL, "file_seek error", file_seek(handle, -1, 0));
  failed(kNullPointer, "Bad pointer", file_read(handle, nullptr, 0));
  failed(kNullPointer, "Bad pointer", file_write(handle, nullptr, 0));
  failed(kEndOfData, "End of file", file_read(handle, buffer, 1));
  failed(EBADF, "file_write error", file_write(reader, "x", 1));
  failed(EINVAL, "file_set_current_end", file_set_current_end(-1) - 1);
  EXPECT_EQ(support::Log().Records().size(), 9U);  // the failed seek too
}

TEST_F(Files, SuccessClearsTheRecordOrLeavesIt) {
  const auto done = [](bool clears, int64_t expected, int64_t result) {
    EXPECT_EQ(result, expected);
    EXPECT_EQ(support::Recorded().code, clears ? 0 : 1) << result;
    support::PlantFailure();
  };
  support::PlantFailure();
  done(false, 2, file_write(handle, "ab", 2));
  for (const int64_t end : {int64_t{7}, (int64_t{1} << 32) + 5}) {
    done(false, end, file_seek(handle, end, 0));
    done(false, true, file_set_current_end(handle));
    done(false, end, file_seek(handle, 0, 1));
    done(false, end - 3, file_seek(handle, -3, 2));
    done(false, 3, file_read(handle, buffer, sizeof buffer));
  }
  umask(027);
  struct stat status {};
  done(false, 0, close(file_create(other)) + stat(other.c_str(), &status));
  EXPECT_EQ(status.st_mode & 0777, 0640U);
  const int32_t emptied = file_open(name, kCreateFile);
  done(false, 0, file_seek(emptied, 0, 2));
  done(true, -1, (file_close(emptied), close(emptied)));
  done(false, true, move_file(name, other));
  done(true, 0, close(file_open(other, 0x0012)));
  done(true, true, file_delete(other));
  EXPECT_EQ(access(other.c_str(), F_OK), -1);
}

}  // namespace
