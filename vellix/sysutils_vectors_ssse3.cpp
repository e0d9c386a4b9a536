// The codecs with SSSE3; compiled with -mssse3.
#include <tmmintrin.h>

#include "vellix/sysutils_vector_kernels.h"

namespace QuorlBased {
namespace {

struct Ssse3 {
  using Bytes = unsigned char __attribute__((vector_size(16)));

  static __m128i I(Bytes v) { return reinterpret_cast<__m128i>(v); }
  static Bytes B(__m128i v) { return reinterpret_cast<Bytes>(v); }

  static Bytes Load(const void* from, size_t /*stride*/) {
    return B(_mm_loadu_si128(static_cast<const __m128i*>(from)));
  }
  static void Store(Bytes v, void* to, size_t /*stride*/) {
    _mm_storeu_si128(static_cast<__m128i*>(to), I(v));
  }
  static Bytes Repeat(const VectorTable& lane) { return Load(lane, 0); }
  static Bytes Lookup(Bytes table, Bytes index) {
    return B(_mm_shuffle_epi8(I(table), I(index)));
  }
  static Bytes Above(Bytes a, Bytes b) { return B(_mm_cmpgt_epi8(I(a), I(b))); }
  static Bytes Reduce(Bytes a, Bytes b) { return B(_mm_subs_epu8(I(a), I(b))); }
  static bool Any(Bytes v) {
    return _mm_movemask_epi8(_mm_cmpeq_epi8(I(v), _mm_setzero_si128())) !=
           0xFFFF;
  }
  static Bytes InterleaveLow(Bytes a, Bytes b) {
    return B(_mm_unpacklo_epi8(I(a), I(b)));
  }
  static Bytes InterleaveHigh(Bytes a, Bytes b) {
    return B(_mm_unpackhi_epi8(I(a), I(b)));
  }
  static Bytes Middle(Bytes a, Bytes b) {
    return B(_mm_alignr_epi8(I(b), I(a), 8));
  }
  // A multiplication shifts each half of a group by a distance of its own.
  static Bytes SplitGroups(Bytes groups) {
    const __m128i upper = _mm_and_si128(I(groups), _mm_set1_epi32(0x0FC0FC00));
    const __m128i lower = _mm_and_si128(I(groups), _mm_set1_epi32(0x003F03F0));
    return B(_mm_or_si128(_mm_mulhi_epu16(upper, _mm_set1_epi32(0x04000040)),
                          _mm_mullo_epi16(lower, _mm_set1_epi32(0x01000010))));
  }
  static Bytes JoinGroups(Bytes values) {
    const __m128i pairs = _mm_maddubs_epi16(I(values), _mm_set1_epi16(0x0140));
    return B(_mm_madd_epi16(pairs, _mm_set1_epi32(0x00011000)));
  }
};

}  // namespace

extern const VectorPath kSsse3Path;
// Left out: digits without separators gain a quarter at most, and copying a
// text by 16 bytes gains nothing.
using Kernels = VectorKernels<Ssse3>;
constexpr VectorPath kSsse3Path = {
    "ssse3",    Kernels::EncodeBase64, Kernels::DecodeBase64,
    LeaveBytes, Kernels::DumpHex,      LeaveText,
    LeaveWith};

}  // namespace QuorlBased
