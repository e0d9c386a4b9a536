// Each target compares with the standard library, or goes there and back.
#ifndef VELLIX_FUZZ_TARGETS_H_
#define VELLIX_FUZZ_TARGETS_H_

#include <fnmatch.h>

#include <algorithm>
#include <cstring>
#include <stdexcept>

#include "vellix/logger.h"
#include "vellix/sysutils.h"
#include "vellix/sysutils_vectors.h"

namespace targets {

using namespace QuorlBased;
using std::string;

// Throws: the fuzzer stops and keeps the input.
#define REQUIRE(condition) \
  ((condition) ? void() : throw std::logic_error("not so: " #condition))

// What is left of an input.
struct Input : std::string_view {
  using std::string_view::string_view;
  string Take(size_t size) {
    const string taken(substr(0, size));
    remove_prefix(taken.size());
    return taken;
  }
  uint8_t Byte() { return empty() ? uint8_t{0} : uint8_t(Take(1)[0]); }
  string Text(size_t most = 255) {
    return Take(std::min<size_t>(Byte(), most));
  }
  // Mostly a small number, now and then one beyond any text.
  uint32_t Number() {
    const uint32_t byte = Byte();
    return byte < 250 ? byte : UINT32_MAX;
  }
};

inline unsigned char* Bytes(string& s) {
  return reinterpret_cast<unsigned char*>(s.data());
}

inline std::list<string> Split(string s, const string& seps) {
  std::list<string> pieces;
  for (char* piece = strtok(s.data(), seps.c_str()); piece;
       piece = strtok(nullptr, seps.c_str())) {
    pieces.emplace_back(piece);
  }
  return pieces;
}

// Here and below, a text is often both read and written.
inline void Base64(Input in) {
  const string bytes = in.Take(in.size());
  string text = bytes;
  base64_encode(Bytes(text), int32_t(text.size()), text);
  REQUIRE(text.size() == (bytes.size() + 2) / 3 * 4);
  base64_decode(Bytes(text), int32_t(text.size()), text);
  REQUIRE(text == bytes);
}

inline string Pairs(const string& hex) {
  const string digits = "0123456789abcdef";
  string bytes(hex.size() / 2, '\0');
  for (size_t i = 0; i < bytes.size(); ++i) {
    const auto high = uint8_t(digits.find(LowerCase(hex.substr(2 * i, 1))));
    const auto low = uint8_t(digits.find(LowerCase(hex.substr(2 * i + 1, 1))));
    bytes[i] = char(16 * high + low);
  }
  return bytes;
}

inline void Hex(Input in) {
  const string seps = in.Text(), hex = in.Take(in.size());
  string out = hex, digits = hex, dump, pieces;
  for (const string& piece : Split(hex, seps)) {
    if (piece.size() % 2 == 0) pieces += Pairs(piece);
  }
  REQUIRE(HexToBin(out, out.c_str(), seps) == pieces.size());
  REQUIRE(out == pieces);
  for (const char c : hex) {
    dump += Format("%02X", uint8_t(c)) + string(seps.c_str()).substr(0, 253);
  }
  REQUIRE(BinaryToHexString(digits.data(), uint32_t(hex.size()), seps) == dump);
  const string text = hex.c_str();
  out = hex;
  const string bytes = text.size() % 2 ? out : Pairs(text);
  REQUIRE(hex2bin(digits, out) == (text.size() % 2 ? 0 : bytes.size()));
  REQUIRE(out == bytes);
  REQUIRE(digits == LowerCase(hex));
}

// Arguments in quotes come back, whatever they hold.
inline void CommandLine(Input in) {
  std::list<string> arguments, parsed;
  string line;
  while (!in.empty()) {
    const string argument = in.Text(40).c_str();
    if (argument.empty()) continue;
    arguments.push_back(argument);
    const string escaped = StrReplace(argument, "\\", "\\\\");
    line += " \"" + StrReplace(escaped, "\"", "\\\"") + "\"";
  }
  REQUIRE(size_t(parse_cmd_line(line, parsed)) == arguments.size());
  REQUIRE(parsed == arguments);
}

inline void Mask(Input in) {
  string mask = in.Text(15).c_str(), like;  // mostly matches
  std::replace(mask.begin(), mask.end(), '[', 'a');
  for (const char m : mask) {
    like += m == '*' ? in.Text(2) : string(1, m == '?' ? 'q' : m);
  }
  like = like.c_str();
  const string other = in.Text(15).c_str();
  for (const string& text : {other, like, like.substr(!like.empty()),
                             like + other, LowerCase(like)}) {
    REQUIRE(StrMatch(text.c_str(), mask.c_str()) ==
            !fnmatch(mask.c_str(), text.c_str(), FNM_CASEFOLD | FNM_NOESCAPE));
  }
}

inline void Text(Input in) {
  const uint32_t at = in.Number(), count = in.Number();
  const string a = in.Text(90), b = in.Text(40), first = in.Take(in.size());
  // With a place for the longest pattern.
  const string s = at % 2 ? first : first + a + first, set = a.c_str();
  string replaced = s, trimmed = s.c_str();
  size_t end = 0;
  for (size_t i = 0; !a.empty() && (i = replaced.find(a, i)) != s.npos;) {
    replaced.replace(i, a.size(), b);
    end = i += b.size();
  }
  if (!a.empty()) replaced.resize(end + strlen(replaced.c_str() + end));
  REQUIRE(StrReplace(s, a, b) == replaced);
  REQUIRE(StrSplit(s, a) == Split(s, a));
  REQUIRE(StrPos(s, at, a) == (a.empty() ? -1 : int32_t(s.find(a, at))));
  REQUIRE(StrRPos(s, at, a) == (a.empty() ? -1 : int32_t(s.rfind(a, at))));
  REQUIRE(TrimRight(s, a) == s.substr(0, s.find_last_not_of(set) + 1));
  const string tail = at < s.size() ? s.substr(at, count) : "";
  REQUIRE(SubStr(s, at, count) == tail.c_str());
  const bool cut = s.size() > count;
  REQUIRE(LeftStr(s, count) == (cut ? s.substr(0, count).c_str() : s));
  REQUIRE(RightStr(s, count) == (cut ? s.substr(s.size() - count).c_str() : s));
  trimmed.erase(0, std::min(trimmed.find_first_not_of(set), trimmed.size()));
  REQUIRE(TrimLeft(s, a) == trimmed);
  REQUIRE(Trim(s, a) == TrimRight(trimmed, a));
}

// The whole line but its time and its thread.
inline void LogLine(Input in) {
  static CMemoryStream& target = *new CMemoryStream;
  static CQuorlLogger& logger = *new CQuorlLogger;
  logger.SetLogStream(&target);
  target.Clear();
  string data = in.Text(), dump = data.empty() ? "NULL" : "";
  const string from = in.Text(), msg = in.Take(in.size());
  logger.Log(LogWarn, from.c_str(), msg.c_str(), Bytes(data),
             unsigned(data.size()));
  for (const char c : data) dump += Format("%02X ", uint8_t(c));
  const string line(static_cast<char*>(target.GetMemory()),
                    size_t(target.GetSize()));
  const string texts = string("[FR=") + from.c_str() + "] [MG=" + msg.c_str();
  REQUIRE(line.compare(0, 4, "[TM=") == 0);
  REQUIRE(line.substr(line.find("] [LV=")) ==
          "] [LV=WARN ] " +
              StrReplace(StrReplace(texts, "\n", "\\n"), "\r", "\\r") +
              "] [BN=" + dump + "]\r\n");
}

struct Target {
  const char* name;
  void (*run)(Input);
};

constexpr Target kAll[] = {
    {"Base64", Base64}, {"Hex", Hex},   {"CommandLine", CommandLine},
    {"Mask", Mask},     {"Text", Text}, {"LogLine", LogLine}};

}  // namespace targets

#endif  // VELLIX_FUZZ_TARGETS_H_
