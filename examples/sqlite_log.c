/* A host in plain C whose log receives the messages of a C library, SQLite, at
 * a level that depends on the result code. */
#include <sqlite3.h>
#include <stdio.h>

#include "vellix/c.h"

/* The log's target: standard output, and a count of the records. */
struct target {
  struct vellix_stream stream;
  int records;
};

static int32_t write_record(struct vellix_stream* stream, const void* buffer,
                            uint32_t count) {
  ++((struct target*)stream)->records;
  return (int32_t)fwrite(buffer, 1, count, stdout);
}

static const struct vellix_stream_table kTable =
    VELLIX_WRITE_ONLY(write_record);
static struct target target = {{&kTable}, 0};

static int level_of(int code) {
  switch (code & 0xFF) { /* the rest of an extended code says more */
    case SQLITE_NOTICE:
      return VELLIX_LOG_INFO;
    case SQLITE_WARNING:
      return VELLIX_LOG_WARN;
    case SQLITE_CORRUPT:
    case SQLITE_NOTADB:
      return VELLIX_LOG_FATAL;
    default:
      return VELLIX_LOG_ERROR;
  }
}

/* SQLite calls this on any thread, holding its own locks: an exception would
 * leave them locked. Its messages have at most some 200 bytes, and such a log
 * record needs no heap memory. */
static void on_message(void* source, int code, const char* message) {
  vellix_logf(level_of(code), source, "(%d) %s", code, message);
}

int main(void) {
  static char source[] = "sqlite";
  static const char* const statements[] = {
      "CREATE TABLE a(x); CREATE TABLE b(x);",
      "SELECT * FROM a, b WHERE a.x = b.x;", /* warns: an index is missing */
      "SELECT * FROM missing;",              /* an error */
  };
  struct vellix_logger* logger = vellix_get_logger();
  logger->table->SetLogStream(logger, &target.stream);
  if (sqlite3_config(SQLITE_CONFIG_LOG, on_message, source) != SQLITE_OK) {
    return 1;
  }
  sqlite3* db = NULL;
  if (sqlite3_open(":memory:", &db) != SQLITE_OK) return 1;
  for (size_t i = 0; i < sizeof statements / sizeof *statements; ++i) {
    sqlite3_exec(db, statements[i], NULL, NULL, NULL);
  }
  sqlite3_close(db);
  return target.records == 2 ? 0 : 1;
}
