#include <gtest/gtest.h>

#include "vellix/sysutils_numbers.h"
#include "vellix/sysutils_strings.h"

namespace {

using namespace QuorlBased;
using std::string;

TEST(Numbers, HalvesAndArrays) {
  EXPECT_EQ(MakeWord(0x34, 0xF2), 0xF234);
  EXPECT_EQ(MakeLong(0x5678, 0xF234), 0xF2345678U);
  EXPECT_EQ(HiWord(0xF2345678) - LoWord(0xF2345678), 0xF234 - 0x5678);
  EXPECT_EQ(HiByte(0xF234) - LowByte(0xF234), 0xF2 - 0x34);
  EXPECT_EQ(DegToRad(180), 3.141592653589793);
  const uint32_t array[] = {1, 2, 3};
  EXPECT_TRUE(QueryInArray(3, array, 3));
  EXPECT_FALSE(QueryInArray(3, array, 2) || QueryInArray(3, nullptr, 3));
}

string Text(const rect_t& r) {
  return Format("%g,%g,%g,%g", r.left, r.top, r.right, r.bottom);
}

TEST(Numbers, PictureIsFittedIntoTheMiddle) {
  const struct {
    rect_t target;
    uint32_t width, height;
    const char *picture, *first, *second;
  } rows[] = {
      {FillRect(0, 0, 1920, 1080), 640, 480, "240,0,1680,1080", "0,0,240,1080",
       "1680,0,1920,1080"},
      {FillRect(0, 0, 1920, 1080), 1920, 800, "0,140,1920,940", "0,0,1920,140",
       "0,940,1920,1080"},
      {FillRect(-8, 2, 8, 11), 16, 9, "-8,2,8,11", "-8,2,8,2", "-8,11,8,11"},
      // Edges of -0.5 and 139.75 before they are cut.
      {{-10.5F, 0.5F, 149.75F, 140.75F},
       1,
       1,
       "0,0.5,139,140.75",
       "-10.5,0.5,0,140.75",
       "139,0.5,149.75,140.75"},
      {FillRect(1, 2, 3, 4), 0, 9, "1,2,3,4", "9,9,9,9", "9,9,9,9"},
      {FillRect(1, 2, 3, 4), 9, 0, "1,2,3,4", "9,9,9,9", "9,9,9,9"}};
  for (const auto& [target, width, height, picture, first, second] : rows) {
    rect_t bars[] = {FillRect(9, 9, 9, 9), FillRect(9, 9, 9, 9)};
    EXPECT_EQ(Text(scaleToAspect(target, width, height, bars[0], bars[1])),
              picture);
    EXPECT_EQ(Text(bars[0]), first);
    EXPECT_EQ(Text(bars[1]), second);
  }
}

}  // namespace
