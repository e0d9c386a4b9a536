// Text, codecs, parsers and numbers, beyond what fuzz/targets.h shows.
#include <sys/mman.h>

#include "support/support.h"
#include "vellix/sysutils_vectors.h"

using namespace QuorlBased;
using std::string;
using namespace std::string_literals;

TEST(Strings, NumbersAreWrittenAndRead) {
  for (const int32_t value : {INT32_MIN, -999'999'999, -10, -1, 0, 9, 10, 99,
                              100, 12'345, 1'000'000, INT32_MAX}) {
    EXPECT_EQ(IntToStr(value), std::to_string(value));
    EXPECT_EQ(StrToInt(" \t" + IntToStr(value) + "x1"), value);
  }
  EXPECT_EQ(ascii_to_integer("4294967299"), 3);
  for (const char* text : {"", "12a", "-5", " 5", "\xB9"}) {
    EXPECT_EQ(ascii_to_integer(text), 0) << text;
  }
}

TEST(Strings, FormatIsCutAt255Characters) {
  EXPECT_EQ(Format("%s", string(300, 'x').c_str()), string(255, 'x'));
  EXPECT_EQ(Format("%s:%d %.1f%c%%", "a", -1, 0.5F, 'c'), "a:-1 0.5c%");
  EXPECT_EQ(Format("text %ls", L"\xD800"), "");  // has no bytes in any locale
}

TEST(Strings, ReplaceOfALongTextOnEachPath) {
  const string longer = "longer than a step of 16";
  for (size_t i = 0; i < 3000; ++i) {
    UsePath(*PathsOfProcessor()[i % 3]);
    const string text(250 + i, 'x'), all = StrReplace(text, "x", longer);
    EXPECT_EQ(StrReplace(text, "y", "z"), text);
    EXPECT_EQ(StrReplace(text + "\0x"s, "y", "z"), text);
    EXPECT_EQ(StrReplace(text + "yx\0"s, "y", "z"), text + "zx");
    EXPECT_EQ(StrReplace(text + "yx\0"s, "yy", "z"), text + "yx");
    EXPECT_EQ(StrReplace(all, longer, "y"), string(250 + i, 'y'));
  }
}

TEST(Codecs, Base64ReadsItsAlphabetAndWhatIsOutside) {
  const auto decode = [](string text) {
    base64_decode(reinterpret_cast<unsigned char*>(text.data()),
                  static_cast<int32_t>(text.size()), text);
    return BinaryToHexString(text.data(), uint32_t(text.size()), "");
  };
  EXPECT_EQ(
      decode(
          "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/"),
      "00108310518720928B30D38F41149351559761969B71D79F"
      "8218A39259A7A29AABB2DBAFC31CB3D35DB7E39EBBF3DFBF");
  // Outside the alphabet, the bits of the group before stay.
  EXPECT_EQ(decode("QUJDQUJDQUJDQUJD-_!?"), "414243414243414243414243414243");
  EXPECT_EQ(chr2hex('A'), 0xFF);
}

TEST(Codecs, DoTheSameOnEachPathAndReadNothingBehindTheInput) {
  constexpr int kPage = 65536;
  auto* const end = kPage + static_cast<unsigned char*>(
                                mmap(nullptr, 2 * kPage, PROT_READ | PROT_WRITE,
                                     MAP_PRIVATE | MAP_ANONYMOUS, -1, 0));
  for (int i = 2; i < kPage; ++i)
    end[-i] = uint8_t(i % 99 != 33 ? i % 9 + 'A' : i);
  ASSERT_EQ(mprotect(end, kPage, PROT_NONE), 0);
  for (int size = 1; size < 40'000; size += size == 200 ? 39'700 : 1) {
    std::set<string> results;
    for (const VectorPath* path : PathsOfProcessor()) {
      UsePath(*path);
      string text(path == &kTablesPath ? 0 : 60'000, 'x'), back = text, hex;
      base64_encode(end - size, size, text);
      base64_decode(end - size, size, back);
      HexToBin(hex, reinterpret_cast<char*>(end - size), "");
      hex += BinaryToHexString(end - size, uint32_t(size), &" "[size / 2 % 2]);
      results.insert(text + back + hex);
      char copy[40'000];
      const size_t n = path->copy_text(end - size, size_t(size), '!', copy);
      EXPECT_EQ(string(copy, n), string(end - size, end - size + n));
      EXPECT_EQ(string(copy, n).find_first_of("!\0"s), string::npos);
      EXPECT_EQ(results.size(), 1U) << path->name << " " << size;
    }
  }
}

TEST(Parsers, CommandLineIsTakenApart) {
  const struct {
    const char* line;
    std::list<string> arguments;
  } rows[] = {{" a  b ", {"a", "b"}},
              {R"(a\"b \\ \c\)", {R"(a"b)", R"(\)", R"(\c)"}},
              {R"(a"b" c)", {R"(a"b")", "c"}},
              {R"("a"b" "" c)", {R"(a"b)", "", "c"}},
              {R"("\"" x)", {R"(")", "x"}}};
  for (const auto& row : rows) {
    std::list<string> arguments = {row.line};  // what is read is replaced, too
    EXPECT_EQ(parse_cmd_line(arguments.front(), arguments),
              int32_t(row.arguments.size()));
    EXPECT_EQ(arguments, row.arguments) << row.line;
  }
}

TEST(Parsers, NameAndValueStandAroundTheFirstSeparator) {
  string name = "a==b=c", value = "v";
  EXPECT_TRUE(GetNameValue(name, "==", name, value));
  EXPECT_EQ(name, "a");
  EXPECT_EQ(value, "b=c");
  EXPECT_FALSE(GetNameValue("=b", "=", name, value));
  EXPECT_EQ(name, "a");
}

TEST(Parsers, IdentifiersAreOfVersion4AndDiffer) {
  for (int i = 0; i < 40; ++i) {  // a wrong bit shows in half of them
    const string id = CreateGUIDString();
    EXPECT_NE(id, CreateGUIDString());
    EXPECT_EQ(id.size(), 36U);
    EXPECT_EQ(id[14], '4');
    EXPECT_EQ(id.find_first_not_of("0123456789abcdef-"), id.npos);
    EXPECT_NE(strchr("89ab", id[19]), nullptr) << id;
  }
}

TEST(Numbers, HalvesAndDegrees) {
  EXPECT_EQ(MakeLong(0x5678, 0xF234), 0xF2345678U);
  EXPECT_EQ(HiWord(0xF2345678), 0xF234);
  EXPECT_EQ(LoWord(0xF2345678), 0x5678);
  volatile double stored = DegToRad(180);  // without excess precision
  EXPECT_EQ(double{stored}, 3.141592653589793);
}

string Text(const rect_t& r) {
  return Format("%g,%g,%g,%g", r.left, r.top, r.right, r.bottom);
}

TEST(Numbers, PictureIsFittedIntoTheMiddle) {
  const rect_t uneven = {-10.5F, 0.5F, 149.75F, 140.75F};
  const struct {
    rect_t target;
    uint32_t width, height;
    const char *picture, *first, *second;
  } rows[] = {{uneven, 1, 1, "0,0.5,139,140.75", "-10.5,0.5,0,140.75",
               "139,0.5,149.75,140.75"},
              {FillRect(0, 0, 1920, 1080), 1920, 800, "0,140,1920,940",
               "0,0,1920,140", "0,940,1920,1080"},
              {FillRect(0, 0, 4, 3), 8, 6, "0,0,4,3", "0,0,4,0", "0,3,4,3"},
              {FillRect(1, 2, 3, 4), 9, 0, "1,2,3,4", "9,9,9,9", "9,9,9,9"}};
  for (const auto& row : rows) {
    rect_t first = FillRect(9, 9, 9, 9), second = first;
    EXPECT_EQ(
        Text(scaleToAspect(row.target, row.width, row.height, first, second)),
        row.picture);
    EXPECT_EQ(Text(first), row.first);
    EXPECT_EQ(Text(second), row.second);
  }
}
