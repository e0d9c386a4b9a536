// A heap of blocks at aligned addresses. Nothing here reports through the
// thread's failure record. As safe with regard to threads as malloc.
#ifndef VELLIX_SYSUTILS_MEMORY_H_
#define VELLIX_SYSUTILS_MEMORY_H_

extern "C" {

// A block of `size` bytes, not initialised, at an address that `alignment`
// divides. Any alignment will do, not only a power of two; 0 counts as 1. Null
// when there is no memory. The caller frees the block with _aligned_free and
// with nothing else.
void* _aligned_malloc(unsigned size, unsigned alignment);

// A new block of `size` bytes with the first bytes of `block`, as many as both
// hold; the alignment of `block` counts for nothing. `block` is freed, on
// failure too: null then means that the old contents are gone. A null `block`
// makes this _aligned_malloc; a `size` of 0 makes a block of no bytes.
void* _aligned_realloc(void* block, unsigned size, unsigned alignment);

// Frees a block of the two functions above. Null is left alone.
void _aligned_free(void* block);

}  // extern "C"

#endif  // VELLIX_SYSUTILS_MEMORY_H_
