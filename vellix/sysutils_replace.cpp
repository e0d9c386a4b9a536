// StrReplace. Compiled as C++23 where the compiler has it, for
// resize_and_overwrite (cmake/Overwrite.cmake); else as C++17.
#include <algorithm>
#include <array>
#include <cstdint>
#include <cstring>
#include <string>
#include <utility>

#include "vellix/sysutils_internal.h"
#include "vellix/sysutils_search.h"
#include "vellix/sysutils_strings.h"
#include "vellix/sysutils_vectors.h"

namespace QuorlBased {
namespace {

// Texts are looked at and copied in pieces, which stay in the first-level cache
// from one to the other.
constexpr size_t kPiece = 2048;

// Fills the empty `text` with the bytes that `write(char* to)` puts into `size`
// bytes of room; `write` returns their number and must not throw. C++17 has to
// zero the room first.
template <typename Write>
void Overwrite(std::string& text, size_t size, Write write) {
#ifdef __cpp_lib_string_resize_and_overwrite
  text.resize_and_overwrite(size, [&](char* to, size_t) { return write(to); });
#else
  text.resize(size);
  text.resize(write(text.data()));
#endif
}

bool Holds(const char* text, size_t length, char byte) {
  return memchr(text, byte, length) || memchr(text, '\0', length);
}

// A copy of the start of `s`, which reaches near the first `byte` or NUL and
// not beyond it.
std::string CopyWithout(char byte, const std::string& s) {
  std::string text;
  const char* const from = s.data();
  // If hits begin here, the size of the result is not known yet.
  constexpr size_t kHead = 256;
  if (Holds(from, std::min(kHead, s.size()), byte)) return text;
  if (s.size() <= kHead) return s;
  Overwrite(text, s.size(), [&](char* to) {
    size_t done = Vectors().copy_text(
        reinterpret_cast<const unsigned char*>(from), s.size(), byte, to);
    for (size_t length = kPiece; done < s.size(); done += length) {
      length = std::min(length, s.size() - done);
      if (Holds(from + done, length, byte)) break;
      memcpy(to + done, from + done, length);
    }
    return done;
  });
  return text;
}

// Lengthens `text`, a copy of the first bytes of `s`, up to the first NUL.
void CopyToNul(const std::string& s, std::string& text) {
  text.reserve(s.size());
  size_t length = kPiece;
  while (length == kPiece) {
    const char* rest = s.c_str() + text.size();
    length = strnlen(rest, kPiece);
    text.append(rest, length);
  }
}

// Puts the result together behind a copy of the first bytes of the source. Runs
// and replacement are mostly short. Where both sides have room, 16 bytes are
// copied whatever the length, without a call: a third of the time that
// std::string::append takes (text/replace-dense).
class Replacer {
 public:
  Replacer(const std::string& source, std::string begun, size_t hit_length,
           const std::string& to)
      : source_(source),
        hit_length_(hit_length),
        to_(to),
        to_length_(to.size()),
        read_(begun.size()),
        size_(begun.size()),
        text_(std::move(begun)) {
    to_.resize(std::max(to_length_, kStep));
    // The first hits show how the size changes.
    constexpr size_t kSample = 4096;
    if (text_.empty()) text_.resize(std::min(source.size(), kSample) + kStep);
  }

  // Replaces the next hits, which begin at those positions; `count` is not 0.
  void Replace(const size_t* hits, size_t count) {
    const size_t end = hits[count - 1] + hit_length_;
    const size_t runs = end - read_ - count * hit_length_;
    MakeRoom(uint64_t{count} * to_length_ + runs, end);
    const char* const from = source_.data();
    const char* const to_text = to_.data();
    const size_t all = source_.size();
    size_t read = read_;
    char* to = text_.data() + size_;
    for (size_t i = 0; i < count; ++i) {
      const size_t run = hits[i] - read;
      Copy(from + read, run, all - read, to);
      Copy(to_text, to_length_, kStep, to + run);
      to += run + to_length_;
      read = hits[i] + hit_length_;
    }
    read_ = read;
    size_ = static_cast<size_t>(to - text_.data());
  }

  // The result: the rest has no hit.
  std::string Finish() {
    text_.resize(size_);
    text_ += source_.c_str() + read_;
    return std::move(text_);
  }

 private:
  static constexpr size_t kStep = 16;

  // Makes room for `more` bytes. Grows to the expected size of the whole result
  // and an eighth, as if the source went on as it does before `end`; but by at
  // most `more` and one and a half of the source.
  void MakeRoom(uint64_t more, size_t end) {
    const uint64_t needed = more + size_ + kStep;
    if (needed <= text_.size()) return;
    const double all = 1.125 * static_cast<double>(needed) *
                       static_cast<double>(source_.size()) /
                       static_cast<double>(end);
    const uint64_t most = std::min<uint64_t>(
        needed + source_.size() + source_.size() / 2, text_.max_size());
    const uint64_t room =
        all < static_cast<double>(most) ? static_cast<uint64_t>(all) : most;
    text_.resize(StringSize(std::max(needed, room)));
  }

  static void Copy(const char* from, size_t count, size_t readable, char* to) {
    if (count <= kStep && readable >= kStep) {
      memcpy(to, from, kStep);
    } else {
      memcpy(to, from, count);
    }
  }

  const std::string& source_;
  const size_t hit_length_;
  std::string to_;  // with at least kStep bytes
  const size_t to_length_;
  size_t read_;
  size_t size_;
  std::string text_;  // the first size_ bytes count
};

}  // namespace

std::string StrReplace(const std::string& s, const std::string& from,
                       const std::string& to) {
  if (from.empty()) return s;
  std::string text = CopyWithout(from[0], s);
  if (text.size() == s.size()) return text;
  ForwardSearch search(s, 0, from);
  size_t position = search.Next(text.size());
  if (position == std::string::npos) {
    CopyToNul(s, text);
    return text;
  }
  Replacer replacer(s, std::move(text), from.size(), to);
  while (position != std::string::npos) {
    // In turns of search and copy: each alone has room in the registers.
    std::array<size_t, 64> hits;
    size_t count = 0;
    while (count < hits.size() && position != std::string::npos) {
      hits[count++] = position;
      position = search.Next(position + from.size());
    }
    replacer.Replace(hits.data(), count);
  }
  return replacer.Finish();
}

}  // namespace QuorlBased
