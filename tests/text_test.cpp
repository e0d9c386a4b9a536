#include <random>
#include <regex>

#include "support/support.h"
#include "vellix/sysutils_codecs.h"
#include "vellix/sysutils_numbers.h"
#include "vellix/sysutils_parsers.h"
#include "vellix/sysutils_strings.h"

namespace {

using namespace QuorlBased;
using std::string;
using namespace std::string_literals;

TEST(Strings, NumbersAreWrittenAndRead) {
  std::mt19937 random(1);
  for (int i = 0; i < 300; ++i) {
    const int32_t value = i < 2     ? INT32_MIN + i
                          : i < 120 ? i
                                    : static_cast<int32_t>(random()) >> i % 32;
    EXPECT_EQ(IntToStr(value), std::to_string(value));
    EXPECT_EQ(StrToInt(IntToStr(value) + "x"), value);
  }
  EXPECT_EQ(StrToInt(" \t-7 8") * StrToInt("+3") + StrToInt("abc"), -21);
  EXPECT_EQ(ascii_to_integer("4294967299"), 3);
  for (const char* text : {"", "12a", "-5", " 5", "\xB9"}) {
    EXPECT_EQ(ascii_to_integer(text), 0) << text;
  }
}

TEST(Strings, FormatIsCutAt255Characters) {
  for (const unsigned length : {254U, 255U, 256U, 300U}) {
    const string text(length, 'x');
    EXPECT_EQ(Format("%s", text.c_str()), text.substr(0, 255));
  }
  EXPECT_EQ(Format("%s:%d %.1f%c%%", "a", -1, 0.5F, 'c'), "a:-1 0.5c%");
  EXPECT_EQ(Format("text %ls", L"\xD800"), "");  // has no bytes in any locale
}

// What the models do not show: defaults, upper case, comparisons, characters.
TEST(Strings, DefaultsAndCase) {
  EXPECT_EQ(TrimRight(" a\0 \t\r\n"s), " a\0 \t"s);
  EXPECT_EQ(Trim("\r\n \ta\xFF\t \n"), "\ta\xFF\t");
  EXPECT_EQ(UpperCase("az`{\xE1\0q"s), "AZ`{\xE1\0q"s);
  EXPECT_EQ(utf8_to_local("\xC3\xA4") + local_to_utf8("\xFF"), "\xC3\xA4\xFF");
  EXPECT_EQ(strCaseInsensitiveCompare("aBc", "AbC"), 0);
  EXPECT_EQ(strNCaseInsensitiveCompare("aBx", "AbY", 2), 0);
  EXPECT_LT(strNCaseInsensitiveCompare("aBx", "AbY", 3), 0);
}

// Copied in steps when there is no hit.
TEST(Strings, ReplaceEndsALongTextAtItsFirstNul) {
  for (const size_t length : {4095U, 4096U, 4097U, 8192U, 10000U}) {
    const string text(length, 'x');
    EXPECT_EQ(StrReplace(text, "y", "z"), text);
    EXPECT_EQ(StrReplace(text + "\0x"s, "y", "z"), text);
  }
}

TEST(Codecs, ExampleAndFailures) {
  string text = "foobar", bytes;
  base64_encode(reinterpret_cast<unsigned char*>(text.data()), 5, bytes);
  EXPECT_EQ(bytes, "Zm9vYmE=");  // RFC 4648
  bytes = "kept";
  EXPECT_EQ(hex2bin(text = "ABC", bytes), 0U);
  EXPECT_EQ(text + bytes, "abckept");
  EXPECT_FAILURE(support::Thrown([] { BinaryToHexString(nullptr, 0, ""); }),
                 10021003, "Bad pointer", "../sysutils");
}

TEST(Parsers, ManyStarsTakeNoTime) {
  string stars;  // would take for ever if each were tried again
  for (int i = 0; i < 20; ++i) stars += "*aab";
  EXPECT_FALSE(StrMatch(string(65536, 'a').c_str(), (stars + "*").c_str()));
}

TEST(Parsers, IdentifiersAreOfVersion4AndDiffer) {
  const string id = CreateGUIDString();
  EXPECT_NE(id, CreateGUIDString());
  const std::regex shape(
      StrReplace("x{8}-x{4}-4x{3}-[89ab]x{3}-x{12}", "x", "[0-9a-f]"));
  EXPECT_TRUE(std::regex_match(id, shape)) << id;
}

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
  const rect_t cut = {-10.5F, 0.5F, 149.75F, 140.75F};
  const struct {
    rect_t target;
    uint32_t width, height;
    const char* edges;
  } rows[] = {
      {FillRect(0, 0, 1920, 1080), 640, 480,
       "240,0,1680,1080 0,0,240,1080 1680,0,1920,1080"},
      {FillRect(0, 0, 1920, 1080), 1920, 800,
       "0,140,1920,940 0,0,1920,140 0,940,1920,1080"},
      {FillRect(-8, 2, 8, 11), 16, 9, "-8,2,8,11 -8,2,8,2 -8,11,8,11"},
      // Edges of -0.5 and 139.75 before they are cut.
      {cut, 1, 1, "0,0.5,139,140.75 -10.5,0.5,0,140.75 139,0.5,149.75,140.75"},
      {FillRect(1, 2, 3, 4), 0, 9, "1,2,3,4 9,9,9,9 9,9,9,9"},
      {FillRect(1, 2, 3, 4), 9, 0, "1,2,3,4 9,9,9,9 9,9,9,9"}};
  for (const auto& [target, width, height, edges] : rows) {
    rect_t first = FillRect(9, 9, 9, 9), second = first;
    const rect_t picture = scaleToAspect(target, width, height, first, second);
    EXPECT_EQ(Text(picture) + " " + Text(first) + " " + Text(second), edges);
  }
}

}  // namespace
