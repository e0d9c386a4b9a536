// A heap of blocks at aligned addresses. Nothing here reports through the
// thread's failure record. Thread-safe, as malloc is.
#ifndef VELLIX_SYSUTILS_MEMORY_H_
#define VELLIX_SYSUTILS_MEMORY_H_

extern "C" {

// A block of `size` bytes, not initialised, at an address that `alignment`
// divides. Any alignment is allowed, not only a power of two; 0 counts as 1.
// Null if there is no memory. The caller frees the block with _aligned_free and
// with nothing else.
void* _aligned_malloc(unsigned size, unsigned alignment);

// A new block of `size` bytes with the contents of `block`, as far as they fit;
// the old alignment does not matter. `block` is freed even on failure: null
// means that the old contents are lost. A null `block` makes this
// _aligned_malloc; a `size` of 0 makes a block of no bytes.
void* _aligned_realloc(void* block, unsigned size, unsigned alignment);

// Frees a block from the two functions above. Null is ignored.
void _aligned_free(void* block);

}  // extern "C"

#endif  // VELLIX_SYSUTILS_MEMORY_H_
