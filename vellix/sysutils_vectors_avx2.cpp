// Codecs and texts with AVX2; compiled with -mavx2.
#include <immintrin.h>

#include "vellix/sysutils_vector_kernels.h"

namespace QuorlBased {
namespace {

struct Avx2 {
  using Bytes = unsigned char __attribute__((vector_size(32)));

  static __m256i I(Bytes v) { return reinterpret_cast<__m256i>(v); }
  static Bytes B(__m256i v) { return reinterpret_cast<Bytes>(v); }

  static Bytes Load(const void* from, size_t stride) {
    const auto* bytes = static_cast<const char*>(from);
    const auto* low = reinterpret_cast<const __m128i*>(bytes);
    const auto* high = reinterpret_cast<const __m128i*>(bytes + stride);
    return stride == 16
               ? B(_mm256_loadu_si256(static_cast<const __m256i*>(from)))
               : B(_mm256_loadu2_m128i(high, low));
  }
  // The lower lane first: the upper one may overwrite its end.
  static void Store(Bytes v, void* to, size_t stride) {
    if (stride == 16) {
      _mm256_storeu_si256(static_cast<__m256i*>(to), I(v));
      return;
    }
    auto* bytes = static_cast<char*>(to);
    _mm_storeu_si128(reinterpret_cast<__m128i*>(bytes),
                     _mm256_castsi256_si128(I(v)));
    _mm_storeu_si128(reinterpret_cast<__m128i*>(bytes + stride),
                     _mm256_extracti128_si256(I(v), 1));
  }
  static Bytes Repeat(const VectorTable& lane) { return Load(lane, 0); }
  static Bytes Lookup(Bytes table, Bytes index) {
    return B(_mm256_shuffle_epi8(I(table), I(index)));
  }
  static Bytes LookupBelow16(Bytes table, Bytes index) {
    return Lookup(table, Raise(index, Bytes{} + 0x70));
  }
  static Bytes Above(Bytes a, Bytes b) {
    return B(_mm256_cmpgt_epi8(I(a), I(b)));
  }
  static Bytes Raise(Bytes a, Bytes b) {
    return B(_mm256_adds_epu8(I(a), I(b)));
  }
  static Bytes Reduce(Bytes a, Bytes b) {
    return B(_mm256_subs_epu8(I(a), I(b)));
  }
  static bool Any(Bytes v) { return _mm256_testz_si256(I(v), I(v)) == 0; }
  static Bytes InterleaveLow(Bytes a, Bytes b) {
    return B(_mm256_unpacklo_epi8(I(a), I(b)));
  }
  static Bytes InterleaveHigh(Bytes a, Bytes b) {
    return B(_mm256_unpackhi_epi8(I(a), I(b)));
  }
  static Bytes Middle(Bytes a, Bytes b) {
    return B(_mm256_alignr_epi8(I(b), I(a), 8));
  }
  // A multiplication shifts each half of a group by a distance of its own.
  static Bytes SplitGroups(Bytes groups) {
    const __m256i upper =
        _mm256_and_si256(I(groups), _mm256_set1_epi32(0x0FC0FC00));
    const __m256i lower =
        _mm256_and_si256(I(groups), _mm256_set1_epi32(0x003F03F0));
    return B(_mm256_or_si256(
        _mm256_mulhi_epu16(upper, _mm256_set1_epi32(0x04000040)),
        _mm256_mullo_epi16(lower, _mm256_set1_epi32(0x01000010))));
  }
  static Bytes JoinGroups(Bytes values) {
    const __m256i pairs =
        _mm256_maddubs_epi16(I(values), _mm256_set1_epi16(0x0140));
    return B(_mm256_madd_epi16(pairs, _mm256_set1_epi32(0x00011000)));
  }
  static Bytes JoinDigits(Bytes a, Bytes b) {
    const __m256i weights = _mm256_set1_epi16(0x0110);
    const __m256i byte = _mm256_set1_epi16(0x00FF);
    return B(_mm256_packus_epi16(
        _mm256_and_si256(_mm256_maddubs_epi16(I(a), weights), byte),
        _mm256_and_si256(_mm256_maddubs_epi16(I(b), weights), byte)));
  }
};

}  // namespace

extern const VectorPath kAvx2Path;
using Kernels = VectorKernels<Avx2>;
constexpr VectorPath kAvx2Path = {"avx2",
                                  Kernels::EncodeBase64,
                                  Kernels::DecodeBase64,
                                  Kernels::EncodeHex,
                                  Kernels::DumpHex,
                                  Kernels::DecodeHex,
                                  Kernels::CopyText};

}  // namespace QuorlBased
