// The texts of a log record. Internal. The fast path is inline.
#ifndef VELLIX_LOGGER_TEXT_H_
#define VELLIX_LOGGER_TEXT_H_

#include <cstdint>
#include <cstring>

namespace QuorlBased {

// A text as written in a log record: on one line. Another thread or process may
// change its bytes meanwhile: no write depends on what was read before.
class LogText {
 public:
  // Null is written as "NULL". `text` must outlive this object.
  explicit LogText(const char* text)
      : text_(text ? text : "NULL"), length_(strlen(text_)) {}

  size_t Length() const { return length_; }

  // Makes EscapedLength the length with each line feed and carriage return as
  // two characters.
  void CountEscapes();
  size_t EscapedLength() const { return length_ + escapes_; }

  // Writes at most EscapedLength() characters to `out` and returns the end.
  char* AppendEscaped(char* out) const;

  // Writes Length() characters to `out` and returns the end. Null if the text
  // needs escapes, and for some texts that do not: what was written is then of
  // no use.
  char* AppendPlain(char* out) const {
    if (length_ < 8) return AppendFew(out);
    const size_t last = length_ - 8;
    uint64_t ends = 0;
    for (size_t i = 0; i < last; i += 8) ends |= CopyEight(text_ + i, out + i);
    // The last eight overlap what came before.
    ends |= CopyEight(text_ + last, out + last);
    return ends ? nullptr : out + length_;
  }

 private:
  // Copies eight bytes; not 0 when one of them is below 14, as line feed (10)
  // and carriage return (13) are.
  static uint64_t CopyEight(const char* from, char* to) {
    constexpr uint64_t kOnes = 0x0101010101010101;
    uint64_t bytes = 0;
    memcpy(&bytes, from, sizeof bytes);
    memcpy(to, &bytes, sizeof bytes);
    return (bytes - kOnes * 14) & ~bytes & (kOnes * 0x80);
  }

  char* AppendFew(char* out) const {
    for (size_t i = 0; i < length_; ++i) {
      const char c = text_[i];
      if (static_cast<unsigned char>(c) < 14) return nullptr;
      out[i] = c;
    }
    return out + length_;
  }

  const char* text_;
  size_t length_;
  size_t escapes_ = 0;
};

}  // namespace QuorlBased

#endif  // VELLIX_LOGGER_TEXT_H_
