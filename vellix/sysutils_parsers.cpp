#include "vellix/sysutils_parsers.h"

#include <cctype>
#include <random>

#include "vellix/sysutils_platform.h"

namespace QuorlBased {
namespace {

enum class State { kNormal, kQuoted, kEscaped };

// One pass over a command line.
class CommandLineParser {
 public:
  std::list<std::string> Parse(const char* text) {
    for (; *text != '\0'; ++text) Take(*text, text[1]);
    if (!argument_.empty()) Push();
    return std::move(args_);
  }

 private:
  void Take(char c, char next) {
    if (state_ == State::kEscaped) {
      if (c != '\\' && c != '"') argument_ += '\\';
      argument_ += c;
      state_ = return_state_;
    } else if (c == '\\') {
      return_state_ = state_;
      state_ = State::kEscaped;
    } else if (state_ == State::kQuoted) {
      if (c == '"' && (next == ' ' || next == '\0')) {
        Push();
        state_ = State::kNormal;
      } else {
        argument_ += c;
      }
    } else if (c == ' ') {
      if (!argument_.empty()) Push();
    } else if (c == '"' && argument_.empty()) {
      state_ = State::kQuoted;
    } else {
      argument_ += c;
    }
  }

  void Push() {
    args_.push_back(std::move(argument_));
    argument_.clear();
  }

  State state_ = State::kNormal;
  State return_state_ = State::kNormal;
  std::string argument_;
  std::list<std::string> args_;
};

bool SameLetter(char left, char right) {
  return left == right || toupper(static_cast<unsigned char>(left)) ==
                              toupper(static_cast<unsigned char>(right));
}

}  // namespace

int32_t parse_cmd_line(const std::string& commandLine,
                       std::list<std::string>& args) {
  // commandLine may lie in args.
  args = CommandLineParser().Parse(commandLine.c_str());
  return static_cast<int32_t>(args.size());
}

bool StrMatch(const char* text, const char* mask) {
  if (!text) text = "";
  if (!mask) mask = "";
  // Where to go on when the bytes behind the last star do not match: the star
  // then takes one byte more. Earlier stars need no second try, for the last
  // one can take whatever they would leave.
  const char* after_star = nullptr;
  const char* retry = nullptr;
  while (*text != '\0' || *mask != '\0') {
    if (*mask == '*') {
      after_star = ++mask;
      retry = text;
      if (*mask == '\0') return true;
    } else if (*text != '\0' && *mask != '\0' &&
               (*mask == '?' || SameLetter(*mask, *text))) {
      ++mask;
      ++text;
    } else {
      if (!after_star || *retry == '\0') return false;
      text = ++retry;
      mask = after_star;
    }
  }
  return true;
}

bool GetNameValue(const std::string& text, const std::string& separator,
                  std::string& name, std::string& value) {
  const size_t position = text.find(separator);
  if (position == std::string::npos || position == 0) return false;
  // Both are taken before either is stored: text may be one of them.
  std::string before = text.substr(0, position);
  std::string behind = text.substr(position + separator.size());
  name = std::move(before);
  value = std::move(behind);
  return true;
}

std::string CreateGUIDString() {
  unsigned char bytes[16];
  if (!PlatformRandom(bytes, sizeof(bytes))) {
    std::random_device random;
    for (unsigned char& byte : bytes) {
      byte = static_cast<unsigned char>(random());
    }
  }
  bytes[6] = static_cast<unsigned char>(0x40 | (bytes[6] & 0x0F));  // version 4
  bytes[8] = static_cast<unsigned char>(0x80 | (bytes[8] & 0x3F));  // variant
  std::string text;
  text.reserve(36);
  for (size_t i = 0; i < sizeof(bytes); ++i) {
    if (i == 4 || i == 6 || i == 8 || i == 10) text += '-';
    text += "0123456789abcdef"[bytes[i] >> 4];
    text += "0123456789abcdef"[bytes[i] & 0x0F];
  }
  return text;
}

}  // namespace QuorlBased
