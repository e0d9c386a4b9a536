// The byte stream interface and the toolkit's streams over a handle, a named
// file and a growing memory block.
//
// Positions, sizes and the counts of CopyFrom are bytes in 64 bits, signed. One
// Read or Write moves at most an unsigned 32-bit count. It returns the count as
// a signed number: from 2 GiB on it is negative, and for 4 GiB less one byte it
// is -1. If the position has moved, that was a success. A handle stream never
// moves that much in one call.
//
// An operation of the interface throws nothing of its own: it returns its
// failure value and leaves the cause in the calling thread's failure record.
// docs/failures.md lists the exceptions that may still leave it. A stream holds
// no lock: it belongs to one thread at a time, or to a caller that serialises
// it as the logger does.
#ifndef VELLIX_QUORL_BASE_STREAMS_H_
#define VELLIX_QUORL_BASE_STREAMS_H_

#include <cstdint>
#include <string>

#include "vellix/exceptions.h"
#include "vellix/visibility.h"

namespace QuorlBased {

// What the offset of a seek counts from. The values are those of lseek(2).
enum SeekOrigin : int {
  SeekBegin = 0,    // the start of the stream
  SeekCurrent = 1,  // the position
  SeekEnd = 2,      // the end
};

// A stream as every module of the process sees it, and what a host implements
// to give the logger a target of its own. The order of the operations is part
// of the binary interface. There is no destructor: an object behind it is
// destroyed by its own Free.
class IQuorlStream {
 public:
  // The position from the start; -1 on failure.
  virtual int64_t GetPosition() = 0;
  // Moves to `position` from the start; returns the new position, -1 on
  // failure.
  virtual int64_t SetPosition(int64_t position) = 0;
  // The size; -1 on failure.
  virtual int64_t GetSize() = 0;
  // Makes the stream `newSize` bytes long; false on failure.
  virtual bool SetSize(int64_t newSize) = 0;
  // Reads up to `count` bytes; returns the bytes read, -1 on failure.
  virtual int32_t Read(void* buffer, uint32_t count) = 0;
  // Writes up to `count` bytes; returns the bytes written, -1 on failure.
  virtual int32_t Write(const void* buffer, uint32_t count) = 0;
  // Moves the position; returns the new one from the start, -1 on failure.
  virtual int64_t Seek(int64_t offset, SeekOrigin origin) = 0;
  // Copies `count` bytes from the position of `source` to this stream; a count
  // of 0 copies the whole source from its start. Returns the bytes copied, -1
  // on failure.
  virtual int64_t CopyFrom(IQuorlStream* source, int64_t count) = 0;
  // Not used by the library.
  virtual bool IsStream() = 0;
  // Whether the end has been reached.
  virtual bool Eof() = 0;
  // Destroys the object.
  virtual void Free() = 0;
};

// Position, size and copying on top of Seek, Read and Write, which a concrete
// stream supplies.
class CQuorlStreamImpl : public IQuorlStream {
 public:
  VELLIX_HIDDEN CQuorlStreamImpl() = default;
  CQuorlStreamImpl(const CQuorlStreamImpl&) = delete;
  CQuorlStreamImpl& operator=(const CQuorlStreamImpl&) = delete;

  int64_t GetPosition() override;
  int64_t SetPosition(int64_t position) override;

  // The size, by a seek to the end and back; -1 if the position is unknown.
  int64_t GetSize() override;

  // Changes nothing and returns false.
  bool SetSize(int64_t newSize) override;

  // Copies `count` bytes from the position of `source`, or with 0 the whole
  // source. Short reads and writes are continued. If a Read or Write returns
  // -1, so does the copy, with what was recorded; bytes copied before stay.
  //
  // Failure: -1, recorded: kBadArgument "Count can't be less than zero",
  // kNullPointer "Bad pointer", kOutOfMemory "No enough memory" (also for a
  // count of 0 from a source without a size, such as a pipe), kEndOfData "End
  // of file" when the source ends early or the destination takes nothing more.
  // Success clears the record.
  int64_t CopyFrom(IQuorlStream* source, int64_t count) override;

  // False.
  bool IsStream() override;

  // Clears the thread's failure record and deletes this stream, which must have
  // been made with new. A failure of the destructor is recorded. Not a
  // cancellation point for the streams of this header.
  void Free() override;

