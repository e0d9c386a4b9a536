#include <cctype>
#include <random>

#include "support/support.h"
#include "vellix/sysutils_parsers.h"

namespace {

using namespace QuorlBased;
using std::string;

TEST(Parsers, CommandLine) {
  const std::pair<string, std::list<string>> rows[] = {
      {"   ", {}},
      {"  a\t\nb   c ", {"a\t\nb", "c"}},
      {R"("" a "two words" "" "x)", {"", "a", "two words", "", "x"}},
      {R"(a"b c" "a"b c" d)", {"a\"b", "c\"", "a\"b c", "d"}},
      {R"(a\ b \"c\" \\ \n "\" d\\" e\)",
       {"a\\ b", "\"c\"", "\\", "\\n", "\" d\\", "e"}},
      {{"\"a\"\0 b", 6}, {"a"}}};
  for (const auto& [line, expected] : rows) {
    std::list<string> args = {line, "what was there"};
    EXPECT_EQ(static_cast<size_t>(parse_cmd_line(args.front(), args)),
              expected.size());
    EXPECT_EQ(args, expected) << line;
  }
}

// As the rules say: a star tries all places.
bool SlowMatch(const char* text, const char* mask) {
  if (*mask == '*') {
    return SlowMatch(text, mask + 1) || (*text && SlowMatch(text + 1, mask));
  }
  if (*mask == '\0' || *text == '\0') return *mask == *text;
  return (*mask == '?' || toupper(static_cast<unsigned char>(*mask)) ==
                              toupper(static_cast<unsigned char>(*text))) &&
         SlowMatch(text + 1, mask + 1);
}

TEST(Parsers, MasksMatchAsWhenAllPlacesAreTried) {
  for (unsigned seed = 0; seed < 20000; ++seed) {
    std::mt19937 random(seed);
    const auto made = [&](size_t most, const char* bytes) {
      string text(random() % (most + 1), ' ');
      for (char& c : text) c = bytes[random() % (3 + seed % 6)];
      return text;
    };
    const string text = made(12, "aAb.\xE4\xC4*?"),
                 mask = made(9, "*?aBA.b\xC4");
    ASSERT_EQ(StrMatch(text.c_str(), mask.c_str()),
              SlowMatch(text.c_str(), mask.c_str()))
        << seed << ": " << text << " " << mask;
  }
  string stars;  // would take for ever if each were tried again
  for (int i = 0; i < 20; ++i) stars += "*aab";
  EXPECT_FALSE(StrMatch(string(65536, 'a').c_str(), (stars + "*").c_str()));
}

TEST(Parsers, NameAndValue) {
  const char* rows[][4] = {{" a := b:=c", ":=", " a ", " b:=c"},
                           {"a=", "=", "a", ""},
                           {"=a", "=", "n", "v"},
                           {"a", "=", "n", "v"},
                           {"a", "", "n", "v"}};
  for (const auto& [text, separator, name, value] : rows) {
    string seen_name = "n", seen_value = "v";
    EXPECT_EQ(GetNameValue(text, separator, seen_name, seen_value),
              *name != 'n');
    EXPECT_EQ(seen_name + "|" + seen_value, string(name) + "|" + value);
  }
  string text = "a=b", value;
  EXPECT_TRUE(GetNameValue(text, "=", text, value));
  EXPECT_EQ(text + value, "ab");
}

TEST(Parsers, IdentifiersAreOfVersion4AndDiffer) {
  const string id = CreateGUIDString();
  EXPECT_NE(id, CreateGUIDString());
  ASSERT_EQ(id.size(), 36U);
  const string shape = "xxxxxxxx-xxxx-4xxx-vxxx-xxxxxxxxxxxx";
  for (size_t i = 0; i < shape.size(); ++i) {
    const string allowed = shape[i] == 'x'   ? "0123456789abcdef"
                           : shape[i] == 'v' ? "89ab"
                                             : shape.substr(i, 1);
    EXPECT_NE(allowed.find(id[i]), string::npos) << id;
  }
}

}  // namespace
