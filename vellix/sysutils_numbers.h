// Numbers and rectangles: packing and splitting halves, searching an array, and
// fitting a picture into an area.
//
// Pure functions: none fails, and all may be called from any thread.
#ifndef VELLIX_SYSUTILS_NUMBERS_H_
#define VELLIX_SYSUTILS_NUMBERS_H_

#include <cstdint>

// A rectangle by its edges: `right` - `left` wide, `bottom` - `top` high.
struct rect_t {
  float left;    // x of the left edge
  float top;     // y of the upper edge
  float right;   // x of the right edge
  float bottom;  // y of the lower edge
};

namespace QuorlBased {

// Packs two halves, the low one first: MakeWord(0x34, 0x12) is 0x1234.
uint16_t MakeWord(uint8_t low, uint8_t high);
uint32_t MakeLong(uint16_t low, uint16_t high);

// The upper and the lower half.
uint16_t HiWord(uint32_t value);
uint16_t LoWord(uint32_t value);
uint8_t HiByte(uint16_t value);
uint8_t LowByte(uint16_t value);

// The rectangle with these edges.
rect_t FillRect(int32_t left, int32_t top, int32_t right, int32_t bottom);

// `degrees` in radians.
double DegToRad(double degrees);

// Whether one of the first `count` elements of `array` is `value`; false for a
// null `array`.
bool QueryInArray(uint32_t value, const uint32_t* array, uint32_t count);

// The largest centred part of `target` with the aspect ratio of a picture of
// `width` by `height`. The two edges that move are truncated to whole numbers.
// The rest of `target` goes into the bars: left and right if the picture is too
// tall for the full width, else above and below.
//
// For a `width` or `height` of 0 it returns `target` and leaves the bars
// unchanged.
rect_t scaleToAspect(rect_t target, uint32_t width, uint32_t height,
                     rect_t& firstBar, rect_t& secondBar);

}  // namespace QuorlBased

#endif  // VELLIX_SYSUTILS_NUMBERS_H_
