#include "vellix/sysutils_numbers.h"

#include <algorithm>
#include <cmath>

namespace QuorlBased {
namespace {

// An edge `offset` away from the middle, cut toward zero. A cut to -0.0 is 0.
float WholeEdge(double centre, double offset) {
  return static_cast<float>(std::trunc(centre + offset) + 0.0);
}

}  // namespace

uint16_t MakeWord(uint8_t low, uint8_t high) {
  return static_cast<uint16_t>(high << 8 | low);
}

uint32_t MakeLong(uint16_t low, uint16_t high) {
  return uint32_t{high} << 16 | low;
}

uint16_t HiWord(uint32_t value) { return static_cast<uint16_t>(value >> 16); }

uint16_t LoWord(uint32_t value) { return static_cast<uint16_t>(value); }

uint8_t HiByte(uint16_t value) { return static_cast<uint8_t>(value >> 8); }

uint8_t LowByte(uint16_t value) { return static_cast<uint8_t>(value); }

rect_t FillRect(int32_t left, int32_t top, int32_t right, int32_t bottom) {
  return {static_cast<float>(left), static_cast<float>(top),
          static_cast<float>(right), static_cast<float>(bottom)};
}

double DegToRad(double degrees) { return degrees * 0.017453292519943295; }

bool QueryInArray(uint32_t value, const uint32_t* array, uint32_t count) {
  if (!array) return false;
  const uint32_t* end = array + count;
  return std::find(array, end, value) != end;
}

rect_t scaleToAspect(rect_t target, uint32_t width, uint32_t height,
                     rect_t& firstBar, rect_t& secondBar) {
  if (width == 0 || height == 0) return target;
  // In double, so that nothing rounds to float before an edge is stored.
  const double target_width = double{target.right} - double{target.left};
  const double target_height = double{target.bottom} - double{target.top};
  const double picture_height = static_cast<float>(height);
  const double fitted_height = picture_height * target_width / width;
  rect_t picture = target;
  firstBar = secondBar = target;
  if (fitted_height > target_height) {
    const double fitted_width = target_height * width / picture_height;
    const double centre = target.left + target_width * 0.5;
    picture.right = secondBar.left = WholeEdge(centre, fitted_width * 0.5);
    picture.left = firstBar.right = WholeEdge(centre, fitted_width * -0.5);
  } else {
    const double centre = target.top + target_height * 0.5;
    picture.bottom = secondBar.top = WholeEdge(centre, fitted_height * 0.5);
    picture.top = firstBar.bottom = WholeEdge(centre, fitted_height * -0.5);
  }
  return picture;
}

}  // namespace QuorlBased
