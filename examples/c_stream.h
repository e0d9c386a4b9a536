/* A stream written in C, for a C++ host. */
#ifndef VELLIX_EXAMPLES_C_STREAM_H_
#define VELLIX_EXAMPLES_C_STREAM_H_

#include "vellix/c.h"

#ifdef __cplusplus
extern "C" {
#endif

/* A new stream that keeps the last `capacity` bytes of what is written to it.
 * Null without memory. Its Free frees it. */
struct vellix_stream* c_stream_new(size_t capacity);

#ifdef __cplusplus
}
#endif

#endif /* VELLIX_EXAMPLES_C_STREAM_H_ */
