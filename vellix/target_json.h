// JsonTarget: converts each log record to a JSON object for another target.
// Header-only, needs nothing at link time.
#ifndef VELLIX_TARGET_JSON_H_
#define VELLIX_TARGET_JSON_H_

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <ctime>
#include <memory>
#include <optional>
#include <string_view>

#include "vellix/record.h"
#include "vellix/target_stream.h"

// Modules with other versions of this header share nothing of it.
#pragma GCC visibility push(hidden)
namespace vellix {

// Writes JSON to a buffer that may be too small.
class JsonText {
 public:
  JsonText(char* room, size_t size) : next_(room), end_(room + size) {}

  // The end of the output, or null if it did not fit.
  char* End() const { return fits_ ? next_ : nullptr; }

  JsonText& Raw(std::string_view text) {
    if (static_cast<size_t>(end_ - next_) < text.size()) {
      fits_ = false;
    } else if (!text.empty()) {
      memcpy(next_, text.data(), text.size());
      next_ += text.size();
    }
    return *this;
  }

  // As a string. U+FFFD replaces each byte that is not UTF-8.
  JsonText& String(std::string_view text) {
    Raw("\"");
    while (!text.empty()) {
      size_t plain = 0;
      while (plain < text.size() && IsPlain(text[plain])) ++plain;
      Raw(text.substr(0, plain));
      text.remove_prefix(plain);
      if (!text.empty()) text.remove_prefix(Special(text));
    }
    return Raw("\"");
  }

 private:
  static bool IsPlain(char c) {
    return c >= 0x20 && c != '"' && c != '\\' && c < 0x7F;
  }

  // Writes the first character of `text`; returns its size in bytes.
  size_t Special(std::string_view text) {
    constexpr char kDigits[] = "0123456789abcdef";
    const auto c = static_cast<unsigned char>(text[0]);
    if (c == '"' || c == '\\') {
      const char escape[] = {'\\', text[0]};
      Raw({escape, sizeof escape});
    } else if (c < 0x20) {
      const char digits[] = {kDigits[c / 16], kDigits[c % 16]};
      Raw("\\u00").Raw({digits, sizeof digits});
    } else {
      const size_t size = SequenceSize(text);
      Raw(size > 0 ? text.substr(0, size) : "\xEF\xBF\xBD");
      return std::max<size_t>(size, 1);
    }
    return 1;
  }

  // The size of the UTF-8 sequence at the start of `text`; 0 if there is none.
  // The ranges of the second byte are from table 3-7 of the Unicode standard.
  static size_t SequenceSize(std::string_view text) {
    const auto first = static_cast<unsigned char>(text[0]);
    if (first < 0x80) return 1;
    const size_t size = first < 0xE0 ? 2 : first < 0xF0 ? 3 : 4;
    if (first < 0xC2 || first > 0xF4 || text.size() < size) return 0;
    const int low = first == 0xE0 ? 0xA0 : first == 0xF0 ? 0x90 : 0x80;
    const int high = first == 0xED ? 0x9F : first == 0xF4 ? 0x8F : 0xBF;
    for (size_t i = 1; i < size; ++i) {
      const auto c = static_cast<unsigned char>(text[i]);
      if (c < (i == 1 ? low : 0x80) || c > (i == 1 ? high : 0xBF)) return 0;
    }
    return size;
  }

  char* next_;
  char* const end_;
  bool fits_ = true;
};

// A time as JsonTarget writes it: "2026-11-01T09:05:00.123456Z". Not by
// gmtime_r, whose lock may be held in a forked child.
class UtcText {
 public:
  explicit UtcText(const timespec& time) {
    int64_t day = time.tv_sec / 86400;
    int64_t second = time.tv_sec % 86400;
    if (second < 0) {
      second += 86400;
      --day;
    }
    PutDate(day);
    Put(11, second / 3600, 2);
    Put(14, second / 60 % 60, 2);
    Put(17, second % 60, 2);
    Put(20, time.tv_nsec / 1000, 6);
  }

  std::string_view View() const { return {text_, sizeof text_ - 1}; }

