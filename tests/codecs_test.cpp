#include <random>

#include "support/support.h"
#include "vellix/sysutils_codecs.h"
#include "vellix/sysutils_strings.h"

namespace {

using namespace QuorlBased;
using std::string;
using namespace std::string_literals;

// Bit by bit, with the character of the group before for one that is none.
string SlowDecoded(const string& text) {
  const string alphabet =
      "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
  string bytes;
  size_t values[4] = {};
  const size_t end = text.size() / 4 * 4;
  for (size_t i = 0; i < end; ++i) {
    const size_t value = alphabet.find(text[i]);
    if (value != string::npos) values[i % 4] = value;
    if (i % 4 != 3) continue;
    bytes += static_cast<char>(values[0] << 2 | values[1] >> 4);
    bytes += static_cast<char>(values[1] << 4 | values[2] >> 2);
    bytes += static_cast<char>(values[2] << 6 | values[3]);
  }
  if (end > 0 && text[end - 1] == '=') {
    bytes.resize(bytes.size() - (text[end - 2] == '=' ? 2 : 1));
  }
  return bytes;
}

TEST(Codecs, Base64AgreesWithADecoderBitByBit) {
  for (unsigned seed = 0; seed < 3000; ++seed) {
    std::mt19937 random(seed);
    string bytes(random() % 100, '\0');
    for (char& c : bytes) c = static_cast<char>(random());
    // In and out are one string.
    string text = bytes;
    base64_encode(reinterpret_cast<unsigned char*>(text.data()),
                  static_cast<int32_t>(text.size()), text);
    ASSERT_EQ(text.size(), (bytes.size() + 2) / 3 * 4) << seed;
    ASSERT_EQ(SlowDecoded(text), bytes) << seed;
    for (size_t i = random() % 99; i < text.size(); i += 1 + random() % 40) {
      text[i] = random() % 2 ? '=' : static_cast<char>(random());
    }
    text.resize(text.size() + random() % 4, 'Z');
    const string expected = SlowDecoded(text);
    base64_decode(reinterpret_cast<const unsigned char*>(text.data()),
                  static_cast<int32_t>(text.size()), text);
    ASSERT_EQ(text, expected) << seed;
  }
}

TEST(Codecs, HexDigitsBecomeBytes) {
  for (int c = -128; c < 128; ++c) {
    const size_t value = "0123456789abcdef"s.find(static_cast<char>(c));
    EXPECT_EQ(chr2hex(static_cast<char>(c)), value > 15 ? 0xFF : value) << c;
  }
  const string rows[][3] = {{"0A", "0a", "\n"},
                            {"ABC", "abc", "kept"},
                            {"zzG0@a", "zzg0@a", "\xEF\xF0\xFA"},
                            {"\0"s, "\0"s, ""},
                            {"4a\0B"s, "4a\0B"s, "J"}};
  for (const auto& [hex, lower, expected] : rows) {
    string in = hex, out = "kept";
    EXPECT_EQ(hex2bin(in, out), expected == "kept" ? 0 : expected.size());
    EXPECT_EQ(in + "|" + out, lower + "|" + expected);
  }
  string own = "4142";
  EXPECT_EQ(hex2bin(own, own), 2U);
  EXPECT_EQ(own, "AB");
  EXPECT_EQ(HexToBin(own, "- 01-02 3  4F-\0 41", " -"), 3U);
  EXPECT_EQ(own, "\x01\x02O");
  own = "4a4B";
  EXPECT_EQ(HexToBin(own, own.c_str(), ""), 2U);
  EXPECT_EQ(own, "JK");
  EXPECT_EQ(HexToBin(own, "--", "-") + own.size(), 0U);
}

TEST(Codecs, BytesBecomeHexDigitsAsByFormat) {
  EXPECT_FAILURE(support::Thrown([] { BinaryToHexString(nullptr, 0, ""); }),
                 10021003, "Bad pointer", "../sysutils");
  std::mt19937 random(1);
  for (const string& separator : {""s, "\xFF"s, ", "s, "a\0b"s, " 0x"s,
                                  string(253, 's'), string(300, 's')}) {
    for (const uint32_t size : {0U, 1U, 2U, 3U, 400U, 1100U}) {
      string bytes(size, '\0'), expected;
      for (char& c : bytes) {
        c = static_cast<char>(random());
        expected +=
            Format("%02X%s", static_cast<unsigned char>(c), separator.c_str());
      }
      EXPECT_EQ(BinaryToHexString(bytes.data(), size, separator), expected);
    }
  }
}

}  // namespace
