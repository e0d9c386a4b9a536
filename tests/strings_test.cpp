#include <random>

#include "support/support.h"
#include "vellix/sysutils_strings.h"

namespace {

using namespace QuorlBased;
using std::string;
using namespace std::string_literals;

TEST(Strings, NumbersAreWrittenAndRead) {
  std::mt19937 random(1);
  for (int i = 0; i < 300; ++i) {
    const int32_t value =
        i < 2 ? INT32_MIN + i : static_cast<int32_t>(random()) >> i % 32;
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

TEST(Strings, CuttingAndTrimmingKeepTheRulesForNul) {
  const string text = "ab\0cd"s, nul = "\0"s;
  const string rows[][2] = {
      {LeftStr(text, 5), text},
      {LeftStr(text, 4) + LeftStr(text, 0), "ab"},
      {RightStr(text, 5), text},
      {RightStr(text, 4) + RightStr(text, 2), "bcd"},
      {SubStr(text, 0, 9) + SubStr(text, 1, 1), "abb"},
      {SubStr(text, 3, 0xFFFFFFFF), "cd"},
      {SubStr(text, 5, 1) + SubStr(text, 0xFFFFFFFF, 0xFFFFFFFF), ""},
      {TrimLeft(" a " + nul + "b", " "), "a "},
      {TrimRight(" a" + nul + " \n"), " a" + nul},
      {TrimRight("abc", "cb" + nul + "a"), "a"},
      {Trim("\r\n \ta\xFF\t \n"), "\ta\xFF\t"},
      {Trim("xx\xFFy" + nul + "z", "x\xFFy") + Trim(" a ", ""), " a "},
      {StrReplace("a" + nul + "b", "x", ""), "a"},
      {StrReplace("a" + nul + "b", "", "x"), "a" + nul + "b"},
      {LowerCase("AZ@[\xC1" + nul + "Q"), "az@[\xC1" + nul + "Q"},
      {UpperCase("az`{\xE1" + nul + "q"), "AZ`{\xE1" + nul + "q"},
      {utf8_to_local("\xC3\xA4") + local_to_utf8("\xFF"), "\xC3\xA4\xFF"}};
  for (const auto& [seen, expected] : rows) EXPECT_EQ(seen, expected);
  const std::list<string> pieces = {"a \xBF", "b"};
  EXPECT_EQ(StrSplit("\xFF,a \xBF\xFF"
                     "b,,\0c"s,
                     ",\xFF\0c"s),
            pieces);
  EXPECT_EQ(StrSplit("a,b", "").size() + StrSplit(",,", ",").size(), 1U);
  EXPECT_EQ(strCaseInsensitiveCompare("aBc", "AbC"), 0);
  EXPECT_EQ(strNCaseInsensitiveCompare("aBx", "AbY", 2), 0);
  EXPECT_LT(strNCaseInsensitiveCompare("aBx", "AbY", 3), 0);
}

// As the rules say, place by place.
int32_t SlowPos(const string& s, size_t start, const string& wanted, int step) {
  if (s.empty() || wanted.empty() || (step > 0 && start >= s.size())) return -1;
  size_t at = std::min(start, s.size() - 1);
  for (; at < s.size(); at += static_cast<size_t>(step)) {  // wraps below 0
    if (s.compare(at, wanted.size(), wanted) == 0) return static_cast<int>(at);
  }
  return -1;
}

string SlowReplace(const string& s, const string& from, const string& to) {
  const int32_t at = SlowPos(s, 0, from, 1);
  if (at < 0) return s.c_str();
  const auto before = static_cast<size_t>(at);
  return s.substr(0, before) + to +
         SlowReplace(s.substr(before + from.size()), from, to);
}

// Lengths around the windows of the search, few letters for many near hits.
TEST(Strings, SearchesAgreeWithASearchPlaceByPlace) {
  for (unsigned seed = 0; seed < 4000; ++seed) {
    std::mt19937 random(seed);
    const size_t letters = 1 + random() % 3;
    const auto made = [&](size_t most) {
      string text(random() % (most + 1), 'a');
      for (char& c : text) c = "ab\0"[random() % letters];
      return text;
    };
    const string to = made(20), wanted = made(seed % 8 == 0 ? 90 : 5) + "a";
    const string s = seed % 3 == 0 ? string(300, 'c') + wanted + made(400)
                                   : made(seed % 4 == 0 ? 900 : 150);
    const auto start = static_cast<uint32_t>(random() % (s.size() + 3)) - 1;
    ASSERT_EQ(StrPos(s, start, wanted), SlowPos(s, start, wanted, 1)) << seed;
    ASSERT_EQ(StrRPos(s, start, wanted), SlowPos(s, start, wanted, -1)) << seed;
    ASSERT_EQ(StrReplace(s, wanted, to), SlowReplace(s, wanted, to)) << seed;
  }
  EXPECT_EQ(StrPos("a", 0, "") + StrRPos("a", 0, "") + StrRPos("", 0, "a"), -3);
}

}  // namespace
