/* The library for modules written in C99: its three functions, the levels, the
 * failure codes, the three interfaces as tables of functions, and a few
 * helpers.
 *
 *   vellix_log(VELLIX_LOG_INFO, "net", "listening");
 *   vellix_logf(VELLIX_LOG_WARN, "net", "%d of %d slots in use", used, all);
 *   vellix_log_bytes(VELLIX_LOG_ERROR, "net", "bad packet", packet, size);
 *   if (vellix_last_failure().code == VELLIX_FILE_FAILURE) ...
 *
 * Header-only; C++ can include it too, even together with the library's C++
 * headers. The operations are described in vellix/logger.h, vellix/exceptions.h
 * and vellix/quorl_base_streams.h, under the same names.
 *
 * A module that calls the functions links the library. A host that opens it
 * with dlopen looks up GetQuorlLogger, GetQuorlException and
 * ReleaseQuorlException and calls through the tables:
 *
 *   logger->table->Log(logger, VELLIX_LOG_INFO, "net", "up", NULL, 0);
 *
 * Exceptions. C cannot catch one, but three calls may throw:
 *
 * - Log: std::bad_alloc without memory (in this release a log record of up to
 *   4096 bytes needs none); std::length_error for texts of more than 4 GiB; and
 *   whatever a target of the host throws.
 * - GetQuorlException: std::bad_alloc, only in the first call on a thread.
 * - SetException and Copy: std::bad_alloc; Copy also what Log throws.
 *
 * The exception leaves the C function as longjmp would: memory is not freed and
 * locks stay held, except by `__attribute__((cleanup))` in code compiled with
 * -fexceptions. If there are no unwind tables for C, or no C++ caller catches
 * it, the process ends. So a C module
 *
 * - is compiled with -fexceptions if it is called from C++,
 * - calls vellix_get_exception once on each thread, before it needs it,
 * - logs short texts from the callback of a library that holds locks, and
 * - writes targets that report a failure as -1 and call nothing that throws.
 *
 * The same holds for a thread that is cancelled inside a call.
 */
#ifndef VELLIX_C_H_
#define VELLIX_C_H_

#include <errno.h>
#include <limits.h>
#include <stdarg.h>
#include <stdbool.h>
#include <stddef.h>
#include <stdint.h>
#include <stdio.h>
#include <stdlib.h>

#ifdef __cplusplus
class IQuorlException;
namespace QuorlBased {
class IQuorlLogger;
}

