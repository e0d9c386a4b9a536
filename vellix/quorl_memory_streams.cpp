#include <algorithm>
#include <cstdlib>
#include <cstring>

#include "vellix/quorl_base_streams.h"
#include "vellix/quorl_streams_internal.h"
#include "vellix/res_keeper.h"

namespace QuorlBased {
namespace {

constexpr uint64_t kGrowthStep = 8192;

// The mode word of LoadFromFile; its low bits say read only.
constexpr uint16_t kLoadMode = 0x0020;
constexpr uint16_t kSaveMode = 0xFFFF;

// Runs `work` on a stream over the file `path`. Closing the file clears the
// thread's exception object, so what a failed `work` recorded is put back
// afterwards, past the log, where it is already.
template <typename Work>
bool WithFile(const std::string& path, uint16_t mode, Work work) {
  CBaseException failure;
  bool done = false;
  {
    CFileStream file(path, mode);
    done = work(file);
    if (!done) failure.Copy(GetQuorlException());
  }
  if (failure.GetCode() != 0) {
    int line = 0;
    const char* source = failure.GetExceptionSource(&line);
    GetQuorlException()->SetException(failure.GetCode(), failure.GetMsg(), line,
                                      source);
  }
  return done;
}

// Copies `count` bytes; neither pointer is touched for none. A portion of 32 to
// 64 bytes goes as two halves that overlap: a call of memcpy takes longer than
// its copy, and a quarter of the time of such a Read or Write.
inline void CopyBytes(void* to, const void* from, size_t count) {
  struct Half {
    uint64_t words[4];
  };
  constexpr size_t half = sizeof(Half);
  if (count < half || count > 2 * half) {
    if (count > 0) memcpy(to, from, count);
    return;
  }
  Half first;
  Half last;
  memcpy(&first, from, half);
  memcpy(&last, static_cast<const char*>(from) + count - half, half);
  memcpy(to, &first, half);
  memcpy(static_cast<char*>(to) + count - half, &last, half);
}

// `request` taken up to the next multiple of the growth step. What passes the
// range of 64 bits comes out negative, which no heap grants.
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
    GetQuorlException()->Clear();
    return position_;
  });
}

bool CCustomMemoryStream::Eof() { return !memory_ || GetPosition() >= size_; }

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
    const bool saved = WithFile(path, kSaveMode, [&](CFileStream& file) {
      return SaveToStream(&file);
    });
    // A good save has left the record empty. What is there now comes from the
    // close, by which the system may report that data were lost.
    return saved && GetQuorlException()->GetExceptionCode() == 0;
  });
}

CMemoryStream::~CMemoryStream() {
  EndStream([this] { kStreams.Guard([this] { Clear(); }); });
}

void CMemoryStream::SetCapacity(int64_t newCapacity) {
  const bool release = newCapacity == 0;
  void* block = Realloc(newCapacity);
  if (!block && !(release && newCapacity == 0)) {
    RaiseStoredFailure();
    kStreams.Raise(kOutOfMemory, "No enough memory");
  }
  // Before SetPointer can refuse a negative size: the old block may be gone.
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
    if (position_ < 0) {
      kStreams.Raise(kBadArgument, "Count can't less than zero");
    }
    int64_t end = 0;
    if (__builtin_add_overflow(position_, count, &end)) {
      kStreams.Raise(kOutOfMemory, "No enough memory");
    }
    if (end == 0) kStreams.Raise(kTooSmall, "Dest buffer is not enough");
    if (end > size_) {
      // The capacity says nothing of a block that was handed in.
      if (end > capacity_ || handed_in_) SetCapacity(std::max(end, capacity_));
      size_ = end;
    }
    CopyBytes(static_cast<char*>(memory_) + position_, buffer, count);
    position_ = end;
    GetQuorlException()->Clear();
    return static_cast<int32_t>(count);
  });
}

bool CMemoryStream::LoadFromStream(IQuorlStream* source) {
  return kStreams.Guard(false, [&] {
    if (!source) kStreams.Raise(kNullPointer, "Bad pointer");
    source->SetPosition(0);
    const int64_t source_size = source->GetSize();
    if (source_size <= 0) kStreams.Raise(kNoData, "Soure Stream is empty");
    // Without memory for all of it the copy fails where the memory ends.
    SetSize(source_size);
    Seek(0, SeekBegin);
    return CopyFrom(source, source_size) != -1;
  });
}

bool CMemoryStream::LoadFromFile(const std::string& path) {
  return kStreams.Guard(false, [&] {
    GetQuorlException()->Clear();
    return WithFile(path, kLoadMode,
                    [&](CFileStream& file) { return LoadFromStream(&file); });
  });
}

void* CMemoryStream::Realloc(int64_t& newCapacity) {
  return kStreams.Guard(nullptr, [&]() -> void* {
    GetQuorlException()->Clear();
    // First, so that a block which was handed in at capacity 0 is freed too.
    if (newCapacity == 0) {
      free(memory_);
      memory_ = nullptr;
      return nullptr;
    }
    if (newCapacity > 0 && newCapacity != size_) {
      newCapacity = RoundedUp(newCapacity);
    }
    if (newCapacity == capacity_ && !handed_in_) return memory_;
    ResKeeper keeper;
    if (memory_) {
      keeper.Attach(memory_);
      keeper.Realloc(static_cast<size_t>(newCapacity));
    } else {
      keeper.Alloc(static_cast<size_t>(newCapacity));
    }
    return keeper.Release();
  });
}

}  // namespace QuorlBased
