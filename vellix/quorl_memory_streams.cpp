#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <utility>

#include "vellix/quorl_base_streams.h"
#include "vellix/quorl_streams_internal.h"
#include "vellix/res_keeper.h"
#include "vellix/sysutils_files.h"
#include "vellix/sysutils_files_core.h"
#include "vellix/sysutils_internal.h"

namespace QuorlBased {
namespace {

constexpr uint64_t kGrowthStep = 8192;

constexpr uint16_t kLoadMode = 0x0020;  // the low bits say read only

// A file for the length of one call.
class CallFile : public CFileStream {
 public:
  using CFileStream::CFileStream;

  // file_close that returns whether it succeeded. If this is not called, the
  // destructor closes the file.
  bool Close() {
    const CancellationHold hold;
    const int32_t handle = std::exchange(handle_, 0);
    return handle == 0 || kSysutils.Guard(false, [handle] {
      CloseFile(handle);
      return true;
    });
  }
};

struct FileOutcome {
  bool done;    // what `work` returned
  bool closed;  // the system may report only now that data were lost
};

// Runs `work` on a stream over the file `path`. Closing the file clears the
// record, so what a failed `work` left there is put back.
template <typename Work>
FileOutcome WithFile(const std::string& path, uint16_t mode, Work work) {
  CallFile file(path, mode);
  CBaseException failure;
  const bool done = work(file);
  if (!done) failure.Copy(GetQuorlException());
  const bool closed = file.Close();
  PutBack(failure);
  return {done, closed};
}

// Copies `count` bytes, which may overlap; neither pointer is touched for none.
// 32 to 64 bytes go as two halves instead of a call of memmove: a fifth less
// time for a Read or Write of 64 bytes.
inline void CopyBytes(void* to, const void* from, size_t count) {
  struct Half {
    uint64_t words[4];
  };
  constexpr size_t half = sizeof(Half);
  if (count < half || count > 2 * half) {
    if (count > 0) memmove(to, from, count);
    return;
  }
  Half first;
  Half last;
  memcpy(&first, from, half);
  memcpy(&last, static_cast<const char*>(from) + count - half, half);
  memcpy(to, &first, half);
  memcpy(static_cast<char*>(to) + count - half, &last, half);
}

// `request` rounded up to a multiple of the growth step. If that overflows, the
// result is negative and will be refused.
int64_t RoundedUp(int64_t request) {
  return static_cast<int64_t>(
      (static_cast<uint64_t>(request) + kGrowthStep - 1) & ~(kGrowthStep - 1));
}

}  // namespace

CCustomMemoryStream::~CCustomMemoryStream() { free(memory_); }

void CCustomMemoryStream::SetPointer(void* block, int64_t size) {
  if (size < 0) kStreams.Raise(kBadArgument, "Size can't be less than zero");
  memory_ = block;
  size_ = size;
  handed_in_ = true;
}

int32_t CCustomMemoryStream::Read(void* buffer, uint32_t count) {
  return kStreams.Guard(-1, [&] {
    GetQuorlException()->Clear();
    if (!buffer) kStreams.Raise(kNullPointer, "Bad pointer");
    if (position_ < 0) return -1;
    const int64_t remaining = size_ - position_;
    if (remaining < 0) kStreams.Raise(kEndOfData, "self Buffer is end");
    const int64_t portion = std::min<int64_t>(count, remaining);
    CopyBytes(buffer, static_cast<char*>(memory_) + position_,
              static_cast<size_t>(portion));
    position_ += portion;
    return static_cast<int32_t>(portion);
  });
}

int64_t CCustomMemoryStream::Seek(int64_t offset, SeekOrigin origin) {
  return kStreams.Guard(-1, [&] {
    IQuorlException* record = GetQuorlException();  // while nothing is moved
    int64_t base = 0;
    switch (origin) {
      case SeekBegin:
        break;
      case SeekCurrent:
        base = position_;
        break;
      case SeekEnd:
        base = size_;
        break;
      default:
        kStreams.Raise(kGeneralFailure, "Unexpected error");
    }
    int64_t target = 0;
    const bool overflow = __builtin_add_overflow(base, offset, &target);
    if (overflow && offset < 0) {
      kStreams.Raise(kGeneralFailure, "Unexpected error");
    }
    if (overflow || target > size_) {
      kStreams.Raise(kEndOfData, "Position can't large than end");
    }
    position_ = target;
    record->Clear();
    return position_;
  });
}

// The position may be beyond the end of a block that was handed in.
bool CCustomMemoryStream::Eof() {
  return !memory_ || position_ > size_ || GetPosition() >= size_;
}

bool CCustomMemoryStream::SaveToStream(CQuorlStreamImpl* dest) {
  return kStreams.Guard(false, [&] {
    GetQuorlException()->Clear();
    if (!dest) kStreams.Raise(kNullPointer, "Bad pointer");
    if (size_ <= 0) return false;
    if (position_ != 0 && Seek(0, SeekBegin) == -1) return false;
    return dest->CopyFrom(this, size_) != -1;
  });
}

bool CCustomMemoryStream::SaveToFile(const std::string& path) {
  return kStreams.Guard(false, [&] {
    GetQuorlException()->Clear();
    const auto save = [this](CFileStream& file) { return SaveToStream(&file); };
    const FileOutcome outcome = WithFile(path, kCreateFile, save);
    return outcome.done && outcome.closed;
  });
}

CMemoryStream::~CMemoryStream() {
  EndStream([this] { kStreams.Guard([this] { Clear(); }); });
}

void CMemoryStream::SetCapacity(int64_t newCapacity) {
  const bool release = newCapacity == 0;
  // Afterwards the record holds what an override has put there, or nothing.
  GetQuorlException()->Clear();
  realloc_failure_.Clear();
  void* block = Realloc(newCapacity);
  if (!block && !(release && newCapacity == 0)) {
    if (realloc_failure_.GetCode() != 0) throw std::move(realloc_failure_);
    RaiseStoredFailure();
    kStreams.Raise(kOutOfMemory, "No enough memory");
  }
  // First: the old block may be gone, and SetPointer refuses a negative size.
  memory_ = block;
  capacity_ = newCapacity;
  SetPointer(block, size_);
  handed_in_ = false;
}

void CMemoryStream::Clear() {
  size_ = 0;
  position_ = 0;
  SetCapacity(0);
}

bool CMemoryStream::SetSize(int64_t newSize) {
  return kStreams.Guard(false, [&] {
    GetQuorlException()->Clear();
    const int64_t position = position_;
    SetCapacity(newSize);
    size_ = newSize;
    if (position > newSize) Seek(0, SeekEnd);
    return true;
  });
}

int32_t CMemoryStream::Write(const void* buffer, uint32_t count) {
  return kStreams.Guard(-1, [&] {
    IQuorlException* record = GetQuorlException();  // while nothing is written
    if (position_ < 0) {
      kStreams.Raise(kBadArgument, "Count can't less than zero");
    }
    int64_t end = 0;
    if (__builtin_add_overflow(position_, count, &end)) {
      kStreams.Raise(kOutOfMemory, "No enough memory");
    }
    if (end == 0) kStreams.Raise(kTooSmall, "Dest buffer is not enough");
    if (end > size_) {
      // The capacity does not apply to a block that was handed in.
      if (end > capacity_ || handed_in_) {
        buffer = GrowTo(end, buffer);
        record = GetQuorlException();  // an override may have released it
      }
      size_ = end;
    }
    CopyBytes(static_cast<char*>(memory_) + position_, buffer, count);
    position_ = end;
    record->Clear();
    return static_cast<int32_t>(count);
  });
}

// Grows the block to `end`. Returns `source`, or its new address if it lies in
// the block.
const void* CMemoryStream::GrowTo(int64_t end, const void* source) {
  const auto offset = reinterpret_cast<uintptr_t>(source) -
                      reinterpret_cast<uintptr_t>(memory_);
  const int64_t extent = handed_in_ ? size_ : capacity_;
  const bool inside = memory_ && offset < static_cast<uint64_t>(extent);
  SetCapacity(std::max(end, capacity_));
  return inside ? static_cast<const char*>(memory_) + offset : source;
}

bool CMemoryStream::LoadFromStream(IQuorlStream* source) {
  return kStreams.Guard(false, [&] {
    if (!source) kStreams.Raise(kNullPointer, "Bad pointer");
    source->SetPosition(0);
    const int64_t source_size = source->GetSize();
    if (source_size <= 0) kStreams.Raise(kNoData, "Soure Stream is empty");
    // If this fails for want of memory, the copy fails where the memory ends.
    SetSize(source_size);
    // An override has refused to shrink: old content would stay behind.
    if (size_ > source_size) return false;
    Seek(0, SeekBegin);
    return CopyFrom(source, source_size) != -1;
  });
}

bool CMemoryStream::LoadFromFile(const std::string& path) {
  return kStreams.Guard(false, [&] {
    GetQuorlException()->Clear();
    const auto load = [this](CFileStream& file) {
      return LoadFromStream(&file);
    };
    return WithFile(path, kLoadMode, load).done;
  });
}

void* CMemoryStream::Realloc(int64_t& newCapacity) {
  const auto reallocate = [&]() -> void* {
    GetQuorlException()->Clear();
    // First, so that a block that was handed in at capacity 0 is freed too.
    if (newCapacity == 0) {
      free(memory_);
      memory_ = nullptr;
      capacity_ = 0;
      return nullptr;
    }
    if (newCapacity > 0 && newCapacity != size_) {
      newCapacity = RoundedUp(newCapacity);
    }
    if (newCapacity == capacity_ && !handed_in_) return memory_;
    ResKeeper keeper;
    if (memory_) {
      keeper.Attach(memory_);
      keeper.Realloc(static_cast<uint64_t>(newCapacity));
    } else {
      keeper.Alloc(static_cast<uint64_t>(newCapacity));
    }
    // Here already: an override may refuse what it has been given.
    memory_ = keeper.Release();
    capacity_ = newCapacity;
    handed_in_ = false;
    return memory_;
  };
  return kStreams.Guard(nullptr, reallocate, &realloc_failure_);
}

}  // namespace QuorlBased
