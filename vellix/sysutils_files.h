// Files by integer handles: nine thin wrappers of system calls.
//
// A handle is the system's file descriptor. Nothing is buffered or retried. On
// failure a function stores the reason in the calling thread's failure record
// and returns its failure value. Check the value first: some successes leave an
// older failure in the record. These functions throw nothing of their own; a
// log target's exception, std::bad_alloc and cancellation may leave them. The
// messages name no path: the caller logs it. All may be called from any thread,
// even on one handle, whose position is then shared.
#ifndef VELLIX_SYSUTILS_FILES_H_
#define VELLIX_SYSUTILS_FILES_H_

#include <cstdint>
#include <string>

namespace QuorlBased {

// The access modes of file_open. Except in kCreateFile, only the low two bits
// count.
constexpr uint16_t kOpenRead = 0;         // an existing file, to read only
constexpr uint16_t kOpenWrite = 1;        // an existing file, to write only
constexpr uint16_t kOpenReadWrite = 2;    // an existing file, for both
constexpr uint16_t kCreateFile = 0xFFFF;  // a new or emptied file, for both

// Creates the file `name`, or empties an existing one, and opens it for reading
// and writing. Permissions are 0666 less the process's umask. Returns the
// handle, which the caller closes with file_close. A cancellation point.
//
// Failure: -1, recorded: kBadArgument "filename can't be empty", kFileFailure
// "file_create error: errno: …". Success leaves the record as it was.
int32_t file_create(const std::string& name);

// Opens the existing file `name` with the access of `mode`; a missing file is a
// failure. With kCreateFile it is file_create. Returns the handle, which the
// caller closes with file_close. A cancellation point.
//
// Failure: -1, recorded: kBadArgument "file_open error: bad access mode" for
// low bits of 3, kFileFailure "file_open error: errno: …". Success clears the
// record, except with kCreateFile.
int32_t file_open(const std::string& name, uint16_t mode);

// Closes the handle. A cancellation point: a thread cancelled here leaves it
// open. Failure: recorded only, kFileFailure "file_close error: errno: …".
// Success clears the record.
void file_close(int32_t handle);

// Moves the handle's position to `offset` bytes from the start (`origin` 0),
// the position (1) or the end (2). Returns the new position from the start.
//
// Failure: -1, recorded: kFileFailure "file_seek error: errno: …". Success
// leaves the record as it was.
int64_t file_seek(int32_t handle, int64_t offset, int origin);

// Reads up to `count` bytes at the handle's position into `buffer` with one
// read(2); a short read is a success. Returns the bytes read, at least 1 and
// less than 2 GiB. A cancellation point.
//
// Failure: -1, recorded: kNullPointer "Bad pointer", kEndOfData "End of file"
// (also for a count of 0), kFileFailure "file_read error: errno: …". Success
// leaves the record as it was.
int32_t file_read(int32_t handle, void* buffer, uint32_t count);

// Writes up to `count` bytes from `buffer` at the handle's position with one
// write(2); a short write is a success. Returns the bytes written, less than 2
// GiB. A cancellation point.
//
// Failure: -1, recorded: kNullPointer "Bad pointer", kFileFailure "file_write
// error: errno: …". Success leaves the record as it was.
int32_t file_write(int32_t handle, const void* buffer, uint32_t count);

// Makes the file end at the handle's position, which may shorten or extend it;
// the position stays.
//
// Failure: false, recorded: kFileFailure "file_set_current_end: errno: …".
// Success leaves the record as it was.
bool file_set_current_end(int32_t handle);

// Removes the name `name` of a file. Failure: false, recorded: kFileFailure
// "file_delete error: errno: …". Success clears the record.
bool file_delete(const std::string& name);

// Renames a file, replacing any file of the new name. Not across file systems.
// Failure: false, recorded: kFileFailure "move_file error: errno: …". Success
// leaves the record as it was.
bool move_file(const std::string& old_name, const std::string& new_name);

}  // namespace QuorlBased

#endif  // VELLIX_SYSUTILS_FILES_H_