 private:
  // Years start in March, so that a leap day is the last of its year, and are
  // counted in eras of 400.
  void PutDate(int64_t day) {
    day += 719468;  // days from 0000-03-01 to 1970-01-01
    const int64_t era = (day >= 0 ? day : day - 146096) / 146097;
    const int64_t of_era = day - era * 146097;
    const int64_t year =
        (of_era - of_era / 1460 + of_era / 36524 - of_era / 146096) / 365;
    const int64_t of_year = of_era - (365 * year + year / 4 - year / 100);
    const int64_t month = (5 * of_year + 2) / 153;  // 0 is March
    Put(0, year + era * 400 + (month < 10 ? 0 : 1), 4);
    Put(5, month < 10 ? month + 3 : month - 9, 2);
    Put(8, of_year - (153 * month + 2) / 5 + 1, 2);
  }

  void Put(int at, int64_t number, int digits) {
    for (int i = digits - 1; i >= 0; --i, number /= 10) {
      text_[at + i] = static_cast<char>('0' + number % 10);
    }
  }

  char text_[28] = "0000-00-00T00:00:00.000000Z";
};

// Passes each log record on as one line of valid JSON in valid UTF-8:
//
//   {"time":"2026-11-01T09:05:00.123456Z","thread":4711,"level":"INFO",
//   "source":"net","message":"up","data":"0F A0"}
//
// `time` is UTC, taken in Write under the logger's lock. `data` is null without
// a dump. A line that is no log record becomes the message; its `thread`,
// `level` and `source` are null. A byte that is not UTF-8 becomes U+FFFD; a
// line end in a text appears as in the log, as a backslash and a letter.
//
// Uses the heap if the JSON exceeds 8 KiB, and may then throw std::bad_alloc.
// errno is unchanged.
class JsonTarget : public Target {
 public:
  // Passes the lines to `next`, which must outlive this.
  explicit JsonTarget(QuorlBased::IQuorlStream& next) : next_(next) {}

  // Writes one log record. Returns `count` if `next` took the whole line;
  // otherwise, and for a line of 4 GiB or more, -1.
  int32_t Write(const void* buffer, uint32_t count) override {
    if (!buffer) return -1;
    const ErrnoScope keep;
    timespec now{};
    clock_gettime(CLOCK_REALTIME, &now);
    const std::string_view line(static_cast<const char*>(buffer), count);
    const UtcText time(now);

    char room[8192];
    const char* end = Compose(line, time.View(), room, sizeof room);
    if (end) return Pass(room, end) ? static_cast<int32_t>(count) : -1;
    // A control character becomes six.
    const size_t most = 6 * size_t{count} + 256;
    const std::unique_ptr<char[]> heap(new char[most]);
    end = Compose(line, time.View(), heap.get(), most);
    return end && Pass(heap.get(), end) ? static_cast<int32_t>(count) : -1;
  }

 private:
  static std::string_view WithoutEnd(std::string_view line) {
    if (!line.empty() && line.back() == '\n') line.remove_suffix(1);
    if (!line.empty() && line.back() == '\r') line.remove_suffix(1);
    return line;
  }

  // The end of the JSON, or null if it does not fit.
  static char* Compose(std::string_view line, std::string_view time, char* room,
                       size_t size) {
    JsonText out(room, size);
    out.Raw(R"({"time":")").Raw(time);
    const std::optional<Record> record = ReadRecord(line);
    if (record && record->offset == 0) {
      PutFields(*record, out);
    } else {
      out.Raw(R"(","thread":null,"level":null,"source":null,"message":)")
          .String(WithoutEnd(line))
          .Raw(R"(,"data":null)");
    }
    return out.Raw("}\n").End();
  }

  static void PutFields(const Record& record, JsonText& out) {
    const std::string_view level = record_rule::kLevels[record.level];
    out.Raw(R"(","thread":)").Raw(record.thread);
    out.Raw(R"(,"level":")").Raw(level.substr(0, level.find(' ')));
    out.Raw(R"(","source":)").String(record.source);
    out.Raw(R"(,"message":)").String(record.message);
    if (record.data == "NULL") {
      out.Raw(R"(,"data":null)");
    } else {
      std::string_view data = record.data;
      data.remove_suffix(1);
      out.Raw(R"(,"data":")").Raw(data).Raw("\"");
    }
  }

  bool Pass(const char* text, const char* end) const {
    const auto size = static_cast<uint64_t>(end - text);
    return size <= UINT32_MAX &&
           next_.Write(text, static_cast<uint32_t>(size)) ==
               static_cast<int32_t>(size);
  }

  QuorlBased::IQuorlStream& next_;
};

}  // namespace vellix
#pragma GCC visibility pop

#endif  // VELLIX_TARGET_JSON_H_