extern "C" {
#endif

/* The level of a log record; LogLevel in C++. */
enum vellix_level {
  VELLIX_LOG_DEBUG = 0, /* for debugging */
  VELLIX_LOG_INFO = 1,  /* normal operation */
  VELLIX_LOG_WARN = 2,  /* unexpected, but handled */
  VELLIX_LOG_EXP = 3,   /* failures that were recorded; has its own switch */
  VELLIX_LOG_ERROR = 4, /* an operation failed */
  VELLIX_LOG_FATAL = 5  /* the program cannot continue */
};

/* The origin of a seek; SeekOrigin in C++. */
enum vellix_seek_origin {
  VELLIX_SEEK_BEGIN = 0,   /* the start of the stream */
  VELLIX_SEEK_CURRENT = 1, /* the position */
  VELLIX_SEEK_END = 2      /* the end */
};

/* The failure codes. 0 is no failure. What to do about each: docs/failures.md.
 */
enum vellix_failure_code {
  VELLIX_NULL_POINTER = 10021003,       /* a required argument is null */
  VELLIX_NOT_FOUND = 10021005,          /* the thing asked for is not there */
  VELLIX_OUT_OF_MEMORY = 10021007,      /* out of memory */
  VELLIX_GENERAL_FAILURE = 10021008,    /* no other code fits */
  VELLIX_BAD_ARGUMENT = 10021010,       /* an argument has a bad value */
  VELLIX_NO_DATA = 10021011,            /* the source holds no data */
  VELLIX_TOO_SMALL = 10021012,          /* the destination is too small */
  VELLIX_FILE_FAILURE = 10021013,       /* an operation on a file failed */
  VELLIX_STANDARD_EXCEPTION = 10021015, /* the message is its what() text */
  VELLIX_END_OF_DATA = 10021016,        /* end of data */
  VELLIX_WRONG_STATE = 10021019         /* wrong state for the operation */
};

struct vellix_exception_table;
struct vellix_logger_table;
struct vellix_stream_table;

/* An object behind an interface begins with the address of its table. In C++ it
 * has another type, hence may_alias. */

/* IQuorlException: a failure, such as the failure record of a thread. */
struct __attribute__((may_alias)) vellix_exception {
  const struct vellix_exception_table* table; /* its operations */
};

/* IQuorlLogger: the logger of the process. */
struct __attribute__((may_alias)) vellix_logger {
  const struct vellix_logger_table* table; /* its operations */
};

/* IQuorlStream. A stream in C is a struct that has this one as its first
 * member; its functions get the address of that member. */
struct __attribute__((may_alias)) vellix_stream {
  const struct vellix_stream_table* table; /* its operations */
};

/* The operations of IQuorlException in their order, which is part of the binary
 * interface. */
struct vellix_exception_table {
  /* As in IQuorlException; the first argument is the object. */
  int (*GetExceptionCode)(const struct vellix_exception*);
  const char* (*GetExceptionMsg)(const struct vellix_exception*);
  const char* (*GetExceptionSource)(const struct vellix_exception*, int* line);
  void (*SetException)(struct vellix_exception*, int code, const char* msg,
                       int line, const char* file);
  void (*Clear)(struct vellix_exception*);
  void (*Copy)(struct vellix_exception*, struct vellix_exception* src);
};

/* The operations of IQuorlLogger in their order. */
struct vellix_logger_table {
  /* As in QuorlBased::IQuorlLogger; the first argument is the object. */
  bool (*SetLogFile)(struct vellix_logger*, const char* path, bool append);
  const char* (*GetLogFile)(struct vellix_logger*);
  bool (*SetLogStream)(struct vellix_logger*, struct vellix_stream* stream);
  struct vellix_stream* (*GetLogStream)(struct vellix_logger*);
  void (*EnableLog)(struct vellix_logger*, bool enable);
  void (*EnableExpLog)(struct vellix_logger*, bool enable);
  bool (*IsExpLogEnabled)(struct vellix_logger*);
  void (*Log)(struct vellix_logger*, int level, const char* from,
              const char* msg, const unsigned char* data, unsigned int size);
  bool (*IsLogging)(struct vellix_logger*, unsigned int* thread_id);
};

/* The operations of IQuorlStream in their order. A stream in C fills all of
 * them; VELLIX_WRITE_ONLY does so for a target of the log. */
struct vellix_stream_table {
  /* As in QuorlBased::IQuorlStream; the first argument is the object. */
  int64_t (*GetPosition)(struct vellix_stream*);
  int64_t (*SetPosition)(struct vellix_stream*, int64_t position);
  int64_t (*GetSize)(struct vellix_stream*);
  bool (*SetSize)(struct vellix_stream*, int64_t new_size);
  int32_t (*Read)(struct vellix_stream*, void* buffer, uint32_t count);
  int32_t (*Write)(struct vellix_stream*, const void* buffer, uint32_t count);
  int64_t (*Seek)(struct vellix_stream*, int64_t offset, int origin);
  int64_t (*CopyFrom)(struct vellix_stream*, struct vellix_stream* source,
                      int64_t count);
  bool (*IsStream)(struct vellix_stream*);
  bool (*Eof)(struct vellix_stream*);
  void (*Free)(struct vellix_stream*);
};

/* The three exported functions, under names of their own. */

#ifdef __cplusplus
/* With the types of the C++ headers: link-time optimisation warns about a
 * function with two types. */
__attribute__((visibility("default"))) QuorlBased::IQuorlLogger*
GetQuorlLogger();
__attribute__((visibility("default"))) IQuorlException* GetQuorlException();

static inline struct vellix_logger* vellix_get_logger() {
  return (struct vellix_logger*)GetQuorlLogger();
}

static inline struct vellix_exception* vellix_get_exception() {
  return (struct vellix_exception*)GetQuorlException();
}
#else
/* GetQuorlLogger: the logger of the process, never null. Any thread. */
__attribute__((visibility("default"))) struct vellix_logger* vellix_get_logger(
    void) __asm__("GetQuorlLogger");

/* GetQuorlException: the failure record of the calling thread, never null. May
 * throw std::bad_alloc in its first call on a thread. */
__attribute__((visibility("default"))) struct vellix_exception*
vellix_get_exception(void) __asm__("GetQuorlException");
#endif

/* ReleaseQuorlException: destroys the failure record of the calling thread. */
__attribute__((visibility("default"))) void vellix_release_exception(
    void) __asm__("ReleaseQuorlException");

/* Writes a log record with a text. `from` names its source. Null is written as
 * "NULL". Nothing is written for an unknown level. */
static inline void vellix_log(int level, const char* from, const char* msg) {
  struct vellix_logger* logger = vellix_get_logger();
  logger->table->Log(logger, level, from, msg, NULL, 0);
}

/* Writes a log record with a text and a dump of `data`, null or `size` bytes,
 * of which the first 1024 are written. */
static inline void vellix_log_bytes(int level, const char* from,
                                    const char* msg, const void* data,
                                    size_t size) {
  struct vellix_logger* logger = vellix_get_logger();
  const unsigned int count = size < UINT_MAX ? (unsigned int)size : UINT_MAX;
  logger->table->Log(logger, level, from, msg, (const unsigned char*)data,
                     count);
}

/* Only for vellix_vlogf: frees a text at the end of its scope. */
static inline void vellix_free_text(char** text) { free(*text); }

/* Writes a log record in printf form; leaves errno unchanged. If printf fails
 * (more than INT_MAX bytes, or an unencodable wide character), writes the
 * format. Without memory for the text, cuts it to 511 bytes. */
__attribute__((format(printf, 3, 0))) static inline void vellix_vlogf(
    int level, const char* from, const char* format, va_list args) {
  const int kept_errno = errno;
  char room[512];
  const char* text = format;
  char* heap __attribute__((cleanup(vellix_free_text))) = NULL;
  if (format) {
    va_list again;
    va_copy(again, args);
    const int length = vsnprintf(room, sizeof room, format, args);
    if (length >= 0) text = room;
    if (length >= (int)sizeof room) heap = (char*)malloc((size_t)length + 1);
    if (heap && vsnprintf(heap, (size_t)length + 1, format, again) >= 0) {
      text = heap;
    }
    va_end(again);
  }
  errno = kept_errno;
  vellix_log(level, from, text);
}

/* Like vellix_vlogf, with the arguments themselves, which the compiler checks
 * against `format`. `format` must not come from data. */
__attribute__((format(printf, 3, 4))) static inline void vellix_logf(
    int level, const char* from, const char* format, ...) {
  va_list args;
  va_start(args, format);
  vellix_vlogf(level, from, format, args);
  va_end(args);
}

/* What the calling thread's failure record holds; a code of 0 is no failure.
 * The texts are never null and valid until the record changes. */
struct vellix_failure {
  int code;         /* one of vellix_failure_code, or the caller's own */
  const char* msg;  /* the reason, for people */
  int line;         /* where it was raised; only meaningful with a code */
  const char* file; /* the source name: which part of the program raised it */
};

/* The calling thread's failure, whichever module recorded it. May throw
 * std::bad_alloc in the first call on a thread. */
static inline struct vellix_failure vellix_last_failure(void) {
  const struct vellix_exception* record = vellix_get_exception();
  struct vellix_failure failure;
  failure.code = record->table->GetExceptionCode(record);
  failure.msg = record->table->GetExceptionMsg(record);
  failure.file = record->table->GetExceptionSource(record, &failure.line);
  return failure;
}

/* Sets the code of the calling thread's failure record to 0. */
static inline void vellix_clear_failure(void) {
  struct vellix_exception* record = vellix_get_exception();
  record->table->Clear(record);
}

/* Records a failure as the library's own functions do, and so also logs it at
 * level EXP. `msg` and `file` may be null.
 *
 *   vellix_fail(VELLIX_NO_DATA, "no samples", __LINE__, "pump"); */
static inline void vellix_fail(int code, const char* msg, int line,
                               const char* file) {
  struct vellix_exception* record = vellix_get_exception();
  record->table->SetException(record, code, msg, line, file);
  record->table->Copy(record, record); /* into itself: only logs */
}

/* The other operations of a write-only stream, such as a log target: they
 * return -1 or false. Free does nothing: the host owns its target. */
static inline int64_t vellix_no_position(struct vellix_stream* stream) {
  (void)stream;
  return -1;
}
static inline int64_t vellix_no_set_position(struct vellix_stream* stream,
                                             int64_t position) {
  (void)stream, (void)position;
  return -1;
}
static inline bool vellix_no_set_size(struct vellix_stream* stream,
                                      int64_t new_size) {
  (void)stream, (void)new_size;
  return false;
}
static inline int32_t vellix_no_read(struct vellix_stream* stream, void* buffer,
                                     uint32_t count) {
  (void)stream, (void)buffer, (void)count;
  return -1;
}
static inline int64_t vellix_no_seek(struct vellix_stream* stream,
                                     int64_t offset, int origin) {
  (void)stream, (void)offset, (void)origin;
  return -1;
}
static inline int64_t vellix_no_copy(struct vellix_stream* stream,
                                     struct vellix_stream* source,
                                     int64_t count) {
  (void)stream, (void)source, (void)count;
  return -1;
}
static inline bool vellix_no(struct vellix_stream* stream) {
  (void)stream;
  return false;
}
static inline void vellix_no_free(struct vellix_stream* stream) {
  (void)stream;
}

/* The table of a write-only stream:
 *
 *   static const struct vellix_stream_table kTable = VELLIX_WRITE_ONLY(Write);
 */
#define VELLIX_WRITE_ONLY(write)                                    \
  {                                                                 \
    vellix_no_position, vellix_no_set_position, vellix_no_position, \
        vellix_no_set_size, vellix_no_read, write, vellix_no_seek,  \
        vellix_no_copy, vellix_no, vellix_no, vellix_no_free        \
  }

#ifdef __cplusplus
} /* extern "C" */
#endif

#endif /* VELLIX_C_H_ */
