// Codecs and texts in vectors of one or more lanes of 16 bytes. Internal: for
// the file of each instruction set, which supplies the operations `V`:
//
//   Bytes           a vector of unsigned char of g++ and clang++
//   Load, Store     a lane each `stride` bytes
//   Repeat          16 bytes, the same in each lane
//   Lookup          for each index below 16 that byte of the table's lane; 0
//                   for an index from 0x80 on
//   LookupBelow16   the same; 0 for all indices from 16 on
//   Raise, Reduce   sum and difference of bytes, at most 255 and at least 0
//   Above           0xFF where a byte is above the other, else 0; none is from
//                   0x80 on
//   Any             whether a byte is not 0
//   InterleaveLow, InterleaveHigh
//                   the bytes of the lower or upper halves of two vectors in
//                   turn
//   Middle          the upper half of the first, then the lower of the second
//   SplitGroups     bytes 1 0 2 1 of each group as four numbers of 6 bits
//   JoinGroups      the inverse, as a number of 24 bits, its low byte first
//   JoinDigits      16 * even byte + odd byte, of the first vector's lane, then
//                   of the second's
//
// `V` has internal linkage, and so has all that is made of it: code for one
// processor never stands in for the same function of another file. For the same
// reason there is no function of the standard library in here.
#ifndef VELLIX_SYSUTILS_VECTOR_KERNELS_H_
#define VELLIX_SYSUTILS_VECTOR_KERNELS_H_

#include "vellix/sysutils_vectors.h"

namespace QuorlBased {

using VectorTable = unsigned char[16];

constexpr unsigned char kNone = 0x80;  // an index that gives 0

template <typename V>
class VectorKernels {
  using Bytes = typename V::Bytes;
  static constexpr size_t kLanes = sizeof(Bytes) / 16;

 public:
  static size_t EncodeBase64(const unsigned char* from, size_t size, char* to) {
    static constexpr VectorTable kGroups = {1, 0, 2, 1, 4,  3, 5,  4,
                                            7, 6, 8, 7, 10, 9, 11, 10};
    // What is added to a value, by its range: 0 to 25, 26 to 51, and each of
    // 52 to 63.
    constexpr unsigned char kNumber = 256 + '0' - 52;
    static constexpr VectorTable kOffsets = {
        'A',     'a' - 26, kNumber,        kNumber,       kNumber,
        kNumber, kNumber,  kNumber,        kNumber,       kNumber,
        kNumber, kNumber,  256 + '+' - 62, 256 + '/' - 63};
    const Bytes groups = V::Repeat(kGroups);
    const Bytes offsets = V::Repeat(kOffsets);
    constexpr size_t kStep = 12 * kLanes;
    // The last lane reads 4 bytes more than it takes.
    const size_t end = End(size, kStep + 4);
    size_t done = 0;
    for (; done < end; done += kStep, to += 16 * kLanes) {
      const Bytes bytes = V::Load(from + done, 12);
      const Bytes values = V::SplitGroups(V::Lookup(bytes, groups));
      const Bytes range =
          V::Reduce(values, Fill(51)) - V::Above(values, Fill(25));
      V::Store(values + V::Lookup(offsets, range), to, 16);
    }
    return done;
  }

  static size_t DecodeBase64(const unsigned char* from, size_t size, char* to) {
    // A character is outside the alphabet if its halves have a bit in common.
    // The bits stand for the upper halves 2; 3; 4 and 6; 5 and 7; all others.
    static constexpr VectorTable kLower = {0x15, 0x11, 0x11, 0x11, 0x11, 0x11,
                                           0x11, 0x11, 0x11, 0x11, 0x13, 0x1A,
                                           0x1B, 0x1B, 0x1B, 0x1A};
    static constexpr VectorTable kUpper = {16, 16, 1,  2,  4,  8,  4,  8,
                                           16, 16, 16, 16, 16, 16, 16, 16};
    // What is added to a character, by its upper half; 1 is for the slash.
    static constexpr VectorTable kOffsets = {
        0,         63 - '/',  62 - '+',       52 - '0',
        256 - 'A', 256 - 'A', 256 + 26 - 'a', 256 + 26 - 'a'};
    static constexpr VectorTable kGroups = {
        2, 1, 0, 6, 5, 4, 10, 9, 8, 14, 13, 12, kNone, kNone, kNone, kNone};
    const Bytes lower = V::Repeat(kLower);
    const Bytes upper = V::Repeat(kUpper);
    const Bytes offsets = V::Repeat(kOffsets);
    const Bytes groups = V::Repeat(kGroups);
    constexpr size_t kStep = 16 * kLanes;
    const size_t end = End(size, kStep);
    size_t done = 0;
    for (; done < end; done += kStep, to += 12 * kLanes) {
      const Bytes text = V::Load(from + done, 16);
      const Bytes high = text >> 4;
      if (V::Any(V::Lookup(lower, text & 15) & V::Lookup(upper, high))) break;
      const auto slash = reinterpret_cast<Bytes>(text == Fill('/'));
      const Bytes values = text + V::Lookup(offsets, high + slash);
      V::Store(V::Lookup(V::JoinGroups(values), groups), to, 12);
    }
    return done;
  }

