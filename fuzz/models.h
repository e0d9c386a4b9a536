// What the functions under fuzz have to give, written anew from their promises
// and as plainly as can be: byte by byte, without tables and shortcuts.
#ifndef VELLIX_FUZZ_MODELS_H_
#define VELLIX_FUZZ_MODELS_H_

#include <cctype>
#include <cstdint>
#include <list>
#include <string>
#include <vector>

namespace models {

inline std::string UpToNul(const std::string& s) { return s.c_str(); }

inline const std::string kBase64 =
    "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";

inline std::string Encode(const std::string& bytes) {
  std::string text;
  for (size_t bit = 0; bit < 8 * bytes.size(); bit += 6) {
    unsigned value = 0;
    for (size_t i = bit; i < bit + 6; ++i) {
      const bool set = i < 8 * bytes.size() && bytes[i / 8] >> (7 - i % 8) & 1;
      value = 2 * value + set;
    }
    text += kBase64[value];
  }
  return text.append((4 - text.size() % 4) % 4, '=');
}

inline std::string Decode(std::string text) {
  text.resize(text.size() / 4 * 4);
  std::string bits, bytes;
  size_t value[4] = {};
  for (size_t i = 0; i < text.size(); ++i) {
    const size_t found = kBase64.find(text[i]);
    if (found != std::string::npos) value[i % 4] = found;
    for (int bit = 5; bit >= 0; --bit) bits += char(value[i % 4] >> bit & 1);
  }
  for (size_t i = 0; i < bits.size(); i += 8) {
    unsigned byte = 0;
    for (size_t bit = i; bit < i + 8; ++bit) byte = 2 * byte + (bits[bit] != 0);
    bytes += char(byte);
  }
  for (size_t i = 0; i < 2 && i < text.size(); ++i) {
    if (text[text.size() - 1 - i] != '=') break;
    bytes.pop_back();
  }
  return bytes;
}

inline unsigned Digit(char c) {
  c = char(tolower((unsigned char)c));
  const size_t found = std::string("0123456789abcdef").find(c);
  return found == std::string::npos ? 255 : unsigned(found);
}

inline std::list<std::string> Split(const std::string& s,
                                    const std::string& seps) {
  std::list<std::string> pieces(1);
  for (const char c : UpToNul(s)) {
    if (UpToNul(seps).find(c) == std::string::npos) {
      pieces.back() += c;
    } else {
      pieces.emplace_back();
    }
  }
  pieces.remove("");
  return pieces;
}

inline std::string HexBytes(const std::string& hex, const std::string& seps) {
  std::string bytes;
  for (const std::string& piece : Split(hex, seps)) {
    if (piece.size() % 2) continue;
    for (size_t i = 0; i < piece.size(); i += 2) {
      bytes += char(16 * Digit(piece[i]) + Digit(piece[i + 1]));
    }
  }
  return bytes;
}

inline std::list<std::string> Arguments(const std::string& line) {
  std::list<std::string> arguments;
  std::string argument;
  bool quoted = false;
  for (size_t i = 0; i < line.size(); ++i) {
    const bool last = i + 1 == line.size();
    const bool ends = quoted ? line[i] == '"' && (last || line[i + 1] == ' ')
                             : line[i] == ' ' && !argument.empty();
    if (line[i] == '\\') {
      if (last) break;
      ++i;
      if (line[i] != '"' && line[i] != '\\') argument += '\\';
      argument += line[i];
    } else if (ends) {
      arguments.push_back(argument);
      argument.clear();
      quoted = false;
    } else if (!quoted && argument.empty() && line[i] == '"') {
      quoted = true;
    } else if (quoted || line[i] != ' ') {
      argument += line[i];
    }
  }
  if (!argument.empty()) arguments.push_back(argument);
  return arguments;
}

inline bool Matches(const std::string& text, const std::string& mask) {
  // reach[i]: the mask so far takes the first i bytes.
  std::vector<char> reach(text.size() + 1, false);
  reach[0] = true;
  for (const char m : mask) {
    std::vector<char> next(reach.size(), false);
    for (size_t i = 0; i < reach.size(); ++i) {
      if (m == '*') next[i] = reach[i] || (i > 0 && next[i - 1]);
      if (m == '*' || i == 0 || !reach[i - 1]) continue;
      next[i] = m == '?' || toupper((unsigned char)m) ==
                                toupper((unsigned char)text[i - 1]);
    }
    reach = next;
  }
  return reach.back();
}

// The letters up to the first NUL.
inline std::string LowerCase(std::string s) {
  for (size_t i = 0; i < s.size() && s[i]; ++i) {
    if (s[i] >= 'A' && s[i] <= 'Z') s[i] = char(s[i] + 32);
  }
  return s;
}

// The position of `pattern` in `s` that is the nearest to `start`, on the way
// of `step`; -1 if there is none.
inline int32_t Find(const std::string& s, int64_t start,
                    const std::string& pattern, int step) {
  if (pattern.empty()) return -1;
  for (int64_t i = start; i >= 0 && i < int64_t(s.size()); i += step) {
    if (s.compare(size_t(i), pattern.size(), pattern) == 0) return int32_t(i);
  }
  return -1;
}

inline std::string Replace(const std::string& s, const std::string& from,
                           const std::string& to) {
  if (from.empty()) return s;
  const int32_t at = Find(s, 0, from, 1);
  if (at == -1) return UpToNul(s);
  return s.substr(0, size_t(at)) + to +
         Replace(s.substr(size_t(at) + from.size()), from, to);
}

inline std::string Trim(std::string s, const std::string& set, bool left,
                        bool right) {
  if (left) s = UpToNul(s);
  const auto has = [&](char c) {
    return c && UpToNul(set).find(c) != set.npos;
  };
  while (left && !s.empty() && has(s.front())) s.erase(0, 1);
  while (right && !s.empty() && has(s.back())) s.pop_back();
  return s;
}

// An absolute path without its dots, where nothing of it exists.
inline std::string Expand(const std::string& path) {
  std::string expanded;
  for (const std::string& part : Split(path, "/")) {
    if (part == "..") {
      expanded.resize(expanded.empty() ? 0 : expanded.rfind('/'));
    } else if (part != ".") {
      expanded += "/" + part;
    }
  }
  if (expanded.empty()) return "/";
  if (path.back() != '/') return expanded;
  // A closing slash comes back, and in the place of a backslash.
  if (expanded.back() == '\\') expanded.pop_back();
  return expanded + '/';
}

inline std::string OneLine(const std::string& s) {
  std::string line;
  for (const char c : UpToNul(s)) {
    line += c == '\n' ? "\\n" : c == '\r' ? "\\r" : std::string(1, c);
  }
  return line;
}

}  // namespace models

#endif  // VELLIX_FUZZ_MODELS_H_
