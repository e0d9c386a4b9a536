#include "vellix/sysutils_files.h"

#include <fcntl.h>
#include <unistd.h>

#include <cstdio>

#include "vellix/sysutils_files_core.h"
#include "vellix/sysutils_internal.h"

namespace QuorlBased {
namespace {

constexpr mode_t kPermissions = 0666;  // less the umask

// Open flags by the low two bits of an access mode; 3 has none.
constexpr uint32_t access_mode[] = {O_RDONLY, O_WRONLY, O_RDWR};

int32_t CreateFile(const std::string& name) {
  if (name.empty()) kSysutils.Raise(kBadArgument, "filename can't be empty");
  const int handle =
      open(name.c_str(), O_RDWR | O_CREAT | O_TRUNC, kPermissions);
  if (handle == -1) kSysutils.RaiseErrno(kFileFailure, "file_create error");
  return handle;
}

}  // namespace

int32_t OpenFile(const std::string& name, uint16_t mode) {
  if (mode == kCreateFile) return CreateFile(name);
  // Get the record first: if that throws after open(), the handle leaks.
  IQuorlException* record = GetQuorlException();
  const unsigned access = mode & 3U;
  if (access == 3) {
    kSysutils.Raise(kBadArgument, "file_open error: bad access mode");
  }
  // O_EXCL is kept for callers: on Linux it refuses a block device in use.
  const int flags = static_cast<int>(access_mode[access] | O_EXCL);
  const int handle = open(name.c_str(), flags, kPermissions);
  if (handle == -1) kSysutils.RaiseErrno(kFileFailure, "file_open error");
  record->Clear();
  return handle;
}

void CloseFile(int32_t handle) {
  if (close(handle) != 0) {
    kSysutils.RaiseErrno(kFileFailure, "file_close error");
  }
  // Without memory for a record the handle is closed all the same.
  if (IQuorlException* record = RecordIfAny()) record->Clear();
}

int32_t ReadSome(int32_t handle, void* buffer, uint32_t count, bool* met_end) {
  if (!buffer) kSysutils.Raise(kNullPointer, "Bad pointer");
  // One read moves less than 2 GiB, so its result fits.
  const auto moved = static_cast<int32_t>(read(handle, buffer, count));
  if (moved == -1) kSysutils.RaiseErrno(kFileFailure, "file_read error");
  if (moved == 0) {
    if (met_end) *met_end = true;
    kSysutils.Raise(kEndOfData, "End of file");
  }
  return moved;
}

void SetCurrentEnd(int32_t handle) {
  // A position of -1 is refused by the next call, whose failure then stands.
  const int64_t position = file_seek(handle, 0, SEEK_CUR);
  if (ftruncate(handle, position) != 0) {
    kSysutils.RaiseErrno(kFileFailure, "file_set_current_end");
  }
}

int32_t file_create(const std::string& name) {
  return kSysutils.Guard(-1, [&] { return CreateFile(name); });
}

int32_t file_open(const std::string& name, uint16_t mode) {
  return kSysutils.Guard(-1, [&] { return OpenFile(name, mode); });
}

void file_close(int32_t handle) {
  kSysutils.Guard([&] { CloseFile(handle); });
}

int64_t file_seek(int32_t handle, int64_t offset, int origin) {
  return kSysutils.Guard(int64_t{-1}, [&]() -> int64_t {
    const off_t position = lseek(handle, offset, origin);
    if (position == -1) kSysutils.RaiseErrno(kFileFailure, "file_seek error");
    return position;
  });
}

int32_t file_read(int32_t handle, void* buffer, uint32_t count) {
  return kSysutils.Guard(
      -1, [&] { return ReadSome(handle, buffer, count, nullptr); });
}

int32_t file_write(int32_t handle, const void* buffer, uint32_t count) {
  return kSysutils.Guard(-1, [&] { return WriteSome(handle, buffer, count); });
}

bool file_set_current_end(int32_t handle) {
  return kSysutils.Guard(false, [&] {
    SetCurrentEnd(handle);
    return true;
  });
}

bool file_delete(const std::string& name) {
  return kSysutils.Guard(false, [&] {
    // Get the record first: without one, a file that is gone would be reported
    // as a failure.
    IQuorlException* record = GetQuorlException();
    if (unlink(name.c_str()) != 0) {
      kSysutils.RaiseErrno(kFileFailure, "file_delete error");
    }
    record->Clear();
    return true;
  });
}

bool move_file(const std::string& old_name, const std::string& new_name) {
  return kSysutils.Guard(false, [&] {
    if (rename(old_name.c_str(), new_name.c_str()) != 0) {
      kSysutils.RaiseErrno(kFileFailure, "move_file error");
    }
    return true;
  });
}

}  // namespace QuorlBased
