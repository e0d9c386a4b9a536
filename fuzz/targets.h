// What the fuzzers run, and the tests too: each target runs functions of the
// library on what it is given and compares with a model.
#ifndef VELLIX_FUZZ_TARGETS_H_
#define VELLIX_FUZZ_TARGETS_H_

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <deque>
#include <stdexcept>
#include <string_view>
#include <utility>

#include "fuzz/models.h"
#include "vellix/logger.h"
#include "vellix/sysutils.h"

namespace targets {

using namespace QuorlBased;

// Ends a fuzzer, which then keeps its input.
#define REQUIRE(condition) \
  ((condition) ? void() : throw std::logic_error("not so: " #condition))

class Input {
 public:
  Input(const uint8_t* data, size_t size) : next_(data), end_(data + size) {}
  bool Empty() const { return next_ == end_; }
  uint8_t Byte() { return Empty() ? uint8_t{0} : *next_++; }
  // Mostly a small number, now and then one beyond any text.
  uint32_t Number() {
    const uint32_t byte = Byte();
    return byte < 128 ? byte : byte < 255 ? (byte - 127) * 17 : UINT32_MAX;
  }
  std::string Text(size_t most = 255) {
    const size_t wanted = std::min<size_t>(Byte(), most);
    const size_t length = std::min(wanted, size_t(end_ - next_));
    next_ += length;
    return {next_ - length, next_};
  }
  std::string Rest() { return {std::exchange(next_, end_), end_}; }

 private:
  const uint8_t* next_;
  const uint8_t* end_;
};

inline unsigned char* Bytes(std::string& s) {
  return reinterpret_cast<unsigned char*>(s.data());
}

// Here and below, what is read is often what is written, too.
inline void Base64(Input in) {
  const std::string bytes = in.Rest();
  std::string text = bytes;
  base64_encode(Bytes(text), int32_t(text.size()), text);
  REQUIRE(text == models::Encode(bytes));
  base64_decode(Bytes(text), int32_t(text.size()), text);
  REQUIRE(text == bytes);
  base64_decode(Bytes(text), int32_t(text.size()), text);
  REQUIRE(text == models::Decode(bytes));
}

inline void Hex(Input in) {
  const std::string seps = in.Text();
  const std::string hex = in.Rest(), separator = models::UpToNul(seps);
  std::string out = hex, digits = hex, dump;
  REQUIRE(HexToBin(out, out.c_str(), seps) == out.size());
  REQUIRE(out == models::HexBytes(hex, seps));
  REQUIRE(HexToBin(digits, hex.c_str(), digits) == digits.size());
  REQUIRE(digits == models::HexBytes(hex, hex));
  digits = hex;
  for (const char c : hex) {
    char pair[3];
    snprintf(pair, sizeof pair, "%02X", unsigned{uint8_t(c)});
    dump += pair + separator.substr(0, 253);
    REQUIRE(chr2hex(c) == (c >= 'A' && c <= 'F' ? 255 : models::Digit(c)));
  }
  REQUIRE(BinaryToHexString(digits.data(), uint32_t(hex.size()), seps) == dump);
  const bool odd = strlen(hex.c_str()) % 2;
  const std::string bytes = odd ? out : models::HexBytes(hex, "");
  REQUIRE(hex2bin(digits, out) == (odd ? 0 : bytes.size()));
  REQUIRE(out == bytes);
  REQUIRE(digits == models::LowerCase(hex));
  REQUIRE(hex2bin(digits, digits) == (odd ? 0 : bytes.size()));
  REQUIRE(digits == (odd ? models::LowerCase(hex) : bytes));
}

inline void CommandLine(Input in) {
  const std::string line = in.Rest();
  std::list<std::string> arguments = {line, "before"};
  const int32_t count = parse_cmd_line(arguments.front(), arguments);
  REQUIRE(arguments == models::Arguments(models::UpToNul(line)));
  REQUIRE(size_t(count) == arguments.size());
}

inline void Mask(Input in) {
  const std::string mask = models::UpToNul(in.Text(15));
  std::string like;  // mostly matches
  for (const char m : mask) {
    like += m == '*' ? in.Text(2) : std::string(1, m == '?' ? 'q' : m);
  }
  like = models::UpToNul(like);
  const std::string other = models::UpToNul(in.Text(15));
  for (const std::string& text :
       {other, like, like.substr(!like.empty()), like + other,
        like.substr(0, like.size() - !like.empty()), models::LowerCase(like)}) {
    REQUIRE(StrMatch(text.c_str(), mask.c_str()) ==
            models::Matches(text, mask));
  }
}

inline void NameValue(Input in) {
  const std::string separator = in.Text(8), text = in.Rest();
  std::string name = "n", value = "v";
  const int32_t at = models::Find(text, 0, separator, 1);
  REQUIRE(GetNameValue(text, separator, name, value) == (at > 0));
  REQUIRE(at > 0 ? name + separator + value == text && name.size() == size_t(at)
                 : name == "n" && value == "v");
  std::string own = text;
  REQUIRE(GetNameValue(own, separator, own, value) == (at > 0));
  REQUIRE(own == (at > 0 ? name : text));
}

inline void Text(Input in) {
  const uint32_t at = in.Number(), count = in.Number();
  const std::string a = in.Text(90), b = in.Text(40), first = in.Rest();
  // With a place for the longest pattern.
  const std::string s = at % 2 ? first : first + a + first;
  REQUIRE(StrReplace(s, a, b) == models::Replace(s, a, b));
  REQUIRE(StrSplit(s, a) == models::Split(s, a));
  REQUIRE(StrPos(s, at, a) == models::Find(s, at, a, 1));
  REQUIRE(StrRPos(s, at, a) ==
          models::Find(s, std::min<int64_t>(at, int64_t(s.size()) - 1), a, -1));
  REQUIRE(TrimLeft(s, a) == models::Trim(s, a, true, false));
  REQUIRE(TrimRight(s, a) == models::Trim(s, a, false, true));
  REQUIRE(Trim(s, a) == models::Trim(s, a, true, true));
  const std::string tail = at < s.size() ? s.substr(at) : "";
  REQUIRE(SubStr(s, at, count) == models::UpToNul(tail.substr(0, count)));
  const bool cut = s.size() > count;
  const std::string left = s.substr(0, count);
  const std::string right = cut ? s.substr(s.size() - count) : s;
  REQUIRE(LeftStr(s, count) == (cut ? models::UpToNul(left) : s));
  REQUIRE(RightStr(s, count) == (cut ? models::UpToNul(right) : s));
  REQUIRE(LowerCase(s) == models::LowerCase(s));
  REQUIRE(models::LowerCase(UpperCase(s)) == models::LowerCase(s));
}

inline void Path(Input in) {
  const std::string sub = models::UpToNul(in.Text());
  const std::string path = models::UpToNul(in.Text());
  const size_t dot = path.rfind('.'), slash = path.find_last_of("/\\");
  const bool has = dot != path.npos && (slash == path.npos || slash < dot);
  const std::string ext = has ? path.substr(dot) : "";
  REQUIRE(extract_file_ext(path) == ext);
  REQUIRE(change_file_ext(path, sub) ==
          path.substr(0, path.size() - ext.size()) + sub);
  std::string joined = path;
  if (!path.empty() && path.back() == '\\') joined.pop_back(), joined += '/';
  if (joined.empty() || joined.back() != '/') joined += '/';
  REQUIRE(include_path_backslash(path.c_str()) == joined);
  std::string connected = path;
  REQUIRE(path_connect(connected, sub.c_str(), false) == joined + sub);
  const std::string none = "/nonexistent/" + path;
  const std::string expanded = models::Expand(none);
  REQUIRE(expand_path(none.c_str()) == expanded);
  REQUIRE(extract_file_path(none) + extract_file_name(none) == expanded);
}

inline void Stream(Input in) {
  CMemoryStream stream;
  std::string bytes;
  int64_t at = 0;
  while (!in.Empty()) {
    const uint8_t choice = in.Byte();
    const int64_t number = int64_t{in.Byte()} * (choice & 128 ? 97 : 1);
    const auto size = int64_t(bytes.size());
    if (choice % 4 == 0) {
      const std::string text =
          std::string(size_t(number) * 2, 'x') + in.Text(99);
      const bool good = at >= 0 && at + int64_t(text.size()) > 0;
      REQUIRE(stream.Write(text.data(), uint32_t(text.size())) ==
              (good ? int32_t(text.size()) : -1));
      if (!good) continue;
      bytes.resize(std::max(bytes.size(), size_t(at) + text.size()));
      bytes.replace(size_t(at), text.size(), text);
      at += int64_t(text.size());
    } else if (choice % 4 == 1) {
      std::string text(size_t(number), '\0');
      const int32_t got = stream.Read(text.data(), uint32_t(number));
      REQUIRE(got == (at < 0 ? -1 : std::min(number, size - at)));
      if (got <= 0) continue;
      REQUIRE(text.substr(0, size_t(got)) ==
              bytes.substr(size_t(at), size_t(got)));
      at += got;
    } else if (choice % 4 == 2) {
      const int origin = choice / 4 % 3;
      const int64_t base = origin == 0 ? 0 : origin == 1 ? at : size;
      const int64_t offset = choice & 64 ? -number : number;
      const bool good = base + offset <= size;
      REQUIRE(stream.Seek(offset, SeekOrigin(origin)) ==
              (good ? base + offset : -1));
      if (good) at = base + offset;
    } else {
      REQUIRE(stream.SetSize(number));
      bytes.resize(size_t(number));
      // What a growth adds is not initialised.
      if (number > size) {
        memset(static_cast<char*>(stream.GetMemory()) + size, 0,
               size_t(number - size));
      }
      at = std::min(at, number);
    }
    REQUIRE(stream.GetPosition() == at);
    // The position -1 is the failure value of a Seek, too.
    REQUIRE(at == -1 || stream.GetSize() == int64_t(bytes.size()));
    REQUIRE(stream.Eof() ==
            (!stream.GetMemory() || at >= int64_t(bytes.size())));
    REQUIRE(stream.GetCapacity() >= int64_t(bytes.size()));
    REQUIRE(memcmp(stream.GetMemory() ? stream.GetMemory() : "", bytes.data(),
                   bytes.size()) == 0);
  }
}

inline void Buffer(Input in) {
  CDataBuffer2 buffer(in.Byte() & 1);
  std::deque<char> bytes;
  while (!in.Empty()) {
    const uint8_t choice = in.Byte();
    const std::string text = choice % 4 < 2 ? in.Text() : "";
    if (choice % 4 == 0) {
      buffer.Push(text.data(), text.size());
      bytes.insert(bytes.end(), text.begin(), text.end());
    } else if (choice % 4 == 1) {
      buffer.PushFront(text.data(), text.size());
      bytes.insert(bytes.begin(), text.begin(), text.end());
    } else {
      const size_t count = in.Byte();
      const auto end =
          bytes.begin() + std::ptrdiff_t(std::min(count, bytes.size()));
      const std::string expected(bytes.begin(), end);
      std::string taken(count, '\0');
      const bool drop = choice % 4 == 3;
      taken.resize(buffer.Pop(drop ? nullptr : taken.data(), count));
      REQUIRE(drop ? taken.size() == expected.size() : taken == expected);
      bytes.erase(bytes.begin(), end);
    }
    if (choice == 255) buffer.Clear(), bytes.clear();
    REQUIRE(buffer.GetDataSize() == bytes.size());
  }
}

// From the line back to the fields, as the documents tell a reader.
inline void LogLine(Input in) {
  static CMemoryStream& target = *new CMemoryStream;
  static CQuorlLogger& logger = *new CQuorlLogger;
  logger.SetLogStream(&target);
  target.Clear();
  const std::string data = in.Text(), from = in.Text(), msg = in.Rest();
  logger.Log(LogWarn, from.c_str(), msg.c_str(),
             reinterpret_cast<const unsigned char*>(data.data()),
             unsigned(data.size()));
  const std::string line(static_cast<char*>(target.GetMemory()),
                         size_t(target.GetSize()));
  REQUIRE(line.find_first_of("\r\n") == line.size() - 2);
  REQUIRE(line.compare(0, 4, "[TM=") == 0 &&
          line.compare(28, 6, "] [TH=") == 0);
  const std::string open = "] [LV=WARN ] [FR=", middle = "] [MG=",
                    dump = "] [BN=";
  const size_t first = line.find(open) + open.size();
  const size_t second = line.find(middle, first), third = line.rfind(dump);
  const std::string said =
      models::OneLine(from) + middle + models::OneLine(msg);
  REQUIRE(line.substr(first, third - first) == said);
  // A `from` may hold what ends it; nothing else may shift a field.
  if (models::UpToNul(from).find(middle) == from.npos &&
      (models::OneLine(from) + "] [MG").find(middle) == from.npos) {
    REQUIRE(line.substr(first, second - first) == models::OneLine(from));
  }
  std::string shown = data.empty() ? "NULL" : "";
  for (const char c : data) {
    char pair[4];
    snprintf(pair, sizeof pair, "%02X ", unsigned{uint8_t(c)});
    shown += pair;
  }
  REQUIRE(line.substr(third + dump.size()) == shown + "]\r\n");
}

struct Target {
  const char* name;
  void (*run)(Input);

  void Run(std::string_view input) const {
    // Without an exception log a failure of a call costs no record.
    GetQuorlLogger()->EnableExpLog(false);
    run(Input(reinterpret_cast<const uint8_t*>(input.data()), input.size()));
  }
};

constexpr Target kAll[] = {{"Base64", Base64},
                           {"Hex", Hex},
                           {"CommandLine", CommandLine},
                           {"Mask", Mask},
                           {"NameValue", NameValue},
                           {"Text", Text},
                           {"Path", Path},
                           {"Stream", Stream},
                           {"Buffer", Buffer},
                           {"LogLine", LogLine}};

}  // namespace targets

#endif  // VELLIX_FUZZ_TARGETS_H_
