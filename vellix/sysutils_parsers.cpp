#include "vellix/sysutils_parsers.h"

#include <cstring>
#include <random>
#include <utility>

#include "vellix/sysutils_platform.h"
#include "vellix/text_or_empty.h"

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

// Whether one byte of a mask, no star, takes the byte of the text. `upper` is
// the platform's toupper.
bool TakesByte(char wanted, char byte, const int32_t* upper) {
  if (byte == '\0') return false;
  return wanted == byte || wanted == '?' ||
         upper[static_cast<unsigned char>(wanted)] ==
             upper[static_cast<unsigned char>(byte)];
}

// The same for `length` bytes of a mask, a part from one star to the next.
bool PartMatches(const char* text, const char* part, size_t length,
                 const int32_t* upper) {
  for (size_t i = 0; i < length; ++i) {
    if (!TakesByte(part[i], text[i], upper)) return false;
  }
  return true;
}

// The first place in `text` at which the part matches, null if there is none.
const char* FindPart(const char* text, const char* part, size_t length,
                     const int32_t* upper) {
  const int32_t first = upper[static_cast<unsigned char>(*part)];
  for (;; ++text) {
    if (*part != '?') {
      while (*text != '\0' &&
             upper[static_cast<unsigned char>(*text)] != first) {
        ++text;
      }
    }
    if (*text == '\0') return nullptr;
    if (PartMatches(text, part, length, upper)) return text;
  }
}

// Whether the part matches the text's last bytes.
bool EndMatches(const char* text, const char* part, size_t length,
                const int32_t* upper) {
  if (length == 0) return true;
  const size_t left = strlen(text);
  return left >= length &&
         PartMatches(text + left - length, part, length, upper);
}

// The length of the part of a mask that begins at `mask`: up to a star or the
// end.
size_t PartLength(const char* mask) {
  size_t length = 0;
  while (mask[length] != '*' && mask[length] != '\0') ++length;
  return length;
}

}  // namespace

int32_t parse_cmd_line(const std::string& commandLine,
                       std::list<std::string>& args) {
  // commandLine may lie in args.
  args = CommandLineParser().Parse(commandLine.c_str());
  return static_cast<int32_t>(args.size());
}

bool StrMatch(const char* text, const char* mask) {
  text = TextOrEmpty(text);
  mask = TextOrEmpty(mask);
  const int32_t* upper = PlatformUpperCase();
  for (; *mask != '*'; ++mask, ++text) {
    if (*mask == '\0') return *text == '\0';
    if (!TakesByte(*mask, *text, upper)) return false;
  }
  // A part between two stars is best placed as far left as it can be: that
  // leaves most to the parts behind it. The last part belongs to the end.
  for (;;) {
    while (*mask == '*') ++mask;
    const size_t length = PartLength(mask);
    if (mask[length] == '\0') return EndMatches(text, mask, length, upper);
    text = FindPart(text, mask, length, upper);
    if (!text) return false;
    text += length;
    mask += length;
  }
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
