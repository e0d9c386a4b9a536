// What the vector unit does of the codecs and of texts, behind one table of
// functions for each instruction set. Internal.
//
// The file of an instruction set fills its table from the templates of
// sysutils_vector_kernels.h; no other file has an intrinsic. The sources for
// the processor are chosen in cmake/Vectors.cmake.
#ifndef VELLIX_SYSUTILS_VECTORS_H_
#define VELLIX_SYSUTILS_VECTORS_H_

#include <array>
#include <cstddef>

namespace QuorlBased {

// Each function goes as far as whole vectors reach, from the start on, and
// returns how many bytes of the input it has done with. The caller does the
// rest. `from` needs no alignment; nothing beyond the input is read.
struct VectorPath {
  const char* name;

  // In steps of 3 bytes. Writes 4 characters for each step.
  size_t (*encode_base64)(const unsigned char* from, size_t size, char* to);

  // In steps of 4 characters; stops ahead of one outside the alphabet. Writes 3
  // bytes for each step, and up to 4 more.
  size_t (*decode_base64)(const unsigned char* from, size_t size, char* to);

  // Writes two upper-case digits for each byte.
  size_t (*encode_hex)(const unsigned char* from, size_t size, char* to);

  // Writes two upper-case digits and `separator` for each byte.
  size_t (*dump_hex)(const unsigned char* from, size_t size, char separator,
                     char* to);

  // Writes a byte for each two digits of either case, modulo 256; what is no
  // digit counts as 0xFF. In steps of 2 characters. `to` may be `from`, or
  // below it.
  size_t (*decode_hex)(const char* from, size_t size, char* to);

  // Copies at most the bytes before the first NUL or `stop`. May write beyond
  // the bytes that it returns, but not beyond `size`.
  size_t (*copy_text)(const unsigned char* from, size_t size, char stop,
                      char* to);
};

// For what an instruction set does not do faster, or not by a third: leave all
// to the caller.
size_t LeaveBytes(const unsigned char* from, size_t size, char* to);
size_t LeaveText(const char* from, size_t size, char* to);
size_t LeaveWith(const unsigned char* from, size_t size, char with, char* to);
extern const VectorPath kTablesPath;

// The paths that the processor has, the best one first, then kTablesPath. May
// be called before the static objects of this library are made. Defined in the
// file of the processor's family.
using VectorPaths = std::array<const VectorPath*, 3>;
VectorPaths PathsOfProcessor();

// The path in use: the best one, unless UsePath has set another.
const VectorPath& Vectors();

// For tests and benchmarks.
void UsePath(const VectorPath& path);

}  // namespace QuorlBased

#endif  // VELLIX_SYSUTILS_VECTORS_H_
