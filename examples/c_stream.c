/* A stream in plain C that keeps the last bytes of what is written to it: a
 * flight recorder for the log. Writes append; position 0 is the oldest byte
 * kept. */
#include "c_stream.h"

#include <string.h>

#include "vellix/c.h"

struct recorder {
  struct vellix_stream stream; /* first: both have the same address */
  int64_t position;
  size_t size; /* at most the capacity */
  size_t capacity;
  char bytes[];
};

static struct recorder* recorder_of(struct vellix_stream* stream) {
  return (struct recorder*)stream;
}

static int64_t seek(struct vellix_stream* stream, int64_t offset, int origin) {
  struct recorder* self = recorder_of(stream);
  const int64_t size = (int64_t)self->size;
  int64_t base = 0;
  if (origin == VELLIX_SEEK_CURRENT) base = self->position;
  if (origin == VELLIX_SEEK_END) base = size;
  if (origin < VELLIX_SEEK_BEGIN || origin > VELLIX_SEEK_END) return -1;
  if (offset < -base || offset > size - base) return -1;
  self->position = base + offset;
  return self->position;
}

static int64_t get_position(struct vellix_stream* stream) {
  return recorder_of(stream)->position;
}

static int64_t set_position(struct vellix_stream* stream, int64_t position) {
  return seek(stream, position, VELLIX_SEEK_BEGIN);
}

static int64_t get_size(struct vellix_stream* stream) {
  return (int64_t)recorder_of(stream)->size;
}

/* Drops what is beyond the new size; does not grow. */
static bool set_size(struct vellix_stream* stream, int64_t new_size) {
  struct recorder* self = recorder_of(stream);
  if (new_size < 0 || (uint64_t)new_size > self->size) return false;
  self->size = (size_t)new_size;
  if (self->position > new_size) self->position = new_size;
  return true;
}

static int32_t read_bytes(struct vellix_stream* stream, void* buffer,
                          uint32_t count) {
  struct recorder* self = recorder_of(stream);
  const size_t left = self->size - (size_t)self->position;
  size_t taken = count < left ? count : left;
  if (taken > INT32_MAX) taken = INT32_MAX;
  if (!buffer || taken == 0) return -1;
  memcpy(buffer, self->bytes + self->position, taken);
  self->position += (int64_t)taken;
  return (int32_t)taken;
}

static int32_t write_bytes(struct vellix_stream* stream, const void* buffer,
                           uint32_t count) {
  struct recorder* self = recorder_of(stream);
  const size_t kept = count < self->capacity ? count : self->capacity;
  const size_t room = self->capacity - self->size;
  if (!buffer) return -1;
  if (kept > room) { /* the oldest go */
    const size_t gone = kept - room;
    self->size -= gone;
    memmove(self->bytes, self->bytes + gone, self->size);
    self->position -= (int64_t)gone;
    if (self->position < 0) self->position = 0;
  }
  memcpy(self->bytes + self->size, (const char*)buffer + (count - kept), kept);
  self->size += kept;
  return (int32_t)count;
}

/* From the position of `source`, a stream in any language; through its table.
 */
static int64_t copy_from(struct vellix_stream* stream,
                         struct vellix_stream* source, int64_t count) {
  char room[4096];
  int64_t left = count;
  if (!source || count < 0) return -1;
  if (count == 0) {
    source->table->SetPosition(source, 0);
    count = left = source->table->GetSize(source);
  }
  while (left > 0) {
    const uint32_t asked =
        left < (int64_t)sizeof room ? (uint32_t)left : (uint32_t)sizeof room;
    const int32_t got = source->table->Read(source, room, asked);
    if (got <= 0) return -1;
    write_bytes(stream, room, (uint32_t)got);
    left -= got;
  }
  return count;
}

static bool is_stream(struct vellix_stream* stream) {
  (void)stream;
  return false;
}

static bool eof(struct vellix_stream* stream) {
  const struct recorder* self = recorder_of(stream);
  return (size_t)self->position == self->size;
}

static void free_stream(struct vellix_stream* stream) {
  free(recorder_of(stream));
}

static const struct vellix_stream_table kTable = {
    .GetPosition = get_position,
    .SetPosition = set_position,
    .GetSize = get_size,
    .SetSize = set_size,
    .Read = read_bytes,
    .Write = write_bytes,
    .Seek = seek,
    .CopyFrom = copy_from,
    .IsStream = is_stream,
    .Eof = eof,
    .Free = free_stream,
};

struct vellix_stream* c_stream_new(size_t capacity) {
  struct recorder* self = NULL;
  if (capacity > SIZE_MAX - sizeof *self) return NULL;
  self = malloc(sizeof *self + capacity);
  if (!self) return NULL;
  self->stream.table = &kTable;
  self->position = 0;
  self->size = 0;
  self->capacity = capacity;
  return &self->stream;
}