  // May throw: Free records what a derived destructor raises.
  virtual ~CQuorlStreamImpl() noexcept(false);
};

// A stream over a file handle that the caller opens and closes. Its position is
// that of the handle, shared with all who use it. Nothing is buffered. Defined
// in quorl_handle_streams.cpp, like CFileStream and file_open_exp.
class CHandleStream : public CQuorlStreamImpl {
 public:
  // Throws kBadArgument "CHandleStream::CHandleStream: bad file handle" for a
  // `handle` of -1.
  explicit CHandleStream(int32_t handle);

  // Makes the file `newSize` bytes long and always leaves the position at 0.
  //
  // Failure: false, recorded: kFileFailure "Stream Size less than Seek" when
  // the seek to the new end fails, or what file_set_current_end recorded.
  // Success leaves the record as it was.
  bool SetSize(int64_t newSize) override;

  // Reads with file_read. At the end of the file: -1, recorded as kEndOfData,
  // and Eof is true from then on.
  int32_t Read(void* buffer, uint32_t count) override;

  // Writes with file_write; a short write is a success.
  int32_t Write(const void* buffer, uint32_t count) override;

  // Moves the position with file_seek.
  int64_t Seek(int64_t offset, SeekOrigin origin) override;

  // Whether a Read has reached the end since the last Seek, Write, SetSize,
  // GetPosition, SetPosition or GetSize. Makes no system call.
  bool Eof() override;

  // Leaves the handle open.
  ~CHandleStream() override;

  // The handle, which stays the stream's. Clears the thread's failure record.
  virtual int32_t GetHandle();

 protected:
  int32_t handle_;    // never -1
  bool eof_ = false;  // what Eof returns
};

// A stream over a file that it opens and closes itself.
class CFileStream : public CHandleStream {
 public:
  // Opens the file `path`, with `mode` as in file_open: 0xFFFF creates or
  // empties the file, any other word opens an existing one. A failure is
  // recorded and logged as by file_open, and thrown. Success clears the record,
  // except with kCreateFile.
  CFileStream(const std::string& path, uint16_t mode);

  // Closes the file unless its handle is 0, with what file_close does to the
  // failure record. Not a cancellation point.
  ~CFileStream() override;
};

// Like file_open, but throws its failure, which is also recorded and logged.
// The log cannot change what is thrown. Returns the handle, which the caller
// closes with file_close.
int32_t file_open_exp(const std::string& path, const uint16_t& mode);

// Reading, seeking and saving over one malloc block, which the stream owns and
// frees. Eof, GetPosition, SetPosition and GetSize seek, so they clear the
// thread's failure record when they succeed. Defined in
// quorl_memory_streams.cpp, like CMemoryStream.
class CCustomMemoryStream : public CQuorlStreamImpl {
 public:
  VELLIX_HIDDEN CCustomMemoryStream() = default;

  // The block, or null. Valid until the next change of size.
  VELLIX_HIDDEN void* GetMemory() const { return memory_; }

  // Hands the stream `block`, which must come from malloc or realloc and hold
  // `size` bytes. The old block is not freed. The position stays: if it is
  // above `size`, GetPosition and GetSize return -1 until a Seek. Throws
  // kBadArgument "Size can't be less than zero".
  void SetPointer(void* block, int64_t size);

  // Copies up to `count` bytes from the position on; 0 at the end is not a
  // failure. `buffer` may lie in the block.
  //
  // Failure: -1, recorded: kNullPointer "Bad pointer", kEndOfData "self Buffer
  // is end" for a position beyond the size; -1 with nothing recorded for a
  // negative position. Clears the record first.
  int32_t Read(void* buffer, uint32_t count) override;

  // Moves the position to at most the size; a negative position is accepted.
  //
  // Failure: -1, recorded: kGeneralFailure "Unexpected error" for an unknown
  // origin and for a position below INT64_MIN, kEndOfData "Position can't large
  // than end". Success clears the record.
  int64_t Seek(int64_t offset, SeekOrigin origin) override;

  // True without a block, and at the end of it.
  bool Eof() override;

