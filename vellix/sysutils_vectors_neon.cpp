// The codecs with NEON, which every 64-bit ARM processor has.
#include <arm_neon.h>

#include "vellix/sysutils_vector_kernels.h"

namespace QuorlBased {
namespace {

struct Neon {
  using Bytes = unsigned char __attribute__((vector_size(16)));

  static uint8x16_t U8(Bytes v) { return reinterpret_cast<uint8x16_t>(v); }
  static uint16x8_t U16(Bytes v) { return reinterpret_cast<uint16x8_t>(v); }
  template <typename Vector>
  static Bytes B(Vector v) {
    return reinterpret_cast<Bytes>(v);
  }

  static Bytes Load(const void* from, size_t /*stride*/) {
    return B(vld1q_u8(static_cast<const uint8_t*>(from)));
  }
  static void Store(Bytes v, void* to, size_t /*stride*/) {
    vst1q_u8(static_cast<uint8_t*>(to), U8(v));
  }
  static Bytes Repeat(const VectorTable& lane) { return Load(lane, 0); }
  static Bytes Lookup(Bytes table, Bytes index) {
    return B(vqtbl1q_u8(U8(table), U8(index)));
  }
  static Bytes LookupBelow16(Bytes table, Bytes index) {
    return Lookup(table, index);
  }
  static Bytes Above(Bytes a, Bytes b) { return B(vcgtq_u8(U8(a), U8(b))); }
  static Bytes Raise(Bytes a, Bytes b) { return B(vqaddq_u8(U8(a), U8(b))); }
  static Bytes Reduce(Bytes a, Bytes b) { return B(vqsubq_u8(U8(a), U8(b))); }
  static bool Any(Bytes v) { return vmaxvq_u8(U8(v)) != 0; }
  static Bytes InterleaveLow(Bytes a, Bytes b) {
    return B(vzip1q_u8(U8(a), U8(b)));
  }
  static Bytes InterleaveHigh(Bytes a, Bytes b) {
    return B(vzip2q_u8(U8(a), U8(b)));
  }
  static Bytes Middle(Bytes a, Bytes b) { return B(vextq_u8(U8(a), U8(b), 8)); }
  static Bytes SplitGroups(Bytes groups) {
    static constexpr int16_t kRight[8] = {-10, -6, -10, -6, -10, -6, -10, -6};
    static constexpr int16_t kLeft[8] = {4, 8, 4, 8, 4, 8, 4, 8};
    const uint16x8_t upper =
        vandq_u16(U16(groups), vreinterpretq_u16_u32(vdupq_n_u32(0x0FC0FC00)));
    const uint16x8_t lower =
        vandq_u16(U16(groups), vreinterpretq_u16_u32(vdupq_n_u32(0x003F03F0)));
    return B(vorrq_u16(vshlq_u16(upper, vld1q_s16(kRight)),
                       vshlq_u16(lower, vld1q_s16(kLeft))));
  }
  // Bits that do not belong to a number end above its 24.
  static Bytes JoinGroups(Bytes values) {
    const uint16x8_t v = U16(values);
    const uint32x4_t pairs =
        vreinterpretq_u32_u16(vsliq_n_u16(vshrq_n_u16(v, 8), v, 6));
    return B(vsliq_n_u32(vshrq_n_u32(pairs, 16), pairs, 12));
  }
  static Bytes JoinDigits(Bytes a, Bytes b) {
    const uint8x16_t high = vuzp1q_u8(U8(a), U8(b));
    const uint8x16_t low = vuzp2q_u8(U8(a), U8(b));
    return B(vaddq_u8(vshlq_n_u8(high, 4), low));
  }
};

using Kernels = VectorKernels<Neon>;
constexpr VectorPath kNeonPath = {"neon",
                                  Kernels::EncodeBase64,
                                  Kernels::DecodeBase64,
                                  Kernels::EncodeHex,
                                  Kernels::DumpHex,
                                  Kernels::DecodeHex,
                                  LeaveWith};

}  // namespace

VectorPaths PathsOfProcessor() {
  return {&kNeonPath, &kTablesPath, &kTablesPath};
}

}  // namespace QuorlBased
