#include "vellix/quorl_base_streams.h"
#include "vellix/quorl_streams_internal.h"
#include "vellix/sysutils_files.h"
#include "vellix/sysutils_files_core.h"
#include "vellix/sysutils_internal.h"

namespace QuorlBased {

int32_t file_open_exp(const std::string& path, const uint16_t& mode) {
  return kSysutils.Relay([&] { return OpenFile(path, mode); });
}

CHandleStream::CHandleStream(int32_t handle) : handle_(handle) {
  if (handle == -1) {
    kStreams.Raise(kBadArgument,
                   "CHandleStream::CHandleStream: bad file handle");
  }
}

CHandleStream::~CHandleStream() = default;

bool CHandleStream::SetSize(int64_t newSize) {
  CBaseException failure;
  const auto set_size = [&] {
    if (Seek(newSize, SeekBegin) == -1) {
      kStreams.Raise(kFileFailure, "Stream Size less than Seek");
    }
    return kSysutils.Relay([this] {
      SetCurrentEnd(handle_);
      return true;
    });
  };
  const bool done = kStreams.Guard(false, set_size, &failure);
  Seek(0, SeekBegin);
  eof_ = false;
  // The last seek may have recorded a failure as well.
  if (!done) PutBack(failure);
  return done;
}

int32_t CHandleStream::Read(void* buffer, uint32_t count) {
  return kSysutils.Guard(
      -1, [&] { return ReadSome(handle_, buffer, count, &eof_); });
}

// LogFile in logger.cpp does the same inline.
int32_t CHandleStream::Write(const void* buffer, uint32_t count) {
  eof_ = false;
  return file_write(handle_, buffer, count);
}

int64_t CHandleStream::Seek(int64_t offset, SeekOrigin origin) {
  eof_ = false;
  return file_seek(handle_, offset, origin);
}

bool CHandleStream::Eof() { return eof_; }

int32_t CHandleStream::GetHandle() {
  GetQuorlException()->Clear();
  return handle_;
}

CFileStream::CFileStream(const std::string& path, uint16_t mode)
    : CHandleStream(file_open_exp(path, mode)) {}

CFileStream::~CFileStream() {
  if (handle_ != 0) EndStream([this] { file_close(handle_); });
}

}  // namespace QuorlBased