  // Writes the whole stream, from its start, to the position of `dest`; the
  // position ends at the size.
  //
  // Failure: false, recorded: kNullPointer "Bad pointer", what CopyFrom
  // recorded; false with nothing recorded for an empty stream. Clears the
  // record first.
  bool SaveToStream(CQuorlStreamImpl* dest);

  // Creates or empties the file `path` and saves to it; an empty stream leaves
  // an empty file and returns false. Failure: false, recorded by the open, by
  // SaveToStream or by the close. Clears the record first.
  bool SaveToFile(const std::string& path);

  ~CCustomMemoryStream() override;

 protected:
  void* memory_ = nullptr;  // the block, or null
  int64_t size_ = 0;        // bytes of content
  int64_t position_ = 0;    // where the next Read or Write begins
  // The block came from SetPointer: its capacity beyond the size is unknown.
  bool handed_in_ = false;
};

// A memory block that grows as it is written, in steps of 8192 bytes. Added
// bytes are not initialised.
class CMemoryStream : public CCustomMemoryStream {
 public:
  VELLIX_HIDDEN CMemoryStream() = default;

  // Bytes that the block has room for; the size may be less.
  VELLIX_HIDDEN int64_t GetCapacity() const { return capacity_; }

  // Brings the block to `newCapacity` bytes as Realloc rounds them; must not go
  // below the size. If Realloc returns null, throws its failure, which is also
  // recorded; or what an override has put into the failure record; or else
  // kOutOfMemory "No enough memory". The stream is then unchanged. Clears the
  // record first.
  void SetCapacity(int64_t newCapacity);

  // Empties the stream and frees the block. Throws what SetCapacity throws.
  void Clear();

  // Makes the stream `newSize` bytes long; 0 frees the block. A `newSize` equal
  // to the size trims the block to the byte. A position beyond the new end
  // moves to it.
  //
  // Failure: false, recorded: what SetCapacity throws; the stream is then
  // unchanged. Clears the record first.
  bool SetSize(int64_t newSize) override;

  // Writes all `count` bytes of `buffer`, which is not tested and may lie in
  // the stream's own block, at the position, growing as needed.
  //
  // Failure: -1, recorded: kBadArgument "Count can't less than zero" for a
  // negative position, kTooSmall "Dest buffer is not enough" for no bytes at
  // position 0, kOutOfMemory "No enough memory" or what SetCapacity throws; the
  // stream is then unchanged. Success clears the record.
  int32_t Write(const void* buffer, uint32_t count) override;

  // Replaces the content by all of `source`; the position ends at the size.
  // After a failure the stream may have its new size and part of the data.
  //
  // Failure: false, recorded: kNullPointer "Bad pointer", kNoData "Soure Stream
  // is empty", what CopyFrom recorded, or what an override of SetSize or
  // Realloc recorded when it left the size above the source's. Success clears
  // the record.
  bool LoadFromStream(IQuorlStream* source);

  // LoadFromStream from the file `path`. Failure: false, recorded by the open
  // or by LoadFromStream. A failed close is only recorded: the data are there.
  // Clears the record first.
  bool LoadFromFile(const std::string& path);

  // Frees the block, which clears the thread's failure record.
  ~CMemoryStream() override;

  // The allocation policy: returns a block for `newCapacity` bytes. Rounds
  // `newCapacity` up to a multiple of 8192 unless it is 0 or equals the size.
  // For 0 it frees the block and returns null. Only SetCapacity calls it; an
  // override controls every growth of the stream.
  //
  // The block of an override must come from malloc or realloc and hold
  // `newCapacity` bytes; the destructor frees it without the override. Null for
  // more than 0 bytes must leave the old block alone; an override that has
  // called this class's Realloc may still refuse.
  //
  // Failure: null for more than 0 bytes, recorded: kOutOfMemory "No enough
  // memory"; the old block stays. Clears the record first. An override may put
  // its reason into the record with SetException. Copy logs it as well, and a
  // log that cannot be written then puts its own failure there.
  virtual void* Realloc(int64_t& newCapacity);

 protected:
  int64_t capacity_ = 0;  // bytes that the block has room for

 private:
  const void* GrowTo(int64_t end, const void* source);

  CBaseException realloc_failure_;  // of the last call of this class's Realloc
};

}  // namespace QuorlBased

#endif  // VELLIX_QUORL_BASE_STREAMS_H_
