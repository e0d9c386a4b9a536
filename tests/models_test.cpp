// What the fuzzers run, with inputs of few letters from a fixed seed.
#include <random>

#include "fuzz/targets.h"
#include "support/support.h"

using namespace std::string_literals;

class FuzzTargets : public testing::TestWithParam<targets::Target> {};

TEST_P(FuzzTargets, AgreeWithTheStandardLibrary) {
  const auto likely =
      "\0\0\1\1\2\3\4\7 \" \"\\aAbBfF01=*?*./..,:-gz+\n\r] [MG=\xE4\xC4\xFF"s;
  std::mt19937 random(1);
  for (unsigned i = 0; i < 4000; ++i) {
    const bool any_bytes = i % 4 == 0, is_long = i % 8 == 0;
    std::string letters(3 + random() % 8, ' '), input;
    for (char& c : letters) c = likely[random() % likely.size()];
    const size_t size = random() % (is_long ? 1200 : 160);
    while (input.size() < size) {
      const bool any = any_bytes || random() % 32 == 0;
      input += any ? char(random()) : letters[random() % letters.size()];
    }
    QuorlBased::UsePath(*QuorlBased::PathsOfProcessor()[i % 3]);
    ASSERT_NO_THROW(GetParam().run({input.data(), input.size()}))
        << testing::PrintToString(input);
  }
}

INSTANTIATE_TEST_SUITE_P(, FuzzTargets, testing::ValuesIn(targets::kAll),
                         [](const auto& target) {
                           return std::string(target.param.name);
                         });