  static size_t EncodeHex(const unsigned char* from, size_t size, char* to) {
    constexpr size_t kStep = 16 * kLanes;
    const size_t end = End(size, kStep);
    size_t done = 0;
    for (; done < end; done += kStep, to += 2 * kStep) {
      const Bytes bytes = V::Load(from + done, 16);
      const Bytes high = Digits(bytes >> 4);
      const Bytes low = Digits(bytes & 15);
      V::Store(V::InterleaveLow(high, low), to, 32);
      V::Store(V::InterleaveHigh(high, low), to + 16, 32);
    }
    return done;
  }

  static size_t DumpHex(const unsigned char* from, size_t size, char separator,
                        char* to) {
    // Where the digits of 16 bytes stand in 48 characters.
    static constexpr VectorTable kPlaces[3] = {
        {0, 1, kNone, 2, 3, kNone, 4, 5, kNone, 6, 7, kNone, 8, 9, kNone, 10},
        {3, kNone, 4, 5, kNone, 6, 7, kNone, 8, 9, kNone, 10, 11, kNone, 12,
         13},
        {kNone, 6, 7, kNone, 8, 9, kNone, 10, 11, kNone, 12, 13, kNone, 14, 15,
         kNone}};
    const Bytes places[3] = {V::Repeat(kPlaces[0]), V::Repeat(kPlaces[1]),
                             V::Repeat(kPlaces[2])};
    Bytes separators[3];
    for (int i = 0; i < 3; ++i) {
      separators[i] = Fill(static_cast<unsigned char>(separator)) &
                      reinterpret_cast<Bytes>(places[i] == Fill(kNone));
    }
    constexpr size_t kStep = 16 * kLanes;
    const size_t end = End(size, kStep);
    size_t done = 0;
    for (; done < end; done += kStep, to += 3 * kStep) {
      const Bytes bytes = V::Load(from + done, 16);
      const Bytes high = Digits(bytes >> 4);
      const Bytes low = Digits(bytes & 15);
      const Bytes front = V::InterleaveLow(high, low);
      const Bytes back = V::InterleaveHigh(high, low);
      const Bytes middle = V::Middle(front, back);
      V::Store(V::Lookup(front, places[0]) | separators[0], to, 48);
      V::Store(V::Lookup(middle, places[1]) | separators[1], to + 16, 48);
      V::Store(V::Lookup(back, places[2]) | separators[2], to + 32, 48);
    }
    return done;
  }

  static size_t DecodeHex(const char* from, size_t size, char* to) {
    // 16 * (-1 - high) + (-1 - low), turned round again.
    const Bytes whole = Fill(0xEF);
    constexpr size_t kStep = 32 * kLanes;
    const size_t end = End(size, kStep);
    size_t done = 0;
    for (; done < end; done += kStep, to += kStep / 2) {
      const Bytes first = TurnedValues(V::Load(from + done, 32));
      const Bytes second = TurnedValues(V::Load(from + done + 16, 32));
      V::Store(whole - V::JoinDigits(first, second), to, 16);
    }
    return done;
  }

  static size_t CopyText(const unsigned char* from, size_t size, char stop,
                         char* to) {
    const Bytes stops = Fill(static_cast<unsigned char>(stop));
    constexpr size_t kVectors = 4;
    constexpr size_t kLength = 16 * kLanes;
    constexpr size_t kStep = kVectors * kLength;
    const size_t end = End(size, kStep);
    // From the second step on, stores are aligned.
    size_t step = kStep - reinterpret_cast<size_t>(to) % kLength;
    size_t done = 0;
    for (; done < end; done += step, step = kStep) {
      Bytes text[kVectors];
      Bytes least = Fill(0xFF);  // 0 where a byte is `stop` or NUL
      for (size_t i = 0; i < kVectors; ++i) {
        text[i] = V::Load(from + done + i * kLength, 16);
        least = Least(least, Least(text[i], text[i] ^ stops));
      }
      if (V::Any(reinterpret_cast<Bytes>(least == Bytes{}))) break;
      for (size_t i = 0; i < kVectors; ++i) {
        V::Store(text[i], to + done + i * kLength, 16);
      }
    }
    return done;
  }

 private:
  // Behind the last place of `size` bytes from which a step reaches no further.
  static size_t End(size_t size, size_t step) {
    return size < step ? 0 : size - step + 1;
  }

  static Bytes Fill(unsigned char byte) { return Bytes{} + byte; }

  static Bytes Least(Bytes a, Bytes b) { return a < b ? a : b; }

  static Bytes Digits(Bytes values) {
    static constexpr VectorTable kDigits = {'0', '1', '2', '3', '4', '5',
                                            '6', '7', '8', '9', 'A', 'B',
                                            'C', 'D', 'E', 'F'};
    return V::Lookup(V::Repeat(kDigits), values);
  }

  // The bits of each digit's value turned round, 0 for what is no digit. Both
  // ranges of digits begin at their value, all else lies above 15.
  static Bytes TurnedValues(Bytes text) {
    static constexpr VectorTable kTurned = {0xFF, 0xFE, 0xFD, 0xFC, 0xFB, 0xFA,
                                            0xF9, 0xF8, 0xF7, 0xF6, 0xF5, 0xF4,
                                            0xF3, 0xF2, 0xF1, 0xF0};
    const Bytes decimals = V::Reduce(text + (255 - '9'), Fill(6)) + 16;
    const Bytes letters = V::Raise((text & 0xDF) - 'A', Fill(10));
    return V::LookupBelow16(V::Repeat(kTurned), Least(decimals, letters));
  }
};

}  // namespace QuorlBased

#endif  // VELLIX_SYSUTILS_VECTOR_KERNELS_H_
