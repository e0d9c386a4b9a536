#include "vellix/quorl_base_streams.h"

#include <algorithm>

#include "vellix/quorl_streams_internal.h"
#include "vellix/res_keeper.h"

namespace QuorlBased {
namespace {

constexpr int64_t kTransferBytes = 0xF000;

// Writes all `count` bytes; false when a Write failed and recorded why.
bool WriteAll(IQuorlStream& stream, const char* bytes, int64_t count) {
  while (count > 0) {
    const int32_t written = stream.Write(bytes, static_cast<uint32_t>(count));
    if (written < 0) return false;
    if (written == 0) kStreams.Raise(kEndOfData, "End of file");
    // A foreign stream may claim more than it was asked for.
    const int64_t moved = std::min<int64_t>(written, count);
    bytes += moved;
    count -= moved;
  }
  return true;
}

// Moves `count` bytes; false when a Read or Write failed and recorded why.
bool Transfer(IQuorlStream& source, IQuorlStream& dest, int64_t count) {
  ResKeeper keeper;
  // A negative size becomes a request that the keeper refuses.
  const int64_t block = std::min(count, kTransferBytes);
  auto* buffer = static_cast<char*>(keeper.Alloc(static_cast<uint64_t>(block)));
  int64_t remaining = count;
  while (remaining > 0) {
    const int64_t asked = std::min(remaining, block);
    const int32_t read = source.Read(buffer, static_cast<uint32_t>(asked));
    if (read < 0) return false;
    if (read == 0) kStreams.Raise(kEndOfData, "End of file");
    const int64_t moved = std::min<int64_t>(read, asked);
    if (!WriteAll(dest, buffer, moved)) return false;
    remaining -= moved;
  }
  return true;
}

}  // namespace

CQuorlStreamImpl::~CQuorlStreamImpl() noexcept(false) = default;

int64_t CQuorlStreamImpl::GetPosition() { return Seek(0, SeekCurrent); }

int64_t CQuorlStreamImpl::SetPosition(int64_t position) {
  return Seek(position, SeekBegin);
}

int64_t CQuorlStreamImpl::GetSize() {
  const int64_t position = Seek(0, SeekCurrent);
  if (position == -1) return -1;
  const int64_t size = Seek(0, SeekEnd);
  Seek(position, SeekBegin);
  return size;
}

bool CQuorlStreamImpl::SetSize(int64_t) { return false; }

int64_t CQuorlStreamImpl::CopyFrom(IQuorlStream* source, int64_t count) {
  return kStreams.Guard(int64_t{-1}, [&]() -> int64_t {
    if (count < 0) {
      kStreams.Raise(kBadArgument, "Count can't be less than zero");
    }
    if (!source) kStreams.Raise(kNullPointer, "Bad pointer");
    GetQuorlException();  // while nothing is copied: Clear needs it at the end
    if (count == 0) {
      source->SetPosition(0);
      count = source->GetSize();
    }
    if (!Transfer(*source, *this, count)) return -1;
    GetQuorlException()->Clear();
    return count;
  });
}

bool CQuorlStreamImpl::IsStream() { return false; }

void CQuorlStreamImpl::Free() {
  kStreams.Guard([this] {
    // Destroy the stream even if there is no memory for a record.
    if (IQuorlException* record = RecordIfAny()) record->Clear();
    delete this;
  });
}

}  // namespace QuorlBased
